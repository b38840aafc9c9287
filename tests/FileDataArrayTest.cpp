#include "search/FileDataArray.h"

#include <gtest/gtest.h>

namespace {

TEST(FileDataArray, GrowsAndShrinksKeepingRecordsAndClearingWhatItDropped) {
    FileDataArray store;
    EXPECT_EQ(store.UBound(), -1);
    store.Prepare();
    EXPECT_EQ(store.UBound(), 500);
    EXPECT_EQ(store[500].FullPath(), "");
    for (int32_t i = 0; i < 501; ++i) {
        store.Store(i, "/r/", "f" + std::to_string(i) + ".txt", ".txt", i);
    }
    store.Redim(9999); // across storage blocks
    EXPECT_EQ(store[500].FullPath(), "/r/f500.txt");
    EXPECT_EQ(store[500].ItemIndex, 500);
    EXPECT_EQ(store[9999].FullPath(), "");
    store.SetRemark(2, "duplicate file", "/t/f2.txt");
    store.SetRemark(5, "duplicate file");
    store.Redim(2);
    store.Redim(10);
    EXPECT_EQ(store[2].FullPath(), "/r/f2.txt");
    EXPECT_EQ(store.RemarkDate(2), "/t/f2.txt");
    EXPECT_EQ(store[3].FullPath(), "") << "a slot dropped and given back is empty";
    EXPECT_EQ(store.Remark(5), "") << "and so is its remark";
}

TEST(FileDataArray, ExtensionsAreSharedAndPathsMayBeLong) {
    FileDataArray store;
    store.Prepare();
    store.Store(0, "/r/", "a.txt", ".txt", 1);
    store.Store(1, "/r/", "b", "", 2);
    store.Store(2, "/r/", "c.txt", ".txt", 3);
    EXPECT_EQ(store[0].Extension().data(), store[2].Extension().data());
    store.SetExtension(1, ".");
    EXPECT_EQ(store[1].Extension(), ".");
    EXPECT_EQ(RecordsOfExtension(store, ".txt"), (std::vector<int32_t>{0, 2}));
    const std::string folder(3 << 20, 'd'); // longer than a block of the path arena
    store.Store(3, folder, "/x", "", 0);
    EXPECT_EQ(store[3].FullPath().substr(folder.size()), "/x");
    EXPECT_EQ(store[2].FullPath(), "/r/c.txt");
    for (const size_t length : {254, 255, 256}) { // both sides of the one-byte length
        store.Store(4, "/r/", std::string(length, 'n'), "", 0);
        EXPECT_EQ(store[4].Name(), std::string(length, 'n'));
    }
}

} // namespace
