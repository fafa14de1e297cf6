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

// One run over a list of files: gives each idle worker the next file, takes each answer as it
// comes, and replaces a worker that dies.
class Round
{
public:
    Round(const QString &program, const QStringList &arguments, int count,
          const QList<ImportWorker::Request> &jobs, const ImportWorkers::Done &done)
        : m_program(program)
        , m_arguments(arguments)
        , m_jobs(jobs)
        , m_done(done)
        , m_workers(size_t(std::min<qsizetype>(count, jobs.size())))
    { }

    void run()
    {
        if (m_jobs.isEmpty())
            return;
        for (Worker &worker : m_workers)
            start(worker);
        if (m_finished < m_jobs.size())
            m_loop.exec();
        for (Worker &worker : m_workers) {
            if (!worker.process)
                continue;
            worker.process->closeWriteChannel();
            worker.process->waitForFinished();
        }
    }

private:
    void start(Worker &worker)
    {
        worker.job = -1;
        worker.process = std::make_unique<QProcess>();
        worker.process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        worker.answers = std::make_unique<QDataStream>(worker.process.get());
        QProcess *process = worker.process.get();
        QObject::connect(process, &QProcess::readyReadStandardOutput, process,
                         [this, process] { answered(workerOf(process)); });
        QObject::connect(process, &QProcess::finished, process,
                         [this, process](int exitCode, QProcess::ExitStatus status) {
                             ended(workerOf(process), exitCode, status);
                         });
        worker.process->start(m_program, m_arguments);
        if (!worker.process->waitForStarted()) {
            // Not a file's fault: without a worker, none of the files left can be imported.
            const QString reason = QStringLiteral("cannot start a worker process: %1")
                                       .arg(worker.process->errorString());
            worker.process.reset();
            worker.answers.reset();
            while (m_next < m_jobs.size())
                finish(ImportedFile::failed(QFileInfo(m_jobs[m_next++].path), QString(), reason));
            return;
        }
        give(worker);
    }

    Worker &workerOf(const QProcess *process)
    {
        return *std::find_if(m_workers.begin(), m_workers.end(),
                             [process](const Worker &w) { return w.process.get() == process; });
    }

    // The next file to the worker, or the end of its requests when none is left.
    void give(Worker &worker)
    {
        if (m_next == m_jobs.size()) {
            worker.process->closeWriteChannel();
            return;
        }
        worker.job = m_next++;
        QDataStream requests(worker.process.get());
        requests << m_jobs[worker.job];
    }

    // Every whole answer the worker has sent so far.
    void answered(Worker &worker)
    {
        for (;;) {
            worker.answers->startTransaction();
            StoredFile file;
            *worker.answers >> file;
            if (!worker.answers->commitTransaction())
                return;
            worker.job = -1;
            give(worker);
            finish(file);
        }
    }

    // A worker that ends while importing a file took that file with it; another takes its
    // place.
    void ended(Worker &worker, int exitCode, QProcess::ExitStatus status)
    {
        if (worker.job < 0)
            return;
        const QString reason = status == QProcess::CrashExit
            ? QStringLiteral("the import crashed its worker process")
            : QStringLiteral("the import's worker process ended with status %1").arg(exitCode);
        const StoredFile failed
            = ImportedFile::failed(QFileInfo(m_jobs[worker.job].path), QString(), reason);
        worker.process.release()->deleteLater();
        worker.answers.reset();
        worker.job = -1;
        if (m_next < m_jobs.size())
            start(worker);
        finish(failed);
    }

    void finish(const StoredFile &file)
    {
        if (!m_done(file) && m_next < m_jobs.size()) {
            // Stopped: the files not given out yet are left, those under way come back.
            m_finished += m_jobs.size() - m_next;
            m_next = m_jobs.size();
        }
        if (++m_finished == m_jobs.size())
            m_loop.quit();
    }

    const QString &m_program;
    const QStringList &m_arguments;
    const QList<ImportWorker::Request> &m_jobs;
    const ImportWorkers::Done &m_done;
    std::vector<Worker> m_workers;
    QEventLoop m_loop;
    qsizetype m_next = 0;
    qsizetype m_finished = 0;
};

} // namespace

ImportWorkers::ImportWorkers(QString program, QStringList arguments, int count)
    : m_program(std::move(program))
    , m_arguments(std::move(arguments))
    , m_count(std::max(count, 1))
{ }

void ImportWorkers::run(const QList<ImportWorker::Request> &jobs, const Done &done)
{
    Round(m_program, m_arguments, m_count, jobs, done).run();
}
