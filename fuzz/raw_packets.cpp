// Any payload for any raw type through the factory: the first byte of the input chooses the type.
// No allocation may exceed 16 times the input and 8 MiB.
#include "infrastructure/utility/packets/RawDataPacketFactory.h"

#include <sanitizer/allocator_interface.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

size_t allocationLimit = SIZE_MAX;

void onAllocation(const volatile void*, size_t size)
{
    if (size > allocationLimit) {
        std::fprintf(stderr, "allocation of %zu bytes, limit %zu\n", size, allocationLimit);
        std::abort();
    }
}

void onRelease(const volatile void*) {}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    return __sanitizer_install_malloc_and_free_hooks(onAllocation, onRelease) > 0 ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    constexpr int typeCount = RawPacketType_Last - RawPacketType_First + 1;
    const QByteArray payload(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    const QByteArray view = QByteArray(RawDataPacketHeader::SIZE_BYTES, '\0') + payload;
    RawDataPacketHeader header;
    header.packetType = static_cast<quint16>(RawPacketType_First + data[0] % typeCount);
    header.payloadSize = static_cast<quint32>(payload.size());

    allocationLimit = 16 * size + (8u << 20);
    if (const auto packet = createRawDataPacket(view, header)) {
        packet->serialisePayload();
    }
    allocationLimit = SIZE_MAX;
    return 0;
}
