// Times the census of N records (default 1 000 000): the program's one-pass count against the
// list-searching count it replaces (each record looked up, ignoring case, in the list of types
// found so far), in the same run, and checks that both give the same lists.
// Usage: censusbench [N] [RUNS]

#include "analysis/Census.h"
#include "search/FileDataArray.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <strings.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

// About 60 common extensions with a long tail of rare ones, and names without one.
std::vector<std::string> Extensions(long n) {
    std::vector<std::string> common;
    for (const char* e :
         {"c",   "h",   "txt", "jpg",  "png", "js",  "py",  "html", "json", "o",
          "md",  "cpp", "xml", "log",  "css", "gz",  "pdf", "svg",  "java", "rs",
          "go",  "sh",  "yml", "mp3",  "zip", "doc", "xls", "csv",  "ini",  "cfg",
          "so",  "a",   "ts",  "tsx",  "rb",  "pl",  "php", "mk",   "in",   "am",
          "po",  "mo",  "ttf", "woff", "ico", "gif", "bmp", "tiff", "wav",  "flac",
          "mp4", "mkv", "avi", "iso",  "deb", "rpm", "tar", "bz2",  "xz",   "lock"}) {
        common.push_back(std::string(".") + e);
    }
    std::vector<double> weight;
    double total = 0;
    for (size_t i = 0; i < common.size(); ++i) {
        weight.push_back(1.0 / std::pow(i + 1, 1.1));
        total += weight.back();
    }
    unsigned long long state = 20261121;
    const auto next = [&state] {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<double>(state >> 11) / 9007199254740992.0;
    };
    std::vector<std::string> out;
    out.reserve(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i) {
        const double kind = next();
        if (kind < 0.08) {
            out.emplace_back();
        } else if (kind < 0.10) {
            out.push_back(".x" + std::to_string(static_cast<int>(next() * 2000))); // the long tail
        } else {
            double x = next() * total;
            size_t k = 0;
            while (k + 1 < common.size() && (x -= weight[k]) > 0) {
                ++k;
            }
            out.push_back(common[k]);
        }
    }
    return out;
}

std::vector<CensusType> ListSearchCount(const FileDataArray& store) {
    std::vector<CensusType> list;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        std::string extension(store[i].Extension());
        if (extension.empty()) {
            extension = ".";
        }
        auto it = std::find_if(list.begin(), list.end(), [&](const CensusType& t) {
            return strcasecmp(t.Extension.c_str(), extension.c_str()) == 0;
        });
        if (it == list.end()) {
            list.push_back({extension, 1});
        } else {
            ++it->Count;
        }
    }
    return list;
}

} // namespace

int main(int argc, char** argv) {
    const long n = argc > 1 ? std::atol(argv[1]) : 1000000;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    const auto extensions = Extensions(n);
    FileDataArray store;
    store.Prepare();
    store.Redim(static_cast<int32_t>(n - 1));
    for (long i = 0; i < n; ++i) {
        store.Store(static_cast<int32_t>(i), "/data/", "f" + extensions[static_cast<size_t>(i)],
                    extensions[static_cast<size_t>(i)], 0);
    }

    std::vector<double> times;
    Census census;
    for (int r = 0; r < runs; ++r) {
        const auto start = Clock::now();
        census.Build(
            store, 0, [](const QString&) {}, [] {});
        times.push_back(Milliseconds(start));
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];

    const auto start = Clock::now();
    const std::vector<CensusType> reference = ListSearchCount(store);
    const double listSearch = Milliseconds(start);

    bool same = reference.size() == census.Shown().size();
    for (size_t i = 0; same && i < reference.size(); ++i) {
        same = reference[i].Extension == census.Shown()[i].Extension &&
               reference[i].Count == census.Shown()[i].Count;
    }
    std::printf("census of %ld records, %zu types: one pass %.1f ms (median of %d), list search "
                "%.1f ms, %.0fx faster; same lists: %s\n",
                n, census.Shown().size(), median, runs, listSearch, listSearch / median,
                same ? "yes" : "NO");
    return same ? 0 : 1;
}
