#include "importworkers.h"

#include "importedfile.h"

#include <QDataStream>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>

#include <memory>

namespace {

struct Worker
{
    std::unique_ptr<QProcess> process;
    std::unique_ptr<QDataStream> answers;
    qsizetype job = -1; // the file it imports, -1 when idle
};

} // namespace

ImportWorkers::ImportWorkers(QString program, QStringList arguments, int count)
    : m_program(std::move(program))
    , m_arguments(std::move(arguments))
    , m_count(std::max(count, 1))
{ }

void ImportWorkers::run(const QList<ImportWorker::Request> &jobs, const Done &done)
{
    QEventLoop loop;
    std::vector<Worker> workers(size_t(std::min<qsizetype>(m_count, jobs.size())));
    qsizetype next = 0;
    qsizetype finished = 0;

    const auto finish = [&](const StoredFile &file) {
        if (!done(file) && next < jobs.size()) {
            // Stopped: the files not given out yet are left, those under way come back.
            finished += jobs.size() - next;
            next = jobs.size();
        }
        if (++finished == jobs.size())
            loop.quit();
    };
    const auto give = [&](Worker &worker) {
        if (next == jobs.size()) {
            worker.process->closeWriteChannel();
            return;
        }
        worker.job = next++;
        QDataStream requests(worker.process.get());
        requests << jobs[worker.job];
    };
    std::function<void(Worker &)> start = [&](Worker &worker) {
        worker.job = -1;
        worker.process = std::make_unique<QProcess>();
        worker.process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        worker.answers = std::make_unique<QDataStream>(worker.process.get());
        QProcess *process = worker.process.get();
        QObject::connect(process, &QProcess::readyReadStandardOutput, process, [&, process] {
            Worker &owner
                = *std::find_if(workers.begin(), workers.end(),
                                [process](const Worker &w) { return w.process.get() == process; });
            for (;;) {
                owner.answers->startTransaction();
                StoredFile file;
                *owner.answers >> file;
                if (!owner.answers->commitTransaction())
                    return;
                owner.job = -1;
                give(owner);
                finish(file);
            }
        });
        QObject::connect(
            process, &QProcess::finished, process,
            [&, process](int exitCode, QProcess::ExitStatus status) {
                Worker &owner
                    = *std::find_if(workers.begin(), workers.end(), [process](const Worker &w) {
                          return w.process.get() == process;
                      });
                if (owner.job < 0)
                    return;
                const QString &job = jobs[owner.job].path;
                const QString reason = status == QProcess::CrashExit
                    ? QStringLiteral("the import crashed its worker process")
                    : QStringLiteral("the import's worker process ended with status %1")
                          .arg(exitCode);
                const StoredFile failed = ImportedFile::failed(QFileInfo(job), QString(), reason);
                owner.process.release()->deleteLater();
                owner.answers.reset();
                owner.job = -1;
                if (next < jobs.size())
                    start(owner);
                finish(failed);
            });
        worker.process->start(m_program, m_arguments);
        if (!worker.process->waitForStarted()) {
            // Not a file's fault: without a worker, none of the files left can be imported.
            const QString reason = QStringLiteral("cannot start a worker process: %1")
                                       .arg(worker.process->errorString());
            worker.process.reset();
            worker.answers.reset();
            while (next < jobs.size()) {
                finish(ImportedFile::failed(QFileInfo(jobs[next++].path), QString(), reason));
            }
            return;
        }
        give(worker);
    };
    if (jobs.isEmpty())
        return;
    for (Worker &worker : workers)
        start(worker);
    if (finished < jobs.size())
        loop.exec();
    for (Worker &worker : workers) {
        if (!worker.process)
            continue;
        worker.process->closeWriteChannel();
        worker.process->waitForFinished();
    }
}
