// The identity block on flash: the instrument's MAC address and serial number. One thread.
//
//   offset  0      5           11  12        20
//           "mac: "  6 bytes  "\n"  "serial: "  6 decimal digits
#pragma once

#include <cstdint>

/// The largest serial number that the identity block holds.
constexpr uint32_t MAX_DEVICE_NUMBER = 999999;

/// Reads the serial number. Returns 0, or -1 with a line on stderr; `out` is then as it was.
int readDeviceNumber(uint32_t* out);

/// Writes the identity block for a serial number and makes the boot loader go to run level 4. The
/// MAC address is a locally administered one that ends in the number. Returns 0, or -1 if a step
/// failed or the number is above MAX_DEVICE_NUMBER.
int writeDeviceIdentity(uint32_t number);
