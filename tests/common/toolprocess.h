#pragma once

// Runs one of the project's command-line tools as a user would and keeps what it said.

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace ToolProcess {

struct Run
{
    int exitCode = -1; // -1 when the tool crashed or did not end within five minutes
    QByteArray out;
    QByteArray err;
};

inline Run run(const QString &program, const QStringList &arguments,
               const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    Run result;
    if (!process.waitForFinished(300000)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

} // namespace ToolProcess
