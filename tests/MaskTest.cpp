#include "search/MaskMatcher.h"
#include "search/MaskRules.h"

#include <gtest/gtest.h>

namespace {

struct MatchCase {
    const char* mask;
    const char* name;
    bool expected;
};

TEST(MaskMatcher, MatchesByTheRulesOfTheFileMaskField) {
    // clang-format off
    const MatchCase cases[] = {
        // one extension, any case, several dots, no dot, leading and trailing dot
        {"*.txt", "a.txt", true}, {"*.txt", "A.TXT", true},
        {"*.TXT", "notes.Txt", true}, {"*.txt", "a.txt.bak", false},
        {"*.txt", "txt", false}, {"*.txt", ".txt", true},
        {"*.tar.gz", "x.TAR.GZ", true}, {"*.gz", "x.tar.gz", true},
        {"*.txt", "a.txt ", false},
        // "*.*" matches every name, with or without a dot
        {"*.*", "README", true}, {"*.*", "a.b.c", true},
        {"*.*", ".bashrc", true}, {"*.*", "x.", true},
        {"*", "anything at all", true}, {"**", "abc", true},
        {"***", "", true},
        // "*." and ".*" are ordinary patterns
        {"*.", "foo.", true}, {"*.", "foo", false},
        {"*.", "foo.txt", false}, {".*", ".bashrc", true},
        {".*", "a.txt", false}, {".*", "..x", true},
        // "?" is exactly one character, also a non-ASCII one or a byte that is not UTF-8
        {"?", "a", true}, {"?", "ab", false}, {"?", "\xc3\xa4", true},
        {"?", "\xff", true}, {"a?c", "abc", true}, {"a?c", "ac", false},
        {"*.t?t", "a.TXT", true}, {"*.t?t", "a.tt", false},
        {"caf?.txt", "caf\xe9.txt", true},
        // backtracking over several stars
        {"*a*b*c", "xaybzc", true}, {"*a*b*c", "abcab", false},
        {"a*", "A", true}, {"*x*", "x", true},
        // no character classes: "[" stands for itself
        {"[ab].txt", "[ab].txt", true}, {"[ab].txt", "a.txt", false},
        {"*[*", "a[b", true},
        // a backslash escapes nothing; letters compare without regard to case
        {"a\\*", "a\\b", true}, {"file.txt", "FILE.TXT", true},
        {"file.txt", "file.txt2", false},
        // several patterns; blanks before a pattern are ignored, blanks after it are not
        {"*.txt;*.log", "x.LOG", true}, {"*.txt;*.log", "x.doc", false},
        {"*.txt; *.log", "x.log", true}, {"  *.txt", "a.txt", true},
        {"*.txt ;*.log", "x.txt", false}, {"*.txt ;*.log", "x.txt ", true},
        {"*.txt;", "a.txt", true}, {"", "a", false}, {";", "a", false},
        {"   ", "a", false}, {"*.doc;*.*", "README", true},
        // case-insensitive beyond ASCII; names that are not UTF-8 match byte for byte
        {"\xc3\x84*", "\xc3\xa4pfel.txt", true}, // "Ä*" ~ "äpfel.txt"
        {"*.\xc3\x96L", "x.\xc3\xb6l", true},    // "*.ÖL" ~ "x.öl"
        {"*.txt", "caf\xe9.txt", true}, {"caf\xe9.txt", "CAF\xe9.TXT", true},
        {"caf\xe9.txt", "caf\xc3\xa9.txt", false},
        // simple case folding, the same for every way of writing a pattern (the fuzz target
        // checks the fast paths against the general rule): "ſ" is "s", the Kelvin sign "k",
        // "ß" stays "ß", "İ" and "ı" are not "i"; a stray byte is one character, itself
        {"*.s", "a.\xc5\xbf", true}, {"a\xe2\x84\xaa", "ak", true}, {"*k", "a\xe2\x84\xaa", true},
        {"*sse.txt", "stra\xc3\x9f" "e.txt", false}, {"STRA\xe1\xba\x9e" "E.TXT", "stra\xc3\x9f" "e.txt", true},
        {"i*", "\xc4\xb0stanbul", false}, {"*I?", "\xc4\xb1i", false}, {"?I", "\xc4\xb1i", true},
        {"\xc3\x89T\xc3\x89.*", "\xc3\x89t\xc3\xa9.TXT", true}, {"??.txt", "\xff.txt", false},
        {"\xc3\xbf.txt", "\xff.txt", false}, {"\xc3*", "\xc3.txt", true}};
    // clang-format on
    for (const MatchCase& c : cases) {
        EXPECT_EQ(MaskMatcher(c.mask).Matches(c.name), c.expected)
            << "mask '" << c.mask << "' name '" << c.name << "'";
    }
    // One pattern alone: ";" is an ordinary character there.
    EXPECT_TRUE(WildcardMatch("*.?", "*.*"));
    EXPECT_FALSE(WildcardMatch("*.*;*", "*.*"));
}

struct VerdictCase {
    const char* mask;
    MaskVerdict verdict;
};

TEST(MaskRules, AMaskIsRefusedWhenEmptyOrWhenStarDotStarIsNotAlone) {
    // clang-format off
    const VerdictCase cases[] = {
        {"", MaskVerdict::Empty}, {"*.*", MaskVerdict::Accepted}, {" *.* ", MaskVerdict::Accepted},
        {"*.txt;*.log", MaskVerdict::Accepted}, {"   ", MaskVerdict::Accepted},
        // without the text "*.*" nothing is counted, so a lone "*" passes
        {"*", MaskVerdict::Accepted}, {"*;*.txt", MaskVerdict::Accepted},
        {"*.*;*.txt", MaskVerdict::Ambiguous}, {"*.txt;*.*", MaskVerdict::Ambiguous},
        {"*.*;", MaskVerdict::Ambiguous}, {"*.*;*.*", MaskVerdict::StarDotStarTwice},
        {"*.*; *", MaskVerdict::StarDotStarTwice}, {"*.*;**", MaskVerdict::StarDotStarTwice},
        // "*.?" matches the text "*.*" as a pattern, so it counts as one
        {"*.*;*.?", MaskVerdict::StarDotStarTwice}, {"*.**", MaskVerdict::Accepted},
        // an element holding "*.*" that does not match it counts for nothing
        {"a*.*;*.txt", MaskVerdict::Accepted}};
    // clang-format on
    for (const VerdictCase& c : cases) {
        EXPECT_EQ(ValidateMask(c.mask), c.verdict) << "'" << c.mask << "'";
    }
}

} // namespace
