#pragma once

// Reaching an item by its path at any depth. The walk finds items far below PATH_MAX's reach;
// a path that long is opened folder by folder, each step relative to the last, so every command
// works on such an item as on any other.

#include "platform/UniqueFd.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <vector>

// The folder that holds an item, open, and the item's name in it.
struct ItemAt {
    UniqueFd folder;
    std::string name;
    int error = 0; // why the folder could not be opened; 0 when it was
    explicit operator bool() const { return folder.Valid(); }
};

// Opens the folder of `path` (trailing slashes ignored) and names the item in it. Links on the
// way are followed as the system follows them; the item itself is not touched.
ItemAt OpenItem(const std::string& path);

// Opens the folder `path` of any length with `flags` (O_DIRECTORY is added), a relative path
// from the folder `base`; invalid with errno set when it cannot.
UniqueFd OpenFolder(const std::string& path, int flags = O_RDONLY | O_CLOEXEC, int base = AT_FDCWD);

// lstat(2) for a path of any length: false (errno set) when nothing is there.
bool StatItem(const std::string& path, struct stat& st);

// The entries of the folder `folder`, "." and ".." left out, read through a descriptor of their
// own (a duplicate would share, and leave at the end, the folder's reading position).
std::vector<std::string> FolderNames(int folder);

// The item's device, inode, size and times: what tells that a file is still the one copied.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    mode_t type = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
    bool operator==(const FileIdentity& other) const;
};
FileIdentity IdentityOf(const struct stat& st);
