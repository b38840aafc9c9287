#pragma once

#include <string>
#include <utility>

// What one operation on a file came to. Every file operation reports this way, from the walk
// to the list of files not processed: what happened, the system's error number when it gave
// one, the path it is about, and the words for it.
enum class Outcome {
    Done,
    SourceMissing,
    SourceChanged,
    InUse,     // another program has the source open for writing
    NotOnDisk, // the source is made up by the kernel as it is read (under /proc, /sys)
    TargetExists,
    Refused, // the program's own refusal, its words in `reason`
    Failed,  // the system's failure
    Cancelled
};

struct FileOutcome {
    Outcome what = Outcome::Done;
    int error = 0;      // the system's error number, 0 when it gave none
    std::string path;   // the item it is about
    std::string reason; // the system's words, or the program's own

    bool Done() const { return what == Outcome::Done; }

    static FileOutcome Ok(std::string path = {}) { return {Outcome::Done, 0, std::move(path), {}}; }
    // A failure the system reported: its number, and its words unless others are given.
    static FileOutcome Failure(std::string path, int error, std::string reason = {});
    // `what` with the system's words for `error` (none for 0).
    static FileOutcome Of(Outcome what, std::string path, int error);
    // The program's own refusal.
    static FileOutcome Refusal(std::string path, std::string reason) {
        return {Outcome::Refused, 0, std::move(path), std::move(reason)};
    }
};
