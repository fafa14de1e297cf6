#include "librarybrowser.h"

#include "databaseaddress.h"
#include "library.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

namespace {

template<typename T>
struct Answer
{
    std::optional<T> value;
    QString error;
};

// On a worker thread: a connection of its own, opened, asked and closed there.
template<typename T, typename Ask>
Answer<T> askLibrary(const QString &given, const Ask &asking)
{
    QString error;
    const std::optional<DatabaseAddress> address = DatabaseAddress::resolve(given, &error);
    if (!address)
        return {std::nullopt, QStringLiteral("library: ") + error};
    Library library(*address);
    if (!library.open(Library::Access::Read))
        return {std::nullopt, library.errorString()};
    LibraryQueries queries(library);
    std::optional<T> value = asking(queries);
    if (!value)
        return {std::nullopt, library.errorString()};
    return {std::move(value), QString()};
}

} // namespace

LibraryBrowser::LibraryBrowser(QObject *parent)
    : QObject(parent)
{ }

bool LibraryBrowser::isPresent() const
{
    QString error;
    const std::optional<DatabaseAddress> address = DatabaseAddress::resolve(m_given, &error);
    // An address that cannot be used is there to be told why, in the browser.
    if (!address)
        return true;
    return address->engine() == DatabaseAddress::Engine::PostgreSQL
        || QFileInfo(address->databaseName()).isFile();
}

QString LibraryBrowser::displayText() const
{
    QString error;
    const std::optional<DatabaseAddress> address = DatabaseAddress::resolve(m_given, &error);
    return address ? address->displayText() : error;
}

template<typename T, typename Ask, typename Answered>
void LibraryBrowser::ask(Question question, Ask asking, Answered answered)
{
    const int number = ++m_latest[int(question)];
    ++m_running;
    auto *watcher = new QFutureWatcher<Answer<T>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [=, this] {
        watcher->deleteLater();
        --m_running;
        if (number != m_latest[int(question)])
            return;
        const Answer<T> answer = watcher->result();
        if (answer.value)
            answered(*answer.value);
        else
            emit failed(answer.error);
    });
    watcher->setFuture(
        QtConcurrent::run([given = m_given, asking] { return askLibrary<T>(given, asking); }));
}

void LibraryBrowser::askNames()
{
    ask<Names>(
        Question::Names,
        [](LibraryQueries &queries) -> std::optional<Names> {
            using Field = LibraryQueries::Field;
            Names names;
            const std::pair<Field, QStringList *> fields[] = {{Field::Track, &names.tracks},
                                                              {Field::Car, &names.cars},
                                                              {Field::Driver, &names.drivers},
                                                              {Field::SessionKind, &names.kinds}};
            for (const auto &[field, list] : fields) {
                std::optional<QStringList> found = queries.names(field);
                if (!found)
                    return std::nullopt;
                *list = *found;
            }
            return names;
        },
        [this](const Names &names) { emit namesAnswered(names); });
}

void LibraryBrowser::askLaps(const LapFilter &filter, LibraryQueries::LapOrder order)
{
    ask<RowOutput>(
        Question::Laps,
        [filter, order](LibraryQueries &queries) { return queries.laps(filter, order); },
        [this](const RowOutput &laps) { emit lapsAnswered(laps); });
}

void LibraryBrowser::askPlaces(const QList<qint64> &ids)
{
    ask<QList<LibraryQueries::LapPlace>>(
        Question::Places, [ids](LibraryQueries &queries) { return queries.lapPlaces(ids); },
        [this](const QList<LibraryQueries::LapPlace> &places) { emit placesAnswered(places); });
}
