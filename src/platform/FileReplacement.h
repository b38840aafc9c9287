#pragma once

#include "platform/UniqueFd.h"

#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// Replacing a file without ever destroying what is not one: a write lands in a temporary file
// beside the target and is renamed over it only when complete, so a crash, a full disk or a
// cancel leaves the old file whole; and only a regular file (or nothing) is ever replaced.

// Where a write to `path` lands: `path` itself, or the file its symbolic links lead to (the
// link stays a link; a dangling link has its target created).
struct ReplaceTarget {
    std::string path; // the final target
    bool exists = false;
    mode_t mode = 0644; // the existing file's permissions, else what a new file gets
    uid_t owner = static_cast<uid_t>(-1); // the existing file's owner and group (-1: none)
    gid_t group = static_cast<gid_t>(-1);
    std::string error; // why it cannot be replaced ("Is a directory"); empty when it can
};
ReplaceTarget ResolveReplaceTarget(const std::string& path);

// A new temporary file beside a target, created exclusively, that becomes the target on Commit
// and is removed otherwise.
class TemporaryBeside {
public:
    TemporaryBeside() = default;
    ~TemporaryBeside();
    TemporaryBeside(const TemporaryBeside&) = delete;
    TemporaryBeside& operator=(const TemporaryBeside&) = delete;

    // False (with errno set) when it cannot be created.
    bool Create(const std::string& target);
    int Fd() const { return fd_.Get(); }
    // Writes everything, retrying short writes; false (errno set) on failure.
    bool WriteAll(const char* data, size_t size);
    // Syncs, gives it the mode, owner and group of `like` (the file it replaces), closes it and
    // renames it over the target with `rename` (tests pass one that fails); when `like` did not
    // exist, gives it the target's name only while that is free. False (errno set) when any step
    // fails, a file whose owner or group cannot be kept included, and the temporary is gone
    // either way.
    using RenameFunction = std::function<int(const char* from, const char* to)>;
    bool Commit(const ReplaceTarget& like, const RenameFunction& rename = {});

    // The name every temporary beside `target` begins with (".name.tallymoor-tmp.").
    static std::string NamePrefix(const std::string& target);

    // Removes the temporary (nothing happens to the target).
    void Discard();

private:
    UniqueFd fd_;
    std::string temporary_;
    std::string target_;
};

// Gives the item at the temporary name `from` the name `to` in `folder`, never over anything:
// false with errno (EEXIST when `to` is taken); `from` is gone either way.
bool PublishWithoutReplacing(int folder, const std::string& from, const std::string& to);

// Whether `name` is one of the program's temporary names (".name.tallymoor-tmp.XXXXXX").
bool IsTemporaryName(std::string_view name);
// Removes, among `names` in `folder`, the temporaries that copies killed before they named them:
// regular files and links by that name whose status has not changed for a minute before `now`
// (the change time, which no one can set back), regular files only when no live writer holds
// them locked (every writer locks its own; a link is named a moment after it is made).
void RemoveStaleTemporaries(int folder, const std::vector<std::string>& names, time_t now);

// Removes the temporaries that writes killed before their rename left beside `target`: only
// regular files whose name is NamePrefix and six characters. Returns how many it removed.
int RemoveLeftoverTemporaries(const std::string& target);

// "No such file or directory": the system's words for an error number.
std::string SystemReason(int error);
