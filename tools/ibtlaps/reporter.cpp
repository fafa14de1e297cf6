#include "reporter.h"

#include <cstdio>

Reporter::Reporter(bool quiet)
    : m_out(stdout)
    , m_err(stderr)
    , m_quiet(quiet)
{ }

void Reporter::info(const QString &text)
{
    if (!m_quiet)
        line(QStringLiteral("info"), text);
}

void Reporter::note(const QString &text)
{
    line(QStringLiteral("note"), text);
}

void Reporter::error(const QString &text)
{
    line(QStringLiteral("error"), text);
}

void Reporter::message(const ImportResult::Message &message)
{
    if (message.level == ZUM::SDK::PluginInterfaceImport::Information)
        info(message.text);
    else if (message.level == ZUM::SDK::PluginInterfaceImport::Error)
        error(message.text);
    else
        line(QStringLiteral("level %1").arg(message.level), message.text);
}

void Reporter::usageError(const QString &text)
{
    m_out.flush();
    for (const QString &line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        m_err << "ibt-laps: " << line << '\n';
    m_err << "Try 'ibt-laps --help'." << Qt::endl;
}

void Reporter::line(const QString &tag, const QString &text)
{
    // What went to standard output first stays first when both go to one terminal.
    m_out.flush();
    m_err << tag << ": " << text << Qt::endl;
}
