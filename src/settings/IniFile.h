#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// An INI file with the semantics of the classic private-profile calls: section and key names
// match without regard to case, the first matching section and key win, a new key goes at the
// end of its section and a new section at the end of the file, and every other line (comments,
// blank lines, lines before the first section, garbage) is kept as it is. Reading accepts CR LF,
// LF and a UTF-8 byte-order mark; writing uses CR LF.
//
// Every write replaces the file atomically (a temporary file in the same folder, then rename),
// so a crash, a kill or a full disk leaves either the old file or the new one, never a torn one.
// A failed write is ignored: the values stay in memory and the old file stays whole.
class IniFile {
public:
    explicit IniFile(std::string path);

    const std::string& Path() const { return path_; }
    bool Exists() const;

    // The value of `key` in `section`, cut at 2047 characters; `fallback` when either is missing.
    // A key present with an empty value reads "".
    std::string GetString(std::string_view section, std::string_view key,
                          std::string_view fallback) const;
    // Key names of `section` in file order (empty when the section is missing).
    std::vector<std::string> KeyNames(std::string_view section) const;

    // Writes `key`=`value`, adding the key or the section when missing.
    void WriteString(std::string_view section, std::string_view key, std::string_view value);
    // Removes the first section of that name with everything in it.
    void DeleteSection(std::string_view section);
    // Replaces the whole file with `lines` (a new file's skeleton).
    void WriteLines(std::vector<std::string> lines);

    // Holds writes in memory until the last Batch ends, then writes once.
    class Batch {
    public:
        explicit Batch(IniFile& file) : file_(file) { ++file_.batchDepth_; }
        ~Batch() {
            if (--file_.batchDepth_ == 0 && file_.dirty_) {
                file_.Flush();
            }
        }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        IniFile& file_;
    };

    // The file's bytes as they would be written now.
    std::string Serialize() const;

    // Whether the last write reached the disk.
    bool LastWriteSucceeded() const { return lastWriteOk_; }

    // Replaces rename(2) for the final step of a write; tests make it fail.
    using RenameFunction = std::function<int(const char* from, const char* to)>;
    void SetRenameForTesting(RenameFunction rename) { rename_ = std::move(rename); }

    static constexpr size_t kValueLimit = 2047;

private:
    struct Signature {
        ino_t inode = 0;
        off_t size = -1;
        long long modifiedNs = 0;
        bool operator==(const Signature&) const = default;
    };

    void LoadIfChanged() const;
    void Changed();
    void Flush();
    std::optional<size_t> FindSection(std::string_view section) const;
    size_t SectionEnd(size_t headerLine) const;

    std::string path_;
    mutable std::vector<std::string> lines_;
    mutable std::optional<Signature> loaded_;
    int batchDepth_ = 0;
    bool dirty_ = false;
    bool lastWriteOk_ = true;
    RenameFunction rename_;
};
