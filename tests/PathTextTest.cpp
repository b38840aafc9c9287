#include "search/PathText.h"

#include <gtest/gtest.h>

namespace {

TEST(PathText, ExtensionIsFromTheLastDot) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.txt", ".txt"}, {"a", ""}, {".bashrc", ".bashrc"}, {"a.b.c", ".c"},
        {"a.", "."},       {"", ""},  {"x.TAR.GZ", ".GZ"},    {"caf\xe9.d\xe9", ".d\xe9"}};
    for (const auto& [name, extension] : cases) {
        EXPECT_EQ(ExtensionOf(name), extension) << name;
    }
}

TEST(PathText, LowerCaseKeepsBytesThatAreNotUtf8) {
    EXPECT_EQ(LowerCaseName(".TXT"), ".txt");
    EXPECT_EQ(LowerCaseName("\xc3\x84\xc3\x96.\xc3\x9c"), "\xc3\xa4\xc3\xb6.\xc3\xbc"); // ÄÖ.Ü
    EXPECT_EQ(LowerCaseName("\xff\xfe"
                            "A"),
              "\xff\xfe"
              "a");
    EXPECT_EQ(LowerCaseName("\xc3"
                            "A"),
              "\xc3"
              "a"); // a lead byte without its continuation
}

TEST(PathText, DecodeTreatsEveryInvalidByteAsOneCharacter) {
    const std::pair<const char*, size_t> cases[] = {
        {"abc", 3},          {"\xc3\xa4", 1}, {"\xf0\x9f\x98\x80", 1}, {"\xc0\xaf", 2}, // overlong
        {"\xed\xa0\x80", 3},                                                            // surrogate
        {"\xe2\x82", 2},                                                                // truncated
        {"\xff\xfe", 2}};
    for (const auto& [text, characters] : cases) {
        const std::string_view view(text);
        size_t pos = 0, count = 0;
        while (pos < view.size()) {
            DecodeUtf8(view, pos);
            ++count;
        }
        EXPECT_EQ(count, characters) << text;
    }
}

TEST(PathText, FileTimeCountsTicksSince1601) {
    EXPECT_EQ(ToFileTime(0, 0), 116444736000000000LL);
    EXPECT_EQ(ToFileTime(1, 999), 116444736000000000LL + 10000000 + 9);
    EXPECT_EQ(ToFileTime(-11644473600LL, 0), 0);
}

TEST(PathText, TrailingSlashIsAddedOnce) {
    EXPECT_EQ(WithTrailingSlash("/tmp"), "/tmp/");
    EXPECT_EQ(WithTrailingSlash("/tmp/"), "/tmp/");
    EXPECT_EQ(WithTrailingSlash("/"), "/");
    EXPECT_EQ(WithTrailingSlash(""), "");
}

} // namespace

namespace {
TEST(PathText, ParentFolderDropsTheLastName) {
    const std::pair<const char*, const char*> cases[] = {{"/home/ann/docs/", "/home/ann/"},
                                                         {"/home/ann/docs", "/home/ann/"},
                                                         {"/home", "/"},
                                                         {"/", "/"},
                                                         {"docs/x", "docs/"},
                                                         {"docs", ""},
                                                         {"", ""}};
    for (const auto& [path, parent] : cases) {
        EXPECT_EQ(ParentFolder(path), parent) << path;
    }
}
} // namespace
