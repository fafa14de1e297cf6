#include "chartsview.h"
#include "importqueue.h"
#include "laplist.h"
#include "laptraces.h"
#include "mainwindow.h"
#include "picturepixels.h"
#include "plotstyle.h"
#include "samplefiles.h"
#include "trackmapview.h"
#include "valuestable.h"
#include "viewertest.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

using Key = ViewModel::LapKey;

namespace {

// The lap's speed at a distance in the unit asked for, straight from its channels: linear
// between the two samples of "lapdist" around it.
double speedAt(const ZUM::SDK::Lap &lap, double distance, const QString &unit)
{
    const QSharedPointer<ZUM::SDK::Channel> speed = lap.channel(QStringLiteral("speed"));
    const QSharedPointer<ZUM::SDK::Channel> lapdist = lap.channel(QStringLiteral("lapdist"));
    if (!speed || !lapdist || speed->unit() != QLatin1String("m/s"))
        return NAN;
    for (qsizetype i = 1; i < lapdist->size(); ++i) {
        const double a = lapdist->value(i - 1), b = lapdist->value(i);
        if (a <= distance && distance <= b && b > a) {
            const double va = speed->value(i - 1), vb = speed->value(i);
            const double metresPerSecond = va + (vb - va) * (distance - a) / (b - a);
            // A km/h is 1/3.6 m/s; a mile per hour 0.44704 m/s.
            return unit == QLatin1String("km/h") ? metresPerSecond * 3.6
                                                 : metresPerSecond / 0.44704;
        }
    }
    return NAN;
}

// The centre of a lap list cell's check box.
QPoint checkBoxOf(LapList *list, int row, int column)
{
    const QRect cell = list->visualItemRect(list->item(row, column));
    return {cell.left() + 12, cell.center().y()};
}

} // namespace

class tst_MainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void openFiles_data();
    void openFiles();
    void recordedFiles();
    void tickingLaps();
    void choosingTheReference();
    void cursorAndValues_data();
    void cursorAndValues();
    void zoom();
    void mapClick();
    void mapColour();
    void channelSearch();
    void removeAddedChart();
    void recentFiles();
    void dropFiles();
    void exportView_data();
    void exportView();
    void exportLaps_data();
    void exportLaps();

private:
    bool open(const QStringList &paths);
    int valueColumn(const QString &channel) const;

    QTemporaryDir m_dir;
    ViewerTest::Sessions m_sessions;
    std::unique_ptr<MainWindow> m_window;
};

void tst_MainWindow::initTestCase()
{
    QVERIFY(m_sessions.write(m_dir));
    // Recent files go into the test's own settings.
    qputenv("XDG_CONFIG_HOME", m_dir.filePath(QStringLiteral("config")).toLocal8Bit());
    QCoreApplication::setOrganizationName(QStringLiteral("zum-tests"));
}

void tst_MainWindow::init()
{
    m_window = std::make_unique<MainWindow>(QStringLiteral(ZUM_PLUGIN_PATH));
    m_window->resize(1600, 950);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void tst_MainWindow::cleanup()
{
    m_window.reset();
}

bool tst_MainWindow::open(const QStringList &paths)
{
    QSignalSpy idle(&m_window->imports(), &ImportQueue::idle);
    m_window->openFiles(paths);
    return idle.wait(120000);
}

int tst_MainWindow::valueColumn(const QString &channel) const
{
    ValuesTable *table = m_window->valuesTable();
    for (int c = 1; c < table->columnCount(); ++c) {
        if (table->horizontalHeaderItem(c)->text().startsWith(channel + QLatin1Char(' '))
            || table->horizontalHeaderItem(c)->text() == channel)
            return c;
    }
    return -1;
}

void tst_MainWindow::openFiles_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("laps");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("good") << QStringList {"practice.ibt"} << 5
                          << QStringList {"practice.ibt: 5 laps"};
    QTest::newRow("damaged") << QStringList {"damaged.ibt"} << 0
                             << QStringList {"damaged.ibt: not opened: "};
    QTest::newRow("no laps") << QStringList {"no-player.ibt"} << 0
                             << QStringList {"no-player.ibt: not opened: no laps"};
    QTest::newRow("missing") << QStringList {"missing.ibt"} << 0
                             << QStringList {"missing.ibt: not opened: ", "(does not exist)"};
    QTest::newRow("good beside bad ones")
        << QStringList {"missing.ibt", "practice.ibt", "damaged.ibt", "short.ibt"} << 9
        << QStringList {"missing.ibt: not opened", "practice.ibt: 5 laps",
                        "damaged.ibt: not opened", "short.ibt: 4 laps"};
}

void tst_MainWindow::openFiles()
{
    QFETCH(QStringList, names);
    QFETCH(int, laps);
    QFETCH(QStringList, messages);
    QStringList paths;
    for (const QString &name : names)
        paths.append(m_dir.filePath(name));
    QVERIFY(open(paths));
    QCOMPARE(m_window->lapList()->rowCount(), laps);
    QCOMPARE(m_window->model().laps().size(), laps);
    const QString text = m_window->messages()->toPlainText();
    qsizetype from = 0;
    for (const QString &message : messages) {
        // In the order the files were asked for.
        from = text.indexOf(message, from);
        QVERIFY2(from >= 0, qPrintable(text));
    }
    // A file that fails says why in words the plug-in and the file give.
    if (names.contains(QStringLiteral("damaged.ibt"))) {
        const RecordingInfo info = RecordingInfo::read(m_sessions.damaged);
        QVERIFY(!info.problem().isEmpty());
        QVERIFY2(text.contains(QStringLiteral("(%1)").arg(info.problem())), qPrintable(text));
        const ImportResult direct = ViewerTest::host().importFile(m_sessions.damaged);
        QVERIFY(direct.failed);
        for (const ImportResult::Message &message : direct.messages) {
            if (message.level == ZUM::SDK::PluginInterfaceImport::Error)
                QVERIFY2(text.contains(message.text), qPrintable(text));
        }
    }
}

void tst_MainWindow::recordedFiles()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    const QStringList paths = SampleFiles::all();
    QVERIFY(open(paths));
    // Every lap the plug-in gives for each file is listed; a file without laps is named in
    // the messages instead.
    qsizetype laps = 0;
    for (const QString &path : paths) {
        const qsizetype count = ViewerTest::host().importFile(path).laps.size();
        laps += count;
        if (count == 0)
            QVERIFY(m_window->messages()->toPlainText().contains(path
                                                                 + QStringLiteral(": not opened")));
    }
    QCOMPARE(m_window->lapList()->rowCount(), laps);
    QVERIFY(m_window->model().reference().isValid());
    // The overlaid laps are drawn, whatever their files held.
    QVERIFY(
        PicturePixels::colourful(m_window->charts()->grab().toImage(), m_window->charts()->rect())
        > 100);
}

void tst_MainWindow::tickingLaps()
{
    QVERIFY(open({m_sessions.practice}));
    LapList *list = m_window->lapList();
    ViewModel &model = m_window->model();
    const Key best = model.best();
    QCOMPARE(model.overlaid(), QList<Key> {best});
    QCOMPARE(list->item(list->rowOf(best), LapList::OverlayColumn)->checkState(), Qt::Checked);

    // The first flying lap that is not the best.
    Key other {0, best.lap == 1 ? 3 : 1};
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      checkBoxOf(list, list->rowOf(other), LapList::OverlayColumn));
    QVERIFY(model.isOverlaid(other));
    QCOMPARE(model.overlaid().size(), 2);
    QCOMPARE(m_window->valuesTable()->rowCount(), 2);

    // The reference on top in the speed chart; the other lap in the first of the other laps'
    // colours in the delta chart, where the reference lies flat on the zero line and does
    // not cover it.
    ChartsView *charts = m_window->charts();
    const QRect delta = charts->chartAreas(charts->size())[1].toAlignedRect();
    QImage picture = charts->grab().toImage();
    QVERIFY(PicturePixels::count(picture, charts->chartAreas(charts->size())[0].toAlignedRect(),
                                 PlotStyle::bestColour())
            > 100);
    QVERIFY(PicturePixels::count(picture, delta, PlotStyle::otherColour(0)) > 100);

    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      checkBoxOf(list, list->rowOf(other), LapList::OverlayColumn));
    QVERIFY(!model.isOverlaid(other));
    picture = charts->grab().toImage();
    QCOMPARE(PicturePixels::count(picture, delta, PlotStyle::otherColour(0)), 0);
}

void tst_MainWindow::choosingTheReference()
{
    QVERIFY(open({m_sessions.practice, m_sessions.shortOne}));
    LapList *list = m_window->lapList();
    ViewModel &model = m_window->model();
    // The short track's laps are quicker: its best is the reference.
    QCOMPARE(model.reference().file, 1);
    QCOMPARE(list->item(list->rowOf(model.reference()), LapList::ReferenceColumn)->checkState(),
             Qt::Checked);

    const Key chosen {0, 3};
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      checkBoxOf(list, list->rowOf(chosen), LapList::ReferenceColumn));
    QCOMPARE(model.reference(), chosen);
    QVERIFY(model.isOverlaid(chosen));
    int references = 0;
    for (int row = 0; row < list->rowCount(); ++row)
        references += list->item(row, LapList::ReferenceColumn)->checkState() == Qt::Checked;
    QCOMPARE(references, 1);
    // The axis runs over the reference's track now.
    QVERIFY(std::abs(model.fullHigh() - m_sessions.practiceOptions.trackLength) < 0.5);

    // Unticking the reference's box keeps it: there is always one.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      checkBoxOf(list, list->rowOf(chosen), LapList::ReferenceColumn));
    QCOMPARE(model.reference(), chosen);
    QCOMPARE(list->item(list->rowOf(chosen), LapList::ReferenceColumn)->checkState(), Qt::Checked);
}

void tst_MainWindow::cursorAndValues_data()
{
    QTest::addColumn<QString>("units");
    QTest::addColumn<QString>("unit");
    QTest::newRow("metric") << "metric"
                            << "km/h";
    QTest::newRow("imperial") << "imperial"
                              << "mph";
}

void tst_MainWindow::cursorAndValues()
{
    QFETCH(QString, units);
    QFETCH(QString, unit);
    QVERIFY(open({m_sessions.practice}));
    ViewModel &model = m_window->model();
    model.setOverlaid({0, 1}, true);
    model.setOverlaid({0, 2}, true);
    model.setOverlaid({0, 3}, true);
    // The units as a driver picks them, from the menu.
    for (QAction *action : m_window->menuBar()->findChildren<QAction *>()) {
        if (action->text() == units)
            action->trigger();
    }
    QCOMPARE(model.units(), *UnitSystem::fromName(units));

    ChartsView *charts = m_window->charts();
    const QRectF speed = charts->chartAreas(charts->size()).first();
    const QPoint mouse(int(speed.left() + speed.width() * 0.37), int(speed.center().y()));
    QTest::mouseMove(charts, mouse + QPoint(1, 0));
    QTest::mouseMove(charts, mouse);
    QCOMPARE(model.cursor(), charts->distanceAt(mouse.x()));
    QTest::keyClick(charts, Qt::Key_Right, Qt::ShiftModifier);
    QVERIFY(std::abs(model.cursor() - charts->distanceAt(mouse.x()) - model.fullHigh() / 20.0)
            < 1e-6);

    const double distance = model.cursor();
    ValuesTable *table = m_window->valuesTable();
    const int column = valueColumn(QStringLiteral("speed"));
    QVERIFY(column > 0);
    QCOMPARE(table->horizontalHeaderItem(column)->text(), QStringLiteral("speed [%1]").arg(unit));
    QCOMPARE(table->rowCount(), 3);
    for (int row = 0; row < table->rowCount(); ++row) {
        const Key key = model.overlaid()[row];
        QCOMPARE(table->item(row, 0)->text(), model.lapName(key));
        QCOMPARE(table->item(row, 0)->data(Qt::DecorationRole).value<QColor>(),
                 LapTraces::colour(model, key));
        const double expected = speedAt(model.lap(key), distance, unit);
        QVERIFY(std::isfinite(expected));
        QCOMPARE(table->item(row, column)->text(), QString::number(expected, 'f', 2));
    }
}

void tst_MainWindow::zoom()
{
    QVERIFY(open({m_sessions.practice}));
    ViewModel &model = m_window->model();
    ChartsView *charts = m_window->charts();
    const QRectF area = charts->chartAreas(charts->size())[1];
    const double length = model.fullHigh();

    // A notch of the wheel shows four fifths, around the distance under the mouse.
    const QPoint mouse(int(area.left() + area.width() / 4), int(area.center().y()));
    const double under = charts->distanceAt(mouse.x());
    QWheelEvent wheel(mouse, charts->mapToGlobal(mouse), {}, QPoint(0, 120), Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(charts, &wheel);
    QVERIFY(std::abs(model.visibleHigh() - model.visibleLow() - length * 0.8) < 1e-6);
    QVERIFY(std::abs(charts->distanceAt(mouse.x()) - under) < 1e-6);

    // A drag picks the stretch between its ends.
    const QPoint from(int(area.left() + area.width() * 0.2), int(area.center().y()));
    const QPoint to(int(area.left() + area.width() * 0.6), int(area.center().y()));
    const double low = charts->distanceAt(from.x()), high = charts->distanceAt(to.x());
    QTest::mousePress(charts, Qt::LeftButton, {}, from);
    QTest::mouseMove(charts, to);
    QTest::mouseRelease(charts, Qt::LeftButton, {}, to);
    QVERIFY(std::abs(model.visibleLow() - low) < 1e-6);
    QVERIFY(std::abs(model.visibleHigh() - high) < 1e-6);
    // The distance axis follows: its ends are the stretch's ends.
    QCOMPARE(charts->distanceAt(area.left()), model.visibleLow());
    QVERIFY(std::abs(charts->distanceAt(area.right()) - model.visibleHigh()) < 1e-6);

    QTest::mouseDClick(charts, Qt::LeftButton, {}, from);
    QVERIFY(!model.isZoomed());
    model.zoom(length / 2, 0.5);
    QVERIFY(model.isZoomed());
    QTest::keyClick(charts, Qt::Key_Home);
    QVERIFY(!model.isZoomed());
    QTest::keyClick(charts, Qt::Key_Plus);
    QVERIFY(std::abs(model.visibleHigh() - model.visibleLow() - length * 0.8) < 1e-6);
}

void tst_MainWindow::mapClick()
{
    QVERIFY(open({m_sessions.practice}));
    ViewModel &model = m_window->model();
    TrackMapView *map = m_window->trackMap();
    const double length = model.fullHigh();
    // The path is drawn in points this far apart.
    const double spacing = length / (TrackMapView::PathPoints - 1);
    for (const double share : {0.25, 0.5, 0.8}) {
        const std::optional<QPointF> place = map->placeOf(share * length);
        QVERIFY(place);
        QTest::mouseClick(map, Qt::LeftButton, {}, place->toPoint());
        QVERIFY2(std::abs(model.cursor() - share * length) < 2 * spacing,
                 qPrintable(QString::number(model.cursor())));
        // The reference lap is marked there, in its colour.
        const std::optional<QPointF> marker = map->lapAtCursor(model.reference());
        QVERIFY(marker);
        const QImage picture = map->grab().toImage();
        QCOMPARE(picture.pixelColor(marker->toPoint()), PlotStyle::bestColour());
    }
}

void tst_MainWindow::mapColour()
{
    QVERIFY(open({m_sessions.practice}));
    TrackMapView *map = m_window->trackMap();
    QCOMPARE(map->colourChannel(), QStringLiteral("speed"));
    const double length = m_window->model().fullHigh();
    // The path's colours at points of the lap where the car brakes and where it does not.
    const auto colours = [map, length] {
        const QImage picture = map->grab().toImage();
        QSet<QRgb> found;
        for (int i = 1; i < 40; ++i)
            found.insert(picture.pixel(map->placeOf(i * length / 40)->toPoint()));
        return found;
    };
    const QSet<QRgb> bySpeed = colours();
    // Speed changes all round the lap: many shades of the scale.
    QVERIFY(bySpeed.size() > 10);

    auto *choice = m_window->findChild<QComboBox *>();
    QVERIFY(choice);
    choice->setCurrentText(QStringLiteral("brake"));
    QCOMPARE(map->colourChannel(), QStringLiteral("brake"));
    // Off the brake on most of the lap: the darkest shade, unlike any by speed.
    const QSet<QRgb> byBrake = colours();
    QVERIFY(byBrake != bySpeed);
    QVERIFY(byBrake.contains(PlotStyle::scaleColour(0.0).rgb()));
}

void tst_MainWindow::channelSearch()
{
    QVERIFY(open({m_sessions.practice}));
    QListWidget *list = m_window->channelList();
    QTest::keyClicks(m_window->channelSearch(), QStringLiteral("FUELLEV"));
    QStringList shown;
    for (int i = 0; i < list->count(); ++i) {
        if (!list->item(i)->isHidden())
            shown.append(list->item(i)->text());
    }
    QVERIFY(!shown.isEmpty());
    for (const QString &name : shown)
        QVERIFY(name.contains(QStringLiteral("fuellev"), Qt::CaseInsensitive));
    QVERIFY(shown.contains(QStringLiteral("fuellevel")));

    // Enter on a channel adds its chart, and its column of values.
    const int charts = int(m_window->charts()->charts().size());
    QListWidgetItem *fuel = list->findItems(QStringLiteral("fuellevel"), Qt::MatchExactly).first();
    list->setCurrentItem(fuel);
    QTest::keyClick(list, Qt::Key_Return);
    QCOMPARE(m_window->charts()->charts().size(), charts + 1);
    QCOMPARE(m_window->charts()->charts().last().channels, QStringList {"fuellevel"});
    QVERIFY(valueColumn(QStringLiteral("fuellevel")) > 0);
}

void tst_MainWindow::removeAddedChart()
{
    QVERIFY(open({m_sessions.practice}));
    ChartsView *charts = m_window->charts();
    QListWidget *list = m_window->channelList();
    list->setCurrentItem(list->findItems(QStringLiteral("fuellevel"), Qt::MatchExactly).first());
    QTest::keyClick(list, Qt::Key_Return);
    const QList<ChartsView::Chart> defaults = ChartsView::defaultCharts();
    QCOMPARE(charts->charts().size(), defaults.size() + 1);
    QVERIFY(valueColumn(QStringLiteral("fuellevel")) > 0);

    // The menu of a chart, where the mouse asks for it.
    const auto menuAt = [charts](const QRectF &area) {
        const QPoint point = area.center().toPoint();
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, charts->mapToGlobal(point));
        QApplication::sendEvent(charts, &event);
        return charts->findChild<QMenu *>();
    };
    const QList<QRectF> areas = charts->chartAreas(charts->size());
    // The default charts stay.
    for (qsizetype i = 0; i < defaults.size(); ++i)
        QVERIFY(!menuAt(areas[i]));
    QMenu *menu = menuAt(areas.last());
    QVERIFY(menu);
    QVERIFY(QTest::qWaitForWindowExposed(menu));
    QCOMPARE(menu->actions().size(), 1);
    QVERIFY(menu->actions().first()->text().contains(QStringLiteral("fuellevel")));
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    QCOMPARE(charts->charts().size(), defaults.size());
    for (qsizetype i = 0; i < defaults.size(); ++i)
        QCOMPARE(charts->charts()[i].channels, defaults[i].channels);
    QCOMPARE(valueColumn(QStringLiteral("fuellevel")), -1);
}

void tst_MainWindow::recentFiles()
{
    QVERIFY(open({m_sessions.shortOne, m_sessions.missing, m_sessions.practice}));
    // Newest first; a file that did not open is not among them.
    const auto recentActions = [this] {
        for (QMenu *menu : m_window->menuBar()->findChildren<QMenu *>()) {
            if (menu->title() == QLatin1String("Open &recent"))
                return menu->actions();
        }
        return QList<QAction *>();
    };
    QList<QAction *> actions = recentActions();
    QVERIFY(actions.size() >= 2);
    QCOMPARE(actions[0]->text(), QFileInfo(m_sessions.practice).absoluteFilePath());
    QCOMPARE(actions[1]->text(), QFileInfo(m_sessions.shortOne).absoluteFilePath());
    for (QAction *action : actions)
        QVERIFY(action->text() != QFileInfo(m_sessions.missing).absoluteFilePath());

    // A new window finds them, and opens one from the menu.
    init();
    actions = recentActions();
    QCOMPARE(actions[0]->text(), QFileInfo(m_sessions.practice).absoluteFilePath());
    // The menu is filled anew when the file has opened: its actions are gone by then.
    const QString second = actions[1]->text();
    QSignalSpy idle(&m_window->imports(), &ImportQueue::idle);
    actions[1]->trigger();
    QVERIFY(idle.wait(120000));
    QCOMPARE(m_window->model().files().size(), 1);
    QCOMPARE(m_window->model().files().first().result.file, second);
    QCOMPARE(recentActions().first()->text(), second);
}

void tst_MainWindow::dropFiles()
{
    QMimeData data;
    data.setUrls(
        {QUrl::fromLocalFile(m_sessions.practice), QUrl::fromLocalFile(m_sessions.shortOne)});
    const QPoint point = m_window->rect().center();
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(m_window.get(), &enter);
    QVERIFY(enter.isAccepted());
    QSignalSpy idle(&m_window->imports(), &ImportQueue::idle);
    QDropEvent drop(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(m_window.get(), &drop);
    QVERIFY(idle.wait(120000));
    QCOMPARE(m_window->model().files().size(), 2);
    QCOMPARE(m_window->lapList()->rowCount(), 9);
}

void tst_MainWindow::exportView_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("PNG") << "view.png";
    QTest::newRow("SVG") << "view.svg";
}

void tst_MainWindow::exportView()
{
    QFETCH(QString, name);
    QVERIFY(open({m_sessions.practice}));
    const QString path = m_dir.filePath(name);
    QString error;
    QVERIFY2(m_window->exportView(path, &error), qPrintable(error));
    if (name.endsWith(QLatin1String(".svg"))) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray svg = file.readAll();
        QVERIFY(svg.contains("<svg"));
        QVERIFY(svg.count("<polyline") + svg.count("<path") > 10);
        return;
    }
    const QImage picture(path);
    QCOMPARE(picture.size(), m_window->viewSize());
    // Every chart holds the reference lap's line; the map its coloured path.
    ChartsView *charts = m_window->charts();
    for (const QRectF &area : charts->chartAreas(charts->size()))
        QVERIFY(PicturePixels::count(picture, area.toAlignedRect(), PlotStyle::bestColour()) > 50);
    const QRect map(charts->width(), 0, m_window->trackMap()->width(),
                    m_window->trackMap()->height());
    QVERIFY(PicturePixels::colourful(picture, map) > 200);
}

void tst_MainWindow::exportLaps_data()
{
    QTest::addColumn<QString>("units");
    QTest::addColumn<QString>("speedTitle");
    QTest::newRow("metric") << "metric"
                            << "speed [km/h]";
    QTest::newRow("imperial") << "imperial"
                              << "speed [mph]";
}

void tst_MainWindow::exportLaps()
{
    QFETCH(QString, units);
    QFETCH(QString, speedTitle);
    QVERIFY(open({m_sessions.practice, m_sessions.shortOne}));
    ViewModel &model = m_window->model();
    model.setUnits(*UnitSystem::fromName(units));
    model.setOverlaid({1, 0}, true);
    QTemporaryDir folder;
    QStringList written;
    QString error;
    QVERIFY2(m_window->exportLaps(folder.path(), &written, &error), qPrintable(error));

    // One file per overlaid lap, named after its file, stint and lap, one row per sample.
    const QList<Key> overlaid = model.overlaid();
    QCOMPARE(written.size(), overlaid.size());
    for (qsizetype i = 0; i < overlaid.size(); ++i) {
        const ZUM::SDK::Lap &lap = model.lap(overlaid[i]);
        const QString input
            = QFileInfo(model.files()[overlaid[i].file].result.file).completeBaseName();
        QCOMPARE(QFileInfo(written[i]).fileName(),
                 QStringLiteral("%1_stint%2_lap%3.csv")
                     .arg(input)
                     .arg(lap.header().stint)
                     .arg(lap.header().lapNumber));
        QFile file(written[i]);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().split('\n');
        QVERIFY(lines.first().split(',').contains(speedTitle.toUtf8()));
        QCOMPARE(lines.size() - 2, lap.channel(QStringLiteral("speed"))->size()); // the titles,
                                                                                  // a last newline
    }
}

QTEST_MAIN(tst_MainWindow)
#include "tst_mainwindow.moc"
