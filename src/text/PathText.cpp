#include "text/PathText.h"

#include <QChar>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <unistd.h>

std::string_view ExtensionOf(std::string_view name) {
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : name.substr(dot);
}

char32_t DecodeUtf8(std::string_view text, size_t& pos) {
    const auto byteAt = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(pos);
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    const auto invalid = [&] {
        ++pos;
        return static_cast<char32_t>(0x110000 + lead);
    };
    int extra = 0;
    char32_t cp = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        extra = 1, cp = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2, cp = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3, cp = lead & 0x07, minimum = 0x10000;
    } else {
        return invalid();
    }
    if (pos + extra >= text.size()) {
        return invalid();
    }
    for (int i = 1; i <= extra; ++i) {
        const unsigned char c = byteAt(pos + i);
        if ((c & 0xC0) != 0x80) {
            return invalid();
        }
        cp = (cp << 6) | (c & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        return invalid();
    }
    pos += extra + 1;
    return cp;
}

namespace {

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

} // namespace

std::string LowerCaseName(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    size_t pos = 0;
    while (pos < text.size()) {
        const unsigned char c = static_cast<unsigned char>(text[pos]);
        if (c < 0x80) {
            out += static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
            ++pos;
            continue;
        }
        const size_t start = pos;
        const char32_t cp = DecodeUtf8(text, pos);
        if (cp >= 0x110000) {
            out.append(text.substr(start, pos - start));
        } else {
            AppendUtf8(out, QChar::toLower(cp));
        }
    }
    return out;
}

std::string WithTrailingSlash(std::string_view path) {
    std::string out(path);
    if (!out.empty() && out.back() != '/') {
        out += '/';
    }
    return out;
}

std::string FillIn(std::string_view pattern, std::initializer_list<std::string_view> values) {
    return FillIn(pattern, std::vector<std::string_view>(values));
}

std::string FillIn(std::string_view pattern, const std::vector<std::string_view>& values) {
    std::string out;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const size_t slot = i + 1 < pattern.size() && pattern[i] == '%'
                                ? static_cast<size_t>(pattern[i + 1] - '1')
                                : values.size();
        if (slot < values.size()) {
            out += values[slot];
            ++i;
        } else {
            out += pattern[i];
        }
    }
    return out;
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view TrimSpacesAndTabs(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

int64_t ToFileTime(int64_t seconds, int64_t nanoseconds) {
    constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
    return (seconds + kSecondsFrom1601To1970) * 10000000 + nanoseconds / 100;
}

std::string AbsolutePath(std::string_view path) {
    if (path.empty() || path.front() == '/') {
        return std::string(path);
    }
    std::string folder(PATH_MAX, '\0');
    while (getcwd(folder.data(), folder.size()) == nullptr) {
        if (errno != ERANGE) {
            return path.front() == '-' ? "./" + std::string(path) : std::string(path);
        }
        folder.resize(folder.size() * 2);
    }
    folder.resize(std::strlen(folder.c_str()));
    if (path == ".") {
        return folder;
    }
    if (path.substr(0, 2) == "./") {
        path.remove_prefix(2);
    }
    return WithTrailingSlash(folder) + std::string(path);
}

PathParts SplitPath(std::string_view path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {{}, path};
    }
    return {path.substr(0, slash == 0 ? 1 : slash), path.substr(slash + 1)};
}

std::string BaseName(std::string_view path) {
    return std::string(SplitPath(path).name);
}

std::string FolderOfPath(std::string_view path) {
    const std::string_view folder = SplitPath(path).folder;
    return folder.empty() ? std::string(".") : std::string(folder);
}

std::string ParentFolder(std::string_view path) {
    if (path == "/") {
        return "/";
    }
    if (!path.empty() && path.back() == '/') {
        path.remove_suffix(1);
    }
    const size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return std::string(path.substr(0, slash + 1));
}

namespace {

// Whether the character at text[pos] may reach a terminal as it is; advances pos past it.
bool Printable(std::string_view text, size_t& pos) {
    const char32_t c = DecodeUtf8(text, pos);
    return c >= 0x20 && c != 0x7F && !(c >= 0x80 && c < 0xA0) && c < 0x110000;
}

} // namespace

std::string TerminalQuoted(std::string_view name) {
    bool plain = true;
    for (size_t pos = 0; pos < name.size() && plain;) {
        plain = Printable(name, pos);
    }
    if (plain) {
        return std::string(name);
    }
    std::string out = "$'";
    for (size_t pos = 0; pos < name.size();) {
        const size_t start = pos;
        if (Printable(name, pos)) {
            const std::string_view c = name.substr(start, pos - start);
            out += c == "\\" || c == "'" ? "\\" + std::string(c) : std::string(c);
            continue;
        }
        for (size_t i = start; i < pos; ++i) {
            const auto byte = static_cast<unsigned char>(name[i]);
            static constexpr std::string_view kShort = "abtnvfr"; // \a (7) to \r (13)
            if (byte >= '\a' && byte <= '\r') {
                out += {'\\', kShort[byte - '\a']};
            } else {
                const char octal[] = {'\\', static_cast<char>('0' + (byte >> 6)),
                                      static_cast<char>('0' + ((byte >> 3) & 7)),
                                      static_cast<char>('0' + (byte & 7))};
                out.append(octal, sizeof octal);
            }
        }
    }
    return out + "'";
}

std::string TerminalSafe(std::string_view text) {
    std::string out;
    for (size_t pos = 0; pos < text.size();) {
        const size_t start = pos;
        if (Printable(text, pos) || text[start] == '\t') {
            out.append(text.substr(start, pos - start));
        } else {
            out += '?';
        }
    }
    return out;
}

bool IsLocationUrl(std::string_view text) {
    const size_t end = text.find("://");
    if (end == std::string_view::npos || end == 0 ||
        !std::isalpha(static_cast<unsigned char>(text[0]))) {
        return false;
    }
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
    });
}
