#pragma once

#include <QLoggingCategory>
#include <QtGlobal>

#include <cstdio>

// Qt's own warnings about what a damaged input holds ("QVariant::load: unknown user type")
// and the reader's debug lines come once per input: written out they would flood the log
// and slow the fuzzer down. They are filtered where they are made, before their text is put
// together; a fatal message still ends the run, as a finding.
inline void dropQtMessages()
{
    QLoggingCategory::setFilterRules(
        QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
}
