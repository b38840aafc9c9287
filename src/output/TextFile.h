#pragma once

#include "platform/FileReplacement.h"

#include <string>
#include <string_view>

// A text file written from scratch, with CR LF line ends, beside its name until it is whole.
// Every failure keeps the system's reason, so the user hears which file failed and why; a file
// that failed is never left behind half written.
class TextFile {
public:
    enum class Mode {
        CreateNew, // the file must not exist yet, nor when it is named
        Replace,   // the user agreed to replace it: renamed over it
    };

    TextFile() = default;
    ~TextFile();
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    bool Open(const std::string& path, Mode mode);
    // Writes `text` and CR LF.
    void WriteLine(std::string_view text);
    // Writes out and closes (replacing the old file now); false when anything failed since
    // Open, and then nothing of it is left.
    bool Close();

    // "Cannot write /x/y.txt: No space left on device" after a failure.
    const std::string& Error() const { return error_; }

private:
    void Flush();
    void Fail(const char* what, int error);

    Mode mode_ = Mode::CreateNew;
    TemporaryBeside replacement_;
    ReplaceTarget target_;
    std::string path_;
    std::string buffer_;
    std::string error_;
    bool open_ = false;
};
