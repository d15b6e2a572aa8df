// A list of partitions; the name to look for is the input's first line.
#include "fuzz/SilentMachine.h"
#include "infrastructure/platform/MtdDevice.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static SilentMachine machine;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const size_t end = std::min(text.find('\n'), size);
    mtdFindDeviceIn(text.substr(end), text.substr(0, end));
    return 0;
}
