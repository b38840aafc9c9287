#pragma once

#include <dirent.h>
#include <memory>
#include <unistd.h>
#include <utility>

// A file descriptor that closes itself. Close() reports whether the close succeeded, for
// writers that must know.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { Close(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            Close();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int Get() const { return fd_; }
    bool Valid() const { return fd_ >= 0; }
    explicit operator bool() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }
    void Reset(int fd = -1) {
        Close();
        fd_ = fd;
    }
    // True when there was nothing to close or the close succeeded.
    bool Close() {
        if (fd_ < 0) {
            return true;
        }
        return ::close(std::exchange(fd_, -1)) == 0;
    }

private:
    int fd_ = -1;
};

// A directory stream that closes itself, with the descriptor it was opened on.
struct DirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using DirStream = std::unique_ptr<DIR, DirCloser>;

// A stream over the folder open as `fd`, which it then owns; empty (and `fd` closed) on failure.
inline DirStream OpenDirStream(UniqueFd fd) {
    DIR* dir = fd ? fdopendir(fd.Get()) : nullptr;
    if (dir != nullptr) {
        fd.Release();
    }
    return DirStream(dir);
}
