#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

// An item a command did not handle, and what kept it.
struct SkippedItem {
    size_t slot = 0; // its place in the selection
    std::string path;
    int64_t lastWriteTime = 0;
    std::string remark; // the outcome's words ("file doesn't exist"), or a failure's number
    std::string target; // a copy's target, whose time the list shows
    std::string reason; // the system's words, when there are any
    int error = 0;      // the error number of a failure the system reported

    // The program's own refusal: its words, and the system's when there are any.
    static SkippedItem Refused(size_t slot, std::string path, std::string remark,
                               std::string reason = {});
    // A failure the system reported: its number is the remark the list shows, its words the
    // reason.
    static SkippedItem Failure(size_t slot, std::string path, int error, std::string target = {});
    // The selected item's time, and a copy's target.
    SkippedItem& At(int64_t time, std::string copyTarget = {}) {
        lastWriteTime = time;
        target = std::move(copyTarget);
        return *this;
    }
};
