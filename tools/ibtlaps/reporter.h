#pragma once

#include "importresult.h"

#include <QString>
#include <QTextStream>

// The tool's two streams. Standard output carries what was asked for (the tables, the JSON
// for "-"); standard error carries, one per line, the plug-in's log lines as they come and
// the tool's own lines, each tagged: "info: ", "note: " (worth knowing, nothing failed),
// "error: ".
class Reporter
{
public:
    // quiet leaves out the information lines, the plug-in's and the tool's.
    explicit Reporter(bool quiet = false);

    QTextStream &out() { return m_out; }

    void info(const QString &text);
    void note(const QString &text);
    void error(const QString &text);
    // A line the plug-in sent, by its level.
    void message(const ImportResult::Message &message);
    // A wrong command line, a line for each thing wrong, with the hint to the help.
    void usageError(const QString &text);

private:
    void line(const QString &tag, const QString &text);

    QTextStream m_out;
    QTextStream m_err;
    bool m_quiet;
};
