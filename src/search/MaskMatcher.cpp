#include "search/MaskMatcher.h"

#include "text/PathText.h"

#include <QChar>
#include <algorithm>

namespace {

// Wildcards live outside the character range so that a "*" or "?" inside a file name (legal
// on Linux) is an ordinary character.
constexpr char32_t kStar = 0xFFFFFFFF;
constexpr char32_t kAnyOne = 0xFFFFFFFE;

char32_t Fold(char32_t cp) {
    if (cp < 0x80) {
        return cp >= 'A' && cp <= 'Z' ? cp + ('a' - 'A') : cp;
    }
    return cp < 0x110000 ? QChar::toCaseFolded(cp) : cp;
}

char AsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

void DecodeFolded(std::string_view text, std::vector<char32_t>& out) {
    out.clear();
    size_t pos = 0;
    while (pos < text.size()) {
        out.push_back(Fold(DecodeUtf8(text, pos)));
    }
}

std::vector<char32_t> CompilePattern(std::string_view pattern) {
    std::vector<char32_t> units;
    DecodeFolded(pattern, units);
    for (auto& u : units) {
        if (u == '*') {
            u = kStar;
        } else if (u == '?') {
            u = kAnyOne;
        }
    }
    return units;
}

bool MatchUnits(const std::vector<char32_t>& p, const std::vector<char32_t>& t) {
    size_t pi = 0, ti = 0;
    size_t starP = std::string_view::npos, starT = 0;
    while (ti < t.size()) {
        if (pi < p.size() && (p[pi] == kAnyOne || p[pi] == t[ti])) {
            ++pi, ++ti;
        } else if (pi < p.size() && p[pi] == kStar) {
            starP = pi++;
            starT = ti;
        } else if (starP != std::string_view::npos) {
            pi = starP + 1;
            ti = ++starT;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == kStar) {
        ++pi;
    }
    return pi == p.size();
}

bool IsPlainAscii(std::string_view s) {
    for (char c : s) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '*' || c == '?') {
            return false;
        }
    }
    return true;
}

bool IsAscii(std::string_view s) {
    return std::all_of(s.begin(), s.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool AsciiEqualFolded(std::string_view text, std::string_view lowerLiteral) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (AsciiLower(text[i]) != lowerLiteral[i]) {
            return false;
        }
    }
    return true;
}

std::vector<char32_t>& NameUnitsBuffer() {
    thread_local std::vector<char32_t> buffer;
    return buffer;
}

} // namespace

MaskMatcher::MaskMatcher(std::string_view maskText) {
    size_t start = 0;
    while (start <= maskText.size()) {
        size_t end = maskText.find(';', start);
        if (end == std::string_view::npos) {
            end = maskText.size();
        }
        std::string_view pattern = maskText.substr(start, end - start);
        while (!pattern.empty() && pattern.front() == ' ') {
            pattern.remove_prefix(1);
        }
        Pattern compiled{Kind::General, {}, CompilePattern(pattern)};
        if (pattern == "*.*" ||
            (!pattern.empty() && pattern.find_first_not_of('*') == std::string_view::npos)) {
            compiled.kind = Kind::Everything;
        } else if (pattern.size() > 1 && pattern.front() == '*' &&
                   IsPlainAscii(pattern.substr(1))) {
            compiled.kind = Kind::AsciiSuffix;
            compiled.ascii = LowerCaseName(pattern.substr(1));
        } else if (IsPlainAscii(pattern)) {
            compiled.kind = Kind::AsciiExact;
            compiled.ascii = LowerCaseName(pattern);
        }
        patterns_.push_back(std::move(compiled));
        if (end == maskText.size()) {
            break;
        }
        start = end + 1;
    }
}

bool MaskMatcher::Matches(std::string_view name) const {
    bool decoded = false;
    auto& nameUnits = NameUnitsBuffer();
    // Case folding over code points, as every pattern is read when a fast path cannot answer.
    const auto general = [&](const Pattern& p) {
        if (!decoded) {
            DecodeFolded(name, nameUnits);
            decoded = true;
        }
        return MatchUnits(p.units, nameUnits);
    };
    for (const auto& p : patterns_) {
        switch (p.kind) {
        case Kind::Everything:
            return true;
        case Kind::AsciiSuffix:
            // A name's ASCII bytes are its last characters, so comparing them folded is the
            // general rule; other characters may fold to ASCII ("ſ" to "s", the Kelvin sign to
            // "k"), so a name ending in them is read in full.
            if (name.size() >= p.ascii.size()) {
                const std::string_view tail = name.substr(name.size() - p.ascii.size());
                if (IsAscii(tail) ? AsciiEqualFolded(tail, p.ascii) : general(p)) {
                    return true;
                }
            }
            break;
        case Kind::AsciiExact:
            if (IsAscii(name) ? name.size() == p.ascii.size() && AsciiEqualFolded(name, p.ascii)
                              : general(p)) {
                return true;
            }
            break;
        case Kind::General:
            if (general(p)) {
                return true;
            }
            break;
        }
    }
    return false;
}

bool WildcardMatch(std::string_view pattern, std::string_view text) {
    std::vector<char32_t> units;
    DecodeFolded(text, units);
    return MatchUnits(CompilePattern(pattern), units);
}
