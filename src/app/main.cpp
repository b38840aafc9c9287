#include "app/Cli.h"
#include "app/MainStartup.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    const std::string settingsFile = ExtractSettingsOption(args);
    if (!IsCommandLineInvocation(args)) {
        return RunWindow(argc, argv, settingsFile);
    }
    // Headless: Qt Core only, no display needed. Large result lists go out in big writes.
    static char outBuffer[1 << 16];
    std::setvbuf(stdout, outBuffer, _IOFBF, sizeof outBuffer);
    QCoreApplication app(argc, argv);
    return RunCommandLine(args, stdout, stderr);
}
