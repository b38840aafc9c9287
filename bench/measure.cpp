// Runs one command with its standard output on a pipe and reports, on one line:
// wall seconds, peak resident memory in KiB, bytes written, and lines (newline-ended) written.
// Usage: measure -- COMMAND [ARGS...]

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
    int first = 1;
    if (first < argc && std::strcmp(argv[first], "--") == 0) {
        ++first;
    }
    if (first >= argc) {
        std::fprintf(stderr, "usage: measure -- COMMAND [ARGS...]\n");
        return 2;
    }
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        return 1;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        const int devNull = open("/dev/null", O_WRONLY);
        dup2(devNull, STDERR_FILENO);
        execvp(argv[first], argv + first);
        _exit(127);
    }
    close(pipeFds[1]);
    static char buffer[1 << 16];
    long long bytes = 0, lines = 0;
    for (;;) {
        const ssize_t n = read(pipeFds[0], buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        bytes += n;
        for (ssize_t i = 0; i < n; ++i) {
            lines += buffer[i] == '\n';
        }
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%.4f %ld %lld %lld %d\n", seconds, usage.ru_maxrss, bytes, lines,
                WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    return 0;
}
