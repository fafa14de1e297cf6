#pragma once

#include "options.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

// Reads ibt-laps' command line into Options, or says why it cannot.
class CommandLine
{
public:
    enum class Request {
        Run,
        Help,
        Version,
        UsageError, // errorText() says what is wrong
    };

    CommandLine();

    // pluginValueMissing: "--plugin" came last, without its value (see ArgumentList).
    Request parse(const QStringList &arguments, bool pluginValueMissing);

    const Options &options() const { return m_options; }
    QString errorText() const { return m_errorText; }
    QString helpText() const { return m_parser.helpText(); }

private:
    Request usageError(const QString &text);
    bool readValues();
    void noteIgnored();

    QCommandLineParser m_parser;
    Options m_options;
    QString m_errorText;
};
