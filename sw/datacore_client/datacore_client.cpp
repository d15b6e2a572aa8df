// A command-line tool for engineers at the instrument: reads from datacore servers and writes to
// them. Its help lists the commands.
#include "Commands.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCoreApplication>

#include <cstring>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Settings settings;
    if (const std::optional<int> exitValue = readSettings(settings)) {
        return *exitValue;
    }
    setupLogging(false, "");
    const bool endsByItself = std::strcmp(settings.command->name, "watch") != 0;
    quitOnSignal(endsByItself ? 1 : 0);
    int result = 1;
    {
        const std::unique_ptr<Command> command = settings.command->make(settings);
        command->start();
        result = QCoreApplication::exec();
    }
    tearDownLogging();
    return hasOutputFailed() ? 1 : result;
}
