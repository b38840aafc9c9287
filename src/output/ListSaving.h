#pragma once

#include <QString>
#include <functional>
#include <string>
#include <vector>

class CancelFlag;
class FileDataArray;

// Writing result lists to text files: one path per line, each line ended by CR LF.

// What a long write tells its progress window.
struct WriteProgress {
    std::function<void(int maximum)> start;
    std::function<void(const QString& message)> message;
    std::function<void()> step; // after the line of every index i with i mod 20 = 1
    std::function<void()> finish;
    // Looked at after every line: a write told to stop reads no more of the store.
    const CancelFlag* stop = nullptr;
};

// The whole store, "Save All": slots 0 to UBound - 1, deliberately leaving out the last slot
// (so a store of one slot writes no file, and an empty search's 501 empty slots give 500 empty
// lines). The sorted form sorts the paths by their bytes first. Returns "" on success (or when
// there is nothing to write) and the reason, naming the file, on failure.
std::string WriteResultsUnsorted(const FileDataArray& store, const std::string& path,
                                 const WriteProgress& progress);
std::string WriteResultsSorted(const FileDataArray& store, const std::string& path,
                               const WriteProgress& progress);

// Writes `lines`, sorted by their bytes first when `sorted`.
std::string WriteLines(const std::string& path, std::vector<std::string> lines, bool sorted);

// "Writing 1,234 files..." and "Sorting 1,234 files...".
QString WritingMessage(int64_t files);
QString SortingMessage(int64_t files);
