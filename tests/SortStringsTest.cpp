#include "search/SortStrings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>

namespace {

TEST(SortStrings, PivotIsTheMeanRoundedHalfToEven) {
    const int cases[][3] = {{0, 0, 0}, {0, 1, 0}, {1, 2, 2},
                            {2, 3, 2}, {3, 4, 4}, {0, 4, 2},
                            {5, 8, 6}, {6, 9, 8}, {0, 2147483647, 1073741824}};
    for (const auto& c : cases) {
        EXPECT_EQ(SortPivotIndex(c[0], c[1]), c[2]) << c[0] << ".." << c[1];
    }
}

TEST(SortStrings, OrdersByBytesNotByLocale) {
    std::vector<std::string> a = {"b", "\xc3\xa9", "Z", "a", "\xff", "", "B", "a"};
    SortStrings(a, 0, static_cast<int>(a.size()) - 1);
    EXPECT_EQ(a, (std::vector<std::string>{"", "B", "Z", "a", "a", "b", "\xc3\xa9", "\xff"}));
}

TEST(SortStrings, SortsOnlyTheGivenRange) {
    std::vector<std::string> a = {"z", "c", "b", "a", "y"};
    SortStrings(a, 1, 3);
    EXPECT_EQ(a, (std::vector<std::string>{"z", "a", "b", "c", "y"}));
}

TEST(SortStrings, AgreesWithStdSortOnAwkwardInputs) {
    std::mt19937 random(7);
    std::vector<std::vector<std::string>> inputs;
    for (int n : {1, 2, 3, 17, 1000}) {
        std::vector<std::string> v;
        for (int i = 0; i < n; ++i) {
            v.push_back(std::string(1 + random() % 3, static_cast<char>('a' + random() % 4)));
        }
        inputs.push_back(v);
    }
    std::vector<std::string> ascending, descending, same(5000, "x");
    for (int i = 0; i < 50000; ++i) {
        ascending.push_back(std::to_string(100000 + i));
        descending.push_back(std::to_string(200000 - i));
    }
    inputs.push_back(ascending);
    inputs.push_back(descending);
    inputs.push_back(same);
    for (auto& v : inputs) {
        auto expected = v;
        std::sort(expected.begin(), expected.end());
        SortStrings(v, 0, static_cast<int>(v.size()) - 1);
        EXPECT_EQ(v, expected);
    }
}

TEST(SortStrings, WorksOnViews) {
    std::vector<std::string_view> a = {"/b/x", "/a/y", "/a/x"};
    SortStrings(a, 0, 2);
    EXPECT_EQ(a, (std::vector<std::string_view>{"/a/x", "/a/y", "/b/x"}));
}

} // namespace
