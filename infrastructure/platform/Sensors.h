// Voltages, temperatures and fan speeds of the board, through libsensors. Only one object at a time
// in the process, on one thread.
#pragma once

#include <QString>

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct sensors_chip_name;
struct sensors_subfeature;

/// A value with its limits, in volts, amperes, degrees Celsius or revolutions a minute. The largest
/// double, or its negative, means no limit.
struct SensorReading
{
    QString sourceKey;
    QString displayName;
    bool required = false; ///< it is a fault if it can't be read
    double lowWarning = 0;
    double highWarning = 0;
    double lowLimit = 0;
    double highLimit = 0;
    double value = 0;
};

/// Reads the sensors of a board.
class Sensors
{
public:
    /// libsensors did not start.
    class InitError : public std::runtime_error
    {
    public:
        explicit InitError(int libsensorsCode);
        /// The error of libsensors, negative.
        int getCode() const { return code; }

    private:
        int code;
    };

    /// One sensor of the board's table, or one found in addition.
    struct Entry
    {
        QString displayName;
        bool required = false;
        double lowWarning = 0;
        double highWarning = 0;
        double lowLimit = 0;
        double highLimit = 0;
        double scale = 1;
        std::optional<double> currentValue;
        const sensors_chip_name* chip = nullptr;        ///< null if no chip was detected
        const sensors_subfeature* subfeature = nullptr; ///< null if no chip was detected
    };
    /// By source key: the chip's prefix, the input subfeature's name and the label joined, for
    /// instance "isppac" "in0_input" "5V5" => "isppacin0_input5V5".
    using Entries = std::map<QString, Entry>;

    /// Starts libsensors with a configuration file, or with its own if the name is empty, and
    /// populates. The main board's id selects the table: 0 to 63 the first, 64 to 127 the second,
    /// any other none. Throws std::runtime_error "Could not open sensors configuration file", and
    /// InitError.
    Sensors(const std::string& configFile, int mainBoardId);
    /// For the board that the process runs on.
    explicit Sensors(const std::string& configFile);
    Sensors(const Sensors&) = delete;
    Sensors& operator=(const Sensors&) = delete;
    ~Sensors();

    /// All known sensors, with or without a value.
    const Entries& getEntries() const { return entries; }
    /// The sensors that have a value, by source key.
    std::vector<SensorReading> readings() const;

    /// Builds the table again and looks for the chips. A chip with an error is logged and skipped.
    void populate();
    /// Reads every sensor that has a chip. If that fails, the last value stays.
    void update();

private:
    void populateChip(const sensors_chip_name& chip);

    int boardId;
    Entries entries;
};
