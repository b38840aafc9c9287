#pragma once

#include "platform/FileOutcome.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

// An item a command did not handle: the outcome that kept it (its path, what happened, the
// error number, the system's words), its place in the selection, and what the list shows.
struct SkippedItem : FileOutcome {
    size_t slot = 0; // its place in the selection
    int64_t lastWriteTime = 0;
    std::string remark; // the outcome's words ("file doesn't exist"), or a failure's number
    std::string target; // a copy's target, whose time the list shows

    // The program's own refusal: its words, and the system's when there are any.
    static SkippedItem Refused(size_t slot, std::string path, std::string remark,
                               std::string reason = {});
    // An outcome that is not Done: a failure's number is the remark the list shows, unless
    // `remark` gives the program's words.
    static SkippedItem Of(size_t slot, FileOutcome outcome, std::string remark = {});
    // A failure the system reported.
    static SkippedItem Failure(size_t slot, std::string path, int error, std::string target = {}) {
        SkippedItem item = Of(slot, FileOutcome::Failure(std::move(path), error));
        item.target = std::move(target);
        return item;
    }
    // The selected item's time, and a copy's target.
    SkippedItem& At(int64_t time, std::string copyTarget = {}) {
        lastWriteTime = time;
        target = std::move(copyTarget);
        return *this;
    }
};
