#include "ibtlapsrun.h"
#include "lappicture.h"
#include "picturepixels.h"
#include "plotstyle.h"
#include "samplefiles.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QTest>

#include <cmath>

using namespace IbtLapsRun;
using namespace PicturePixels;
using ZUM::SDK::Channel;

namespace {

// The track map of a picture: the path in the speed scale's colours, the scale from dark
// (slow) at the bottom to light (fast) at the top, and the path as wide for its height as the
// best lap's positions say, on the ground.
bool drawsTheTrack(const QImage &image, const Laps &laps)
{
    const QRect map = LapPicture::trackMapPanel();
    const QRect scale = LapPicture::speedScale();
    if (colourful(image, map) < 500)
        return false;
    const QColor top = image.pixelColor(scale.center().x(), scale.top() + 3);
    const QColor bottom = image.pixelColor(scale.center().x(), scale.bottom() - 3);
    if (qGray(top.rgb()) <= qGray(bottom.rgb()) + 100)
        return false;

    QRect drawn;
    for (int y = map.top() + 2; y < map.bottom() - 2; ++y) {
        for (int x = map.left() + 2; x < map.right() - 2; ++x) {
            if (isColourful(image.pixelColor(x, y)))
                drawn |= QRect(x, y, 1, 1);
        }
    }
    // The best lap's extent in metres east and north, from its own positions.
    qsizetype best = -1;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        if (header.completed && header.lapTime != QTime(0, 59, 59)
            && (best < 0 || header.lapTime < laps[best]->header().lapTime))
            best = i;
    }
    const Channel &lat = *laps[best]->channel(QStringLiteral("lat"));
    const Channel &lon = *laps[best]->channel(QStringLiteral("lon"));
    double latSum = 0.0;
    for (qint64 i = 0; i < lat.size(); ++i)
        latSum += lat.value(i);
    const double eastPerDegree = std::cos(latSum / lat.size() * M_PI / 180.0);
    double west = INFINITY, east = -INFINITY, south = INFINITY, north = -INFINITY;
    for (qint64 i = 0; i < lat.size(); ++i) {
        west = std::min(west, lon.value(i) * eastPerDegree);
        east = std::max(east, lon.value(i) * eastPerDegree);
        south = std::min(south, lat.value(i));
        north = std::max(north, lat.value(i));
    }
    const double expected = (east - west) / (north - south);
    // The drawn line is a few pixels wide on either side.
    const double width = drawn.width() - 6.0;
    const double height = drawn.height() - 6.0;
    return std::abs(width / height - expected) < 0.03 * expected;
}

} // namespace

// The picture ibt-laps draws of a file's laps, read by the colours of its panels.
class tst_IbtLapsPicture : public IbtLapsTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pictureOfTheLaps_data();
    void pictureOfTheLaps();
    void pictureFormats_data();
    void pictureFormats();
    void noPictureForAFailedImport();
    void onePicturePerFile();
    void pictureOfARecordedFile();
};

void tst_IbtLapsPicture::initTestCase()
{
    QVERIFY(prepare());
}

void tst_IbtLapsPicture::pictureOfTheLaps_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("withDisplaySettings"); // false: no platform or display set at all
    QTest::addColumn<bool>("expectLaps");
    QTest::addColumn<bool>("expectMap");

    SessionGenerator::Options noPositions;
    noPositions.laps = 2;
    noPositions.omitVariables = {QStringLiteral("Lat"), QStringLiteral("Lon")};
    const QString withoutPositions = path(QStringLiteral("no-positions.ibt"));
    QVERIFY(SessionGenerator(noPositions).write(withoutPositions));

    QTest::newRow("practice") << m_practice << true << true << true;
    QTest::newRow("short practice without any display") << m_short << false << true << true;
    QTest::newRow("a session without positions") << withoutPositions << true << true << false;
    QTest::newRow("no laps") << m_noPlayer << true << false << false;
}

void tst_IbtLapsPicture::pictureOfTheLaps()
{
    QFETCH(QString, input);
    QFETCH(bool, withDisplaySettings);
    QFETCH(bool, expectLaps);
    QFETCH(bool, expectMap);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!withDisplaySettings) {
        for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QString::fromLatin1(name));
    }
    const QString plot = path(QStringLiteral("plot-%1.png").arg(QTest::currentDataTag()));
    const Run result = run({input, QStringLiteral("--plot"), plot}, environment);
    QVERIFY2(result.exitCode == 0, result.err.constData());
    QVERIFY(result.err.contains(("info: wrote the picture " + plot).toUtf8()));

    QImageReader reader(plot);
    QCOMPARE(reader.format(), QByteArray("png"));
    const QImage image = reader.read();
    if (!expectLaps) {
        // One panel with the reason under the title, not empty charts.
        QCOMPARE(image.size(), QSize(1600, LapPicture::NoLapsHeight));
        QCOMPARE(colourful(image, image.rect()), 0);
        QVERIFY(inked(image, LapPicture::noLapsPanel().adjusted(4, 4, -4, -4)) > 100);
        return;
    }
    QCOMPARE(image.size(), QSize(1600, LapPicture::Height));
    // Each panel where the layout puts it: the best lap in the best lap's colour in every
    // panel over distance, and in the legend.
    const QList<QRect> panels = {LapPicture::speedPanel(), LapPicture::legendBox(), LapPicture::deltaPanel(),
                                 LapPicture::inputsPanel(), LapPicture::gearPanel()};
    for (const QRect &panel : panels) {
        if (expectLaps)
            QVERIFY2(count(image, panel, PlotStyle::bestColour()) > 50,
                     qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
        else
            QCOMPARE(colourful(image, panel), 0);
    }
    // The other laps in the legend, in their own colours.
    if (expectLaps)
        QVERIFY(count(image, LapPicture::legendBox(), PlotStyle::otherColour(0)) > 20);
    if (expectMap)
        QVERIFY(drawsTheTrack(image, importDirectly(input)));
    else
        QVERIFY(colourful(image, LapPicture::trackMapPanel()) + colourful(image, LapPicture::speedScale())
                == 0);
}

void tst_IbtLapsPicture::pictureFormats_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("png") << QStringLiteral("laps.png") << QByteArray("png");
    QTest::newRow("jpeg") << QStringLiteral("laps.jpg") << QByteArray("jpeg");
    QTest::newRow("no suffix: png") << QStringLiteral("laps") << QByteArray("png");
}

void tst_IbtLapsPicture::pictureFormats()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    const QString plot = path(QStringLiteral("formats/%1").arg(name));
    QVERIFY(QDir().mkpath(path(QStringLiteral("formats"))));
    QCOMPARE(run({m_short, QStringLiteral("--plot"), plot}).exitCode, 0);
    QImageReader reader(plot);
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), format);
    QCOMPARE(reader.size(), QSize(1600, LapPicture::Height));
}

void tst_IbtLapsPicture::noPictureForAFailedImport()
{
    const QString missing = path(QStringLiteral("missing.ibt"));
    const QString plot = path(QStringLiteral("failed.png"));
    const Run result = run({missing, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 1);
    QVERIFY(!QFile::exists(plot));
    QVERIFY2(result.err.contains(
                 ("note: no picture for " + missing + ": it could not be imported").toUtf8()),
             result.err.constData());
}

void tst_IbtLapsPicture::onePicturePerFile()
{
    const QString plot = path(QStringLiteral("several.png"));
    const Run result = run({m_short, m_shortSecond, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(!QFile::exists(plot));
    QCOMPARE(QImage(path(QStringLiteral("several_short.png"))).size(),
             QSize(1600, LapPicture::Height));
    QCOMPARE(QImage(path(QStringLiteral("several_second.png"))).size(),
             QSize(1600, LapPicture::Height));
}

void tst_IbtLapsPicture::pictureOfARecordedFile()
{
    // A file recorded by the simulator, with the car's positions: the track map is drawn.
    const QString file
        = SampleFiles::path(QStringLiteral("rr_skmodified_langley_2015-05-28_14-46-23.ibt"));
    if (!QFile::exists(file))
        QSKIP("no recorded .ibt files in ZUM_IBT_SAMPLES or ../shared/ibt");
    const Laps laps = importDirectly(file);
    QVERIFY(!laps.isEmpty());
    QVERIFY(laps.first()->channel(QStringLiteral("lat")));
    const QString plot = path(QStringLiteral("recorded.png"));
    QCOMPARE(run({file, QStringLiteral("--plot"), plot}).exitCode, 0);
    const QImage image(plot);
    QCOMPARE(image.size(), QSize(1600, LapPicture::Height));
    QVERIFY(drawsTheTrack(image, laps));
    for (const QRect &panel :
         {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::inputsPanel()})
        QVERIFY(count(image, panel, PlotStyle::bestColour()) > 50);
}

QTEST_MAIN(tst_IbtLapsPicture)
#include "tst_ibtlapspicture.moc"
