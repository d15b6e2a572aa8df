// Prints the sensors of a board as one line of JSON, and again, after an update, for each line on
// standard input. Log lines go to standard output too.
//   print_sensors BOARD_ID [CONFIG_FILE]
#include "infrastructure/platform/Sensors.h"
#include "infrastructure/utility/Logging.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

namespace {

void print(const Sensors& sensors)
{
    QJsonArray readings;
    for (const SensorReading& reading : sensors.readings()) {
        const QJsonArray limits{reading.lowWarning, reading.highWarning, reading.lowLimit,
                                reading.highLimit};
        readings.append(QJsonArray{reading.sourceKey, reading.displayName, reading.required, limits,
                                   reading.value});
    }
    QJsonArray missing;
    for (const auto& [key, entry] : sensors.getEntries()) {
        if (!entry.currentValue) {
            missing.append(QJsonArray{key, entry.displayName, entry.required, entry.lowWarning,
                                      entry.highWarning, entry.lowLimit, entry.highLimit,
                                      entry.scale});
        }
    }
    const QJsonObject all{{QStringLiteral("readings"), readings},
                          {QStringLiteral("missing"), missing}};
    std::puts(QJsonDocument(all).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        return 2;
    }
    setupLogging(true, "");
    try {
        Sensors sensors(argc > 2 ? argv[2] : "", std::atoi(argv[1]));
        print(sensors);
        for (std::string line; std::getline(std::cin, line);) {
            sensors.update();
            print(sensors);
        }
    } catch (const std::runtime_error& error) {
        std::printf("error: %s\n", error.what());
        return 1;
    }
    tearDownLogging();
}
