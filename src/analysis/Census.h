#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class FileDataArray;

// The file-type census: the records of the last search counted by extension.

struct CensusType {
    std::string Extension; // "." stands for files without one, and for folders
    int32_t Count = 0;
    int64_t Bytes = 0; // the sizes of its files that the walk kept
};

// One type the census hands over for a view of its own.
struct SelectedTypeEntry {
    int32_t FileCount = 0;
    std::string Extension;
};
using SelectedTypeArray = std::vector<SelectedTypeEntry>;

// The count ranges by their place in the Filter and Select menus (1 is the line between All
// results and the others), which is also the number the command line's --filter takes. The
// ranges overlap at their shared bounds on purpose: 10 files is both "5 - 10" and "10 - 20".
enum CountRange : int {
    kAllResults = 0,
    kRangeSeparator = 1,
    kUnder5 = 2,
    k5To10 = 3,
    k10To20 = 4,
    k20To50 = 5,
    k50To100 = 6,
    k100To500 = 7,
    k500To1000 = 8,
    k1000To5000 = 9,
    kOver5000 = 10,
    kCountRanges = 11,
};
QString CountRangeCaption(int index);
bool PassesCountFilter(int filterIndex, int64_t count);
bool InSelectRange(int index, int64_t count);

// "ext" TAB TAB "count files": the line the census shows for a type.
std::string CensusDisplayLine(const CensusType& type);
// Splits at the first `delimiter`: the text before it, and the rest after it (empty when none).
std::pair<std::string_view, std::string_view> FirstToken(std::string_view text, char delimiter);

// Default file names: the report by filter index ("resultcount.txt", ...; empty for an index
// without a range), and the export of one type ("results for txt.txt").
std::string CensusReportFileName(int filterIndex);
std::string TypeExportFileName(std::string_view extension);

// Marks every record without an extension (files without one, and folders) as the type ".",
// as the census counts them; `step` runs now and then.
void MarkTypeless(FileDataArray& store, const std::function<void()>& step = {});

class Census {
public:
    // Counts every record of the store by extension, in one pass, and writes "." into records
    // without one (kept on purpose: later exports and views compare against "."). Types keep the
    // order of their first occurrence; those passing `filterIndex` are shown, and the full list
    // (`lstHidden`) receives them in reverse. `step` is called about twenty times a pass.
    void Build(FileDataArray& store, int filterIndex,
               const std::function<void(const QString&)>& message,
               const std::function<void()>& step);

    // Shows the types of the full list that pass `filterIndex`, in the full list's order.
    void ApplyFilter(int filterIndex);

    const std::vector<CensusType>& Shown() const { return shown_; }
    const std::vector<CensusType>& Hidden() const { return hidden_; }
    int FilterIndex() const { return filterIndex_; }
    // "12/40 masks", or "12/40 masks (filter applied)" under a filter.
    QString ResultsCountText() const;
    int64_t ShownFiles() const;

private:
    std::vector<CensusType> shown_;
    std::vector<CensusType> hidden_;
    int typeCount_ = 0;
    int filterIndex_ = 0;
};
