#include "output/TextFile.h"

#include "text/PathText.h"

#include <QCoreApplication>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {
constexpr size_t kBufferSize = 1 << 16;
}

TextFile::~TextFile() = default;

bool TextFile::Open(const std::string& path, Mode mode) {
    mode_ = mode;
    path_ = path;
    error_.clear();
    buffer_.clear();
    buffer_.reserve(kBufferSize + 4096);
    struct stat st {};
    if (mode == Mode::CreateNew && lstat(path.c_str(), &st) == 0) {
        Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot create %1: %2"), EEXIST);
        return false;
    }
    // A new file is written beside its name and takes it only when whole, never over
    // anything that appeared meanwhile.
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
    if (error_.empty() && !buffer_.empty() &&
        !replacement_.WriteAll(buffer_.data(), buffer_.size())) {
        Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), errno);
    }
    buffer_.clear();
}

bool TextFile::Close() {
    if (!open_) {
        return false;
    }
    Flush();
    if (error_.empty() && !replacement_.Commit(target_)) {
        Fail(QT_TRANSLATE_NOOP("TextFile", "Cannot write %1: %2"), errno);
    }
    open_ = false;
    if (!error_.empty()) {
        replacement_.Discard();
        return false;
    }
    return true;
}
