#pragma once

#include <string>
#include <string_view>

// A text file written from scratch (created, or truncated when it exists), with CR LF line
// ends. Every failure keeps the system's reason, so the user hears which file failed and why.
class TextFile {
public:
    TextFile() = default;
    ~TextFile();
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    bool Open(const std::string& path);
    // Writes `text` and CR LF.
    void WriteLine(std::string_view text);
    // Flushes and closes; false when anything failed since Open.
    bool Close();

    // "Cannot write /x/y.txt: No space left on device" after a failure.
    const std::string& Error() const { return error_; }

private:
    void Flush();
    void Fail(const char* what);

    int fd_ = -1;
    std::string path_;
    std::string buffer_;
    std::string error_;
};
