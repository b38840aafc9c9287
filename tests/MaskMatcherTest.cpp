#include "search/MaskMatcher.h"

#include <gtest/gtest.h>

namespace {

struct MatchCase {
    const char* mask;
    const char* name;
    bool expected;
};

void PrintTo(const MatchCase& c, std::ostream* os) {
    *os << "mask '" << c.mask << "' name '" << c.name << "'";
}

class MaskMatcherTable : public testing::TestWithParam<MatchCase> {};

TEST_P(MaskMatcherTable, MatchesLikeThePlatformMatcher) {
    const MatchCase& c = GetParam();
    EXPECT_EQ(MaskMatcher(c.mask).Matches(c.name), c.expected)
        << "mask '" << c.mask << "' name '" << c.name << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MaskMatcherTable,
    testing::Values(
        // one extension, any case, several dots, no dot, leading and trailing dot
        MatchCase{"*.txt", "a.txt", true}, MatchCase{"*.txt", "A.TXT", true},
        MatchCase{"*.TXT", "notes.Txt", true}, MatchCase{"*.txt", "a.txt.bak", false},
        MatchCase{"*.txt", "txt", false}, MatchCase{"*.txt", ".txt", true},
        MatchCase{"*.tar.gz", "x.TAR.GZ", true}, MatchCase{"*.gz", "x.tar.gz", true},
        MatchCase{"*.txt", "a.txt ", false},
        // "*.*" matches every name, with or without a dot
        MatchCase{"*.*", "README", true}, MatchCase{"*.*", "a.b.c", true},
        MatchCase{"*.*", ".bashrc", true}, MatchCase{"*.*", "x.", true},
        MatchCase{"*", "anything at all", true}, MatchCase{"**", "abc", true},
        MatchCase{"***", "", true},
        // "*." and ".*" are ordinary patterns
        MatchCase{"*.", "foo.", true}, MatchCase{"*.", "foo", false},
        MatchCase{"*.", "foo.txt", false}, MatchCase{".*", ".bashrc", true},
        MatchCase{".*", "a.txt", false}, MatchCase{".*", "..x", true},
        // "?" is exactly one character, also a non-ASCII one or a byte that is not UTF-8
        MatchCase{"?", "a", true}, MatchCase{"?", "ab", false}, MatchCase{"?", "\xc3\xa4", true},
        MatchCase{"?", "\xff", true}, MatchCase{"a?c", "abc", true}, MatchCase{"a?c", "ac", false},
        MatchCase{"*.t?t", "a.TXT", true}, MatchCase{"*.t?t", "a.tt", false},
        MatchCase{"caf?.txt", "caf\xe9.txt", true},
        // backtracking over several stars
        MatchCase{"*a*b*c", "xaybzc", true}, MatchCase{"*a*b*c", "abcab", false},
        MatchCase{"a*", "A", true}, MatchCase{"*x*", "x", true},
        // no character classes: "[" stands for itself
        MatchCase{"[ab].txt", "[ab].txt", true}, MatchCase{"[ab].txt", "a.txt", false},
        MatchCase{"*[*", "a[b", true},
        // a backslash escapes nothing; letters compare without regard to case
        MatchCase{"a\\*", "a\\b", true}, MatchCase{"file.txt", "FILE.TXT", true},
        MatchCase{"file.txt", "file.txt2", false},
        // several patterns; blanks before a pattern are ignored, blanks after it are not
        MatchCase{"*.txt;*.log", "x.LOG", true}, MatchCase{"*.txt;*.log", "x.doc", false},
        MatchCase{"*.txt; *.log", "x.log", true}, MatchCase{"  *.txt", "a.txt", true},
        MatchCase{"*.txt ;*.log", "x.txt", false}, MatchCase{"*.txt ;*.log", "x.txt ", true},
        MatchCase{"*.txt;", "a.txt", true}, MatchCase{"", "a", false}, MatchCase{";", "a", false},
        MatchCase{"   ", "a", false}, MatchCase{"*.doc;*.*", "README", true},
        // case-insensitive beyond ASCII; names that are not UTF-8 match byte for byte
        MatchCase{"\xc3\x84*", "\xc3\xa4pfel.txt", true}, // "Ä*" ~ "äpfel.txt"
        MatchCase{"*.\xc3\x96L", "x.\xc3\xb6l", true},    // "*.ÖL" ~ "x.öl"
        MatchCase{"*.txt", "caf\xe9.txt", true}, MatchCase{"caf\xe9.txt", "CAF\xe9.TXT", true},
        MatchCase{"caf\xe9.txt", "caf\xc3\xa9.txt", false}));

TEST(WildcardMatch, ReadsOnePatternWithoutTheSplitRules) {
    EXPECT_TRUE(WildcardMatch("*.?", "*.*"));
    EXPECT_TRUE(WildcardMatch("*", "*.*"));
    EXPECT_FALSE(WildcardMatch("*.txt", "*.*"));
    EXPECT_FALSE(WildcardMatch("*.*;*", "*.*")); // ";" is an ordinary character here
}

// Case folding is one rule, whichever way a pattern is written: a suffix ("*.s"), single
// wildcards ("?.s"), the name itself ("a.s"), upper case, or the other spelling of the letter.
struct FoldingCase {
    const char* name;
    bool matches;
    std::vector<const char*> patterns;
};

TEST(MaskMatcher, EveryWayOfWritingAPatternGivesTheSameAnswer) {
    const FoldingCase cases[] = {
        {"a.\xc5\xbf", true, {"*.s", "?.s", "a.s", "*.S", "A.?", "*.\xc5\xbf", "*\xc5\xbf"}}, // ſ is s
        {"a\xe2\x84\xaa", true, {"*k", "?k", "ak", "AK", "*K", "a\xe2\x84\xaa"}},   // the Kelvin sign is k
        {"ak", true, {"a\xe2\x84\xaa", "*\xe2\x84\xaa", "?\xe2\x84\xaa"}},
        {"stra\xc3\x9f" "e.txt", false, {"strasse.txt", "*sse.txt", "STRASSE.TXT", "*ss?.txt"}}, // ß stays ß
        {"stra\xc3\x9f" "e.txt", true, {"STRA\xe1\xba\x9e" "E.TXT", "*\xc3\x9f" "e.txt", "*.txt", "stra?e.*"}},
        {"\xc4\xb0stanbul", false, {"i*", "I*", "istanbul"}}, // İ is not i
        {"\xc4\xb0stanbul", true, {"\xc4\xb0*", "?stanbul", "*STANBUL"}},
        {"\xc4\xb1i", false, {"I*", "ii", "*I?"}}, // ı is not i
        {"\xc4\xb1i", true, {"\xc4\xb1*", "?I", "*i"}},
        {"\xc3\x89t\xc3\xa9.TXT", true, {"\xc3\xa9t\xc3\xa9.txt", "*.txt", "?t?.txt", "\xc3\x89T\xc3\x89.*", "*\xc3\x89.txt"}},
        {"\xff.txt", true, {"*.txt", "?.txt", "\xff.TXT", "\xff*"}},
        {"\xff.txt", false, {"\xfe.txt", "\xc3\xbf.txt", "??.txt"}}, // a stray byte is one character, itself
        {"\xc3.txt", true, {"?.txt", "\xc3*"}},
    };
    for (const FoldingCase& c : cases) {
        for (const char* pattern : c.patterns) {
            EXPECT_EQ(MaskMatcher(pattern).Matches(c.name), c.matches)
                << "name " << c.name << ", pattern " << pattern;
        }
    }
}

} // namespace
