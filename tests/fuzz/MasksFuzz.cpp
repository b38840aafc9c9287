// The mask matcher against a plain matcher of its own (one table over each pattern and the name,
// no fast path, so every fast path's answer is checked), and what the mask rules promise of every
// mask. Input: "MASK\nNAME".
#include "search/MaskMatcher.h"
#include "search/MaskRules.h"
#include "search/PathText.h"

#include <QChar>
#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

std::vector<char32_t> Folded(std::string_view text) {
    std::vector<char32_t> out;
    for (size_t pos = 0; pos < text.size();) {
        const char32_t c = DecodeUtf8(text, pos);
        out.push_back(c < 0x80 ? (c >= 'A' && c <= 'Z' ? c + 32 : c) : c < 0x110000 ? QChar::toCaseFolded(c) : c);
    }
    return out;
}

// m[i][j]: the first i pattern units match the first j name units.
bool TableMatch(const std::vector<char32_t>& p, const std::vector<char32_t>& t) {
    std::vector<std::vector<bool>> m(p.size() + 1, std::vector<bool>(t.size() + 1));
    m[0][0] = true;
    for (size_t i = 1; i <= p.size(); ++i) {
        for (size_t j = 0; j <= t.size(); ++j) {
            m[i][j] = p[i - 1] == '*' ? m[i - 1][j] || (j > 0 && m[i][j - 1])
                                      : j > 0 && m[i - 1][j - 1] && (p[i - 1] == '?' || p[i - 1] == t[j - 1]);
        }
    }
    return m[p.size()][t.size()];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), std::min<size_t>(size, 600));
    const std::string_view mask = input.substr(0, input.find('\n'));
    const std::string_view name = input.substr(std::min(mask.size() + 1, input.size()));
    bool expected = false;
    for (size_t start = 0; start <= mask.size() && !expected; start = mask.find(';', start) + 1) {
        std::string_view pattern = mask.substr(start, mask.find(';', start) - start);
        pattern.remove_prefix(std::min(pattern.find_first_not_of(' '), pattern.size()));
        expected = pattern == "*.*" || (!pattern.empty() && pattern.find_first_not_of('*') == pattern.npos) ||
                   TableMatch(Folded(pattern), Folded(name));
        if (mask.find(';', start) == mask.npos) {
            break;
        }
    }
    const auto elements = MaskList(mask);
    const MaskVerdict verdict = ValidateMask(mask);
    const bool rulesHold =
        elements.size() == static_cast<size_t>(std::count(mask.begin(), mask.end(), ';')) + 1 &&
        std::none_of(elements.begin(), elements.end(),
                     [](const std::string& e) { return !e.empty() && (e.front() == ' ' || e.back() == ' '); }) &&
        (verdict == MaskVerdict::Empty) == mask.empty() &&
        (ContainsStarDotStar(mask) || mask.empty() || verdict == MaskVerdict::Accepted) &&
        MaskRefusalText(verdict).isEmpty() == (verdict == MaskVerdict::Accepted);
    if (MaskMatcher(mask).Matches(name) != expected || !rulesHold) {
        std::abort();
    }
    return 0;
}
