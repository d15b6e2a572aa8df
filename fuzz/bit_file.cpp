// An untrusted file read as a bit file's header, with and without its texts shown.
#include "fuzz/SilentMachine.h"
#include "infrastructure/platform/BitFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static SilentMachine machine;
    for (const bool verbose : {false, true}) {
        machine.readAsFile(data, size,
                           [verbose](std::FILE* stream) { parseBitFile(stream, verbose); });
    }
    return 0;
}
