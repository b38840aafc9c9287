#include "output/TextFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr size_t kBufferSize = 1 << 16;
}

TextFile::~TextFile() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool TextFile::Open(const std::string& path) {
    path_ = path;
    error_.clear();
    buffer_.clear();
    buffer_.reserve(kBufferSize + 4096);
    fd_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        Fail("Cannot create");
        return false;
    }
    return true;
}

void TextFile::Fail(const char* what) {
    if (error_.empty()) {
        error_ = std::string(what) + " " + path_ + ": " + std::strerror(errno);
    }
}

void TextFile::WriteLine(std::string_view text) {
    if (fd_ < 0 || !error_.empty()) {
        return;
    }
    buffer_.append(text);
    buffer_.append("\r\n");
    if (buffer_.size() >= kBufferSize) {
        Flush();
    }
}

void TextFile::Flush() {
    size_t done = 0;
    while (done < buffer_.size() && error_.empty()) {
        const ssize_t n = write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            Fail("Cannot write");
            break;
        }
        done += static_cast<size_t>(n);
    }
    buffer_.clear();
}

bool TextFile::Close() {
    if (fd_ < 0) {
        return false;
    }
    if (error_.empty()) {
        Flush();
    }
    if (close(fd_) != 0) {
        Fail("Cannot write");
    }
    fd_ = -1;
    return error_.empty();
}
