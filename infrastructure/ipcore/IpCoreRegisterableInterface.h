// The address under which something serves an IP core.
#pragma once

#include <cstdint>

/// Has the address of an IP core.
class IpCoreRegisterableInterface
{
public:
    virtual ~IpCoreRegisterableInterface() = default;

    /// The kind of IP core.
    virtual uint32_t getIpCoreId() const = 0;
    /// Which of the cores of that kind.
    virtual uint32_t getIpCoreInstance() const = 0;
};
