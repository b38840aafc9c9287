#include "search/SearchStatus.h"

#include "QtPrinters.h"

#include <gtest/gtest.h>

// The test environment sets LC_ALL=en_US.UTF-8, so numbers group with ",".
namespace {

TEST(SearchStatus, CountsAreGroupedWithoutDecimals) {
    EXPECT_EQ(ObjectsText(0), "Objects: 0");
    EXPECT_EQ(ObjectsText(1234567), "Objects: 1,234,567");
    EXPECT_EQ(MatchedText(999), "Matched: 999");
    EXPECT_EQ(MatchedText(4000), "Matched: 4,000");
}

TEST(SearchStatus, ElapsedUnitStopsAt5999Hundredths) {
    const std::pair<float, const char*> cases[] = {
        {0.0f, "Elapsed: 0.00  seconds"},    {1.25f, "Elapsed: 1.25  seconds"},
        {59.98f, "Elapsed: 59.98  seconds"}, {59.99f, "Elapsed: 59.99"},
        {60.0f, "Elapsed: 60.00"},           {1234.5f, "Elapsed: 1,234.50"}};
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(ElapsedText(seconds), QString::fromUtf8(text)) << seconds;
    }
}

TEST(SearchStatus, OutcomeAndFolderMessage) {
    EXPECT_EQ(OutcomeText(false), "Done");
    EXPECT_EQ(OutcomeText(true), "Cancelled");
    const FolderMessage m = FolderMessageTexts("photos", 12345, 7);
    EXPECT_EQ(m.part0, "Searching photos ");
    EXPECT_EQ(m.part1, " Objects: 12,345");
    EXPECT_EQ(m.part2, " Matched: 7");
}

TEST(SearchStatus, NoMatchesMessageNamesMaskAndRoot) {
    EXPECT_EQ(NoMatchesMessage(false, "*.txt;*.log", "/home/u/"),
              "No files matching ' *.txt;*.log ' were found in or under the root path ' "
              "/home/u/ '");
    EXPECT_EQ(NoMatchesMessage(true, "*.*", "/srv/"),
              "No folders matching ' *.* ' were found in or under the root path ' /srv/ '");
}

} // namespace
