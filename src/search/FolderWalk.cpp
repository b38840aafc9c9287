#include "search/FolderWalk.h"

#include "platform/CancelFlag.h"
#include "search/PathText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr size_t kMinEntryBuffer = 32 * 1024;
constexpr size_t kMinFreeForRead = 16 * 1024;
constexpr int kOpenDirFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

int DefaultKeptLevels() {
    rlimit limit{};
    rlim_t soft = 1024;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        soft = limit.rlim_cur;
    }
    // Leave most descriptors to the rest of the program.
    return static_cast<int>(std::clamp<rlim_t>(soft / 8, 2, 128));
}

// Opens the root the user named. Links in it are followed, as any path typed by a user is.
// A path too long for one call is opened one component at a time.
int OpenRoot(const std::string& path) {
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0 || errno != ENAMETOOLONG) {
        return fd;
    }
    fd = open(path.front() == '/' ? "/" : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    size_t start = 0;
    while (fd >= 0 && start < path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) {
            end = path.size();
        }
        if (end > start) {
            const std::string component = path.substr(start, end - start);
            const int next = openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            close(fd);
            fd = next;
        }
        start = end + 1;
    }
    return fd;
}

bool IsFolderAt(int dirFd, const char* name) {
    struct stat st {};
    return fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
}

bool IsLowerAscii(std::string_view s) {
    return std::none_of(s.begin(), s.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
    });
}

} // namespace

FolderWalk::FolderWalk(const SearchOptions& options, FileDataArray& store, SearchCounters& counters,
                       const CancelFlag& cancel, WalkListener* listener)
    : options_(options), store_(store), counters_(counters), cancel_(cancel), listener_(listener),
      matcher_(options.MaskText), expected_(options.ExpectedMatch == 1),
      keptLevels_(DefaultKeptLevels()) {
}

FolderWalk::~FolderWalk() {
    CloseAll();
}

void FolderWalk::CloseAll() {
    for (auto& level : levels_) {
        if (level.fd >= 0) {
            close(level.fd);
            level.fd = -1;
        }
    }
    depth_ = -1;
}

bool FolderWalk::ReadEntries(Level& level) {
    level.used = 0;
    level.pos = 0;
    if (level.entries.size() < kMinEntryBuffer) {
        level.entries.resize(kMinEntryBuffer);
    }
    for (;;) {
        if (level.entries.size() - level.used < kMinFreeForRead) {
            level.entries.resize(level.entries.size() * 2);
        }
        const long n = syscall(SYS_getdents64, level.fd, level.entries.data() + level.used,
                               level.entries.size() - level.used);
        if (n == 0) {
            return true;
        }
        if (n < 0) {
            // A folder that fails part-way is walked as far as it could be read.
            return level.used > 0;
        }
        level.used += static_cast<size_t>(n);
    }
}

bool FolderWalk::Walk(const std::string& folderPath) {
    CloseAll();
    const int fd = OpenRoot(folderPath);
    if (fd < 0) {
        return false;
    }
    if (levels_.empty()) {
        levels_.emplace_back();
    }
    path_ = folderPath;
    depth_ = 0;
    Level& root = levels_[0];
    root.fd = fd;
    root.parentPathLength = 0;
    if (!ReadEntries(root) || cancel_.IsRaised()) {
        CloseAll();
        return true;
    }

    while (depth_ >= 0) {
        Level& level = levels_[depth_];
        if (level.pos >= level.used) {
            Ascend();
            if (depth_ >= 0 && AfterEntry()) {
                break;
            }
            continue;
        }
        const auto* entry = reinterpret_cast<const dirent64*>(level.entries.data() + level.pos);
        level.pos += entry->d_reclen;
        const std::string_view name(entry->d_name);
        const bool isFolder = entry->d_type == DT_DIR ||
                              (entry->d_type == DT_UNKNOWN && IsFolderAt(level.fd, entry->d_name));
        if (isFolder) {
            // "." and "..", and deliberately every folder whose name begins with a dot.
            if (name.front() != '.') {
                if (counters_.ObjectCount % 500 == 1 && listener_) {
                    listener_->Yield();
                }
                if (cancel_.IsRaised()) {
                    break;
                }
                if (options_.FoldersOnly) {
                    ++counters_.ObjectCount;
                    GrowStoreIfNeeded();
                    store_.Store(counters_.MatchedCount, path_, name, {}, 0);
                    if (counters_.ObjectCount % 100 == 1 && listener_) {
                        listener_->ObjectsCounted(counters_.ObjectCount - 1);
                    }
                    ++counters_.MatchedCount;
                }
                if (options_.ShowFolderProgress && listener_) {
                    listener_->FolderEntered(name, counters_.ObjectCount, counters_.MatchedCount);
                }
                // Once inside, the step after this entry waits until the subfolder is done.
                if (options_.Recurse && Descend(name)) {
                    continue;
                }
            }
        } else if (!options_.FoldersOnly) {
            ++counters_.ObjectCount;
            GrowStoreIfNeeded();
            if (matcher_.Matches(name) == expected_) {
                StoreFile(level.fd, name);
            }
            if (counters_.ObjectCount % 4000 == 1 && listener_) {
                listener_->ObjectsCounted(counters_.ObjectCount - 1);
            }
        }
        if (AfterEntry()) {
            break;
        }
    }
    CloseAll();
    return true;
}

// The step after every entry: stop on cancel, else let the event loop run, skipping it only
// when the count is an exact multiple of 500. Returns true when the walk must stop.
bool FolderWalk::AfterEntry() {
    if (cancel_.IsRaised()) {
        return true;
    }
    if (counters_.ObjectCount % 500 != 0 && listener_) {
        listener_->Yield();
    }
    return false;
}

// The test runs for every examined object, but grows the store only once per chunk: objects
// that do not match leave MatchedCount where it is, and the slot it names exists already.
void FolderWalk::GrowStoreIfNeeded() {
    const int32_t matched = counters_.MatchedCount;
    if (matched > 1 && matched % 500 == 1 && store_.UBound() < matched) {
        ++counters_.ChunkCount;
        store_.Redim(counters_.ChunkCount * 500);
    }
}

void FolderWalk::StoreFile(int dirFd, std::string_view name) {
    // `name` points into the entry buffer, which ends each name with a NUL.
    struct stat st {};
    int64_t time = 0;
    if (fstatat(dirFd, name.data(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        time = ToFileTime(st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
    }
    const std::string_view extension = ExtensionOf(name);
    if (IsLowerAscii(extension)) {
        store_.Store(counters_.MatchedCount, path_, name, extension, time);
    } else {
        store_.Store(counters_.MatchedCount, path_, name, LowerCaseName(extension), time);
    }
    ++counters_.MatchedCount;
}

// Opens a subfolder of the current level and makes it the current level. Returns false when
// it cannot be opened or read (skipped silently) or when a cancel is already raised.
bool FolderWalk::Descend(std::string_view name) {
    const int fd = openat(levels_[depth_].fd, name.data(), kOpenDirFlags);
    if (fd < 0) {
        return false;
    }
    if (static_cast<int>(levels_.size()) <= depth_ + 1) {
        levels_.emplace_back();
    }
    Level& parentLevel = levels_[depth_]; // emplace_back may have moved it
    Level& child = levels_[depth_ + 1];
    child.fd = fd;
    if (!ReadEntries(child) || cancel_.IsRaised()) {
        close(fd);
        child.fd = -1;
        return false;
    }
    child.parentPathLength = path_.size();
    path_.append(name);
    path_ += '/';
    ++depth_;
    // Deep down, the parent gives its descriptor back; its entries are already read.
    if (depth_ - 1 >= keptLevels_) {
        struct stat st {};
        if (fstat(parentLevel.fd, &st) == 0) {
            parentLevel.dev = st.st_dev;
            parentLevel.ino = st.st_ino;
            close(parentLevel.fd);
            parentLevel.fd = -1;
        }
    }
    return true;
}

// Leaves the current level for its parent, reopening the parent through ".." when it gave its
// descriptor back. A parent that is no longer the same folder ends there, silently.
void FolderWalk::Ascend() {
    Level& child = levels_[depth_];
    if (depth_ > 0) {
        Level& parent = levels_[depth_ - 1];
        if (parent.fd < 0) {
            const int fd = openat(child.fd, "..", kOpenDirFlags);
            struct stat st {};
            if (fd >= 0 && fstat(fd, &st) == 0 && st.st_dev == parent.dev &&
                st.st_ino == parent.ino) {
                parent.fd = fd;
            } else {
                if (fd >= 0) {
                    close(fd);
                }
                parent.pos = parent.used;
            }
        }
    }
    if (child.fd >= 0) {
        close(child.fd);
        child.fd = -1;
    }
    path_.resize(child.parentPathLength);
    --depth_;
}
