// The mask matcher's fast paths against its general rule, pattern by pattern, and what the mask
// rules promise of every mask. Input: "MASK\nNAME".
#include "search/MaskMatcher.h"
#include "search/MaskRules.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), std::min<size_t>(size, 600));
    const std::string_view mask = input.substr(0, input.find('\n'));
    const std::string_view name = input.substr(std::min(mask.size() + 1, input.size()));
    // ";" splits, blanks before a pattern go, "*.*" and stars alone match all, the rest by rule.
    bool expected = false;
    for (size_t start = 0; !expected; start = mask.find(';', start) + 1) {
        std::string_view pattern = mask.substr(start, mask.find(';', start) - start);
        pattern.remove_prefix(std::min(pattern.find_first_not_of(' '), pattern.size()));
        expected = pattern == "*.*" ||
                   (!pattern.empty() && pattern.find_first_not_of('*') == pattern.npos) ||
                   WildcardMatch(pattern, name);
        if (mask.find(';', start) == mask.npos) {
            break;
        }
    }
    const MaskVerdict verdict = ValidateMask(mask);
    const bool rulesHold =
        MaskList(mask).size() ==
            static_cast<size_t>(std::count(mask.begin(), mask.end(), ';')) + 1 &&
        (verdict == MaskVerdict::Empty) == mask.empty() &&
        (ContainsStarDotStar(mask) || mask.empty() || verdict == MaskVerdict::Accepted) &&
        MaskRefusalText(verdict).isEmpty() == (verdict == MaskVerdict::Accepted);
    if (MaskMatcher(mask).Matches(name) != expected || !rulesHold) {
        std::abort();
    }
    return 0;
}
