#include "platform/Spawn.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

bool ProgramExists(const std::string& program) {
    if (program.empty()) {
        return false;
    }
    if (program.find('/') != std::string::npos) {
        return access(program.c_str(), X_OK) == 0;
    }
    const char* path = std::getenv("PATH");
    std::string folders = path ? path : "/usr/local/bin:/usr/bin:/bin";
    size_t start = 0;
    while (start <= folders.size()) {
        const size_t end = std::min(folders.find(':', start), folders.size());
        const std::string candidate = folders.substr(start, end - start) + "/" + program;
        struct stat st {};
        if (end > start && stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
            access(candidate.c_str(), X_OK) == 0) {
            return true;
        }
        start = end + 1;
    }
    return false;
}

bool SpawnDetached(const std::vector<std::string>& argv, const std::string& workingFolder) {
    if (argv.empty()) {
        return false;
    }
    std::vector<char*> args;
    for (const auto& a : argv) {
        args.push_back(const_cast<char*>(a.c_str()));
    }
    args.push_back(nullptr);
    // The grandchild reports a failed exec through a pipe that closes on a successful one.
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child < 0) {
        close(report[0]);
        close(report[1]);
        return false;
    }
    if (child == 0) {
        setsid();
        if (fork() != 0) {
            _exit(0);
        }
        if (!workingFolder.empty() && chdir(workingFolder.c_str()) != 0) {
            // stay where we are
        }
        execvp(args[0], args.data());
        const int error = errno;
        (void)!write(report[1], &error, sizeof error);
        _exit(127);
    }
    close(report[1]);
    waitpid(child, nullptr, 0);
    int error = 0;
    const ssize_t n = read(report[0], &error, sizeof error);
    close(report[0]);
    return n == 0;
}
