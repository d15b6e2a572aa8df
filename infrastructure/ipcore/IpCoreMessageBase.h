// A message between the software and one IP core of the FPGA.
#pragma once

#include <cstdint>
#include <string>

/// Holds the address of the IP core that the message is for or comes from. Messages are owned by
/// std::unique_ptr<IpCoreMessageBase> and moved, never shared.
class IpCoreMessageBase
{
public:
    /// Without an address the message is for core 0, instance 0.
    explicit IpCoreMessageBase(uint32_t coreId = 0, uint32_t coreInstance = 0)
        : ipCoreId(coreId)
        , ipCoreInstance(coreInstance)
    {
    }
    IpCoreMessageBase(const IpCoreMessageBase&) = delete;
    IpCoreMessageBase& operator=(const IpCoreMessageBase&) = delete;
    virtual ~IpCoreMessageBase() = default;

    /// The kind of IP core.
    uint32_t getIpCoreId() const { return ipCoreId; }
    /// Which of the cores of that kind.
    uint32_t getIpCoreInstance() const { return ipCoreInstance; }

    /// What the message says, for the log.
    virtual std::string toString() const = 0;

private:
    uint32_t ipCoreId;
    uint32_t ipCoreInstance;
};
