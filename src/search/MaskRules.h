#pragma once

#include <QString>
#include <string>
#include <string_view>
#include <vector>

// The File Mask field's rules: what a search accepts, and the texts it refuses with.

enum class MaskVerdict { Accepted, Empty, StarDotStarTwice, Ambiguous };

// `MaskList`: the mask text split at ";", each element trimmed of blanks.
std::vector<std::string> MaskList(std::string_view maskText);

// Checks the mask as typed. A mask holding "*.*" is refused when two or more of its elements
// match the literal text "*.*" as wildcard patterns (so a lone "*" counts too), or when one
// does and there are other elements beside it.
MaskVerdict ValidateMask(std::string_view maskText);

// The message for a refusal; empty for Accepted.
QString MaskRefusalText(MaskVerdict verdict);

// True when the mask text contains "*.*" anywhere (a "show everything" search).
bool ContainsStarDotStar(std::string_view maskText);
