#pragma once

#include <string>
#include <string_view>
#include <vector>

// Wildcard matching of file names against a mask text, with the rules of the platform
// matcher the program was built around: the mask is split at ";", blanks before each pattern
// are ignored, matching is case-insensitive, "*" stands for any run of characters and "?" for
// exactly one, and the pattern "*.*" matches every name, with or without a dot. Every other
// character, "[" included, stands for itself. Case is folded over code points (simple case
// folding: "ſ" is "s", "K" the Kelvin sign is "k", "ß" stays "ß"), the same for every way of
// writing a pattern; a byte that is not UTF-8 is a character of its own.
class MaskMatcher {
public:
    explicit MaskMatcher(std::string_view maskText);

    // True when any pattern of the mask matches the bare file name.
    bool Matches(std::string_view name) const;

private:
    enum class Kind { Everything, AsciiSuffix, AsciiExact, General };
    struct Pattern {
        Kind kind;
        std::string ascii;           // lower-cased literal for the ASCII kinds
        std::vector<char32_t> units; // folded characters and wildcards, for every kind
    };
    std::vector<Pattern> patterns_;
};

// One pattern (no ";" handling, no "*.*" rule) against a text, case-insensitive.
bool WildcardMatch(std::string_view pattern, std::string_view text);
