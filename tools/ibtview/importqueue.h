#pragma once

#include "importresult.h"

#include <QObject>
#include <QStringList>
#include <QThread>

class ImportWorker;

// The window's side of the imports: files asked for are imported in turn on one worker
// thread, so the window stays responsive, and each result comes back here in the order asked.
class ImportQueue : public QObject
{
    Q_OBJECT

public:
    explicit ImportQueue(const QString &pluginPath, QObject *parent = nullptr);
    ~ImportQueue() override;

    void open(const QStringList &paths);
    // Files asked for whose import has not finished.
    int pending() const { return m_pending; }
    bool isBusy() const { return m_pending > 0; }

signals:
    // done of total files of the current batch, and the file being imported.
    void progress(int done, int total, const QString &current);
    void imported(const ImportResult &result);
    // Every file asked for is imported.
    void idle();

private:
    void request(const QString &path);

    QThread m_thread;
    ImportWorker *m_worker = nullptr;
    int m_pending = 0;
    int m_batchDone = 0;
    int m_batchTotal = 0;
};
