#pragma once

// On-disk layout of the simulator's disk telemetry file (.ibt). All integers are
// little-endian and every structure is packed exactly as the simulator writes it.

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little,
              "the telemetry file is little-endian and is read by copying bytes into structures");

// Type codes of a variable descriptor.
enum irsdk_VarType : int32_t {
    irsdk_char = 0, // signed 8-bit; an array of chars is read as its first element only
    irsdk_bool = 1, // one byte, non-zero is true
    irsdk_int = 2, // signed 32-bit
    irsdk_bitField = 3, // signed 32-bit, bits not split
    irsdk_float = 4, // IEEE 754 single
    irsdk_double = 5, // IEEE 754 double
};

inline constexpr int irsdk_typeCount = 6;

// Bytes per element of each type code, indexed by the code.
inline constexpr int irsdk_VarTypeBytes[irsdk_typeCount] = {1, 1, 4, 4, 4, 8};

// Element size of a type code, or 0 for a code the format does not define.
constexpr int irsdk_varTypeSize(int32_t type)
{
    return type >= 0 && type < irsdk_typeCount ? irsdk_VarTypeBytes[type] : 0;
}

inline constexpr int IRSDK_MAX_BUFS = 4;
inline constexpr int IRSDK_MAX_STRING = 32;
inline constexpr int IRSDK_MAX_DESC = 64;
// Car slots of the simulator: elements of a per-car variable, indexed by car index.
inline constexpr int IRSDK_MAX_CARS = 64;

#pragma pack(push, 1)

// One entry of the header's record-buffer table. Disk files use entry 0 only.
struct irsdk_varBuf
{
    int32_t tickCount; // tick of the record in this buffer (live memory only)
    int32_t bufOffset; // file offset of the first sample record
    int32_t pad[2];
};

// The fixed header at file offset 0.
struct irsdk_header
{
    int32_t ver; // format version: 1 for files of 2015-2016, 2 later
    int32_t status; // connection status bits (live memory only)
    int32_t tickRate; // ticks per second, 60 on disk
    int32_t sessionInfoUpdate; // bumped whenever the session text changes
    int32_t sessionInfoLen; // bytes of session text
    int32_t sessionInfoOffset; // file offset of the session text
    int32_t numVars; // number of variable descriptors
    int32_t varHeaderOffset; // file offset of the descriptors
    int32_t numBuf; // buffers in use (live memory rotates through several)
    int32_t bufLen; // bytes per sample record
    int32_t pad1[2];
    irsdk_varBuf varBuf[IRSDK_MAX_BUFS];
};

// Follows the header at file offset 112. Read whole, interpreted nowhere: the
// record count is not trusted to bound the records.
struct irsdk_diskSubHeader
{
    int64_t sessionStartDate; // seconds since the Unix epoch
    double sessionStartTime; // session time of the first record
    double sessionEndTime; // session time of the last record
    int32_t sessionLapCount;
    int32_t sessionRecordCount;
};

// One variable descriptor; numVars of them lie back to back at varHeaderOffset.
struct irsdk_varHeader
{
    int32_t type; // an irsdk_VarType code
    int32_t offset; // byte offset of element 0 within a record
    int32_t count; // number of elements, 1 for a scalar
    char countAsTime;
    char pad[3];
    char name[IRSDK_MAX_STRING]; // zero-terminated
    char desc[IRSDK_MAX_DESC]; // zero-terminated
    char unit[IRSDK_MAX_STRING]; // zero-terminated
};

#pragma pack(pop)

inline constexpr int64_t irsdk_headerOffset = 0;
inline constexpr int64_t irsdk_diskSubHeaderOffset = 112;

static_assert(sizeof(irsdk_varBuf) == 16);
static_assert(offsetof(irsdk_varBuf, tickCount) == 0);
static_assert(offsetof(irsdk_varBuf, bufOffset) == 4);

static_assert(sizeof(irsdk_header) == 112);
static_assert(offsetof(irsdk_header, ver) == 0);
static_assert(offsetof(irsdk_header, status) == 4);
static_assert(offsetof(irsdk_header, tickRate) == 8);
static_assert(offsetof(irsdk_header, sessionInfoUpdate) == 12);
static_assert(offsetof(irsdk_header, sessionInfoLen) == 16);
static_assert(offsetof(irsdk_header, sessionInfoOffset) == 20);
static_assert(offsetof(irsdk_header, numVars) == 24);
static_assert(offsetof(irsdk_header, varHeaderOffset) == 28);
static_assert(offsetof(irsdk_header, numBuf) == 32);
static_assert(offsetof(irsdk_header, bufLen) == 36);
static_assert(offsetof(irsdk_header, varBuf) == 48);
static_assert(offsetof(irsdk_header, varBuf) + offsetof(irsdk_varBuf, bufOffset) == 52);

static_assert(sizeof(irsdk_diskSubHeader) == 32);
static_assert(offsetof(irsdk_diskSubHeader, sessionStartDate) == 0);
static_assert(offsetof(irsdk_diskSubHeader, sessionStartTime) == 8);
static_assert(offsetof(irsdk_diskSubHeader, sessionEndTime) == 16);
static_assert(offsetof(irsdk_diskSubHeader, sessionLapCount) == 24);
static_assert(offsetof(irsdk_diskSubHeader, sessionRecordCount) == 28);
static_assert(irsdk_diskSubHeaderOffset == sizeof(irsdk_header));

static_assert(sizeof(irsdk_varHeader) == 144);
static_assert(offsetof(irsdk_varHeader, type) == 0);
static_assert(offsetof(irsdk_varHeader, offset) == 4);
static_assert(offsetof(irsdk_varHeader, count) == 8);
static_assert(offsetof(irsdk_varHeader, countAsTime) == 12);
static_assert(offsetof(irsdk_varHeader, name) == 16);
static_assert(offsetof(irsdk_varHeader, desc) == 48);
static_assert(offsetof(irsdk_varHeader, unit) == 112);
