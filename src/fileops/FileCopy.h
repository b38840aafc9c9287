#pragma once

// Copies that never overwrite and are never half there: one file, a folder tree, a folder
// moved. A new file is written without a name (or under a hidden temporary one) and named only
// once whole, with its times and mode, by a call that fails on an existing name; what a failed or
// cancelled copy made is taken back; a source that changed while it was copied is not passed off
// as copied; a move removes a source only while it is still what was copied.

#include "fileops/SkippedItem.h"
#include "platform/FileOutcome.h"
#include "platform/PathAccess.h"
#include "platform/Prompts.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class CancelFlag;
class Progress;

// What a file copy tells as its bytes arrive: the file's size once, then the bytes done so far.
struct CopyProgress {
    std::function<void(int64_t size)> started;
    std::function<void(int64_t done)> advanced;
};

// Faults a test puts in: the error number for the chunk at `done` bytes into the copy to
// `target` (0: none, -1: the data ends there), and for a move's rename (0: the real one); a
// target file system without unnamed files, and file systems that copy no ranges between them;
// a source on which no lease can be had (another owner's file, a network file system).
struct CopyFaults {
    std::function<int(std::string_view target, int64_t done)> write;
    std::function<int()> rename;
    bool noUnnamedFiles = false;
    bool noRangeCopies = false;
    bool noLeases = false;
    std::function<time_t()> clock; // the time the cleaner of leftovers goes by
};
// The time the cleaner of a killed copy's leftovers goes by.
time_t CleanerClock(const CopyFaults* faults);

// A file copy's outcome (Done, SourceMissing, SourceChanged, InUse, NotOnDisk, TargetExists,
// Failed, Cancelled), and the source as it was copied.
struct CopyOutcome : FileOutcome {
    FileIdentity copied{};
};

// Copies the file or link `source` (a name in the folder `sourceDir`) to the name `target` in
// `targetDir`. An existing name, also a dangling link, is TargetExists and stays untouched, also
// when it appears while the copy runs. The source is opened without following a link (a link is
// copied as a link); its data goes in chunks (copy_file_range, else read and write) into a file
// that gets its name, mode and times only once whole and synced. A source another program has
// open for writing, before or during the copy, is InUse (told by a read lease held from the
// open until the copy is named; where none can be had, by the identity alone); one whose
// identity, size or times changed meanwhile is SourceChanged; either way nothing is named.
// Cancel is looked at between chunks.
CopyOutcome CopyOneFile(int sourceDir, const std::string& source, int targetDir,
                        const std::string& target, const CancelFlag& cancel,
                        const CopyProgress& progress = {}, const CopyFaults* faults = nullptr);

// What the list of files not processed shows for a file a copy kept (`copy` not Done): the
// program's words for why, a failure's number otherwise, and the target where there is one to
// compare with.
SkippedItem NotCopied(size_t slot, const CopyOutcome& copy, const std::string& source,
                      const std::string& target);

// What a folder copy reaches while it runs.
struct TreeCopyContext {
    const CancelFlag& cancel;
    Progress* progress = nullptr; // its bar runs over the bytes of the whole tree
    std::function<void()> yield;
    // Asked for a name at the target that is not a folder to merge with: the existing path,
    // the source path. None: such names are listed and skipped.
    std::function<ConflictAnswer(const std::string& existing, const std::string& source)> conflict;
    // Sends what a Replace takes away to the trash: Done when it went, else why not.
    std::function<FileOutcome(const std::string& path)> trash;
    const CopyFaults* faults = nullptr;
    std::function<void(std::string_view path)> working; // hears each item before it is touched
};

struct TreeOutcome {
    bool cancelled = false;
    int64_t files = 0;                 // files and links copied
    std::vector<SkippedItem> problems; // what was not copied, and why
    std::vector<FileIdentity> copied;  // each file and link as it was copied
    bool Complete() const { return !cancelled && problems.empty(); }
};

// Copies the folder `source` to `target` (made when missing, merged with when it is a folder),
// or with `contentsOnly` the entries of `source` into the folder `target`. Links are copied as
// links, special files are listed and skipped. A folder it made stays only when something is in
// it or its copy was complete. The caller has made sure `target` is not inside `source`.
TreeOutcome CopyTree(const std::string& source, const std::string& target, bool contentsOnly,
                     TreeCopyContext& context);

// Whether the folder `folder` is `other` or lies below it, by the file system's own identities
// (links and ".." resolved as the system resolves them).
bool IsSameOrInside(const std::string& folder, const std::string& other);

// A folder move's outcome (Done, Refused, Failed, Cancelled; the reason says why), and the
// items not copied, or not removed from the source.
struct MoveOutcome : FileOutcome {
    std::vector<SkippedItem> problems;
};

// Moves the folder `source` to the new path `target`: a rename that replaces nothing when both
// are on one file system; otherwise a copy, synced to disk, after which each source item is
// removed only while it is still what was copied and its copy is there; what changed stays and
// is listed, as is a file another program has open for writing when its turn comes. A move that
// fails or is cancelled removes its partial copy; the source stays whole.
MoveOutcome MoveTree(const std::string& source, const std::string& target,
                     TreeCopyContext& context);

// `folder` + "/" + `name`, without doubling the slash of "/".
std::string JoinPath(const std::string& folder, const std::string& name);
