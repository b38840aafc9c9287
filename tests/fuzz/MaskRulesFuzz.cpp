// The File Mask field's rules on any text: what they promise of every mask, checked.
#include "search/MaskRules.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view mask(reinterpret_cast<const char*>(data), size);
    const auto elements = MaskList(mask);
    const MaskVerdict verdict = ValidateMask(mask);
    const bool holds =
        elements.size() == static_cast<size_t>(std::count(mask.begin(), mask.end(), ';')) + 1 &&
        std::none_of(elements.begin(), elements.end(),
                     [](const std::string& e) { return !e.empty() && (e.front() == ' ' || e.back() == ' '); }) &&
        (verdict == MaskVerdict::Empty) == mask.empty() &&
        (ContainsStarDotStar(mask) || mask.empty() || verdict == MaskVerdict::Accepted) &&
        MaskRefusalText(verdict).isEmpty() == (verdict == MaskVerdict::Accepted);
    if (!holds) {
        std::abort();
    }
    return 0;
}
