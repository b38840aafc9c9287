#include "output/TextFile.h"

#include "search/PathText.h"

#include <QCoreApplication>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {
constexpr size_t kBufferSize = 1 << 16;
}

TextFile::~TextFile() {
    if (open_) {
        Abandon();
    }
}

bool TextFile::Open(const std::string& path, Mode mode) {
    mode_ = mode;
    path_ = path;
    error_.clear();
    buffer_.clear();
    buffer_.reserve(kBufferSize + 4096);
    if (mode == Mode::CreateNew) {
        const int fd =
            open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0) {
            Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot create %1: %2"), errno);
            return false;
        }
        created_.Reset(fd);
    } else {
        target_ = ResolveReplaceTarget(path);
        if (!target_.error.empty()) {
            error_ = FillIn(
                QCoreApplication::translate("TextFile", "Cannot replace %1: %2").toStdString(),
                {path, QCoreApplication::translate("Remark", target_.error.c_str()).toStdString()});
            return false;
        }
        if (!replacement_.Create(target_.path)) {
            Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot create %1: %2"), errno);
            return false;
        }
    }
    open_ = true;
    return true;
}

void TextFile::Fail(const char* what, int error) {
    if (error_.empty()) {
        error_ = FillIn(QCoreApplication::translate("TextFile", what).toStdString(),
                        {path_, SystemReason(error)});
    }
}

void TextFile::WriteLine(std::string_view text) {
    if (!open_ || !error_.empty()) {
        return;
    }
    buffer_.append(text);
    buffer_.append("\r\n");
    if (buffer_.size() >= kBufferSize) {
        Flush();
    }
}

void TextFile::Flush() {
    if (!error_.empty() || buffer_.empty()) {
        buffer_.clear();
        return;
    }
    if (mode_ == Mode::Replace) {
        if (!replacement_.WriteAll(buffer_.data(), buffer_.size())) {
            Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), errno);
        }
    } else {
        size_t done = 0;
        while (done < buffer_.size()) {
            const ssize_t n = write(created_.Get(), buffer_.data() + done, buffer_.size() - done);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), n == 0 ? ENOSPC : errno);
                break;
            }
            done += static_cast<size_t>(n);
        }
    }
    buffer_.clear();
}

// Takes back a file this writer created, never one somebody put there since.
void TextFile::Abandon() {
    open_ = false;
    if (mode_ == Mode::Replace) {
        replacement_.Discard();
        return;
    }
    struct stat ours {};
    struct stat there {};
    const bool known = fstat(created_.Get(), &ours) == 0;
    created_.Close();
    if (known && lstat(path_.c_str(), &there) == 0 && there.st_dev == ours.st_dev &&
        there.st_ino == ours.st_ino) {
        unlink(path_.c_str());
    }
}

bool TextFile::Close() {
    if (!open_) {
        return false;
    }
    Flush();
    if (error_.empty()) {
        if (mode_ == Mode::Replace) {
            if (!replacement_.Commit(target_.mode)) {
                Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), errno);
            }
        } else if (fsync(created_.Get()) != 0 || !created_.Close()) {
            Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), errno);
        }
    }
    if (!error_.empty()) {
        Abandon();
        return false;
    }
    open_ = false;
    return true;
}
