#include "picturepixels.h"
#include "plotstyle.h"
#include "sessiongenerator.h"

#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

// The real program on a real X server (Xvfb), as a driver starts it: it opens the file,
// draws its window and saves a picture of it.
class tst_IbtViewScreenshot : public QObject
{
    Q_OBJECT

private slots:
    void screenshotOfTheWindow();
};

void tst_IbtViewScreenshot::screenshotOfTheWindow()
{
    const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
    if (xvfbRun.isEmpty())
        QSKIP("xvfb-run is not installed (Debian packages xvfb and xauth)");
    QTemporaryDir dir;
    const QString session = dir.filePath(QStringLiteral("practice.ibt"));
    QVERIFY(SessionGenerator().write(session));
    const QString picture = dir.filePath(QStringLiteral("window.png"));

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // A display of its own, not the offscreen platform the other tests use.
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    // A display without a desktop session has no session bus; without this, libdbus goes
    // looking for one and keeps a buffer of it until the program ends.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("disabled:"));
    process.setProcessEnvironment(environment);
    process.start(xvfbRun,
                  {QStringLiteral("-a"), QStringLiteral("-s"),
                   QStringLiteral("-screen 0 1920x1080x24"), QStringLiteral(IBT_VIEW_PATH), session,
                   QStringLiteral("--laps"), QStringLiteral("1-3"), QStringLiteral("--screenshot"),
                   picture});
    QVERIFY(process.waitForFinished(120000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             process.readAllStandardError().constData());

    const QImage image(picture);
    QVERIFY(!image.isNull());
    // The window's own size when it opens.
    QCOMPARE(image.size(), QSize(1600, 950));
    // The charts fill the middle of the window, one above the other: each fifth of it holds
    // lines of the overlaid laps, the best and the two asked for beside it.
    const int chartsLeft = 500, chartsRight = 1200, chartsHeight = 820;
    const auto band = [&](int chart) {
        return QRect(chartsLeft, chart * chartsHeight / 5, chartsRight - chartsLeft,
                     chartsHeight / 5);
    };
    for (int chart = 0; chart < 5; ++chart) {
        int lines = 0;
        for (const QColor &colour :
             {PlotStyle::bestColour(), PlotStyle::otherColour(0), PlotStyle::otherColour(1)})
            lines += PicturePixels::count(image, band(chart), colour);
        QVERIFY2(lines > 100, qPrintable(QStringLiteral("chart %1").arg(chart)));
    }
    // The reference on top in the speed chart; the others apart from it in the delta chart.
    QVERIFY(PicturePixels::count(image, band(0), PlotStyle::bestColour()) > 100);
    QVERIFY(PicturePixels::count(image, band(1), PlotStyle::otherColour(0)) > 100);
    QVERIFY(PicturePixels::count(image, band(1), PlotStyle::otherColour(1)) > 100);
    // The track map on the right, coloured by speed.
    QVERIFY(PicturePixels::colourful(image, QRect(1250, 380, 340, 420)) > 200);
}

QTEST_GUILESS_MAIN(tst_IbtViewScreenshot)
#include "tst_ibtviewscreenshot.moc"
