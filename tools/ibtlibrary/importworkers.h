#pragma once

#include "importworker.h"
#include "storedfile.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// The tool's side of `add`: hashes and imports files in worker processes side by side (see
// ImportWorker), each worker one file at a time, and hands each file's result over as it
// comes. A worker that dies takes only its current file with it, which comes back as failed
// (without a hash), and another takes its place.
class ImportWorkers
{
public:
    // Called with each file as it comes; false stops giving out the files left.
    using Done = std::function<bool(const StoredFile &)>;

    // `program` and `arguments` start one worker.
    ImportWorkers(QString program, QStringList arguments, int count);

    // Returns when every file is done, or after a stop when those under way are.
    void run(const QList<ImportWorker::Request> &jobs, const Done &done);

private:
    QString m_program;
    QStringList m_arguments;
    int m_count;
};
