#pragma once

#include <QString>
#include <cstdint>
#include <string_view>

// Numbers, sizes and paths as every window and message shows them. Numbers are grouped by the
// user's locale, without decimals.

QString FormatCount(int64_t value);

// A size as the desktop shows one: in bytes, kB, MB, GB... of 1000, one decimal ("1.2 MB").
QString SizeText(int64_t bytes);
// The exact count: "1,234,567 bytes".
QString ExactSizeText(int64_t bytes);

// A path's bytes shown as text; bytes that are not UTF-8 show as replacement characters.
QString DisplayPath(std::string_view bytes);
