#pragma once

#include "lapfilter.h"
#include "libraryqueries.h"

#include <QObject>
#include <QStringList>

#include <array>

// The lap library as the viewer reads it: the one given with --db, else the one IBT_LIBRARY
// names, else the file ibt-library fills by default, and its answers to the browser's
// questions. Each question opens the library and asks on a worker thread: a list of laps out
// of 100,000 takes tens of milliseconds, but a server that is slow to connect or to answer
// must not hold up the window.
class LibraryBrowser : public QObject
{
    Q_OBJECT

public:
    // The names the filters offer, from the library's own files.
    struct Names
    {
        QStringList tracks;
        QStringList cars;
        QStringList drivers;
        QStringList kinds;
    };

    explicit LibraryBrowser(QObject *parent = nullptr);

    // The --db option's value; empty for IBT_LIBRARY or the default file.
    void setGiven(const QString &given) { m_given = given; }
    // Whether there is a library to browse: a server, or a file that exists. Asked anew each
    // time, since ibt-library may make the library while the viewer runs.
    bool isPresent() const;
    // Where the library is, as messages name it.
    QString displayText() const;

    // Each answer comes as its signal, or as failed() with the library's own message. Of
    // several questions of one kind under way, only the last one is answered.
    void askNames();
    void askLaps(const LapFilter &filter, LibraryQueries::LapOrder order);
    void askPlaces(const QList<qint64> &ids);
    bool isBusy() const { return m_running > 0; }

signals:
    void namesAnswered(const LibraryBrowser::Names &names);
    void lapsAnswered(const RowOutput &laps);
    void placesAnswered(const QList<LibraryQueries::LapPlace> &places);
    void failed(const QString &message);

private:
    enum class Question { Names, Laps, Places };

    template<typename T, typename Ask, typename Answered>
    void ask(Question question, Ask asking, Answered answered);

    QString m_given;
    std::array<int, 3> m_latest {}; // by Question, the number of the last one asked
    int m_running = 0;
};
