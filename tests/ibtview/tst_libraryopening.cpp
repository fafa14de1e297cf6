#include "databaseaddress.h"
#include "library.h"
#include "librarybrowser.h"
#include "libraryfiles.h"
#include "libraryopening.h"
#include "libraryqueries.h"
#include "librarytest.h"

#include <QCollator>
#include <QFile>
#include <QTest>

using Key = ViewModel::LapKey;
using LapPlace = LibraryQueries::LapPlace;

namespace {

// The file imported as the viewer imports it.
ImportResult imported(const QString &path)
{
    ImportResult result = ViewerTest::host().importFile(path);
    result.recording = RecordingInfo::read(path);
    return result;
}

} // namespace

// What the viewer does with laps picked in the lap library, without a window: which files it
// imports, which laps it overlays and which becomes the reference, and what it says of files
// that are no longer as they were added.
class tst_LibraryOpening : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lapPlaces();
    void names();
    void opensTheChosenLapsOfTwoFiles();
    void lapOfAnOpenFile();
    void fileNotAsAdded_data();
    void fileNotAsAdded();
    void lapNoLongerInTheFile();
    void failedImport();
    void browserAnswersTheLastQuestion();
    void browserWithoutALibrary();

private:
    // The places of these laps, from the library file given (the sessions' by default).
    QList<LapPlace> placesOf(const QList<LibraryTest::Lap> &laps, QString library = {});

    QTemporaryDir m_dir;
    LibraryTest::Sessions m_sessions;
};

void tst_LibraryOpening::initTestCase()
{
    QVERIFY2(ViewerTest::host().load(), qPrintable(ViewerTest::host().errorString()));
    QVERIFY(m_sessions.write(m_dir.filePath(QStringLiteral("sessions"))));
}

QList<LapPlace> tst_LibraryOpening::placesOf(const QList<LibraryTest::Lap> &laps, QString library)
{
    if (library.isEmpty())
        library = m_sessions.library;
    QString error;
    Library opened(*DatabaseAddress::parse(library, &error));
    if (!opened.open(Library::Access::Read)) {
        qWarning() << opened.errorString();
        return {};
    }
    LibraryQueries queries(opened);
    const std::optional<RowOutput> rows = queries.laps({}, LibraryQueries::LapOrder::Date);
    if (!rows)
        return {};
    QList<qint64> ids;
    for (const LibraryTest::Lap &lap : laps) {
        for (qsizetype row = 0; row < rows->rowCount(); ++row) {
            if (rows->value(row, QStringLiteral("file")).toString() == lap.file
                && rows->value(row, QStringLiteral("lapNumber")).toInt() == lap.lapNumber
                && rows->value(row, QStringLiteral("stint")).toInt() == lap.stint)
                ids.append(rows->value(row, QStringLiteral("id")).toLongLong());
        }
    }
    return queries.lapPlaces(ids).value_or(QList<LapPlace>());
}

void tst_LibraryOpening::lapPlaces()
{
    QString error;
    Library library(*DatabaseAddress::parse(m_sessions.library, &error));
    QVERIFY2(library.open(Library::Access::Read), qPrintable(library.errorString()));
    LibraryQueries queries(library);
    const std::optional<RowOutput> rows = queries.laps({}, LibraryQueries::LapOrder::Date);
    QVERIFY(rows);
    QCOMPARE(rows->rowCount(), m_sessions.laps.size());
    // The last lap listed first, and an id the library does not hold left out.
    const qint64 first = rows->value(0, QStringLiteral("id")).toLongLong();
    const qint64 last = rows->value(rows->rowCount() - 1, QStringLiteral("id")).toLongLong();
    const std::optional<QList<LapPlace>> places = queries.lapPlaces({last, 987654321, first});
    QVERIFY2(places, qPrintable(library.errorString()));
    QCOMPARE(places->size(), 2);
    QCOMPARE(places->at(0).id, last);
    QCOMPARE(places->at(1).id, first);
    for (const LapPlace &place : *places) {
        const auto lap = m_sessions.where([&](const LibraryTest::Lap &l) {
            return l.file == place.file.path && l.lapNumber == place.lapNumber
                && l.stint == place.stint && l.lapInStint == place.lapInStint;
        });
        QCOMPARE(lap.size(), 1);
        // The file as it was added, which it still is.
        const QFileInfo info(place.file.path);
        QCOMPARE(place.file.size, info.size());
        QCOMPARE(place.file.modified.toMSecsSinceEpoch(), info.lastModified().toMSecsSinceEpoch());
        QCOMPARE(LibraryFiles::presence(place.file), LibraryFiles::Presence::AsAdded);
    }
}

void tst_LibraryOpening::names()
{
    QString error;
    Library library(*DatabaseAddress::parse(m_sessions.library, &error));
    QVERIFY2(library.open(Library::Access::Read), qPrintable(library.errorString()));
    LibraryQueries queries(library);
    const auto distinct = [this](QString LibraryTest::Lap::*field) {
        QStringList names;
        for (const LibraryTest::Lap &lap : m_sessions.laps) {
            if (!names.contains(lap.*field))
                names.append(lap.*field);
        }
        QCollator collator;
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        std::sort(names.begin(), names.end(), collator);
        return names;
    };
    using Field = LibraryQueries::Field;
    QCOMPARE(queries.names(Field::Track), distinct(&LibraryTest::Lap::track));
    QCOMPARE(queries.names(Field::Car), distinct(&LibraryTest::Lap::car));
    QCOMPARE(queries.names(Field::Driver), distinct(&LibraryTest::Lap::driver));
    // Two of each: the filters have something to choose from.
    QCOMPARE(queries.names(Field::Track)->size(), 2);
    QCOMPARE(queries.names(Field::Car)->size(), 2);
    QCOMPARE(queries.names(Field::Driver)->size(), 2);
}

void tst_LibraryOpening::opensTheChosenLapsOfTwoFiles()
{
    // The slower flying lap of each of two files, neither of them the lap its file opens
    // with, nor the fastest of all that would be the reference without a choice.
    const LibraryTest::Lap slow = m_sessions.timedLaps(m_sessions.files[0]).first();
    const LibraryTest::Lap fast = m_sessions.timedLaps(m_sessions.files[1]).first();
    QVERIFY(*fast.time < *slow.time);
    const QList<LapPlace> places = placesOf({slow, fast});
    QCOMPARE(places.size(), 2);

    ViewModel model;
    LibraryOpening opening(model);
    const LibraryOpening::Plan plan = opening.open(places);
    QCOMPARE(plan.imports, QStringList({slow.file, fast.file}));
    QVERIFY2(plan.messages.isEmpty(), qPrintable(plan.messages.join(u'\n')));
    QCOMPARE(opening.pending(), plan.imports);

    // The imports come back in turn.
    for (const QString &path : plan.imports) {
        const qsizetype file = model.addFile(imported(path));
        const QStringList messages = opening.opened(file);
        QVERIFY2(messages.isEmpty(), qPrintable(messages.join(u'\n')));
    }
    QVERIFY(opening.pending().isEmpty());
    QCOMPARE(model.files().size(), 2);
    const Key slowKey = LibraryTest::keyOf(model, slow), fastKey = LibraryTest::keyOf(model, fast);
    QVERIFY(slowKey.isValid() && fastKey.isValid());
    // Exactly the chosen laps, not the files' best laps that a file opens with.
    QCOMPARE(model.overlaid(), QList<Key>({slowKey, fastKey}));
    // The fastest chosen lap, not the fastest of all.
    QVERIFY(model.best() != fastKey);
    QCOMPARE(model.reference(), fastKey);
}

void tst_LibraryOpening::lapOfAnOpenFile()
{
    ViewModel model;
    model.addFile(imported(m_sessions.files[0]));
    const Key best = model.best();
    const LibraryTest::Lap slow = m_sessions.timedLaps(m_sessions.files[0]).first();
    const Key slowKey = LibraryTest::keyOf(model, slow);
    QVERIFY(slowKey.isValid() && slowKey != best);

    LibraryOpening opening(model);
    const LibraryOpening::Plan plan = opening.open(placesOf({slow}));
    // Not imported twice: the lap is overlaid beside what was overlaid there.
    QVERIFY(plan.imports.isEmpty());
    QCOMPARE(model.files().size(), 1);
    // In the list's order.
    QCOMPARE(model.overlaid(),
             slowKey.lap < best.lap ? QList<Key>({slowKey, best}) : QList<Key>({best, slowKey}));
    QCOMPARE(model.reference(), slowKey);
}

void tst_LibraryOpening::fileNotAsAdded_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("advice");
    QTest::newRow("deleted") << "delete"
                             << "ibt-library check";
    QTest::newRow("moved") << "move"
                           << "ibt-library check";
    QTest::newRow("written again") << "append"
                                   << "ibt-library add";
    QTest::newRow("touched") << "touch"
                             << "ibt-library add";
}

void tst_LibraryOpening::fileNotAsAdded()
{
    QFETCH(QString, change);
    QFETCH(QString, advice);
    // Copies of two files in a library of their own.
    QTemporaryDir dir;
    QStringList copies;
    QList<LibraryTest::Lap> chosen;
    for (const QString &file : {m_sessions.files[0], m_sessions.files[2]}) {
        copies.append(dir.filePath(QFileInfo(file).fileName()));
        QVERIFY(QFile::copy(file, copies.last()));
        chosen.append(m_sessions.timedLaps(file).first());
        chosen.last().file = copies.last();
    }
    const QString library = dir.filePath(QStringLiteral("library.sqlite"));
    QVERIFY(LibraryTest::add(library, copies));
    const QList<LapPlace> places = placesOf(chosen, library);
    QCOMPARE(places.size(), 2);

    QFile changed(copies[0]);
    if (change == u"delete") {
        QVERIFY(changed.remove());
    } else if (change == u"move") {
        QVERIFY(changed.rename(dir.filePath(QStringLiteral("elsewhere.ibt"))));
    } else if (change == u"append") {
        // Written again at the same moment: its size tells.
        const QDateTime modified = QFileInfo(copies[0]).lastModified();
        QVERIFY(changed.open(QIODevice::Append));
        changed.write("more");
        changed.close();
        QVERIFY(changed.open(QIODevice::Append));
        QVERIFY(changed.setFileTime(modified, QFileDevice::FileModificationTime));
        changed.close();
    } else {
        QVERIFY(changed.open(QIODevice::Append));
        QVERIFY(changed.setFileTime(QFileInfo(copies[0]).lastModified().addSecs(60),
                                    QFileDevice::FileModificationTime));
        changed.close();
    }

    ViewModel model;
    LibraryOpening opening(model);
    const LibraryOpening::Plan plan = opening.open(places);
    // The other file still opens.
    QCOMPARE(plan.imports, QStringList {copies[1]});
    QCOMPARE(plan.messages.size(), 1);
    const QString message = plan.messages.first();
    QVERIFY2(
        message.startsWith(QDir::toNativeSeparators(copies[0]) + QStringLiteral(": not opened")),
        qPrintable(message));
    QVERIFY2(message.contains(advice), qPrintable(message));
    const qsizetype file = model.addFile(imported(copies[1]));
    QVERIFY(opening.opened(file).isEmpty());
    QCOMPARE(model.overlaid(), QList<Key> {LibraryTest::keyOf(model, chosen[1])});
    QCOMPARE(model.reference(), LibraryTest::keyOf(model, chosen[1]));
}

void tst_LibraryOpening::lapNoLongerInTheFile()
{
    const LibraryTest::Lap slow = m_sessions.timedLaps(m_sessions.files[0]).first();
    QList<LapPlace> places = placesOf({slow});
    QCOMPARE(places.size(), 1);
    // A lap the file does not hold, as if the library knew another recording at its path.
    LapPlace gone = places.first();
    gone.lapNumber = 99;
    places.append(gone);

    ViewModel model;
    LibraryOpening opening(model);
    QCOMPARE(opening.open(places).imports, QStringList {slow.file});
    const QStringList messages = opening.opened(model.addFile(imported(slow.file)));
    QCOMPARE(messages.size(), 1);
    QVERIFY2(messages.first().startsWith(QDir::toNativeSeparators(slow.file)
                                         + QStringLiteral(": lap 99 of stint ")),
             qPrintable(messages.first()));
    QCOMPARE(model.overlaid(), QList<Key> {LibraryTest::keyOf(model, slow)});
}

void tst_LibraryOpening::failedImport()
{
    const QList<LapPlace> places = placesOf({m_sessions.timedLaps(m_sessions.files[0]).first()});
    ViewModel model;
    LibraryOpening opening(model);
    QCOMPARE(opening.open(places).imports.size(), 1);
    // Asked for again while its import is under way: imported once.
    QVERIFY(opening.open(places).imports.isEmpty());
    QCOMPARE(opening.pending().size(), 1);
    opening.failed(places.first().file.path);
    QVERIFY(opening.pending().isEmpty());
    // A file opened afterwards by other means keeps the laps it opens with.
    const qsizetype file = model.addFile(imported(places.first().file.path));
    QVERIFY(opening.opened(file).isEmpty());
    QCOMPARE(model.overlaid(), QList<Key> {model.best()});
}

void tst_LibraryOpening::browserAnswersTheLastQuestion()
{
    LibraryBrowser browser;
    browser.setGiven(m_sessions.library);
    QVERIFY(browser.isPresent());
    QList<qsizetype> answers;
    connect(&browser, &LibraryBrowser::lapsAnswered, this,
            [&answers](const RowOutput &laps) { answers.append(laps.rowCount()); });
    LapFilter oulton;
    oulton.track = QStringLiteral("oulton");
    // Asked again before the first answer came: only the second one is answered.
    browser.askLaps({}, LibraryQueries::LapOrder::Date);
    browser.askLaps(oulton, LibraryQueries::LapOrder::Date);
    QVERIFY(browser.isBusy());
    QVERIFY(QTest::qWaitFor([&browser] { return !browser.isBusy(); }, 60000));
    const qsizetype oultonLaps
        = m_sessions
              .where([](const LibraryTest::Lap &lap) { return lap.track.contains(u"Oulton"); })
              .size();
    QVERIFY(oultonLaps > 0 && oultonLaps < m_sessions.laps.size());
    QCOMPARE(answers, QList<qsizetype> {oultonLaps});
}

void tst_LibraryOpening::browserWithoutALibrary()
{
    QTemporaryDir dir;
    const QString missing = dir.filePath(QStringLiteral("none.sqlite"));
    LibraryBrowser browser;
    browser.setGiven(missing);
    QVERIFY(!browser.isPresent());
    QCOMPARE(browser.displayText(), QDir::toNativeSeparators(missing));
    QStringList failures;
    connect(&browser, &LibraryBrowser::failed, this,
            [&failures](const QString &message) { failures.append(message); });
    browser.askNames();
    QVERIFY(QTest::qWaitFor([&browser] { return !browser.isBusy(); }, 60000));
    QCOMPARE(failures.size(), 1);
    QVERIFY2(failures.first().contains(QStringLiteral("ibt-library add")),
             qPrintable(failures.first()));
    // Nothing was made there.
    QVERIFY(!QFileInfo::exists(missing));
}

QTEST_GUILESS_MAIN(tst_LibraryOpening)
#include "tst_libraryopening.moc"
