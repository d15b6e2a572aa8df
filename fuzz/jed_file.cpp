// An untrusted file read as a fuse file, quietly and not.
#include "fuzz/SilentMachine.h"
#include "infrastructure/platform/JedFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static SilentMachine machine;
    for (const bool quiet : {false, true}) {
        machine.readAsFile(data, size, [quiet](std::FILE* stream) { parseJedFile(stream, quiet); });
    }
    return 0;
}
