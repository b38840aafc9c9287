#pragma once

#include <string>
#include <string_view>
#include <vector>

// The File Mask field's rules: what a search accepts, and the texts it refuses with.

enum class MaskVerdict { Accepted, Empty, StarDotStarTwice, Ambiguous };

namespace MaskTexts {
inline constexpr const char* kEmpty = "No File Mask has been specified; nothing to do.";
inline constexpr const char* kStarDotStarTwice =
    "You have specified ' *.* ' more than once in the File Mask field.";
inline constexpr const char* kAmbiguous = "Ambiguous file masks selected. The File Mask field "
                                          "contains both ' *.* ' and specific file types.";
} // namespace MaskTexts

// `MaskList`: the mask text split at ";", each element trimmed of blanks.
std::vector<std::string> MaskList(std::string_view maskText);

// Checks the mask as typed. A mask holding "*.*" is refused when two or more of its elements
// match the literal text "*.*" as wildcard patterns (so a lone "*" counts too), or when one
// does and there are other elements beside it.
MaskVerdict ValidateMask(std::string_view maskText);

// The message for a refusal; empty for Accepted.
std::string MaskRefusalText(MaskVerdict verdict);

// True when the mask text contains "*.*" anywhere (a "show everything" search).
bool ContainsStarDotStar(std::string_view maskText);
