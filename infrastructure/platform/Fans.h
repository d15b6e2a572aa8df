// The three fans, on PWM channels (Linux sysfs PWM).
#pragma once

#include <array>
#include <cstdint>

/// Exports channel 0 of each fan's PWM chip. Returns 0, or -1 if any of them failed.
int pwmExport();

/// Sets the fans' duty cycles, in steps of 1/255 of full speed, and switches them on, or switches
/// all of them off. Returns 0, or -1, with a line on stderr, if a fan could not be set; the others
/// are set all the same. Any thread may call it.
int setFans(const std::array<uint8_t, 3>& dutyPercent, bool enable);
