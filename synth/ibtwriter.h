#pragma once

#include "irsdk.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QFile;
class QIODevice;

// Writes a disk telemetry file (.ibt) in the simulator's layout: header, disk sub-header,
// variable descriptors, session text, then one fixed-size record per tick.
//
// Use: describe the file (version, session text, variables), open() a device or path, then
// for every tick set the values of the current record and appendRecord(); finish() at the
// end. Records are streamed, so an hour of ticks never sits in memory. Values stay in the
// current record after appendRecord(), so a tick only needs to set what changed.
//
// The sub-header's start and end time follow the "SessionTime" variable and its lap count
// the number of different "Lap" values in a row, unless set explicitly; it is written
// again by finish() when the device can seek.
//
// For robustness tests the writer can also produce damaged files: header fields and
// sub-header fields overridden (applied just before writing, nothing else adapts), the
// file cut short at a byte count, a short last record, descriptors with type codes the
// format does not define, and descriptors that reach past the record.
class IbtWriter
{
public:
    struct Variable
    {
        QByteArray name; // at most 31 bytes are kept
        int32_t type = irsdk_float; // any code; undefined codes take 4 bytes per element
        int32_t count = 1;
        QByteArray unit; // at most 31 bytes are kept
        QByteArray description; // at most 63 bytes are kept
        int32_t offset = -1; // byte offset within a record; -1 places it after the previous one
        bool countAsTime = false;
    };

    // Fields forced into the header and sub-header as written, whatever the contents are.
    struct Overrides
    {
        std::optional<int32_t> ver;
        std::optional<int32_t> status;
        std::optional<int32_t> tickRate;
        std::optional<int32_t> sessionInfoUpdate;
        std::optional<int32_t> sessionInfoLen;
        std::optional<int32_t> sessionInfoOffset;
        std::optional<int32_t> numVars;
        std::optional<int32_t> varHeaderOffset;
        std::optional<int32_t> numBuf;
        std::optional<int32_t> bufLen;
        std::optional<int32_t> tickCount; // varBuf[0].tickCount
        std::optional<int32_t> bufOffset; // varBuf[0].bufOffset
        std::optional<int64_t> sessionStartDate;
        std::optional<double> sessionStartTime;
        std::optional<double> sessionEndTime;
        std::optional<int32_t> sessionLapCount;
        std::optional<int32_t> sessionRecordCount;
    };

    IbtWriter();
    ~IbtWriter(); // finishes an open file
    IbtWriter(const IbtWriter &) = delete;
    IbtWriter &operator=(const IbtWriter &) = delete;

    // File description; all of it must be set before open().
    void setVersion(int32_t version) { m_version = version; }
    int32_t version() const { return m_version; }
    void setTickRate(int32_t ticksPerSecond) { m_tickRate = ticksPerSecond; }
    int32_t tickRate() const { return m_tickRate; }
    void setSessionInfo(const QByteArray &text) { m_sessionInfo = text; }
    const QByteArray &sessionInfo() const { return m_sessionInfo; }
    void setSessionStartDate(int64_t secondsSinceEpoch) { m_startDate = secondsSinceEpoch; }
    void setSessionTimes(double start, double end);
    void setSessionLapCount(int32_t laps) { m_lapCount = laps; }
    void setTickCount(int32_t tickCount) { m_tickCount = tickCount; }

    // Layout: by default descriptors at 144, the session text right after them and the
    // records right after the text; the record length covers every variable.
    void setVariableHeaderOffset(int32_t offset) { m_varHeaderOffset = offset; }
    void setSessionInfoOffset(int32_t offset) { m_sessionInfoOffset = offset; }
    void setRecordOffset(int32_t offset) { m_bufOffset = offset; }
    void setRecordLength(int32_t bytes) { m_bufLen = bytes; }

    // Returns the variable's index for the value setters.
    int addVariable(const Variable &variable);
    int addVariable(const QByteArray &name, int32_t type, int32_t count = 1,
                    const QByteArray &unit = {}, const QByteArray &description = {});
    int variableCount() const { return int(m_variables.size()); }
    // The description with its offset placed.
    const Variable &variable(int index) const { return m_variables[size_t(index)]; }
    // The index of the first variable of that name, -1 when there is none.
    int indexOf(QByteArrayView name) const;
    // Bytes per record as written to the header (before overrides).
    int32_t recordLength() const;

    // Damage: header fields as written, and the number of bytes after which nothing more
    // is written (-1: no limit).
    void setOverrides(const Overrides &overrides) { m_overrides = overrides; }
    const Overrides &overrides() const { return m_overrides; }
    void setTruncateAt(qint64 bytes) { m_truncateAt = bytes; }

    // Writes the fixed part. The device must be open for writing; the writer does not own
    // it and leaves it open. The path form creates or replaces the file.
    bool open(QIODevice *device);
    bool open(const QString &path);
    bool isOpen() const { return m_device != nullptr; }

    // Values of the current record. Out-of-range indexes and elements that lie outside the
    // record are ignored. Integer types take the value truncated toward zero; bool is
    // value != 0; bit fields keep the low 32 bits.
    void setValue(int index, double value) { setValue(index, 0, value); }
    void setValue(int index, int element, double value);
    void fill(int index, double value);
    // Copies raw bytes to the variable's offset, clipped to the record.
    void setBytes(int index, QByteArrayView bytes);
    void clearRecord();
    char *recordData() { return m_record.data(); }
    const QByteArray &record() const { return m_record; }

    // Appends the current record; the partial form appends only its first bytes, for a
    // file whose last record is cut short.
    bool appendRecord();
    bool appendPartialRecord(int32_t bytes);
    qint64 recordCount() const { return m_recordCount; }

    // Flushes, writes the final sub-header and closes a file opened by path.
    bool finish();

    // The header and sub-header as they are (or will be) written, overrides applied.
    irsdk_header header() const;
    irsdk_diskSubHeader diskSubHeader() const;
    qint64 bytesWritten() const { return m_position; }
    QString errorString() const { return m_error; }

private:
    struct Layout
    {
        int32_t varHeaderOffset;
        int32_t sessionInfoOffset;
        int32_t bufOffset;
        int32_t bufLen;
        qint64 fixedEnd; // end of the header, descriptors and session text
    };

    struct Slot
    {
        int32_t type;
        int32_t offset;
        int32_t count;
        int32_t size;
    };

    Layout layout() const;
    bool put(const char *data, qint64 size);
    bool flushChunk();
    bool fail(const QString &message); // a misuse; the file being written stays usable
    bool breakDown(const QString &message); // an I/O failure; nothing more is written
    void trackRecord();

    int32_t m_version = 2;
    int32_t m_tickRate = 60;
    QByteArray m_sessionInfo;
    int64_t m_startDate = 0;
    std::optional<double> m_startTime;
    std::optional<double> m_endTime;
    std::optional<int32_t> m_lapCount;
    int32_t m_tickCount = 0;
    int32_t m_varHeaderOffset = -1;
    int32_t m_sessionInfoOffset = -1;
    int32_t m_bufOffset = -1;
    int32_t m_bufLen = -1;
    std::vector<Variable> m_variables;
    std::vector<Slot> m_slots;
    int32_t m_autoEnd = 0; // where the next automatically placed variable goes
    Overrides m_overrides;
    qint64 m_truncateAt = -1;

    QIODevice *m_device = nullptr;
    std::unique_ptr<QFile> m_file;
    QByteArray m_record;
    QByteArray m_chunk;
    qint64 m_base = 0; // device position of the file's first byte
    qint64 m_position = 0; // bytes accepted so far, after truncation
    qint64 m_recordCount = 0;
    QString m_error;
    bool m_broken = false;

    // Running sub-header values.
    int m_sessionTimeIndex = -1;
    int m_lapIndex = -1;
    double m_firstTime = 0.0;
    double m_lastTime = 0.0;
    int32_t m_lastLap = 0;
    int32_t m_lapChanges = 0;
};
