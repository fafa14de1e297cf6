#include "jsonoutput.h"

#include <QFile>
#include <QSaveFile>

#include <cstdio>

bool JsonOutput::open(const QString &target, QString *errorString)
{
    if (target == QLatin1String("-")) {
        auto standardOutput = std::make_unique<QFile>();
        if (!standardOutput->open(stdout, QIODevice::WriteOnly)) {
            *errorString = standardOutput->errorString();
            return false;
        }
        m_device = std::move(standardOutput);
    } else {
        auto file = std::make_unique<QSaveFile>(target);
        if (!file->open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            *errorString = file->errorString();
            return false;
        }
        m_device = std::move(file);
    }
    m_writer = std::make_unique<JsonWriter>(m_device.get());
    return true;
}

bool JsonOutput::close()
{
    bool ok = m_writer->flush();
    m_writer.reset();
    if (auto *file = qobject_cast<QSaveFile *>(m_device.get()))
        ok = file->commit() && ok;
    else
        ok = m_device->flush() && ok;
    m_device.reset();
    return ok;
}
