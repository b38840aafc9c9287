#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// Byte-level helpers for names and paths. Paths stay the bytes the file system gave; these
// never convert through QString, whose decoding of a name that is not UTF-8 would be lossy.

// The name's extension: from its last "." to the end, dot included; empty when it has none.
std::string_view ExtensionOf(std::string_view name);

// Lower case of a name or extension: ASCII letters always, other characters too when the text
// is valid UTF-8. Bytes of an invalid sequence are kept as they are.
std::string LowerCaseName(std::string_view text);

// `path` with a "/" at its end unless it already has one (an empty path stays empty).
std::string WithTrailingSlash(std::string_view path);

// `pattern` (words in UTF-8, "%1" where the first value goes, "%2" the second, ...) with the
// values put in, in one pass: a path's bytes go in whole, and a "%2" inside a value stays.
std::string FillIn(std::string_view pattern, std::initializer_list<std::string_view> values);
std::string FillIn(std::string_view pattern, const std::vector<std::string_view>& values);

// `text` without the blanks (spaces) at either end.
std::string_view TrimBlanks(std::string_view text);

// `text` without spaces and tabs at either end (settings values, INI names).
std::string_view TrimSpacesAndTabs(std::string_view text);

// A POSIX time as a FILETIME: 100-ns ticks since 1601-01-01 UTC.
int64_t ToFileTime(int64_t seconds, int64_t nanoseconds);

// Decodes one character of UTF-8 at text[pos] and advances pos. An invalid or truncated
// sequence yields its first byte alone as 0x110000 + byte, which equals no real character,
// so such names compare byte-exact.
char32_t DecodeUtf8(std::string_view text, size_t& pos);

// `path` made absolute against the current folder, without resolving links or "..": a relative
// root would store relative paths, and a program launched later in another folder would open
// other files. Empty stays empty; when the current folder cannot be told, a relative path is
// kept, behind "./" if it would otherwise begin with "-".
std::string AbsolutePath(std::string_view path);

// The parent of a folder path, with a trailing "/": "/home/ann/docs/" gives "/home/ann/". The
// root "/" stays as it is; a path of one relative name gives "".
std::string ParentFolder(std::string_view path);

// A path as the folder its last name is in and that name: "/a/b" and "c.txt" of "/a/b/c.txt",
// "/" and "c" of "/c", "" and the path of a bare name. Every split of a path goes through here.
struct PathParts {
    std::string_view folder;
    std::string_view name;
};
PathParts SplitPath(std::string_view path);
// The last name of a path.
std::string BaseName(std::string_view path);
// The folder a path's last name is in, "." for a bare name (as the system reads it).
std::string FolderOfPath(std::string_view path);

// A name as a terminal may be given it, quoted as ls quotes it: unchanged unless it holds a
// control character (an escape sequence, a line end), a C1 control or a byte that is not UTF-8;
// then written $'...' with such characters as escapes ("\n", "\033", "\377"), which a shell
// reads back as the same bytes.
std::string TerminalQuoted(std::string_view name);

// One line of a message for a terminal: every control character but a tab, and every C1
// control, shown as "?", as find shows them; a name inside cannot move the cursor or fake a line.
std::string TerminalSafe(std::string_view text);

// Whether a Start Path names a location by URL ("sftp://host/dir") rather than a folder: a
// scheme (a letter, then letters, digits, "+", "-", ".") and "://".
bool IsLocationUrl(std::string_view text);
