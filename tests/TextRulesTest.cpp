// The small rules of names, paths, sorting and the status texts. The environment sets
// LC_ALL=en_US.UTF-8, so numbers group with ",".

#include "QtPrinters.h"
#include "search/SearchStatus.h"
#include "search/SortStrings.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <tuple>

namespace {

TEST(PathText, NamesAndPaths) {
    // clang-format off
    const std::pair<const char*, const char*> extensions[] = {
        {"a.txt", ".txt"}, {"a", ""}, {".bashrc", ".bashrc"}, {"a.b.c", ".c"},
        {"a.", "."},       {"", ""},  {"x.TAR.GZ", ".GZ"},    {"caf\xe9.d\xe9", ".d\xe9"}};
    // clang-format on
    for (const auto& [name, extension] : extensions) {
        EXPECT_EQ(ExtensionOf(name), extension) << name;
    }
    // clang-format off
    const std::pair<const char*, const char*> lowered[] = {
        {".TXT", ".txt"},
        {"\xc3\x84\xc3\x96.\xc3\x9c", "\xc3\xa4\xc3\xb6.\xc3\xbc"}, // ÄÖ.Ü
        {"\xff\xfe" "A", "\xff\xfe" "a"},                          // bytes that are not UTF-8 stay
        {"\xc3" "A", "\xc3" "a"}};                                 // a lead byte alone
    // clang-format on
    for (const auto& [name, lower] : lowered) {
        EXPECT_EQ(LowerCaseName(name), lower);
    }
    // clang-format off
    const std::pair<const char*, const char*> parents[] = {
        {"/home/ann/docs/", "/home/ann/"}, {"/home/ann/docs", "/home/ann/"}, {"/home", "/"},
        {"/", "/"}, {"docs/x", "docs/"}, {"docs", ""}};
    // clang-format on
    for (const auto& [path, parent] : parents) {
        EXPECT_EQ(ParentFolder(path), parent) << path;
    }
    // clang-format off
    const std::tuple<const char*, const char*, const char*, const char*> splits[] = {
        {"/a/b/c.txt", "/a/b", "c.txt", "/a/b"}, {"/c", "/", "c", "/"},
        {"c", "", "c", "."}, {"/a/", "/a", "", "/a"}};
    // clang-format on
    for (const auto& [path, folder, name, system] : splits) {
        EXPECT_EQ(SplitPath(path).folder, folder) << path;
        EXPECT_EQ(SplitPath(path).name, name) << path;
        EXPECT_EQ(FolderOfPath(path), system) << path;
    }
    EXPECT_EQ(WithTrailingSlash("/tmp"), "/tmp/");
    EXPECT_EQ(WithTrailingSlash("/tmp/"), "/tmp/");
    EXPECT_EQ(WithTrailingSlash(""), "");
    // Values go in once, as bytes: a "%2" inside a path stays, an unknown or lone "%" too.
    // clang-format off
    const std::pair<const char*, const char*> filled[] = {
        {"Cannot write %1: %2", "Cannot write /a%2\xff: full"},
        {"%2 before %1", "full before /a%2\xff"},
        {"100% %3 %", "100% %3 %"}};
    // clang-format on
    for (const auto& [pattern, text] : filled) {
        EXPECT_EQ(FillIn(pattern, {"/a%2\xff", "full"}), text) << pattern;
    }
    EXPECT_EQ(ToFileTime(0, 0), 116444736000000000LL);
    EXPECT_EQ(ToFileTime(1, 999), 116444736000000000LL + 10000000 + 9);
}

// What a terminal is given of a name: what a shell reads back as the same bytes, and never an
// escape sequence or a line end as it is.
TEST(PathText, NamesToATerminal) {
    // clang-format off
    const std::tuple<const char*, const char*, const char*> rows[] = {
        // name                   quoted                       in a message
        {"/home/a b.txt",         "/home/a b.txt",             "/home/a b.txt"},
        {"caf\xc3\xa9",           "caf\xc3\xa9",               "caf\xc3\xa9"},
        {"a\x1b[2Jb",             "$'a\\033[2Jb'",              "a?[2Jb"},
        {"fake\nline",            "$'fake\\nline'",             "fake?line"},
        {"tab\tcr\r",             "$'tab\\tcr\\r'",            "tab\tcr?"},
        {"it's\\\n",             "$'it\\'s\\\\\\n'",           "it's\\?"},
        {"\xff\xfe",              "$'\\377\\376'",             "??"},
        {"csi\xc2\x9b" "2J",      "$'csi\\302\\2332J'",         "csi?2J"},
        {"del\x7f\a\b\v\f",       "$'del\\177\\a\\b\\v\\f'",     "del?????"},
    };
    // clang-format on
    for (const auto& [name, quoted, safe] : rows) {
        EXPECT_EQ(TerminalQuoted(name), quoted) << name;
        EXPECT_EQ(TerminalSafe(name), safe) << name;
    }
}

TEST(PathText, EveryInvalidByteIsOneCharacter) {
    // clang-format off
    const std::pair<const char*, size_t> cases[] = {
        {"abc", 3}, {"\xc3\xa4", 1}, {"\xf0\x9f\x98\x80", 1}, {"\xc0\xaf", 2} /* overlong */,
        {"\xed\xa0\x80", 3} /* surrogate */, {"\xe2\x82", 2} /* cut short */, {"\xff\xfe", 2}};
    // clang-format on
    for (const auto& [text, characters] : cases) {
        const std::string_view view(text);
        size_t pos = 0, count = 0;
        for (; pos < view.size(); ++count) {
            DecodeUtf8(view, pos);
        }
        EXPECT_EQ(count, characters) << text;
    }
}

TEST(SortStrings, SortsByBytesAscending) {
    std::vector<std::string> bytes = {"b", "\xc3\xa9", "Z", "a", "\xff", "", "B", "a"};
    SortStrings(bytes, 0, static_cast<int>(bytes.size()) - 1);
    EXPECT_EQ(bytes, (std::vector<std::string>{"", "B", "Z", "a", "a", "b", "\xc3\xa9", "\xff"}));
    // Random, sorted, reversed and equal inputs, long enough to hit deep recursion.
    std::mt19937 random(7);
    std::vector<std::vector<std::string>> inputs(4);
    for (int i = 0; i < 50000; ++i) {
        inputs[0].push_back(std::string(1 + random() % 3, static_cast<char>('a' + random() % 4)));
        inputs[1].push_back(std::to_string(100000 + i));
        inputs[2].push_back(std::to_string(200000 - i));
        inputs[3].push_back("x");
    }
    for (auto& input : inputs) {
        auto expected = input;
        std::sort(expected.begin(), expected.end());
        SortStrings(input, 0, static_cast<int>(input.size()) - 1);
        EXPECT_EQ(input, expected);
    }
}

TEST(SearchStatus, TheTextsOfASearch) {
    // Objects, Matched, Done and the nothing-found message are seen through the window and the
    // command line.
    // clang-format off
    const std::pair<QString, QString> texts[] = {
        {ElapsedText(0.0f), "Elapsed: 0.00  seconds"},
        {ElapsedText(59.98f), "Elapsed: 59.98  seconds"},
        {ElapsedText(59.99f), "Elapsed: 59.99"}, // no unit from here on, kept so on purpose
        {ElapsedText(1234.5f), "Elapsed: 1,234.50"},
        {OutcomeText(true), "Cancelled"},
        {FolderMessageTexts("photos", 12345, 7).part0, "Searching photos "},
        {FolderMessageTexts("photos", 12345, 7).part1, " Objects: 12,345"},
        {FolderMessageTexts("photos", 12345, 7).part2, " Matched: 7"},
        {SizeText(0), "0 bytes"},
        {SizeText(1), "1 byte"},
        {SizeText(999), "999 bytes"},
        {SizeText(1500), "1.5 kB"},
        {ExactSizeText(1), "1 byte"},
        {ExactSizeText(1234567), "1,234,567 bytes"}};
    // clang-format on
    for (const auto& [actual, expected] : texts) {
        EXPECT_EQ(actual, expected);
    }
}

} // namespace
