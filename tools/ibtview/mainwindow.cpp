#include "mainwindow.h"

#include "chartsview.h"
#include "importqueue.h"
#include "lapcsv.h"
#include "laplist.h"
#include "librarydialog.h"
#include "trackmapview.h"
#include "valuestable.h"

#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QSvgGenerator>
#include <QVBoxLayout>

#include <set>

namespace {

const QString recentKey = QStringLiteral("recentFiles");

// Every channel's values at the cursor: those of the charts.
QStringList chartChannels(const ChartsView &charts)
{
    QStringList channels;
    for (const ChartsView::Chart &chart : charts.charts())
        channels += chart.channels;
    return channels;
}

} // namespace

MainWindow::MainWindow(const QString &pluginPath, QWidget *parent)
    : QMainWindow(parent)
    , m_traces(m_model)
    , m_libraryOpening(m_model)
    , m_imports(new ImportQueue(pluginPath, this))
{
    setWindowTitle(QStringLiteral("ibt-view"));
    setAcceptDrops(true);
    // The traces follow the laps; the delta follows the reference.
    connect(&m_model, &ViewModel::lapsChanged, this, [this] { m_traces.clear(); });
    connect(&m_model, &ViewModel::referenceChanged, this, [this] { m_traces.clearDelta(); });

    m_charts = new ChartsView(m_model, m_traces);
    auto *centre = new QSplitter(Qt::Horizontal);
    centre->addWidget(buildLeft());
    centre->addWidget(m_charts);
    centre->addWidget(buildRight());
    centre->setStretchFactor(1, 1);
    centre->setSizes({480, 760, 360});

    m_messages = new QPlainTextEdit;
    m_messages->setReadOnly(true);
    m_messages->setPlaceholderText(QStringLiteral("Messages of the imports"));
    m_messages->setMaximumBlockCount(1000);
    auto *vertical = new QSplitter(Qt::Vertical);
    vertical->addWidget(centre);
    vertical->addWidget(m_messages);
    vertical->setStretchFactor(0, 1);
    vertical->setSizes({800, 90});
    setCentralWidget(vertical);

    m_progress = new QProgressBar;
    m_progress->setMaximumWidth(200);
    m_progress->hide();
    m_progressText = new QLabel;
    statusBar()->addWidget(m_progressText, 1);
    statusBar()->addPermanentWidget(m_progress);

    connect(m_imports, &ImportQueue::imported, this, &MainWindow::imported);
    connect(m_imports, &ImportQueue::progress, this, &MainWindow::showProgress);
    connect(&m_model, &ViewModel::lapsChanged, this, &MainWindow::fillChannelList);
    connect(m_charts, &ChartsView::chartsChanged, this, &MainWindow::refreshValueColumns);
    buildMenus();
    refreshValueColumns();
    resize(1600, 950);
}

MainWindow::~MainWindow() = default;

QWidget *MainWindow::buildLeft()
{
    m_lapList = new LapList(m_model);
    m_channelSearch = new QLineEdit;
    m_channelSearch->setPlaceholderText(QStringLiteral("Search channels"));
    m_channelSearch->setClearButtonEnabled(true);
    m_channelList = new QListWidget;
    m_channelList->setToolTip(QStringLiteral("Double-click or Enter: add a chart of the channel"));
    connect(m_channelSearch, &QLineEdit::textChanged, this, &MainWindow::filterChannels);
    connect(m_channelList, &QListWidget::itemActivated, this,
            [this](QListWidgetItem *item) { m_charts->addChannel(item->text()); });

    auto *channels = new QWidget;
    auto *layout = new QVBoxLayout(channels);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(QStringLiteral("Channels")));
    layout->addWidget(m_channelSearch);
    layout->addWidget(m_channelList);

    auto *left = new QSplitter(Qt::Vertical);
    left->addWidget(m_lapList);
    left->addWidget(channels);
    left->setSizes({500, 300});
    return left;
}

QWidget *MainWindow::buildRight()
{
    m_values = new ValuesTable(m_model, m_traces);
    m_map = new TrackMapView(m_model, m_traces);
    m_mapColour = new QComboBox;
    m_mapColour->setEditable(false);
    connect(m_mapColour, &QComboBox::currentTextChanged, this, [this](const QString &channel) {
        if (!channel.isEmpty())
            m_map->setColourChannel(channel);
    });

    auto *mapBox = new QWidget;
    auto *layout = new QVBoxLayout(mapBox);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *colourLabel = new QLabel(QStringLiteral("Colour the map by"));
    layout->addWidget(colourLabel);
    layout->addWidget(m_mapColour);
    layout->addWidget(m_map, 1);

    auto *right = new QSplitter(Qt::Vertical);
    right->addWidget(m_values);
    right->addWidget(mapBox);
    right->setSizes({300, 500});
    return right;
}

void MainWindow::buildMenus()
{
    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Open..."), QKeySequence::Open, this, [this] {
        const QStringList paths = QFileDialog::getOpenFileNames(
            this, QStringLiteral("Open telemetry"), QString(),
            QStringLiteral("iRacing telemetry (*.ibt);;All files (*)"));
        openFiles(paths);
    });
    m_libraryAction
        = file->addAction(QStringLiteral("Open from &Library..."),
                          QKeySequence(Qt::CTRL | Qt::Key_L), this, &MainWindow::showLibraryDialog);
    // ibt-library may make the library while the viewer runs.
    connect(file, &QMenu::aboutToShow, this, &MainWindow::updateLibraryAction);
    updateLibraryAction();
    m_recentMenu = file->addMenu(QStringLiteral("Open &recent"));
    fillRecentMenu();
    file->addSeparator();
    file->addAction(QStringLiteral("Export view as &PNG..."), this,
                    [this] { chooseExport(QStringLiteral("png")); });
    file->addAction(QStringLiteral("Export view as &SVG..."), this,
                    [this] { chooseExport(QStringLiteral("svg")); });
    file->addAction(QStringLiteral("Export overlaid laps as &CSV..."), this,
                    &MainWindow::chooseLapsExport);
    file->addSeparator();
    file->addAction(QStringLiteral("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    QMenu *view = menuBar()->addMenu(QStringLiteral("&View"));
    view->addAction(QStringLiteral("&Reset zoom"), QKeySequence(Qt::Key_Home), this,
                    [this] { m_model.resetZoom(); });
    QMenu *units = view->addMenu(QStringLiteral("&Units"));
    auto *group = new QActionGroup(this);
    for (const QString &name : UnitSystem::names()) {
        QAction *action = units->addAction(name);
        action->setCheckable(true);
        action->setChecked(UnitSystem::fromName(name) == m_model.units());
        group->addAction(action);
        connect(action, &QAction::triggered, this,
                [this, name] { m_model.setUnits(*UnitSystem::fromName(name)); });
    }
}

void MainWindow::openFiles(const QStringList &paths)
{
    if (!paths.isEmpty())
        m_imports->open(paths);
}

void MainWindow::setLibrary(const QString &given)
{
    m_library.setGiven(given);
    updateLibraryAction();
}

void MainWindow::updateLibraryAction()
{
    const bool present = m_library.isPresent();
    m_libraryAction->setEnabled(present);
    m_libraryAction->setStatusTip(
        present ? QStringLiteral("Pick laps from the lap library %1").arg(m_library.displayText())
                : QStringLiteral("No lap library at %1: ibt-library add FOLDER makes one")
                      .arg(m_library.displayText()));
}

LibraryDialog *MainWindow::showLibraryDialog()
{
    if (!m_libraryDialog) {
        m_libraryDialog = new LibraryDialog(m_library, this);
        connect(m_libraryDialog, &LibraryDialog::lapsChosen, this, &MainWindow::openLibraryLaps);
    }
    m_libraryDialog->show();
    m_libraryDialog->raise();
    m_libraryDialog->activateWindow();
    return m_libraryDialog;
}

void MainWindow::openLibraryLaps(const QList<LibraryQueries::LapPlace> &laps)
{
    const LibraryOpening::Plan plan = m_libraryOpening.open(laps);
    for (const QString &message : plan.messages)
        m_messages->appendPlainText(message);
    openFiles(plan.imports);
}

void MainWindow::imported(const ImportResult &result)
{
    const QString name = QFileInfo(result.file).fileName();
    if (result.failed || result.laps.isEmpty()) {
        // The plug-in's errors, and what the file itself tells of the reason; a file read
        // without errors simply held no laps.
        QStringList errors;
        for (const ImportResult::Message &message : result.messages) {
            if (message.level == ZUM::SDK::PluginInterfaceImport::Error)
                errors.append(message.text);
        }
        QString text = QStringLiteral("%1: not opened").arg(result.file);
        if (!errors.isEmpty())
            text += QStringLiteral(": ") + errors.join(QStringLiteral("; "));
        else
            text += QStringLiteral(": no laps");
        if (!result.recording.problem().isEmpty())
            text += QStringLiteral(" (%1)").arg(result.recording.problem());
        m_messages->appendPlainText(text);
        m_libraryOpening.failed(result.file);
        return;
    }
    const qsizetype file = m_model.addFile(result);
    m_messages->appendPlainText(QStringLiteral("%1: %2 laps").arg(name).arg(result.laps.size()));
    for (const QString &message : m_libraryOpening.opened(file))
        m_messages->appendPlainText(message);
    addRecent(result.file);
}

void MainWindow::showProgress(int done, int total, const QString &current)
{
    m_progress->setVisible(done < total);
    m_progress->setRange(0, total);
    m_progress->setValue(done);
    m_progressText->setText(done < total && !current.isEmpty()
                                ? QStringLiteral("Importing %1 (%2 of %3)")
                                      .arg(QFileInfo(current).fileName())
                                      .arg(done + 1)
                                      .arg(total)
                                : QString());
}

void MainWindow::addRecent(const QString &path)
{
    QSettings settings;
    QStringList recent = settings.value(recentKey).toStringList();
    const QString absolute = QFileInfo(path).absoluteFilePath();
    recent.removeAll(absolute);
    recent.prepend(absolute);
    settings.setValue(recentKey, recent.mid(0, MostRecentFiles));
    fillRecentMenu();
}

void MainWindow::fillRecentMenu()
{
    m_recentMenu->clear();
    const QStringList recent = QSettings().value(recentKey).toStringList();
    for (const QString &path : recent)
        m_recentMenu->addAction(path, this, [this, path] { openFiles({path}); });
    m_recentMenu->setEnabled(!recent.isEmpty());
}

void MainWindow::fillChannelList()
{
    std::set<QString> names;
    for (const ViewModel::LapKey &key : m_model.laps()) {
        const ZUM::SDK::Lap &lap = m_model.lap(key);
        for (const QString &name : lap.getAvailableRecordedChannels())
            names.insert(name);
        for (const QString &name : lap.getAvailableCalculatedChannels())
            names.insert(name);
    }
    m_channelList->clear();
    const QString colour = m_map->colourChannel();
    m_mapColour->blockSignals(true);
    m_mapColour->clear();
    for (const QString &name : names) {
        m_channelList->addItem(name);
        m_mapColour->addItem(name);
    }
    m_mapColour->setCurrentText(colour);
    m_mapColour->blockSignals(false);
    filterChannels(m_channelSearch->text());
}

void MainWindow::filterChannels(const QString &text)
{
    for (int i = 0; i < m_channelList->count(); ++i) {
        QListWidgetItem *item = m_channelList->item(i);
        item->setHidden(!item->text().contains(text, Qt::CaseInsensitive));
    }
}

void MainWindow::refreshValueColumns()
{
    m_values->setChannels(chartChannels(*m_charts));
}

QSize MainWindow::viewSize() const
{
    return {m_charts->width() + m_map->width(), std::max(m_charts->height(), m_map->height())};
}

void MainWindow::paintView(QPainter &painter)
{
    painter.fillRect(QRect(QPoint(0, 0), viewSize()), Qt::white);
    m_charts->paint(painter, m_charts->size());
    painter.save();
    painter.translate(m_charts->width(), 0);
    m_map->paint(painter, m_map->size());
    painter.restore();
}

bool MainWindow::exportView(const QString &path, QString *errorString)
{
    if (path.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive)) {
        QSvgGenerator svg;
        svg.setFileName(path);
        svg.setSize(viewSize());
        svg.setViewBox(QRect(QPoint(0, 0), viewSize()));
        svg.setTitle(windowTitle());
        QPainter painter;
        if (!painter.begin(&svg)) {
            *errorString = QStringLiteral("cannot write %1").arg(path);
            return false;
        }
        paintView(painter);
        return painter.end();
    }
    QImage image(viewSize(), QImage::Format_RGB32);
    QPainter painter(&image);
    paintView(painter);
    painter.end();
    if (!image.save(path, "PNG")) {
        *errorString = QStringLiteral("cannot write %1").arg(path);
        return false;
    }
    return true;
}

void MainWindow::chooseExport(const QString &kind)
{
    const QString path = QFileDialog::getSaveFileName(
        this, QStringLiteral("Export view"), QStringLiteral("view.") + kind,
        kind == QLatin1String("svg") ? QStringLiteral("SVG (*.svg)")
                                     : QStringLiteral("PNG (*.png)"));
    QString error;
    if (!path.isEmpty() && !exportView(path, &error))
        QMessageBox::warning(this, QStringLiteral("Export view"), error);
}

bool MainWindow::exportLaps(const QString &directory, QStringList *written, QString *errorString)
{
    LapCsv::Settings settings;
    settings.directory = QDir(directory);
    settings.units = m_model.units();
    const QList<ViewModel::LapKey> overlaid = m_model.overlaid();
    for (qsizetype f = 0; f < m_model.files().size(); ++f) {
        QList<qsizetype> chosen;
        for (const ViewModel::LapKey &key : overlaid) {
            if (key.file == f)
                chosen.append(key.lap);
        }
        if (!chosen.isEmpty()
            && !LapCsv::write(m_model.files()[f].result, chosen, settings, written, errorString))
            return false;
    }
    return true;
}

void MainWindow::chooseLapsExport()
{
    const QString directory = QFileDialog::getExistingDirectory(
        this, QStringLiteral("Export the overlaid laps as CSV into"));
    if (directory.isEmpty())
        return;
    QStringList written;
    QString error;
    if (!exportLaps(directory, &written, &error))
        QMessageBox::warning(this, QStringLiteral("Export laps"), error);
    m_messages->appendPlainText(
        QStringLiteral("%1 CSV files written into %2").arg(written.size()).arg(directory));
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    QStringList paths;
    for (const QUrl &url : event->mimeData()->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    openFiles(paths);
    event->acceptProposedAction();
}
