#include "importqueue.h"

#include "importworker.h"

ImportQueue::ImportQueue(const QString &pluginPath, QObject *parent)
    : QObject(parent)
    , m_worker(new ImportWorker(pluginPath))
{
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &ImportWorker::started, this,
            [this](const QString &path) { emit progress(m_batchDone, m_batchTotal, path); });
    connect(m_worker, &ImportWorker::finished, this, [this](const ImportResult &result) {
        --m_pending;
        ++m_batchDone;
        emit progress(m_batchDone, m_batchTotal, QString());
        emit imported(result);
        if (m_pending == 0) {
            m_batchDone = 0;
            m_batchTotal = 0;
            emit idle();
        }
    });
    m_thread.setObjectName(QStringLiteral("import"));
    m_thread.start();
}

ImportQueue::~ImportQueue()
{
    // An import under way runs to its end: the plug-in cannot be interrupted.
    m_thread.quit();
    m_thread.wait();
}

void ImportQueue::open(const QStringList &paths)
{
    for (const QString &path : paths)
        request(path);
}

void ImportQueue::request(const QString &path)
{
    ++m_pending;
    ++m_batchTotal;
    QMetaObject::invokeMethod(m_worker, "importFile", Qt::QueuedConnection, Q_ARG(QString, path));
}
