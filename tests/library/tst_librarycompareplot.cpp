// The picture of `ibt-library compare --plot`, drawn from what the library stores of the laps
// alone: the files are deleted once added. Read by the colours of its panels, as the pictures
// of ibt-laps are.

#include "lappicture.h"
#include "libraryfixture.h"
#include "picturepixels.h"
#include "plotstyle.h"

#include <QImage>
#include <QImageReader>

#include <algorithm>

using namespace TestLibrary;
using namespace PicturePixels;

class TestLibraryComparePlot : public Fixture
{
    Q_OBJECT

private slots:
    void initTestCase();
    void panelsFromStoredData();
    void anOutLapWhereItDrove();
    void formats_data();
    void formats();
    void unknownFormat();
    void lapsOfTwoTracks();

private:
    // The fastest timed lap of one file, or its slowest.
    QString lapOf(const QString &file, bool fastest) const;
    TestLibrary::Run compare(const QStringList &laps, const QString &plot) const;

    std::unique_ptr<TestLibrary::Fresh> m_library;
    QJsonArray m_laps; // as `laps --timed --json` lists them
};

void TestLibraryComparePlot::initTestCase()
{
    prepareSessions();
    m_library = std::make_unique<TestLibrary::Fresh>();
    QVERIFY(addFolder(*m_library));
    m_laps
        = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--timed"), QStringLiteral("--json"),
                        QStringLiteral("--db"), m_library->address()}));
    QVERIFY(!m_laps.isEmpty());
    // From here on the library is all there is.
    for (const QString &file : std::as_const(m_files))
        QVERIFY(QFile::remove(file));
}

QString TestLibraryComparePlot::lapOf(const QString &file, bool fastest) const
{
    const QString path = QFileInfo(file).absoluteFilePath();
    QJsonObject chosen;
    for (const QJsonValue &value : m_laps) {
        const QJsonObject lap = value.toObject();
        if (lap[u"file"].toString() != path)
            continue;
        const double time = lap[u"lapTimeSeconds"].toDouble();
        if (chosen.isEmpty()
            || (fastest ? time < chosen[u"lapTimeSeconds"].toDouble()
                        : time > chosen[u"lapTimeSeconds"].toDouble()))
            chosen = lap;
    }
    return chosen.isEmpty() ? QString() : QString::number(chosen[u"id"].toInteger());
}

TestLibrary::Run TestLibraryComparePlot::compare(const QStringList &laps, const QString &plot) const
{
    return run(QStringList {QStringLiteral("compare")} + laps
               + QStringList {QStringLiteral("--plot"), plot, QStringLiteral("--db"),
                              m_library->address()});
}

void TestLibraryComparePlot::panelsFromStoredData()
{
    // The best lap of one driver against the slowest of another, on the same track.
    const QString first = lapOf(m_files[0], true);
    const QString second = lapOf(m_files[2], false);
    QVERIFY(!first.isEmpty() && !second.isEmpty());
    const QString plot = m_dir.filePath(QStringLiteral("compare.png"));
    const TestLibrary::Run result = compare({first, second}, plot);
    QVERIFY2(result.exitCode == 0, result.err.constData());
    // The table is printed as without the picture.
    QVERIFY(result.out.contains("Delta"));

    const QImage image(plot);
    QCOMPARE(image.size(), QSize(LapPicture::Width, LapPicture::Height));
    const QColor firstColour = PlotStyle::bestColour();
    const QColor secondColour = PlotStyle::otherColour(0);
    // Every panel over distance drawn, with the first lap in it; both laps in the speed, the
    // delta and the legend.
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::deltaPanel(),
                               LapPicture::inputsPanel(), LapPicture::gearPanel()})
        QVERIFY2(count(image, panel, firstColour) > 50,
                 qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
    for (const QRect &panel :
         {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::legendBox()})
        QVERIFY2(count(image, panel, secondColour) > 20,
                 qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));

    // The first lap is what the delta is measured against: a flat line across the panel (on
    // its floor, where no lap gains on it).
    const QRect delta = LapPicture::deltaPanel().adjusted(2, 2, -2, 1);
    int top = delta.bottom();
    int bottom = delta.top();
    int columns = 0;
    for (int x = delta.left(); x <= delta.right(); ++x) {
        bool found = false;
        for (int y = delta.top(); y <= delta.bottom(); ++y) {
            if (image.pixelColor(x, y) == firstColour) {
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                found = true;
            }
        }
        columns += found;
    }
    QVERIFY2(bottom - top <= 4, qPrintable(QStringLiteral("%1 to %2").arg(top).arg(bottom)));
    QVERIFY(columns > delta.width() * 9 / 10);
    // At 0: the slower lap loses time from the line on, starting on the flat line and rising
    // above it, and never falling below it by much.
    int highest = delta.bottom();
    int lowest = delta.top();
    for (int y = delta.top(); y <= delta.bottom(); ++y) {
        for (int x = delta.left(); x <= delta.right(); ++x) {
            if (image.pixelColor(x, y) == secondColour) {
                highest = std::min(highest, y);
                lowest = std::max(lowest, y);
            }
        }
    }
    QVERIFY2(highest < top - 20, qPrintable(QString::number(highest)));
    QVERIFY2(lowest <= bottom + 6, qPrintable(QString::number(lowest)));

    // The track map from the stored positions, in the speed scale's colours.
    QVERIFY(colourful(image, LapPicture::trackMapPanel()) > 500);
    const QRect scale = LapPicture::speedScale();
    QVERIFY(qGray(image.pixel(scale.center().x(), scale.top() + 3))
            > qGray(image.pixel(scale.center().x(), scale.bottom() - 3)) + 100);
    // The times in the box below.
    QVERIFY(inked(image, LapPicture::summaryBox()) > 200);
}

void TestLibraryComparePlot::anOutLapWhereItDrove()
{
    // The first file's out lap: from the pits, after the line, without a time.
    const QJsonArray all = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--json"),
                                         QStringLiteral("--db"), m_library->address()}));
    QString outLap;
    for (const QJsonValue &value : all) {
        const QJsonObject lap = value.toObject();
        if (lap[u"file"].toString() == QFileInfo(m_files[0]).absoluteFilePath()
            && lap[u"lapNumber"].toInt() == 0 && lap[u"lapTimeSeconds"].isNull())
            outLap = QString::number(lap[u"id"].toInteger());
    }
    QVERIFY(!outLap.isEmpty());
    const QString plot = m_dir.filePath(QStringLiteral("out-lap.png"));
    const TestLibrary::Run result = compare({lapOf(m_files[0], true), outLap}, plot);
    QVERIFY2(result.exitCode == 0, result.err.constData());
    const QImage image(plot);
    const QColor outLapColour = PlotStyle::otherColour(0);
    // Its speed and inputs where it drove, and not before it reached the track: the trace
    // holds its first values back to the line, which are not drawn.
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::inputsPanel()})
        QVERIFY(count(image, panel, outLapColour) > 20);
    const QRect speed = LapPicture::speedPanel();
    QCOMPARE(count(image, QRect(speed.left(), speed.top(), 20, speed.height()), outLapColour), 0);
    // No delta: an out lap's time since the line is no time it drove.
    QCOMPARE(count(image, LapPicture::deltaPanel(), outLapColour), 0);
    QVERIFY(count(image, LapPicture::deltaPanel(), PlotStyle::bestColour()) > 50);
}

void TestLibraryComparePlot::formats_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("start"); // the file's first bytes
    QTest::newRow("png") << QStringLiteral("compare.png") << QByteArray("\x89PNG");
    QTest::newRow("svg") << QStringLiteral("compare.svg") << QByteArray("<?xml");
    QTest::newRow("pdf") << QStringLiteral("compare.PDF") << QByteArray("%PDF");
}

void TestLibraryComparePlot::formats()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, start);
    const QString plot = m_dir.filePath(QStringLiteral("formats/") + name);
    QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("formats"))));
    const TestLibrary::Run result
        = compare({lapOf(m_files[0], true), lapOf(m_files[2], true)}, plot);
    QVERIFY2(result.exitCode == 0, result.err.constData());
    QFile file(plot);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY2(bytes.startsWith(start), bytes.left(16).constData());
    if (start == "\x89PNG")
        QCOMPARE(QImageReader(plot).size(), QSize(LapPicture::Width, LapPicture::Height));
    else if (start == "<?xml")
        QVERIFY(bytes.contains(QStringLiteral("viewBox=\"0 0 %1 %2\"")
                                   .arg(LapPicture::Width)
                                   .arg(LapPicture::Height)
                                   .toUtf8()));
}

void TestLibraryComparePlot::unknownFormat()
{
    const QString plot = m_dir.filePath(QStringLiteral("compare.xyz"));
    const TestLibrary::Run result
        = compare({lapOf(m_files[0], true), lapOf(m_files[2], true)}, plot);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains("--plot: Qt cannot write pictures of the format 'xyz'; it "
                                 "writes "),
             result.err.constData());
    QVERIFY(result.err.contains("png") && result.err.contains("svg") && result.err.contains("pdf"));
    QVERIFY(!QFile::exists(plot));
}

void TestLibraryComparePlot::lapsOfTwoTracks()
{
    const QString plot = m_dir.filePath(QStringLiteral("tracks.png"));
    const TestLibrary::Run result
        = compare({lapOf(m_files[0], true), lapOf(m_files[3], true)}, plot);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("only laps of one track compare"), result.err.constData());
    QVERIFY(!QFile::exists(plot));
}

QTEST_GUILESS_MAIN(TestLibraryComparePlot)
#include "tst_librarycompareplot.moc"
