#include "search/MaskRules.h"

#include <gtest/gtest.h>

namespace {

struct VerdictCase {
    const char* mask;
    MaskVerdict expected;
};

void PrintTo(const VerdictCase& c, std::ostream* os) {
    *os << "mask '" << c.mask << "'";
}

class ValidateMaskTable : public testing::TestWithParam<VerdictCase> {};

TEST_P(ValidateMaskTable, AcceptsOrRefuses) {
    EXPECT_EQ(ValidateMask(GetParam().mask), GetParam().expected) << "'" << GetParam().mask << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ValidateMaskTable,
    testing::Values(VerdictCase{"", MaskVerdict::Empty}, VerdictCase{"*.*", MaskVerdict::Accepted},
                    VerdictCase{" *.* ", MaskVerdict::Accepted},
                    VerdictCase{"*.txt", MaskVerdict::Accepted},
                    VerdictCase{"*.txt;*.log", MaskVerdict::Accepted},
                    VerdictCase{"   ", MaskVerdict::Accepted},
                    // without the text "*.*" nothing is counted, so a lone "*" passes
                    VerdictCase{"*", MaskVerdict::Accepted},
                    VerdictCase{"*;*.txt", MaskVerdict::Accepted},
                    VerdictCase{"*.*;*.txt", MaskVerdict::Ambiguous},
                    VerdictCase{"*.txt;*.*", MaskVerdict::Ambiguous},
                    VerdictCase{"*.*;", MaskVerdict::Ambiguous},
                    VerdictCase{"*.*;*.*", MaskVerdict::StarDotStarTwice},
                    VerdictCase{"*.*; *", MaskVerdict::StarDotStarTwice},
                    VerdictCase{"*.*;**", MaskVerdict::StarDotStarTwice},
                    // "*.?" matches the text "*.*" as a pattern, so it counts as one
                    VerdictCase{"*.*;*.?", MaskVerdict::StarDotStarTwice},
                    VerdictCase{"*.**", MaskVerdict::Accepted},
                    // an element holding "*.*" that does not match it counts for nothing
                    VerdictCase{"a*.*", MaskVerdict::Accepted},
                    VerdictCase{"a*.*;*.txt", MaskVerdict::Accepted}));

TEST(MaskRules, RefusalTextsAreTheProgramsOwn) {
    EXPECT_EQ(MaskRefusalText(MaskVerdict::Empty),
              "No File Mask has been specified; nothing to do.");
    EXPECT_EQ(MaskRefusalText(MaskVerdict::StarDotStarTwice),
              "You have specified ' *.* ' more than once in the File Mask field.");
    EXPECT_EQ(MaskRefusalText(MaskVerdict::Ambiguous),
              "Ambiguous file masks selected. The File Mask field contains both ' *.* ' and "
              "specific file types.");
    EXPECT_EQ(MaskRefusalText(MaskVerdict::Accepted), "");
}

TEST(MaskRules, MaskListSplitsAtSemicolonsAndTrimsBlanks) {
    EXPECT_EQ(MaskList("*.txt; *.log ;"), (std::vector<std::string>{"*.txt", "*.log", ""}));
    EXPECT_EQ(MaskList("*.txt"), (std::vector<std::string>{"*.txt"}));
    EXPECT_EQ(MaskList(""), (std::vector<std::string>{""}));
}

TEST(MaskRules, StarDotStarIsFoundAnywhere) {
    EXPECT_TRUE(ContainsStarDotStar("*.*"));
    EXPECT_TRUE(ContainsStarDotStar("a*.*b"));
    EXPECT_FALSE(ContainsStarDotStar("*"));
    EXPECT_FALSE(ContainsStarDotStar("*.txt"));
}

} // namespace
