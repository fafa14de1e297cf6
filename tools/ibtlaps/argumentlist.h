#pragma once

#include <QByteArray>

#include <vector>

// The command line as QGuiApplication gets it. The application takes "--plugin <name>" for
// itself (its generic input plug-ins) and removes it before any parser sees it; written as
// the single argument "--plugin=<path>", the import plug-in's option passes through. A
// command line without that option is handed on untouched, so that the application still
// reads it in its own way.
class ArgumentList
{
public:
    ArgumentList(int &argc, char **argv);
    ArgumentList(const ArgumentList &) = delete;
    ArgumentList &operator=(const ArgumentList &) = delete;

    // Both stay valid for the application's lifetime, which keeps pointers to them.
    int &count() { return *m_count; }
    char **vector() { return m_vector; }

    // "--plugin" as the last argument, which the application would drop unseen.
    bool pluginValueMissing() const { return m_pluginValueMissing; }

private:
    std::vector<QByteArray> m_texts;
    std::vector<char *> m_pointers;
    int m_rewrittenCount = 0;
    int *m_count;
    char **m_vector;
    bool m_pluginValueMissing = false;
};
