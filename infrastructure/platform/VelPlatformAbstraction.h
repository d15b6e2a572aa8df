// The instrument's own board. One thread, except for setFanSpeeds.
#pragma once

#include "infrastructure/platform/PlatformAbstractionInterface.h"

#include <fstream>

namespace Tessorn {

/// Asks pins, PWM channels, watchdog, flash and the FPGA's driver, which reports in
/// /proc/tess_pcie.
class VelPlatformAbstraction : public PlatformAbstractionInterface
{
public:
    VelPlatformAbstraction();

    void setFanSpeeds(uint32_t packedDutyCycles, bool enable) override;
    bool isHardwareIdValid(int index) override;
    int getHardwareId(int index) override;
    /// Always true.
    bool readFpgaInfo(uint32_t& major, uint32_t& minor, uint32_t& patch, uint32_t& build,
                      uint32_t& designId) override;
    void watchdogStart(int timeoutSeconds) override;
    void watchdogKick() override;
    void watchdogStop() override;
    int readDeviceNumber() override;

private:
    std::ifstream fpgaStatus;
};

} // namespace Tessorn
