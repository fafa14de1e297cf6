// The session text alone: parsed as the import parses it, then read along every path the
// reader follows (the car list, the session information of a lap), on a thread with a small
// stack.

#include "dropqtmessages.h"
#include "irtelemetryreader.h"
#include "lap.h"
#include "smallstackthread.h"

#include <cstdint>
#include <string>

namespace {

void readAsTheImportDoes(const std::string &text)
{
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml(text.c_str());
    reader.updateCarList();

    // The player's lap and another car's: the driver look-ups differ.
    for (const int carIdx : {reader.myCarIdx(), reader.myCarIdx() + 1}) {
        ZUM::SDK::Lap lap;
        reader.getSessionInfo(carIdx, &lap);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    dropQtMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The import hands the text on up to its first zero byte.
    const std::string text(reinterpret_cast<const char *>(data), size);
    static SmallStackThread thread;
    auto read = [&text] {
        readAsTheImportDoes(text);
    };
    thread.run(read);
    return 0;
}
