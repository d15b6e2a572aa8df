// What the layer asks of the board that it runs on.
#pragma once

#include <cstdint>

namespace Tessorn {

/// A board. Implemented by VelPlatformAbstraction for the instrument, and by others elsewhere.
class PlatformAbstractionInterface
{
public:
    virtual ~PlatformAbstractionInterface() = default;

    /// Sets the fans: the duty of the first in bits 0 to 7, of the second in 8 to 15, of the third
    /// in 16 to 23, in steps of 1/255.
    virtual void setFanSpeeds(uint32_t packedDutyCycles, bool enable) = 0;
    /// True when getHardwareId gives an id.
    virtual bool isHardwareIdValid(int index) = 0;
    /// The id of the main board (0), the mezzanine (1) or the front panel (2); negative for another
    /// index or an id that can't be read.
    virtual int getHardwareId(int index) = 0;
    /// The FPGA's version and design; what is not known stays as it was. False if there is nothing
    /// to ask.
    virtual bool readFpgaInfo(uint32_t& major, uint32_t& minor, uint32_t& patch, uint32_t& build,
                              uint32_t& designId) = 0;
    /// Starts the watchdog, or changes its time-out, in seconds.
    virtual void watchdogStart(int timeoutSeconds) = 0;
    /// Begins the time-out anew.
    virtual void watchdogKick() = 0;
    /// Closes the watchdog; whether it goes on counting is its driver's affair.
    virtual void watchdogStop() = 0;
    /// The instrument's serial number, -1 where it can't be read.
    virtual int readDeviceNumber() = 0;
};

} // namespace Tessorn
