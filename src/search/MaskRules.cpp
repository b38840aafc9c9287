#include "search/MaskRules.h"

#include "search/MaskMatcher.h"
#include "text/PathText.h"

#include <QCoreApplication>

std::vector<std::string> MaskList(std::string_view maskText) {
    std::vector<std::string> elements;
    size_t start = 0;
    for (;;) {
        const size_t end = maskText.find(';', start);
        const auto element = maskText.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start);
        elements.emplace_back(TrimBlanks(element));
        if (end == std::string_view::npos) {
            return elements;
        }
        start = end + 1;
    }
}

bool ContainsStarDotStar(std::string_view maskText) {
    return maskText.find("*.*") != std::string_view::npos;
}

MaskVerdict ValidateMask(std::string_view maskText) {
    if (maskText.empty()) {
        return MaskVerdict::Empty;
    }
    if (!ContainsStarDotStar(maskText)) {
        return MaskVerdict::Accepted;
    }
    const auto elements = MaskList(maskText);
    int starDotStars = 0;
    for (const auto& element : elements) {
        if (WildcardMatch(element, "*.*")) {
            ++starDotStars;
        }
    }
    if (starDotStars >= 2) {
        return MaskVerdict::StarDotStarTwice;
    }
    if (starDotStars == 1 && elements.size() >= 2) {
        return MaskVerdict::Ambiguous;
    }
    return MaskVerdict::Accepted;
}

QString MaskRefusalText(MaskVerdict verdict) {
    switch (verdict) {
    case MaskVerdict::Empty:
        return QCoreApplication::translate("MaskRules",
                                           "No File Mask has been specified; nothing to do.");
    case MaskVerdict::StarDotStarTwice:
        return QCoreApplication::translate(
            "MaskRules", "You have specified ' *.* ' more than once in the File Mask field.");
    case MaskVerdict::Ambiguous:
        return QCoreApplication::translate("MaskRules",
                                           "Ambiguous file masks selected. The File Mask field "
                                           "contains both ' *.* ' and specific file types.");
    case MaskVerdict::Accepted:
        break;
    }
    return {};
}
