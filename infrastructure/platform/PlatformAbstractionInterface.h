// What this layer needs from the board that it runs on.
#pragma once

#include <cstdint>

namespace Tessorn {

/// A board. VelPlatformAbstraction implements it for the instrument, others elsewhere.
class PlatformAbstractionInterface
{
public:
    virtual ~PlatformAbstractionInterface() = default;

    /// Sets the fans: bits 0 to 7 are the duty cycle of the first, bits 8 to 15 of the second, bits
    /// 16 to 23 of the third, in steps of 1/255.
    virtual void setFanSpeeds(uint32_t packedDutyCycles, bool enable) = 0;
    /// True if getHardwareId gives an id.
    virtual bool isHardwareIdValid(int index) = 0;
    /// The id of the main board (0), the mezzanine (1) or the front panel (2); negative for any
    /// other index, or if the id can't be read.
    virtual int getHardwareId(int index) = 0;
    /// The FPGA's version and design. Values that are not known stay as they were. False if there
    /// is nothing to ask.
    virtual bool readFpgaInfo(uint32_t& major, uint32_t& minor, uint32_t& patch, uint32_t& build,
                              uint32_t& designId) = 0;
    /// Starts the watchdog, or changes its time-out. In seconds.
    virtual void watchdogStart(int timeoutSeconds) = 0;
    /// Restarts the time-out.
    virtual void watchdogKick() = 0;
    /// Closes the watchdog. Whether it goes on counting is up to its driver.
    virtual void watchdogStop() = 0;
    /// The instrument's serial number; -1 if it can't be read.
    virtual int readDeviceNumber() = 0;
};

} // namespace Tessorn
