#include "infrastructure/platform/Sensors.h"

#include "infrastructure/platform/Gpio.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/utility/Log.h"

#include <sensors/error.h>
#include <sensors/sensors.h>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>

using Tessorn::Machine;
using Tessorn::MachineFile;

namespace {

constexpr double MAX = std::numeric_limits<double>::max();

struct SensorRow
{
    const char* sourceKey;
    const char* displayName;
    bool required;
    double lowWarning;
    double highWarning;
    double lowLimit;
    double highLimit;
    double scale;
};

// clang-format off
constexpr SensorRow FIRST_TABLE[] = { // board ids 0 to 63
    {"ultrascale-kintextemp1_inputtemp1", "FPGA Temperature (C)", true, 1.0, 80.0, 0.0, 85.0, 1.0},
    {"imx_thermal_zonetemp1_inputtemp1", "CPU Temperature (C)", true, 1.0, 80.0, 0.0, 85.0, 1.0},
    {"isppacin0_input5V5", "5.5V", true, 5.08, 5.677, 5.055, 5.705, 1.0},
    {"isppacin5_inputDDR3_VDD", "DDR3_VDD 1.5V", true, 1.296, 1.564, 1.289, 1.572, 1.0},
    {"adt7473in2_input+3.3V", "Fan Controller 3.3V", false, 3.06, 3.528, 3.0, 3.6, 1.0},
    {"adt7473fan2_inputfan2", "Left Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473fan3_inputfan3", "Centre Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473fan1_inputfan1", "Right Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473temp1_inputtemp1", "Left unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"adt7473temp2_inputBoard Temp", "Center unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"adt7473temp3_inputtemp3", "Right unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"isppacin1_inputSYS_3V3", "SYS_3V3 3.3V", false, 3.17, 3.422, 3.155, 3.44, 1.0},
    {"isppacin2_input3V3", "3.3V", false, 3.17, 3.422, 3.155, 3.44, 1.0},
    {"isppacin3_input2V5", "2.5V", false, 2.403, 2.596, 2.391, 2.609, 1.0},
    {"isppacin4_input1V8", "1.8V", false, 1.731, 1.877, 1.723, 1.887, 1.0},
    {"isppacin6_input0V95", "0.95V", false, 0.91, 0.984, 0.906, 0.989, 1.0},
    {"isppacin7_input1V8MGT", "VMGTVCCAUX 1.8V", false, 1.731, 1.877, 1.723, 1.887, 1.0},
    {"isppacin8_input1V2MGT", "VMGTAVTT 1.2V", false, 1.125, 1.249, 1.12, 1.256, 1.0},
    {"isppacin9_input1V0MGT", "VMGTAVCC 1.0V", false, 0.962, 1.043, 0.957, 1.049, 1.0},
    {"isppacin10_inputVDDSOC", "VDDSOC(IMX6) 1.375", false, 1.288, 1.485, 1.275, 1.5, 1.0},
    {"ultrascale-kintexin0_inputVCCINT", "FPGA VCCINT 0.95V", false, 0.931, 0.969, 0.922, 0.979, 1.0},
    {"ultrascale-kintexin1_inputVCCAUX", "FPGA VCCAUX 1.8V", false, 1.763, 1.835, 1.746, 1.854, 1.0},
    {"ultrascale-kintexin5_inputVCCBRAM", "FPGA VCCBRAM 0.95V", false, 0.931, 0.969, 0.922, 0.979, 1.0},
    {"ultrascale-kintexin6_inputVUSER0", "FPGA 2.5V", false, 2.399, 2.599, 2.375, 2.625, 2.0},
    {"ultrascale-kintexin7_inputVUSER1", "FPGA 3.3V", false, 3.166, 3.365, 3.135, 3.399, 2.0},
    {"ultrascale-kintexin9_inputVUSER3", "FPGA DDR3 Vdd (M1)", false, 1.296, 1.559, 1.283, 1.575, 1.0},
};

constexpr SensorRow SECOND_TABLE[] = { // board ids 64 to 127
    {"ultrascale-kintextemp1_inputtemp1", "FPGA Temperature (C)", true, 1.0, 80.0, 0.0, 100.0, 1.0},
    {"imx_thermal_zonetemp1_inputtemp1", "CPU Temperature (C)", true, 1.0, 80.0, 0.0, 85.0, 1.0},
    {"isppacin0_input5V5", "5.5V", true, 5.055, 5.705, 5.048, 5.714, 1.0},
    {"isppacin5_inputDDR4_VDD", "DDR4_VDD 1.2V", true, 1.146, 1.254, 1.144, 1.256, 1.0},
    {"adt7473in2_input+3.3V", "Fan Controller 3.3V", false, 3.06, 3.528, 3.0, 3.6, 1.0},
    {"adt7473fan2_inputfan2", "Left Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473fan3_inputfan3", "Centre Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473fan1_inputfan1", "Right Fan RPM", true, 1.0, MAX, 0.0, MAX, 1.0},
    {"adt7473temp1_inputtemp1", "Left unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"adt7473temp2_inputBoard Temp", "Center unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"adt7473temp3_inputtemp3", "Right unit temperature (C)", false, 1.0, 70.0, 0.0, 75.0, 1.0},
    {"isppacin1_inputSYS_3V3", "SYS_3V3 3.3V", false, 3.151, 3.448, 3.146, 3.453, 1.0},
    {"isppacin2_input3V3", "3.3V", false, 3.151, 3.382, 3.146, 3.387, 1.0},
    {"isppacin3_input2V5", "2.5V", false, 2.387, 2.612, 2.383, 2.616, 1.0},
    {"isppacin4_input1V8", "1.8V", false, 1.749, 1.852, 1.746, 1.854, 1.0},
    {"isppacin6_input0V85", "0.85V", false, 0.829, 0.872, 0.828, 0.873, 1.0},
    {"isppacin7_input1V8MGT", "VMGTVCCAUX 1.8V", false, 1.755, 1.845, 1.752, 1.848, 1.0},
    {"isppacin8_input1V2MGT", "VMGTAVTT 1.2V", false, 1.169, 1.233, 1.167, 1.235, 1.0},
    {"isppacin9_input0V9MGT", "VMGTAVCC 0.9V", false, 0.871, 0.929, 0.87, 0.93, 1.0},
    {"isppacin10_inputVDDSOC", "VDDSOC(IMX6) 1.375", false, 1.281, 1.493, 1.279, 1.495, 1.0},
    {"ultrascale-kintexin0_inputVCCINT", "FPGA VCCINT 0.85V", false, 0.814, 0.888, 0.813, 0.889, 1.0},
    {"ultrascale-kintexin1_inputVCCAUX", "FPGA VCCAUX 1.8V", false, 1.722, 1.879, 1.72, 1.882, 1.0},
    {"ultrascale-kintexin5_inputVCCBRAM", "FPGA VCCBRAM 0.85V", false, 0.814, 0.888, 0.813, 0.889, 1.0},
    {"ultrascale-kintexin6_inputVUSER0", "FPGA DDR4_VDD 1.2V", false, 0.937, 1.926, 0.936, 1.929, 1.0},
    {"ultrascale-kintexin8_inputVUSER2", "FPGA VMGTAVTT 1.2V", false, 1.148, 1.253, 1.147, 1.255, 1.0},
    {"ultrascale-kintexin7_inputVUSER1", "FPGA VMGTAVCC 0.9V", false, 0.861, 0.939, 0.86, 0.941, 1.0},
    {"ultrascale-kintexin9_inputVUSER3", "FPGA 3.3V", false, 3.093, 3.445, 3.088, 3.45, 2.0},
    {"pmbusin2_inputvout1", "0.85V Regulator", false, 0.814, 0.888, 0.813, 0.889, 1.0},
    {"pmbuscurr1_inputiout1", "0.85v Regulator Current", false, 0.0, 38.0, 0.0, 40.0, 1.0},
};
// clang-format on

struct SensorTable
{
    const SensorRow* rows;
    std::size_t size;
    const SensorRow* begin() const { return rows; }
    const SensorRow* end() const { return rows + size; }
};

SensorTable tableOf(int boardId)
{
    if (boardId >= 0 && boardId < 64) {
        return {FIRST_TABLE, std::size(FIRST_TABLE)};
    }
    if (boardId >= 64 && boardId < 128) {
        return {SECOND_TABLE, std::size(SECOND_TABLE)};
    }
    return {nullptr, 0};
}

bool isInput(const sensors_subfeature& subfeature)
{
    constexpr std::string_view suffix = "_input";
    const std::string_view name = subfeature.name;
    return (subfeature.flags & SENSORS_MODE_R) != 0 && name.size() > suffix.size() &&
           name.substr(name.size() - suffix.size()) == suffix;
}

/// The entry of a sensor that is not in the board's table.
Sensors::Entry unlistedEntry(const sensors_chip_name& chip, const sensors_feature& feature)
{
    Sensors::Entry entry;
    entry.displayName = QString::fromLocal8Bit(chip.prefix);
    if (feature.type == SENSORS_FEATURE_TEMP) {
        entry.displayName += QLatin1String(" Temperature (C)");
    }
    entry.lowWarning = entry.lowLimit = -MAX;
    entry.highWarning = entry.highLimit = MAX;
    return entry;
}

QString sourceKey(const sensors_chip_name& chip, const sensors_feature& feature,
                  const sensors_subfeature& subfeature)
{
    const std::unique_ptr<char, void (*)(void*)> label(sensors_get_label(&chip, &feature),
                                                       &std::free);
    return QString::fromLocal8Bit(chip.prefix) + QString::fromLocal8Bit(subfeature.name) +
           QString::fromLocal8Bit(label ? label.get() : feature.name);
}

/// Returns 0, or the error of libsensors; the value is then as it was.
int readValue(Sensors::Entry& entry)
{
    double value = 0;
    const int result = sensors_get_value(entry.chip, entry.subfeature->number, &value);
    if (result == 0) {
        entry.currentValue = value * entry.scale;
    }
    return result;
}

void startLibrary(const std::string& configFile)
{
    Machine& machine = Machine::current();
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(nullptr, &std::fclose);
    if (!configFile.empty()) {
        MachineFile opened(machine, machine.openRegular(configFile));
        file.reset(opened.isOpen() ? ::fdopen(opened.getDescriptor(), "r") : nullptr);
        if (!file) {
            throw std::runtime_error("Could not open sensors configuration file");
        }
        opened.release();
    }
    if (const int result = sensors_init(file.get()); result != 0) {
        throw Sensors::InitError(result);
    }
}

} // namespace

Sensors::InitError::InitError(int libsensorsCode)
    : std::runtime_error("Could not start libsensors: " + std::to_string(libsensorsCode) + " " +
                         sensors_strerror(libsensorsCode))
    , code(libsensorsCode)
{
}

Sensors::Sensors(const std::string& configFile, int mainBoardId)
    : boardId(mainBoardId)
{
    startLibrary(configFile);
    populate();
}

Sensors::Sensors(const std::string& configFile)
    : Sensors(configFile, getBoardId(0))
{
}

Sensors::~Sensors()
{
    sensors_cleanup();
}

std::vector<SensorReading> Sensors::readings() const
{
    std::vector<SensorReading> list;
    for (const auto& [key, entry] : entries) {
        if (entry.currentValue) {
            list.push_back({key, entry.displayName, entry.required, entry.lowWarning,
                            entry.highWarning, entry.lowLimit, entry.highLimit,
                            *entry.currentValue});
        }
    }
    return list;
}

void Sensors::populate()
{
    for (const SensorRow& row : tableOf(boardId)) {
        Entry entry;
        entry.displayName = QString::fromUtf8(row.displayName);
        entry.required = row.required;
        entry.lowWarning = row.lowWarning;
        entry.highWarning = row.highWarning;
        entry.lowLimit = row.lowLimit;
        entry.highLimit = row.highLimit;
        entry.scale = row.scale;
        entries.emplace(QString::fromUtf8(row.sourceKey), entry);
    }
    int position = 0;
    while (const sensors_chip_name* chip = sensors_get_detected_chips(nullptr, &position)) {
        populateChip(*chip);
    }
}

void Sensors::populateChip(const sensors_chip_name& chip)
{
    int featurePosition = 0;
    while (const sensors_feature* feature = sensors_get_features(&chip, &featurePosition)) {
        int position = 0;
        while (const sensors_subfeature* subfeature =
                   sensors_get_all_subfeatures(&chip, feature, &position)) {
            if (!isInput(*subfeature)) {
                continue;
            }
            Entry& entry = entries
                               .try_emplace(sourceKey(chip, *feature, *subfeature),
                                            unlistedEntry(chip, *feature))
                               .first->second;
            entry.chip = &chip;
            entry.subfeature = subfeature;
            if (const int result = readValue(entry); result != 0) {
                VELLOG_ERR() << "Failed populating sensors:  " << result;
                return;
            }
        }
    }
}

void Sensors::update()
{
    for (auto& [key, entry] : entries) {
        if (entry.chip && entry.subfeature) {
            readValue(entry);
        }
    }
}
