// Words of the precision time protocol as the instrument shows them: daemon and lock states, clock
// accuracy, time source, message intervals, audio packet times. On the screen the leader is "Lead"
// and those that follow it "Follow"; the enumerators keep the standard's terms.
//
// Normative reference: IEEE 1588-2008, port states table 8, clockAccuracy table 6, timeSource
// table 7. AES67-2018, packet times 7.2.
#pragma once

#include <QLatin1String>
#include <QString>

namespace Tessorn {
namespace IpTypes {

/// State of the instrument's own PTP port. The values are exactly the daemon's port states, so a
/// state from the daemon can be cast. 0 means no daemon; 10 and 11 have texts but no names.
enum PtpDaemonState : quint32 {
    PtpDaemonState_INITIALIZING = 1,
    PtpDaemonState_FAULTY = 2,
    PtpDaemonState_DISABLED = 3,
    PtpDaemonState_LISTENING = 4,
    PtpDaemonState_PRE_MASTER = 5,
    PtpDaemonState_MASTER = 6,
    PtpDaemonState_PASSIVE = 7,
    PtpDaemonState_UNCALIBRATED = 8,
    PtpDaemonState_SLAVE = 9,
};

/// How well the instrument's clock follows the grandmaster.
enum PtpClockLockState : quint32 {
    PtpClockLockState_NotLocked = 0,
    PtpClockLockState_InHoldover = 1,
    PtpClockLockState_FrequencyLockedButNotPhaseLocked = 2,
    PtpClockLockState_FrequencyAndPhaseLocked = 3,
};

/// What a grandmaster takes its time from. The last one does not fit the protocol's byte.
enum PtpTimeSource : quint32 {
    PtpTimeSource_AtomicClock = 0x10,
    PtpTimeSource_Gps = 0x20,
    PtpTimeSource_TerrestrialRadio = 0x30,
    PtpTimeSource_Ptp = 0x40,
    PtpTimeSource_Ntp = 0x50,
    PtpTimeSource_HandSet = 0x60,
    PtpTimeSource_Other = 0x90,
    PtpTimeSource_InternalOscillator = 0xA0,
    PtpTimeSource_Unknown = 0x100,
};

/// The packet time code of an audio flow that has no packet time.
inline constexpr quint32 INVALID_AUDIO_PACKET_TIME = 255;

/// PtpDaemonState_MASTER => "Lead"; 0 => "No PTP"; a number that is not a state => "Error".
QLatin1String toString(PtpDaemonState state);

/// PtpClockLockState_InHoldover => "In Holdover"; a number that is not a state => "Error".
QLatin1String toString(PtpClockLockState state);

/// PtpClockLockState_InHoldover => "InHoldover"; a number that is not a state => "Error".
QLatin1String toToken(PtpClockLockState state);

/// PtpTimeSource_Gps => "GPS"; a number that is not a source => "Error".
QLatin1String toString(PtpTimeSource source);

/// The text of a clockAccuracy code. Numbers without a meaning give "Reserved".
///
///   35 => "< 1 µs" (micro sign)    128 => "Use alternate PTP Profile"    255, 256 => "Reserved"
QString clockAccuracyToString(quint32 code);

/// The interval of 2 to the power `logInterval` seconds: -8 => "4 ms", 5 => "32 s", rounded as is
/// customary. Outside this range, seconds to six significant digits: -9 => "0.00195313 s".
QString logMessageIntervalToString(int logInterval);

/// The same as a bare number of milliseconds: -8 => "4", 5 => "32000". Outside this range, the
/// power of two itself, in seconds: 6 => "64".
QString logMessageIntervalToMilliseconds(int logInterval);

/// The packet time of an audio flow: 0 => "125 μs" (Greek mu), 255 => "Invalid"; a number that is
/// not a code => "Error".
QString audioPacketTimeToString(quint32 code);

} // namespace IpTypes
} // namespace Tessorn
