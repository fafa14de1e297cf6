#pragma once

#include "jsonwriter.h"

#include <QFileDevice>
#include <QString>

#include <memory>

// Where the JSON goes: a file that is written whole or not at all, or standard output ("-").
class JsonOutput
{
public:
    // False when the target cannot be written, with the system's reason in errorString.
    bool open(const QString &target, QString *errorString);
    bool isOpen() const { return m_writer != nullptr; }
    JsonWriter &writer() { return *m_writer; }
    // Finishes the output; false when anything failed to reach it.
    bool close();

private:
    std::unique_ptr<QFileDevice> m_device;
    std::unique_ptr<JsonWriter> m_writer;
};
