#include "infrastructure/platform/VersionInfo.h"

#include "infrastructure/platform/VelPlatformAbstraction.h"

#include "BuildVersion.h"

#include <algorithm>
#include <iterator>
#include <limits>

using Tessorn::PlatformAbstractionInterface;

namespace {

struct BuildValue
{
    const char* key;
    const char* value;
};

constexpr BuildValue BUILD_VALUES[] = {
    {"Software", BUILD_SOFTWARE}, {"SHA1", BUILD_SHA1},           {"Branch", BUILD_BRANCH},
    {"Build ID", BUILD_ID},       {"Toolchain", BUILD_TOOLCHAIN}, {"Image", BUILD_IMAGE},
};

/// By hardware id.
constexpr const char* BOARDS[] = {"Main", "Mezzanine", "Frontpanel"};

/// What an FPGA that does not answer reads as, both on the bus and here.
constexpr uint32_t NO_ANSWER = std::numeric_limits<uint32_t>::max();

QString unknown()
{
    return QStringLiteral("Unknown");
}

QString hardwareIdText(PlatformAbstractionInterface& platform, int index)
{
    return platform.isHardwareIdValid(index) ? QString::number(platform.getHardwareId(index))
                                             : unknown();
}

} // namespace

const VersionInfo& VersionInfo::getInstance()
{
    static const VersionInfo instance = [] {
        Tessorn::VelPlatformAbstraction platform;
        return VersionInfo(platform);
    }();
    return instance;
}

VersionInfo::VersionInfo(PlatformAbstractionInterface& platform)
{
    for (const BuildValue& row : BUILD_VALUES) {
        entries.append({QLatin1String(row.key), QString::fromUtf8(row.value)});
    }
    for (int index = 0; index < static_cast<int>(std::size(BOARDS)); ++index) {
        entries.append({QLatin1String(BOARDS[index]), hardwareIdText(platform, index)});
    }

    uint32_t major = NO_ANSWER;
    uint32_t minor = NO_ANSWER;
    uint32_t patch = NO_ANSWER;
    uint32_t build = NO_ANSWER;
    uint32_t designId = NO_ANSWER;
    const bool answered = platform.readFpgaInfo(major, minor, patch, build, designId);
    const bool hasVersion =
        answered && std::min(std::min(major, minor), std::min(patch, build)) != NO_ANSWER;
    entries.append({QStringLiteral("FPGA ID"),
                    answered && designId != NO_ANSWER ? QString::number(designId) : unknown()});
    entries.append({QStringLiteral("FPGA"),
                    hasVersion
                        ? QStringLiteral("%1.%2.%3+%4").arg(major).arg(minor).arg(patch).arg(build)
                        : unknown()});
}

QString VersionInfo::value(const QString& key) const
{
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&key](const Entry& entry) { return entry.first == key; });
    return found == entries.end() ? QString() : found->second;
}

int VersionInfo::boardModel() const
{
    return value(QStringLiteral("Main")).toInt();
}
