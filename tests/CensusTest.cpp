#include "analysis/Census.h"

#include "QtPrinters.h"
#include "TestTree.h"
#include "analysis/CensusReport.h"
#include "analysis/CompoundMask.h"
#include "search/FileDataArray.h"
#include "text/PathText.h"

#include <QLocale>
#include <gtest/gtest.h>

namespace {

// A closed store holding files with these extensions (as the walk stores them).
void Fill(FileDataArray& store, const std::vector<std::string>& extensions) {
    store.Prepare();
    store.Redim(static_cast<int32_t>(extensions.size()) - 1);
    for (size_t i = 0; i < extensions.size(); ++i) {
        store.Store(static_cast<int32_t>(i), "/r/", "f" + std::to_string(i) + extensions[i],
                    extensions[i], 0);
    }
}

Census Build(FileDataArray& store, int filter = 0) {
    Census census;
    census.Build(
        store, filter, [](const QString&) {}, [] {});
    return census;
}

std::vector<std::pair<std::string, int>> Pairs(const std::vector<CensusType>& types) {
    std::vector<std::pair<std::string, int>> pairs;
    for (const auto& t : types) {
        pairs.emplace_back(t.Extension, t.Count);
    }
    return pairs;
}

using P = std::vector<std::pair<std::string, int>>;

TEST(Census, TypesInOrderOfFirstOccurrenceTheFullListReversed) {
    FileDataArray store;
    Fill(store, {".txt", ".log", ".txt", "", ".c", ".log", ".txt"});
    Census census = Build(store);
    EXPECT_EQ(Pairs(census.Shown()), (P{{".txt", 3}, {".log", 2}, {".", 1}, {".c", 1}}));
    EXPECT_EQ(Pairs(census.Hidden()), (P{{".c", 1}, {".", 1}, {".log", 2}, {".txt", 3}}));
    EXPECT_EQ(store[3].Extension(), ".") << "a file without extension is marked \".\" in the store";
    EXPECT_EQ(census.ResultsCountText(), "4/4 masks");
    EXPECT_EQ(census.ShownFiles(), 7);
    census.ApplyFilter(0);
    EXPECT_EQ(Pairs(census.Shown()), Pairs(census.Hidden()))
        << "re-filtering keeps the full list's order";
    census.ApplyFilter(3);
    EXPECT_EQ(census.ResultsCountText(), "0/4 masks (filter applied)");

    Fill(store, {"", "", ""});
    EXPECT_EQ(Pairs(Build(store).Shown()), (P{{".", 3}})) << "folders make one type";
    std::vector<std::string> extensions(12, ".big");
    extensions.push_back(".one");
    Fill(store, extensions);
    const Census filtered = Build(store, 4);
    EXPECT_EQ(Pairs(filtered.Shown()), (P{{".big", 12}}));
    EXPECT_EQ(Pairs(filtered.Hidden()), (P{{".big", 12}}))
        << "a census counted with a filter keeps the types that passed it";
    EXPECT_EQ(filtered.ResultsCountText(), "1/2 masks (filter applied)");
    Census twice = Build(store);
    twice.ApplyFilter(4);
    twice.ApplyFilter(2); // the second filter reads the whole census, not the first one's list
    EXPECT_EQ(Pairs(twice.Shown()), (P{{".one", 1}}));
    EXPECT_EQ(Pairs(twice.Hidden()), (P{{".one", 1}, {".big", 12}})) << "untouched by filters";
    EXPECT_EQ(twice.ResultsCountText(), "1/2 masks (filter applied)");

    Fill(store, std::vector<std::string>(1000, ".txt"));
    std::vector<QString> messages;
    int steps = 0;
    census.Build(
        store, 0, [&](const QString& m) { messages.push_back(m); }, [&] { ++steps; });
    EXPECT_EQ(messages, (std::vector<QString>{"Filtering...", "Compressing..."}));
    EXPECT_EQ(steps, 40) << "twenty steps in each of the two passes";
}

// A type's bytes are those of its files whose size is known (a file gone before its status was
// read has none); a size of 4 GiB and more counts whole.
TEST(Census, ByteTotalsCountKnownSizesOnly) {
    FileDataArray store;
    store.Prepare();
    store.Redim(4);
    const uint32_t folder = store.AddFolder(FileDataArray::kNoFolder, "/r/");
    const std::pair<const char*, int64_t> files[] = {
        {"a.txt", 100}, {"b.txt", -1}, {"c.log", 5000000000}, {"d.log", -1}, {"e.txt", 0}};
    for (int32_t i = 0; i < 5; ++i) {
        store.Store(i, folder, files[i].first, ExtensionOf(files[i].first), 0, files[i].second);
    }
    const Census census = Build(store);
    ASSERT_EQ(census.Shown().size(), 2u);
    EXPECT_EQ(census.Shown()[0].Bytes, 100) << ".txt";
    EXPECT_EQ(census.Shown()[1].Bytes, 5000000000) << ".log";
}

TEST(Census, CountRangesOverlapAtTheirBounds) {
    // counts, then for filter indices 0, 2..10 whether the count passes
    // clang-format off
    const std::pair<int, const char*> cases[] = {
        {1, "10100000000"},    {4, "10100000000"},    {5, "10010000000"},    {10, "10011000000"},
        {20, "10001100000"},   {50, "10000110000"},   {100, "10000011000"},  {500, "10000001100"},
        {1000, "10000000110"}, {5000, "10000000011"}, {99999, "10000000001"}};
    // clang-format on
    for (const auto& [count, expected] : cases) {
        for (int index = 0; index < kCountRanges; ++index) {
            EXPECT_EQ(PassesCountFilter(index, count), expected[index] == '1')
                << "count " << count << " filter " << index;
        }
    }
    // Select: "less than 5" is 1 to 4; "All results" and "over 5000" stop at 999999
    // clang-format off
    const std::tuple<int, int, bool> selects[] = {
        {2, 0, false}, {2, 1, true},       {2, 4, true},         {2, 5, false},  {3, 10, true},
        {4, 10, true}, {10, 999999, true}, {10, 1000000, false}, {0, 1000000, false}, {1, 5, false}};
    // clang-format on
    for (const auto& [index, count, in] : selects) {
        EXPECT_EQ(InSelectRange(index, count), in) << index << " " << count;
    }
}

// Several types: what is offered, the mask they make, the records it holds.
TEST(CompoundMask, OfferedTypesTheirMaskAndTheRecordsOfWholeExtensions) {
    FileDataArray store;
    Fill(store, {".htm", ".html", "", ".txt", ".htm", ".a", ".b", ".c", ".d", ".e", ""});
    const std::vector<std::string> offered = {".a", ".b",   ".c",    ".d",
                                              ".e", ".htm", ".html", ".txt"};
    EXPECT_EQ(OfferedExtensions(store), offered) << "no \".\" before the census";
    EXPECT_EQ(CompoundMaskText({".txt"}), "*.txt; ");
    EXPECT_EQ(CompoundMaskText({".doc", ".txt"}), "*.doc; *.txt; ");
    EXPECT_EQ(RecordsOfExtensions(store, {".htm"}), (std::vector<int32_t>{0, 4})) << "not .html";
    EXPECT_EQ(RecordsOfExtensions(store, {".html"}), (std::vector<int32_t>{1})) << "not .htm";
    EXPECT_EQ(RecordsOfExtensions(store, {".a", ".b", ".c", ".d", ".e", ".htm", ".txt"}).size(), 8u)
        << "seven types, all used";
    Build(store); // the census marks the files without an extension (and folders) "."
    EXPECT_EQ(OfferedExtensions(store).front(), ".");
    EXPECT_EQ(RecordsOfExtensions(store, {"."}), (std::vector<int32_t>{2, 10}));
    // clang-format off
    const std::pair<const char*, std::vector<QString>> masks[] = {
        {"", {}}, {"*.*", {}}, {"*.txt; *.doc", {".txt", ".doc"}}, {"*.txt; ", {".txt"}}};
    // clang-format on
    for (const auto& [mask, extensions] : masks) {
        EXPECT_EQ(MaskExtensions(mask), extensions) << mask;
    }
    EXPECT_EQ(ExtensionOfPath("/a.b/NOTES.TXT"), ".TXT");
    EXPECT_EQ(ExtensionOfPath("/a.b/.bashrc"), "");
}

TEST(CompoundMask, RegisteredTypesComeFromTheMimeDatabase) {
    const auto has = [](const std::vector<RegisteredType>& types, const char* extension) {
        return std::any_of(types.begin(), types.end(),
                           [&](const RegisteredType& t) { return t.extension == extension; });
    };
    const std::vector<RegisteredType> all = RegisteredTypes();
    EXPECT_TRUE(has(all, ".txt") && has(all, ".html"));
    EXPECT_FALSE(has(all, ".[1-9]")) << "patterns are no suffixes";
    const std::vector<RegisteredType> dos = RegisteredTypes(4);
    EXPECT_TRUE(has(dos, ".txt"));
    EXPECT_FALSE(has(dos, ".html"));
}

} // namespace
