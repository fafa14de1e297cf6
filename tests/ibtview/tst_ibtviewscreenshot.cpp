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
    process.setProcessEnvironment(environment);
    process.start(xvfbRun,
                  {QStringLiteral("-a"), QStringLiteral("-s"),
                   QStringLiteral("-screen 0 1920x1080x24"), QStringLiteral(IBT_VIEW_PATH), session,
                   QStringLiteral("--screenshot"), picture});
    QVERIFY(process.waitForFinished(120000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             process.readAllStandardError().constData());

    const QImage image(picture);
    QVERIFY(!image.isNull());
    // The window's own size when it opens.
    QCOMPARE(image.size(), QSize(1600, 950));
    // The charts fill the middle of the window, one above the other: each fifth of it holds
    // the reference lap's line.
    const int chartsLeft = 500, chartsRight = 1200, chartsHeight = 820;
    for (int chart = 0; chart < 5; ++chart) {
        const QRect band(chartsLeft, chart * chartsHeight / 5, chartsRight - chartsLeft,
                         chartsHeight / 5);
        QVERIFY2(PicturePixels::count(image, band, PlotStyle::bestColour()) > 100,
                 qPrintable(QStringLiteral("chart %1").arg(chart)));
    }
    // The track map on the right, coloured by speed.
    QVERIFY(PicturePixels::colourful(image, QRect(1250, 380, 340, 420)) > 200);
}

QTEST_GUILESS_MAIN(tst_IbtViewScreenshot)
#include "tst_ibtviewscreenshot.moc"
