#include "analysis/Census.h"

#include "search/FileDataArray.h"

#include <QCoreApplication>
#include <algorithm>
#include <unordered_map>

namespace {

struct Range {
    const char* caption;
    int64_t filterLow, filterHigh; // the Filter menu's test
    int64_t selectLow, selectHigh; // the Select menu's range
};

constexpr int64_t kNoLimit = INT64_MAX;

constexpr std::array<Range, kCountRanges> kRanges = {{
    {QT_TRANSLATE_NOOP("Census", "All results"), 0, kNoLimit, 0, 999999},
    {"-", -1, -1, -1, -1},
    {QT_TRANSLATE_NOOP("Census", "Types with less than 5 files"), INT64_MIN, 4, 1, 4},
    {QT_TRANSLATE_NOOP("Census", "Types with 5 - 10 files"), 5, 10, 5, 10},
    {QT_TRANSLATE_NOOP("Census", "Types with 10 - 20 files"), 10, 20, 10, 20},
    {QT_TRANSLATE_NOOP("Census", "Types with 20 - 50 files"), 20, 50, 20, 50},
    {QT_TRANSLATE_NOOP("Census", "Types with 50 - 100 files"), 50, 100, 50, 100},
    {QT_TRANSLATE_NOOP("Census", "Types with 100 - 500 files"), 100, 500, 100, 500},
    {QT_TRANSLATE_NOOP("Census", "Types with 500 - 1000 files"), 500, 1000, 500, 1000},
    {QT_TRANSLATE_NOOP("Census", "Types with 1000 - 5000 files"), 1000, 5000, 1000, 5000},
    {QT_TRANSLATE_NOOP("Census", "Types with over 5000 files"), 5000, kNoLimit, 5000, 999999},
}};

bool ValidRange(int index) {
    return index >= kAllResults && index < kCountRanges && index != kRangeSeparator;
}

} // namespace

QString CountRangeCaption(int index) {
    return index >= 0 && index < kCountRanges
               ? QCoreApplication::translate("Census", kRanges[index].caption)
               : QString();
}

bool PassesCountFilter(int filterIndex, int64_t count) {
    if (filterIndex == kAllResults) {
        return true;
    }
    return ValidRange(filterIndex) && count >= kRanges[filterIndex].filterLow &&
           count <= kRanges[filterIndex].filterHigh;
}

bool InSelectRange(int index, int64_t count) {
    return ValidRange(index) && count >= kRanges[index].selectLow &&
           count <= kRanges[index].selectHigh;
}

std::string CensusDisplayLine(const CensusType& type) {
    return type.Extension + "\t\t" + std::to_string(type.Count) + " files";
}

std::pair<std::string_view, std::string_view> FirstToken(std::string_view text, char delimiter) {
    const size_t at = text.find(delimiter);
    if (at == std::string_view::npos) {
        return {text, {}};
    }
    return {text.substr(0, at), text.substr(at + 1)};
}

std::string CensusReportFileName(int filterIndex) {
    switch (filterIndex) {
    case kAllResults:
        return "resultcount.txt";
    case kUnder5:
        return "resultcount (1 to 4 files).txt";
    case k5To10:
        return "resultcount (5 to 10 files).txt";
    case k10To20:
        return "resultcount (10 to 20 files).txt";
    case k20To50:
        return "resultcount (20 to 50 files).txt";
    case k50To100:
        return "resultcount (50 to 100 files).txt";
    case k100To500:
        return "resultcount (100 to 500 files).txt";
    case k500To1000:
        return "resultcount (500 to 1000 files).txt";
    case k1000To5000:
        return "resultcount (1000 to 5000 files).txt";
    case kOver5000:
        return "resultcount (over 5000 files).txt";
    default:
        return {};
    }
}

std::string TypeExportFileName(std::string_view extension) {
    std::string bare;
    for (char c : extension) {
        if (c != '.') {
            bare += c;
        }
    }
    return "results for " + bare + ".txt";
}

void MarkTypeless(FileDataArray& store, const std::function<void()>& step) {
    const int32_t upper = store.UBound();
    const int32_t interval = upper / 20 + 1;
    for (int32_t i = 0; i <= upper; ++i) {
        if (step && i % interval == 1) {
            step();
        }
        if (store.ExtensionNumberOf(i) == 0) {
            store.SetExtension(i, ".");
        }
    }
}

void Census::Build(FileDataArray& store, int filterIndex,
                   const std::function<void(const QString&)>& message,
                   const std::function<void()>& step) {
    shown_.clear();
    hidden_.clear();
    filterIndex_ = filterIndex;
    const int32_t upper = store.UBound();
    if (upper < 0) {
        typeCount_ = 0;
        return;
    }
    const int32_t interval = upper / 20 + 1;
    MarkTypeless(store, step);

    // The store numbers each extension, so records are counted by that number: one pass, no
    // string compared per record.
    message(QCoreApplication::translate("Census", "Filtering..."));
    std::vector<CensusType> types;
    std::unordered_map<uint32_t, size_t> indexOf;
    uint32_t lastExtension = ~0u;
    size_t lastIndex = 0;
    for (int32_t i = 0; i <= upper; ++i) {
        if (i % interval == 1) {
            step();
        }
        const uint32_t extension = store.ExtensionNumberOf(i);
        if (extension != lastExtension) {
            const auto [it, added] = indexOf.try_emplace(extension, types.size());
            if (added) {
                types.push_back({std::string(store[i].Extension()), 0});
            }
            lastExtension = extension;
            lastIndex = it->second;
        }
        ++types[lastIndex].Count;
        types[lastIndex].Bytes += std::max<int64_t>(store.SizeOf(i), 0);
    }

    message(QCoreApplication::translate("Census", "Compressing..."));
    typeCount_ = static_cast<int>(types.size());
    for (size_t k = types.size(); k-- > 0;) {
        if (PassesCountFilter(filterIndex, types[k].Count)) {
            hidden_.push_back(types[k]);
        }
    }
    for (auto& type : types) {
        if (PassesCountFilter(filterIndex, type.Count)) {
            shown_.push_back(std::move(type));
        }
    }
}

void Census::ApplyFilter(int filterIndex) {
    filterIndex_ = filterIndex;
    typeCount_ = static_cast<int>(hidden_.size());
    shown_.clear();
    for (const CensusType& type : hidden_) {
        if (PassesCountFilter(filterIndex, type.Count)) {
            shown_.push_back(type);
        }
    }
}

QString Census::ResultsCountText() const {
    return (filterIndex_ != 0
                ? QCoreApplication::translate("Census", "%1/%2 masks (filter applied)")
                : QCoreApplication::translate("Census", "%1/%2 masks"))
        .arg(shown_.size())
        .arg(typeCount_);
}

int64_t Census::ShownFiles() const {
    int64_t files = 0;
    for (const CensusType& type : shown_) {
        files += type.Count;
    }
    return files;
}
