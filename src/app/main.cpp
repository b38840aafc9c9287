#include "app/MainStartup.h"
#include "cli/Cli.h"
#include "platform/GioDesktop.h"
#include "platform/UniqueFd.h"

#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace {

// A closed standard stream would hand its number to the next file opened, and results meant
// for standard output would land in it. Such a slot gets /dev/null opened for reading, so that
// writing to it fails, as it should, and says so.
void OccupyClosedStandardStreams() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
            UniqueFd null(open("/dev/null", O_RDONLY));
            if (null && null.Get() != fd) {
                dup2(null.Get(), fd);
            } else {
                null.Release(); // it took the free slot itself: it stays open there
            }
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    OccupyClosedStandardStreams();
    std::vector<std::string> args(argv + 1, argv + argc);
    const std::string settingsFile = ExtractSettingsOption(args);
    if (!IsCommandLineInvocation(args)) {
        return RunWindow(
            argc, argv, settingsFile, args.empty() ? std::string() : args[0],
            [](Prompts& prompts) { return std::make_unique<GioDesktop>(prompts, AskFileManager); });
    }
    // Headless: Qt Core only, no display needed. Large result lists go out in big writes.
    static char outBuffer[1 << 16];
    std::setvbuf(stdout, outBuffer, _IOFBF, sizeof outBuffer);
    QCoreApplication app(argc, argv);
    InstallTranslations(app);
    // A share's questions (a login, an unknown host) go unanswered here: a share the desktop
    // has not mounted yet needs no questions, or is refused.
    const CliSystem system{[](const std::string& path) { return MoveToTrash(path); }, AskOnTerminal,
                           [](const std::string& url, const CancelFlag& cancel, std::string& why) {
                               return LocalPathOfUrl(url, nullptr, cancel, why);
                           }};
    return RunCommandLine(args, stdout, stderr, nullptr, system);
}
