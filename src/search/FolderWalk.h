#pragma once

#include "platform/FileOutcome.h"
#include "platform/OpenFileGuard.h"
#include "platform/UniqueFd.h"
#include "search/FileDataArray.h"
#include "search/FolderReadAhead.h"
#include "search/MaskMatcher.h"
#include "search/SearchOptions.h"
#include "search/StoreGate.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

class CancelFlag;

struct SearchCounters {
    int64_t ObjectCount = 0;  // objects examined
    int32_t MatchedCount = 0; // records stored, and the index of the next free slot
    int32_t ChunkCount = 1;   // 500-slot chunks the store has been given
};

// What the walk tells its caller as it goes. Status texts are built by the receiver, so a
// walk nobody watches pays nothing for them.
class WalkListener {
public:
    virtual ~WalkListener() = default;
    // The status line's object count: "Objects: " followed by `shown`.
    virtual void ObjectsCounted(int64_t shown) = 0;
    // A folder is entered (only while ShowFolderProgress is on).
    virtual void FolderEntered(std::string_view name, int64_t objects, int32_t matched) = 0;
    // A point where the event loop may run.
    virtual void Yield() = 0;
    // A folder that could not be opened or read, or a kept file whose time could not be read
    // (a Failed outcome with the system's number and words); the walk goes on without it.
    virtual void NotRead(const FileOutcome& /*failure*/) {}
    // The walk is about to wait for a folder to be read (a share may keep it waiting): the
    // subfolder `name` of `parent`, or the root `parent` itself when `name` is empty. What it
    // waits on until the next call.
    virtual void Reading(std::string_view /*parent*/, std::string_view /*name*/) {}
};

// Walks a folder tree depth first, in the order the file system enumerates each folder, and
// stores what the options select. Folders whose name begins with "." are neither stored nor
// searched; files whose name begins with "." are examined like any other. Symbolic links are
// never followed: a link is examined like a file. A folder that cannot be opened is skipped and
// told to the listener.
//
// Folders are opened relative to their parent, so paths longer than PATH_MAX work. Each level
// holds the entries of its folder, and only those, until it is left. Deep down, a folder gives
// its descriptor back while its subfolders are walked, and reopens itself through ".." (or,
// when that is no longer its parent, from the nearest open ancestor, one name at a time),
// checking that it is still the same folder: so neither the open-file limit nor a folder moved
// during the walk ends a level that is still there. Running out of descriptors gives kept ones
// back and tries again: it is never taken for an unreadable folder.
//
// With more than one thread, the others read folders ahead (FolderReadAhead) while this one stores:
// what it stores, in what order, and what it reports on the way stay those of one thread.
class FolderWalk {
public:
    FolderWalk(const SearchOptions& options, FileDataArray& store, SearchCounters& counters,
               const CancelFlag& cancel, WalkListener* listener);
    ~FolderWalk();
    FolderWalk(const FolderWalk&) = delete;
    FolderWalk& operator=(const FolderWalk&) = delete;

    // Walks `folderPath`, which ends in "/". Returns false when it could not be opened as a
    // folder (the search then simply finds nothing).
    bool Walk(const std::string& folderPath);

    // How many levels, counted from the root, keep their descriptor while deeper levels are
    // walked. Derived from the descriptors the process may still open; tests lower it.
    void SetKeptLevels(int levels) { keptLevels_ = levels < 0 ? 0 : levels; }

    // The kind of file system the root is on, once Walk has opened it.
    FileSystemKind RootKind() const { return rootKind_; }
    // Whether folders are read as on a share: a network or FUSE file system, or a slow root.
    bool ReadsAsRemote() const { return remote_; }

    // Another thread may take the store while this one walks: every change to the store goes
    // through `gate`, and once it is closed nothing more is stored.
    void SetGate(StoreGate* gate) { gate_ = gate; }

    // Replaces openat(2) for subfolders; tests make chosen folders fail.
    using OpenFolderFunction = std::function<int(int dirFd, const char* name, int flags)>;
    void SetOpenFolderForTesting(OpenFolderFunction open) {
        openFolder_ = std::move(open);
        testOpen_ = true;
    }

private:
    struct Level {
        UniqueFd fd;
        std::vector<char> entries; // the folder's raw directory records
        size_t pos = 0;
        size_t nameStart = 0; // where this folder's name begins in path_
        size_t nameEnd = 0;   // where it ends (before the "/")
        dev_t dev = 0;
        ino_t ino = 0;
        uint32_t folder = FileDataArray::kNoFolder; // in the store, once something is stored
        uint32_t subfolders = 0;                    // subfolders met so far
        std::vector<FolderReadAhead::Kept> kept;    // read ahead: the files to store, their status
        FolderReadAhead::Jobs jobs;                 // its subfolders', when read ahead
        FolderReadAhead::Jobs statusPieces;         // a big folder's, looked up by readers
        size_t nextPiece = 0;
        size_t nextKept = 0;
        bool readAhead = false;
        bool Finished() const { return pos >= entries.size(); }
    };

    bool Descend(std::string_view name, uint32_t ordinal);
    // What follows an entry: the next entry, the first of the folder just entered, or the end.
    enum class Step { Next, Entered, Stop };
    void StartReadAhead(int rootFd);
    bool KeepsStatus() const { return options_.KeepStatus && !options_.FoldersOnly; }
    void ShareStatus(Level& level);
    const FolderReadAhead::Kept* NextKept(Level& level);
    void WalkLevels();
    Step VisitFolder(size_t depth, std::string_view name);
    bool TakeReadAhead(Level& child, std::string_view name, const FolderReadAhead::JobRef& job);
    void Enter(Level&& child, std::string_view name);
    void RecordFolder();
    void Ascend();
    int LevelFd(size_t level);
    bool ReopenFromAncestor(size_t level);
    bool SameFolder(int fd, const Level& level) const;
    UniqueFd OpenFolderAt(int dirFd, const char* name, size_t keep);
    bool GiveBackDescriptor(size_t keep);
    bool ReadEntries(int fd, std::vector<char>& into);
    void TellNotRead(std::string_view name, int error);
    bool AfterEntry();
    bool Entered();
    void Left();
    void GrowStoreIfNeeded();
    void StoreFile(size_t level, std::string_view name);
    uint32_t StoreFolder(size_t level);

    const SearchOptions& options_;
    FileDataArray& store_;
    SearchCounters& counters_;
    const CancelFlag& cancel_;
    WalkListener* listener_;
    MaskMatcher matcher_;
    bool expected_;
    int keptLevels_;
    OpenFolderFunction openFolder_;

    std::vector<Level> levels_; // [0] is the root; the last is the folder being walked
    std::string path_;
    std::string rootPath_;
    std::vector<char> scratch_; // getdents64's buffer, shared by every level
    bool testOpen_ = false;
    std::unique_ptr<FolderReadAhead> readAhead_;
    StoreGate* gate_ = nullptr;
    FileSystemKind rootKind_ = FileSystemKind::Disk;
    bool remote_ = false;
};
