#include "search/FolderWatch.h"

#include "TestTree.h"
#include "platform/CancelFlag.h"
#include "search/SearchSession.h"

#include <cstdio>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The folders a search with these options enters, as the window hands them to the watch.
std::vector<std::string> Entered(const std::string& root, SearchOptions options) {
    options.RecordFolders = true;
    SearchSession session;
    session.Prepare(root, options);
    CancelFlag cancel;
    session.Run(cancel, nullptr);
    return FolderPaths(session.Store());
}

// The kernel queues an event before the call that caused it returns: reading right after the
// change sees it, with no waiting.
TEST(FolderWatch, TellsTheChangesThatCouldAlterTheResults) {
    struct Case {
        const char* what;
        const char* mask;
        std::function<void(SearchOptions&)> options;
        std::function<void(const TestTree&, const TestTree& outside)> change;
        bool alters;
    };
    const auto none = [](SearchOptions&) {};
    // clang-format off
    const Case cases[] = {
        {"a file the mask keeps, made in a subfolder", "*.txt", none,
         [](const TestTree& t, const TestTree&) { t.File("sub/new.txt"); }, true},
        {"a file the mask leaves out", "*.txt", none,
         [](const TestTree& t, const TestTree&) { t.File("sub/new.log"); }, false},
        {"a folder made", "*.txt", none,
         [](const TestTree& t, const TestTree&) { t.Folder("sub/deeper/new"); }, true},
        {"a file renamed", "*.txt", none,
         [](const TestTree& t, const TestTree&) { std::rename(t.Path("sub/a.txt").c_str(), t.Path("sub/b.txt").c_str()); }, true},
        {"a file removed", "*.txt", none,
         [](const TestTree& t, const TestTree&) { unlink(t.Path("a.txt").c_str()); }, true},
        {"a listed file written to", "*.txt", none,
         [](const TestTree& t, const TestTree&) { WriteBytes(t.Path("sub/a.txt"), "more"); }, true},
        {"a listed file's time set", "*.txt", none,
         [](const TestTree& t, const TestTree&) { t.SetTime("a.txt", 1000, 0); }, true},
        {"a file the mask leaves out written to", "*.txt", none,
         [](const TestTree& t, const TestTree&) { WriteBytes(t.Path("sub/deeper/x.log"), "more"); }, false},
        {"inside a folder whose name begins with a dot", "*.txt", none,
         [](const TestTree& t, const TestTree&) { t.File(".hidden/new.txt"); }, false},
        {"outside the searched tree", "*.txt", none,
         [](const TestTree&, const TestTree& outside) { outside.File("new.txt"); }, false},
        {"listing what matches none: a match made", "*.txt", [](SearchOptions& o) { o.ExpectedMatch = 0; },
         [](const TestTree& t, const TestTree&) { t.File("new.txt"); }, false},
        {"listing what matches none: another made", "*.txt", [](SearchOptions& o) { o.ExpectedMatch = 0; },
         [](const TestTree& t, const TestTree&) { t.File("new.log"); }, true},
        {"folders only: a file made", "*.*", [](SearchOptions& o) { o.FoldersOnly = true; },
         [](const TestTree& t, const TestTree&) { t.File("sub/new.txt"); }, false},
        {"without subfolders: a file in one", "*.txt", [](SearchOptions& o) { o.Recurse = false; },
         [](const TestTree& t, const TestTree&) { t.File("sub/new.txt"); }, false},
        {"without subfolders: a file in the root", "*.txt", [](SearchOptions& o) { o.Recurse = false; },
         [](const TestTree& t, const TestTree&) { t.File("new.txt"); }, true},
    };
    // clang-format on
    for (const Case& c : cases) {
        TestTree t;
        TestTree outside;
        t.File({"a.txt", "sub/a.txt", "sub/deeper/x.log", ".hidden/y.txt"});
        SearchOptions options;
        options.MaskText = c.mask;
        c.options(options);
        FolderWatch watch(options);
        watch.AddWatches(Entered(t.Root(), options));
        ASSERT_EQ(watch.CurrentState(), FolderWatch::State::Watching) << c.what;
        EXPECT_FALSE(watch.ReadEvents()) << c.what << ": nothing yet";
        c.change(t, outside);
        EXPECT_EQ(watch.ReadEvents(), c.alters) << c.what;
        EXPECT_FALSE(watch.ReadEvents()) << c.what << ": read once";
    }
}

TEST(FolderWatch, MoreFoldersThanTheUserMayWatchAreNotWatched) {
    TestTree t;
    t.Folder({"one", "two", "three"});
    SearchOptions options;
    options.MaskText = "*.*";
    FolderWatch watch(options, 3);
    std::promise<void> added;
    watch.Start(Entered(t.Root(), options), [&] { added.set_value(); });
    added.get_future().wait(); // the thread's end, not a time
    EXPECT_EQ(watch.CurrentState(), FolderWatch::State::TooManyFolders);
    EXPECT_EQ(watch.Problem(),
              "Changes on the disk are not watched: the search went into more folders than the 3 "
              "this user may watch (fs.inotify.max_user_watches).");
    FolderWatch enough(options, 4);
    enough.AddWatches(Entered(t.Root(), options));
    EXPECT_EQ(enough.CurrentState(), FolderWatch::State::Watching);
    EXPECT_EQ(enough.Problem(), "");
}

} // namespace
