#include "app/Cli.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    // Large result lists go out in big writes.
    static char outBuffer[1 << 16];
    std::setvbuf(stdout, outBuffer, _IOFBF, sizeof outBuffer);
    QCoreApplication app(argc, argv);
    return RunCommandLine(args, stdout, stderr);
}
