#include "search/FileDataArray.h"

#include <gtest/gtest.h>

namespace {

TEST(FileDataArray, PreparedStoreHas501EmptySlots) {
    FileDataArray store;
    EXPECT_EQ(store.UBound(), -1);
    store.Prepare();
    EXPECT_EQ(store.UBound(), 500);
    EXPECT_EQ(store.Size(), 501);
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        EXPECT_EQ(store[i].ItemIndex, 0);
        EXPECT_EQ(store[i].FullPath(), "");
        EXPECT_EQ(store[i].Extension(), "");
        EXPECT_EQ(store[i].LastWriteTime, 0);
    }
}

TEST(FileDataArray, RedimKeepsRecordsAndClearsWhatItDropped) {
    FileDataArray store;
    store.Prepare();
    for (int32_t i = 0; i < 501; ++i) {
        store.Store(i, "/r/", "f" + std::to_string(i) + ".txt", ".txt", i);
    }
    store.Redim(1000);
    EXPECT_EQ(store[500].FullPath(), "/r/f500.txt");
    EXPECT_EQ(store[500].ItemIndex, 500);
    EXPECT_EQ(store[1000].FullPath(), "");
    store.Redim(9999); // crosses storage blocks
    EXPECT_EQ(store[0].FullPath(), "/r/f0.txt");
    EXPECT_EQ(store[9999].FullPath(), "");
    store.Redim(2);
    EXPECT_EQ(store.UBound(), 2);
    store.Redim(10);
    EXPECT_EQ(store[3].FullPath(), "") << "a slot dropped and given back must be empty";
    EXPECT_EQ(store[2].FullPath(), "/r/f2.txt");
}

TEST(FileDataArray, ExtensionsAreSharedAndCanBeReplaced) {
    FileDataArray store;
    store.Prepare();
    store.Store(0, "/r/", "a.txt", ".txt", 1);
    store.Store(1, "/r/", "b", "", 2);
    store.Store(2, "/r/", "c.txt", ".txt", 3);
    EXPECT_EQ(store[0].extension, store[2].extension);
    EXPECT_EQ(store[1].Extension(), "");
    store.SetExtension(1, ".");
    EXPECT_EQ(store[1].Extension(), ".");
    EXPECT_EQ(store[0].Extension(), ".txt");
}

TEST(FileDataArray, PathsLongerThanAnArenaBlockAreKept) {
    FileDataArray store;
    store.Prepare();
    const std::string folder(3 << 20, 'd');
    store.Store(0, folder, "/x", "", 0);
    store.Store(1, "/", "small", "", 0);
    EXPECT_EQ(store[0].FullPath().size(), folder.size() + 2);
    EXPECT_EQ(store[0].FullPath().substr(folder.size()), "/x");
    EXPECT_EQ(store[1].FullPath(), "/small");
    EXPECT_EQ(store.PathBytes(), folder.size() + 2 + 6);
}

TEST(FileDataArray, RemarksStayWithTheirRecordUntilDropped) {
    FileDataArray store;
    store.Prepare();
    store.Store(0, "/r/", "a", "", 0);
    store.SetRemark(0, "duplicate file", "2026-01-01");
    EXPECT_EQ(store.Remark(0), "duplicate file");
    EXPECT_EQ(store.RemarkDate(0), "2026-01-01");
    EXPECT_EQ(store.Remark(1), "");
    store.Redim(-1);
    store.Redim(5);
    EXPECT_EQ(store.Remark(0), "");
    store.Prepare();
    EXPECT_EQ(store.UBound(), 500);
}

} // namespace
