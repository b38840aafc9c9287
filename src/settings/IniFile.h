#pragma once

#include "platform/FileReplacement.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// An INI file with the semantics of the classic private-profile calls: section and key names
// match without regard to case, the first matching section and key win, a new key goes at the
// end of its section and a new section at the end of the file, and every other line (comments,
// blank lines, lines before the first section, garbage) is kept as it is. Reading takes CR LF,
// LF or a lone CR as a line end, skips a UTF-8 byte-order mark, and a value wholly enclosed in
// matching single or double quotes loses them; writing uses CR LF.
//
// It replaces only a regular file it has read whole, or creates one where nothing is: a link
// to a regular file has its target written (the link stays), a dangling link has its target
// created. Anything else at the path (a device, a FIFO, a folder), or a file that cannot be
// read, leaves the settings in memory: nothing is written then, and the problem is told once.
//
// Every write replaces the file atomically (a temporary file beside it with the file's mode,
// owner and group, then rename), under an advisory lock on its folder, after reading the file
// again: running copies keep each other's keys, and a crash or a full disk leaves the old file
// or the new one, never a torn one. A write that cannot get the lock writes nothing. A failed
// write keeps the values in memory and is told once; a file the user made read-only is never
// written, and that too is told once.
class IniFile {
public:
    // Touches nothing until first used. `ownSections`: the sections a file of this kind holds;
    // a link that leads to a file with none of them, not empty, is some other file, left alone.
    explicit IniFile(std::string path, std::vector<std::string> ownSections = {});

    const std::string& Path() const { return path_; }
    // Whether a settings file is there and was read.
    bool Exists() const;
    // True when the settings can only be kept in memory.
    bool InMemoryOnly() const;

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
    // Gives a missing file `lines` (a new file's content). Another copy of the program may have
    // made the file meanwhile: then, by the time the write is done under the lock, the file there
    // is kept as it is.
    void CreateWith(std::vector<std::string> lines);

    // The keys and values of a section in file order, as GetString reads them.
    using Entries = std::vector<std::pair<std::string, std::string>>;
    // Replaces `section` with what `rewrite` makes of what it holds on disk when written (under
    // the lock, so a change another copy made meanwhile is seen); nothing happens to it when
    // `rewrite` gives nothing back.
    void RewriteSection(std::string_view section,
                        std::function<std::optional<Entries>(const Entries&)> rewrite);

    // Holds writes in memory until the last Batch ends, then writes once.
    class Batch {
    public:
        explicit Batch(IniFile& file) : file_(file) { ++file_.batchDepth_; }
        ~Batch() {
            if (--file_.batchDepth_ == 0 && !file_.pending_.empty()) {
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

    // Whether the last write reached the disk (never, while the settings are in memory only).
    bool LastWriteSucceeded() const { return lastWriteOk_ && !memoryOnly_; }

    // Hears the first problem (the file cannot be used, read or written), once, in words for
    // the user; at once when one is already known.
    void SetProblemHandler(std::function<void(const std::string&)> handler);

    // Replaces rename(2) for the final step of a write; tests make it fail.
    void SetRenameForTesting(TemporaryBeside::RenameFunction rename) {
        rename_ = std::move(rename);
    }
    // How long a write waits for another copy's lock before it gives up unwritten.
    void SetLockPatience(std::chrono::milliseconds patience) { lockPatience_ = patience; }

    static constexpr size_t kValueLimit = 2047;

private:
    using Edit = std::function<void(std::vector<std::string>&)>;
    struct Signature {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1;
        long long modifiedNs = 0;
        bool operator==(const Signature&) const = default;
    };

    void LoadIfChanged() const;
    void Apply(Edit edit);
    void Flush();
    void Problem(const std::string& text) const;

    std::string path_;
    std::vector<std::string> ownSections_;
    mutable std::vector<std::string> lines_;
    mutable std::optional<Signature> loaded_; // the file the lines were read from (size -1: none)
    mutable bool memoryOnly_ = false;
    mutable bool leftoversChecked_ = false;
    mutable bool vetted_ = false;        // what the path leads to was found to be a settings file
    mutable bool byteOrderMark_ = false; // the file began with one
    std::vector<Edit> pending_;          // edits not yet written, replayed over a newer file
    int batchDepth_ = 0;
    bool lastWriteOk_ = true;
    TemporaryBeside::RenameFunction rename_;
    std::chrono::milliseconds lockPatience_{10000};
    mutable std::string problem_;
    mutable bool problemTold_ = false;
    std::function<void(const std::string&)> problemHandler_;
};
