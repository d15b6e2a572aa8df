// A machine whose reports go nowhere, so that the fuzzer's own can be read. It is the current
// machine during its lifetime.
#pragma once

#include "infrastructure/platform/Machine_p.h"

class SilentMachine : public Tessorn::Machine
{
public:
    SilentMachine()
        : nowhere(std::fopen("/dev/null", "w"))
    {
        out = nowhere;
        err = nowhere;
        replace(this);
    }
    ~SilentMachine() override
    {
        replace(nullptr);
        std::fclose(nowhere);
    }

    /// Calls a reader with a stream of these bytes.
    template <typename Reader>
    void readAsFile(const uint8_t* data, size_t size, Reader&& reader)
    {
        // An empty stream can't be opened in memory.
        std::FILE* stream = size > 0 ? ::fmemopen(const_cast<uint8_t*>(data), size, "r")
                                     : std::fopen("/dev/null", "r");
        reader(stream);
        std::fclose(stream);
    }

private:
    std::FILE* nowhere;
};
