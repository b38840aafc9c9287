#pragma once

#include "search/FileDataArray.h"
#include "search/MaskMatcher.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

class CancelFlag;

// The options a search reads from the window when it starts. `ShowFolderProgress` may be
// switched while the walk runs, so the walk reads it through a reference on every folder.
struct SearchOptions {
    bool Recurse = true;
    bool FoldersOnly = false;
    bool ShowFolderProgress = true;
    int ExpectedMatch = 1; // 1: list what matches the mask; 0: list every file that matches none
    std::string MaskText;
};

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
    // Part 1 of the status line: "Objects: " followed by `shown`.
    virtual void ObjectsCounted(int64_t shown) = 0;
    // A folder is entered (only while ShowFolderProgress is on).
    virtual void FolderEntered(std::string_view name, int64_t objects, int32_t matched) = 0;
    // A point where the original let its message loop run.
    virtual void Yield() = 0;
};

// Walks a folder tree depth first, in the order the file system enumerates each folder, and
// stores what the options select. Folders whose name begins with "." are neither stored nor
// searched; files whose name begins with "." are examined like any other. Symbolic links are
// never followed: a link is examined like a file. A folder that cannot be opened is skipped.
//
// Folders are opened relative to their parent, so paths longer than PATH_MAX work, and below
// a fixed depth a folder gives its descriptor back while its subfolder is walked and reopens
// itself through ".." afterwards, so the depth of a tree is not bounded by the open-file limit.
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
    // walked. Derived from the open-file limit; tests lower it to exercise the reopening.
    void SetKeptLevels(int levels) { keptLevels_ = levels < 1 ? 1 : levels; }

private:
    struct Level {
        int fd = -1;
        std::vector<char> entries; // raw directory records of the whole folder
        size_t used = 0;
        size_t pos = 0;
        size_t parentPathLength = 0; // length of the path before this folder's name was added
        dev_t dev = 0;
        ino_t ino = 0;
    };

    bool ReadEntries(Level& level);
    bool Descend(std::string_view name);
    void Ascend();
    bool AfterEntry();
    void GrowStoreIfNeeded();
    void StoreFile(int dirFd, std::string_view name);
    void CloseAll();

    const SearchOptions& options_;
    FileDataArray& store_;
    SearchCounters& counters_;
    const CancelFlag& cancel_;
    WalkListener* listener_;
    MaskMatcher matcher_;
    bool expected_;
    int keptLevels_;

    std::vector<Level> levels_;
    int depth_ = -1;
    std::string path_;
};
