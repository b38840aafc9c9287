#include "search/FolderWalk.h"

#include "QtPrinters.h"
#include "TestTree.h"
#include "platform/CancelFlag.h"
#include "search/SearchSession.h"
#include "search/SearchStatus.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <random>
#include <strings.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace {

// Records what a status line would show, and can raise the cancel flag part-way.
class RecordingListener : public WalkListener {
public:
    void ObjectsCounted(int64_t shown) override {
        objects.push_back(ObjectsText(shown));
        events.push_back(objects.back());
    }
    void FolderEntered(std::string_view name, int64_t objects, int32_t matched) override {
        folders.push_back(FolderMessageTexts(name, objects, matched).part0);
        events.push_back(folders.back());
        if (onFolder) {
            onFolder(folders.back());
        }
    }
    void Yield() override {
        ++yields;
        events.push_back({});
        if (onYield) {
            onYield();
        }
    }
    std::vector<QString> objects;
    std::vector<QString> folders;
    std::vector<QString> events; // all of the above, in order; a yield as an empty text
    int yields = 0;
    std::function<void()> onYield;
    std::function<void(const QString&)> onFolder;
};

struct Outcome {
    std::vector<std::string> paths;
    std::vector<std::string> extensions;
    std::vector<int64_t> times;
    std::vector<int64_t> sizes;
    SearchCounters counters;
    int32_t upperBound = 0;
    bool rootWasFolder = false;
};

SearchOptions Options(const std::string& mask) {
    SearchOptions options;
    options.MaskText = mask;
    return options;
}

Outcome Search(const std::string& root, const SearchOptions& options,
               RecordingListener* listener = nullptr, CancelFlag* cancel = nullptr) {
    CancelFlag localCancel;
    SearchSession session;
    session.Prepare(root, options);
    session.Run(cancel ? *cancel : localCancel, listener);
    Outcome outcome;
    outcome.counters = session.Counters();
    outcome.rootWasFolder = session.RootWasFolder();
    outcome.upperBound = session.Store().UBound();
    for (int32_t i = 0; i < session.Counters().MatchedCount; ++i) {
        outcome.paths.emplace_back(session.Store()[i].FullPath());
        outcome.extensions.emplace_back(session.Store()[i].Extension());
        outcome.times.push_back(session.Store()[i].LastWriteTime);
        outcome.sizes.push_back(session.Store()[i].Size);
        EXPECT_EQ(session.Store()[i].ItemIndex, i);
    }
    return outcome;
}

// A walk of its own, for what a search does not let a test set: kept levels, a failing open.
std::vector<std::string> Walk(const std::string& root, int keptLevels,
                              RecordingListener* listener = nullptr,
                              FolderWalk::OpenFolderFunction open = {}) {
    CancelFlag cancel;
    FileDataArray store;
    store.Prepare();
    SearchCounters counters;
    const SearchOptions options = Options("*.txt");
    FolderWalk walk(options, store, counters, cancel, listener);
    walk.SetKeptLevels(keptLevels);
    if (open) {
        walk.SetOpenFolderForTesting(std::move(open));
    }
    EXPECT_TRUE(walk.Walk(root));
    std::vector<std::string> found;
    for (int32_t i = 0; i < counters.MatchedCount; ++i) {
        found.emplace_back(store[i].FullPath());
    }
    return found;
}

std::vector<std::string> Keep(std::vector<std::string> all,
                              const std::function<bool(const std::string&)>& pick) {
    std::erase_if(all, [&](const std::string& p) { return !pick(p); });
    return all;
}

bool IsFolder(const std::string& p) {
    return !p.empty() && p.back() == '/';
}

// Descriptors the process holds (not counting the one that lists them).
int OpenDescriptors() {
    int count = -1;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

// The open-file limit counts descriptor numbers: the one below which exactly two are free.
int LimitLeavingTwoFree() {
    int free = 0;
    for (int fd = 0;; ++fd) {
        if (fcntl(fd, F_GETFD) == -1 && ++free == 2) {
            return fd + 1;
        }
    }
}

// A tree with every kind of entry the walk must tell apart.
void BuildMixedTree(const TestTree& t) {
    for (const char* f :
         {"a.txt", "B.TXT", "c.log", "README", ".hidden.txt", "x.", "sub/d.txt", "sub/e.doc",
          "sub/deeper/f.txt", "sub/deeper/g.Txt", "other/h.txt", ".git/config.txt",
          "sub/.cache/i.txt", "\xff\xfe.txt", "caf\xc3\xa9/\xe9t\xe9.TXT"}) {
        t.File(f);
    }
    t.Folder("empty");
    t.Link("link-to-sub", "sub");
    t.Link("dangling.txt", "nowhere");
    t.Link("sub/loop", "..");
}

// Every option the search takes, against the test's own account of the depth-first order:
// dot-folders are not searched, dot-files are examined, links are files, nothing is followed.
TEST(FolderWalk, SelectsByTheOptionsInDepthFirstEnumerationOrder) {
    TestTree t;
    BuildMixedTree(t);
    const auto all = ReaddirOrder(t.Root());
    const auto atRoot = [&](const std::string& p) {
        const std::string rest = p.substr(t.Root().size());
        return rest.find('/') == std::string::npos || rest.find('/') == rest.size() - 1;
    };
    const auto folder = [](const std::string& p) { return p.substr(0, p.size() - 1); };
    struct Case {
        const char* what;
        SearchOptions options;
        std::function<bool(const std::string&)> keep; // over files ("/" ends a folder)
        bool folders = false;
    };
    const auto options = [](const char* mask, int expected, bool folders, bool recurse) {
        SearchOptions o = Options(mask);
        o.ExpectedMatch = expected;
        o.FoldersOnly = folders;
        o.Recurse = recurse;
        return o;
    };
    // clang-format off
    const Case cases[] = {
        {"matching", options("*.txt", 1, false, true),
         [](const std::string& p) { return !IsFolder(p) && EndsWith(p, ".txt"); }},
        {"everything", options("*.*", 1, false, true), [](const std::string& p) { return !IsFolder(p); }},
        {"except", options("*.txt;*.log", 0, false, true),
         [](const std::string& p) {
             return !IsFolder(p) && !EndsWith(p, ".txt") && !EndsWith(p, ".log");
         }},
        {"folders only", options("*.txt", 1, true, true), IsFolder, true},
        {"root only", options("*.*", 1, false, false),
         [&](const std::string& p) { return !IsFolder(p) && atRoot(p); }},
        {"root's folders only", options("*.*", 1, true, false),
         [&](const std::string& p) { return IsFolder(p) && atRoot(p); }, true},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::string> expected;
        for (const std::string& p : Keep(all, c.keep)) {
            expected.push_back(c.folders ? folder(p) : p);
        }
        const Outcome o = Search(t.Root(), c.options);
        EXPECT_TRUE(o.rootWasFolder);
        EXPECT_EQ(o.paths, expected);
        if (c.options.ExpectedMatch == 1 && c.options.Recurse) {
            // every file examined, or every folder when only folders are listed
            EXPECT_EQ(o.counters.ObjectCount,
                      std::count_if(all.begin(), all.end(), [&](const std::string& p) {
                          return IsFolder(p) == c.folders;
                      }));
        }
    }
    const Outcome txt = Search(t.Root(), Options("*.txt"));
    for (const char* found :
         {".hidden.txt", "dangling.txt", "\xff\xfe.txt", "caf\xc3\xa9/\xe9t\xe9.TXT"}) {
        EXPECT_EQ(std::count(txt.paths.begin(), txt.paths.end(), t.Path(found)), 1) << found;
    }
    // Extensions are kept lower-cased, times as 100-ns ticks since 1601.
    t.File("\xc3\x84pfel.\xc3\x96L"); // Äpfel.ÖL
    t.SetTime("B.TXT", 1700000000, 123456789);
    const Outcome stored = Search(t.Root(), Options("B.TXT;*.\xc3\xb6l"));
    ASSERT_EQ(stored.paths.size(), 2u);
    const size_t b = stored.paths[0] == t.Path("B.TXT") ? 0 : 1;
    EXPECT_EQ(stored.extensions[b], ".txt");
    EXPECT_EQ(stored.times[b], 116444736000000000LL + 1700000000LL * 10000000 + 1234567);
    EXPECT_EQ(stored.extensions[1 - b], ".\xc3\xb6l");
    // An empty root keeps the prepared store; a root that is no folder is told.
    TestTree none;
    const Outcome empty = Search(none.Root(), Options("*.*"));
    EXPECT_EQ(std::tie(empty.rootWasFolder, empty.counters.ObjectCount, empty.upperBound),
              std::make_tuple(true, int64_t{0}, 500));
    EXPECT_FALSE(Search(t.Path("a.txt"), Options("*.*")).rootWasFolder);
    EXPECT_FALSE(Search(t.Path("missing"), Options("*.*")).rootWasFolder);
}

// The store grows by 500 when the next record would not fit (the test runs for every object
// examined): 502 matches among 1500 that do not grow it once.
// Sizes come from the stat that gives the time, by the walk or by a reader: a file's length,
// also of a sparse one past 4 GiB; a link's own; none for folders or when nothing is kept.
TEST(FolderWalk, KeptFilesHaveTheSizeTheFileSystemGives) {
    TestTree t;
    for (const std::string folder : {"", "sub/"}) {
        t.File(folder + "empty.txt");
        WriteBytes(t.Path(folder + "some.txt"), std::string(1234, 'x'));
        for (const auto& [name, length] :
             {std::pair{"sparse.bin", off_t{10} << 20}, std::pair{"huge.bin", off_t{5} << 30}}) {
            const UniqueFd fd(open(t.Path(folder + name).c_str(), O_CREAT | O_WRONLY, 0600));
            ASSERT_EQ(ftruncate(fd.Get(), length), 0) << strerror(errno);
        }
        t.Link(folder + "link.txt", "some.txt");
    }
    for (const int threads : {1, 2}) {
        for (const bool keep : {true, false}) {
            SearchOptions options = Options("*.*");
            options.Threads = threads;
            options.KeepStatus = keep;
            const Outcome outcome = Search(t.Root(), options);
            ASSERT_EQ(outcome.paths.size(), 10u);
            for (size_t i = 0; i < outcome.paths.size(); ++i) {
                struct stat st {};
                ASSERT_EQ(lstat(outcome.paths[i].c_str(), &st), 0);
                EXPECT_EQ(outcome.sizes[i], keep ? st.st_size : -1)
                    << outcome.paths[i] << ", " << threads << " threads";
            }
        }
    }
    SearchOptions folders = Options("*.*");
    folders.FoldersOnly = true;
    EXPECT_EQ(Search(t.Root(), folders).sizes, std::vector<int64_t>{-1});
}

TEST(FolderWalk, TheStoreGrowsBy500WhenTheNextRecordWouldNotFit) {
    TestTree t;
    for (int i = 0; i < 502; ++i) {
        t.File("m" + std::to_string(i) + ".txt");
    }
    for (int i = 0; i < 1500; ++i) {
        t.File("n" + std::to_string(i) + ".doc");
    }
    for (const auto& [mask, chunks, upper] :
         {std::tuple{"*.txt", 2, 1000}, std::tuple{"*", 5, 2500}}) {
        const Outcome o = Search(t.Root(), Options(mask));
        EXPECT_EQ(std::tie(o.counters.ChunkCount, o.upperBound), std::tie(chunks, upper)) << mask;
    }
}

TEST(FolderWalk, PathsLongerThanPathMaxAreFoundByteExact) {
    TestTree t;
    const auto chain = t.DeepChain("deep", 40, std::string(200, 'n'));
    ASSERT_GT(chain.back().size(), static_cast<size_t>(PATH_MAX));
    const Outcome o = Search(t.Root(), Options("*.txt"));
    EXPECT_EQ(o.paths, chain);
    // the long path also works as the root itself
    const std::string deepRoot = chain.back().substr(0, chain.back().size() - 5);
    EXPECT_EQ(Search(deepRoot, Options("*.txt")).paths, std::vector<std::string>{chain.back()});
}

// A 5 000-level tree (a folder and a file at each level) walked in a child process whose
// open-file limit leaves two descriptors free (as under ulimit -n 6): every file is found. (The
// walk's memory on such trees is measured by the benchmark.)
TEST(FolderWalk, DeepTreesAreWalkedWholeWhateverTheDescriptorLimit) {
    TestTree t;
    const auto chain = t.DeepChain("", 5000, "d");
    const pid_t child = fork();
    if (child == 0) {
        rlimit low{};
        getrlimit(RLIMIT_NOFILE, &low);
        low.rlim_cur = LimitLeavingTwoFree();
        setrlimit(RLIMIT_NOFILE, &low);
        _exit(Search(t.Root(), Options("*.txt")).paths == chain ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "not every file was found, or not in order";
}

// Deep levels give their descriptor back; a folder moved away meanwhile must not end the
// levels above it, whose files never moved.
TEST(FolderWalk, AFolderMovedDuringTheWalkLosesNothingThatStayed) {
    TestTree t;
    for (const char* level : {"", "a/", "a/b/", "a/b/c/", "a/b/c/d/", "a/b/c/d/e/"}) {
        for (int i = 0; i < 10; ++i) {
            t.File(std::string(level) + "f" + std::to_string(i) + ".txt");
        }
    }
    const auto stayed = Keep(ReaddirOrder(t.Root()), [&](const std::string& p) {
        return EndsWith(p, ".txt") && p.rfind(t.Path("a/b/c/"), 0) != 0;
    });
    RecordingListener listener;
    bool moved = false;
    listener.onFolder = [&](const QString& message) {
        if (message.startsWith("Searching e") && !moved) {
            moved = rename(t.Path("a/b/c").c_str(), t.Path("moved").c_str()) == 0;
        }
    };
    const std::vector<std::string> found = Walk(t.Root(), 1, &listener);
    ASSERT_TRUE(moved);
    for (const std::string& file : stayed) {
        EXPECT_EQ(std::count(found.begin(), found.end(), file), 1) << file;
    }
}

TEST(FolderWalk, AFolderThatCannotBeOpenedIsSkippedAndItsLaterSiblingsAreWalked) {
    TestTree t;
    for (int i = 0; i < 12; ++i) {
        t.File("s" + std::to_string(i) + "/in.txt");
    }
    t.File("locked/secret.txt");
    const auto expected = Keep(ReaddirOrder(t.Root()), [&](const std::string& p) {
        return EndsWith(p, ".txt") && p.find("locked") == std::string::npos;
    });
    EXPECT_EQ(Walk(t.Root(), 128, nullptr,
                   [](int dirFd, const char* name, int flags) {
                       if (std::string_view(name) == "locked") {
                           errno = EACCES;
                           return -1;
                       }
                       return openat(dirFd, name, flags);
                   }),
              expected);
}

TEST(FolderWalk, ARelativeRootIsMadeAbsoluteWithoutResolvingLinks) {
    TestTree t;
    t.File("real/x.txt");
    t.Link("via", "real");
    char* saved = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(t.Root().c_str()), 0);
    const std::vector<std::string> via = {t.Path("via/x.txt")};
    EXPECT_EQ(Search("via", Options("*.txt")).paths, via);
    EXPECT_EQ(Search("./via/", Options("*.txt")).paths, via);
    EXPECT_EQ(Search(".", Options("*.txt")).paths, std::vector<std::string>{t.Path("real/x.txt")});
    EXPECT_EQ(chdir(saved), 0);
    std::free(saved);
}

TEST(FolderWalk, CancelUnwindsEveryLevelAndKeepsWhatWasStored) {
    TestTree t;
    t.DeepChain("", 30, "level");
    for (int i = 0; i < 50; ++i) {
        t.File("level/level/level/many/" + std::to_string(i) + ".txt");
    }
    CancelFlag cancel;
    FileDataArray store;
    store.Prepare();
    SearchCounters counters;
    int64_t objectsAtCancel = -1;
    RecordingListener listener;
    // The click is handled while the walk yields; the walk notices it after the entry it is on.
    listener.onYield = [&] {
        if (counters.MatchedCount == 5 && objectsAtCancel < 0) {
            objectsAtCancel = counters.ObjectCount;
            cancel.Raise();
        }
    };
    const int descriptorsBefore = OpenDescriptors();
    const SearchOptions options = Options("*.txt");
    FolderWalk walk(options, store, counters, cancel, &listener);
    walk.Walk(t.Root());
    EXPECT_EQ(OpenDescriptors(), descriptorsBefore) << "every level closed its folder";
    ASSERT_GE(objectsAtCancel, 0);
    EXPECT_LE(counters.ObjectCount, objectsAtCancel + 1);
    EXPECT_GE(counters.MatchedCount, 5);
    EXPECT_LE(counters.MatchedCount, 6);
}

// A root that answers slowly is read as a share is, whatever its file system says.
TEST(FolderWalk, ASlowRootIsReadAsAShareIs) {
    TestTree t;
    t.File("a.txt");
    for (const auto& [slowAfter, remote] :
         {std::pair<std::chrono::nanoseconds, bool>{std::chrono::nanoseconds(0), true},
          {std::chrono::hours(1), false}}) {
        CancelFlag cancel;
        FileDataArray store;
        store.Prepare();
        SearchCounters counters;
        SearchOptions options = Options("*.txt");
        options.SlowRoot = slowAfter;
        FolderWalk walk(options, store, counters, cancel, nullptr);
        EXPECT_TRUE(walk.Walk(t.Root()));
        EXPECT_EQ(walk.ReadsAsRemote(), remote || walk.RootKind() == FileSystemKind::Network);
    }
}

// A walk on its own thread still waiting on a folder that does not answer is left behind with
// what it stored, and stores nothing more when the call returns.
TEST(FolderWalk, AWalkOnItsOwnThreadIsLeftBehindWithWhatItStored) {
    TestTree t;
    for (int i = 0; i < 40; ++i) {
        t.File("f" + std::to_string(i) + ".txt");
    }
    t.File({"stuck/in.txt", "sub/x.txt"});
    std::promise<void> waiting;
    std::promise<void> answer;
    std::shared_future<void> answered = answer.get_future().share();
    struct Gone : RecordingListener {
        std::promise<void> gone;
        ~Gone() override { gone.set_value(); }
    };
    auto listener = std::make_shared<Gone>();
    std::future<void> walkGone = listener->gone.get_future();
    SearchSession session;
    session.Prepare(t.Root(), Options("*.txt"));
    session.SetOpenFolderForTesting([&](int dirFd, const char* name, int flags) {
        if (std::string_view(name) == "stuck") {
            waiting.set_value();
            answered.wait(); // a share that does not answer, until the test lets it
        }
        return openat(dirFd, name, flags);
    });
    session.Start(std::move(listener), [] { ADD_FAILURE() << "told after it was left behind"; });
    waiting.get_future().wait();
    session.Collect();
    const std::vector<std::string> order = ReaddirOrder(t.Root());
    const auto before = static_cast<int32_t>(
        std::count_if(order.begin(), std::find(order.begin(), order.end(), t.Path("stuck/")),
                      [](const std::string& p) { return EndsWith(p, ".txt"); }));
    EXPECT_EQ(session.Counters().MatchedCount, before) << "what was stored before it waited";
    EXPECT_TRUE(session.RootWasFolder());
    answer.set_value();
    walkGone.wait(); // the walk's thread let go of everything it had
    const std::vector<std::string> all = Search(t.Root(), Options("*.txt")).paths;
    EXPECT_EQ(session.Counters().MatchedCount, before);
    for (int32_t i = 0; i < before; ++i) {
        EXPECT_EQ(session.Store()[i].FullPath(), all[i]);
    }
}

TEST(FolderWalk, StatusCadenceIsEvery4000FilesAndEvery100Folders) {
    TestTree t;
    for (int i = 0; i < 8001; ++i) {
        t.File("f" + std::to_string(i));
    }
    RecordingListener files;
    Search(t.Root(), Options("*.none"), &files);
    EXPECT_EQ(files.objects,
              (std::vector<QString>{"Objects: 0", "Objects: 4,000", "Objects: 8,000"}));
    EXPECT_GT(files.yields, 7000);

    TestTree f;
    for (int i = 0; i < 201; ++i) {
        f.Folder("d" + std::to_string(i));
    }
    SearchOptions options = Options("*.*");
    options.FoldersOnly = true;
    options.ShowFolderProgress = false;
    RecordingListener folders;
    Search(f.Root(), options, &folders);
    EXPECT_EQ(folders.objects,
              (std::vector<QString>{"Objects: 0", "Objects: 100", "Objects: 200"}));
    EXPECT_TRUE(folders.folders.empty()) << "no folder messages with progress off";
}

// Reading ahead on several threads must not change a thing the walk stores or reports; half
// the trees hang 20 levels down, where readers open folders by their parent, and two 70,
// below where readers go but under big folders, which the last has all the way down. One has
// a root big enough for readers to look up its files' status in pieces: each file has a time
// of its own, so a status given to the wrong file shows.
TEST(FolderWalk, ThreadsReadingAheadFindWhatOneThreadFinds) {
    std::mt19937 random(20261122);
    for (int tree = 0; tree < 8; ++tree) {
        TestTree t;
        for (int i = 0; tree == 6 && i < 700; ++i) { // long names: big in few files
            const std::string name =
                "w" + std::to_string(i) + std::string(200, 'w') + (i % 3 ? ".txt" : ".log");
            t.File(name);
            t.SetTime(name, 1000000 + i, i);
        }
        std::string deep;
        for (int level = 0; tree % 2 == 1 && level < (tree >= 5 ? 70 : 20); ++level) {
            deep += "l" + std::to_string(level) + "/";
            for (int i = 0; tree == 7 && i < 150; ++i) {
                t.File(deep + "c" + std::to_string(i) + (i % 3 ? ".txt" : ".log"));
            }
        }
        std::vector<std::string> made{deep};
        for (int i = 0, n = 10 + static_cast<int>(random() % 60); i < n; ++i) {
            made.push_back(made[random() % made.size()] + (random() % 12 ? "d" : ".d") +
                           std::to_string(i) + "/");
            t.Folder(made.back());
        }
        for (int i = 0, n = 8 * static_cast<int>(made.size()); i < n; ++i) {
            static const char* const kEnds[] = {".txt", ".TXT", ".log", "", ".tar.gz", ".\xff"};
            const std::string name =
                made[random() % made.size()] + "f" + std::to_string(i) + kEnds[random() % 6];
            random() % 25 ? t.File(name) : t.Link(name, "../x");
        }
        for (const auto& [mask, expected, foldersOnly] : {std::tuple{"*.txt", 1, false},
                                                          {"*.*", 1, false},
                                                          {"*.log", 0, false},
                                                          {"*.*", 1, true}}) {
            SearchOptions options = Options(mask);
            options.ExpectedMatch = expected;
            options.FoldersOnly = foldersOnly;
            std::vector<std::tuple<Outcome, std::vector<QString>>> runs;
            for (const auto& [threads, remote] :
                 {std::pair{1, false}, {2, false}, {8, false}, {8, false}, {8, true}, {33, true}}) {
                options.Threads = threads;
                options.SlowRoot = remote ? std::chrono::nanoseconds(0) : std::chrono::hours(1);
                RecordingListener listener;
                runs.emplace_back(Search(t.Root(), options, &listener), listener.events);
                const auto& [outcome, events] = runs.back();
                const auto& [first, firstEvents] = runs.front();
                EXPECT_TRUE(outcome.paths == first.paths &&
                            outcome.extensions == first.extensions &&
                            outcome.times == first.times && outcome.sizes == first.sizes &&
                            events == firstEvents &&
                            outcome.counters.ObjectCount == first.counters.ObjectCount)
                    << "tree " << tree << ", " << mask << " on " << threads << " threads"
                    << (remote ? " as on a share" : "");
            }
        }
    }
}

// 32 701 results are listed, 32 702 are not: the list limit, with its own numbers.
TEST(SearchSession, TheListLimitIs32701Results) {
    // clang-format off
    const std::pair<int32_t, bool> cases[] = {{0, false}, {32701, false}, {32702, true}, {1000000, true}};
    // clang-format on
    for (const auto& [matched, exceeded] : cases) {
        EXPECT_EQ(SearchSession::TooManyToList(matched), exceeded) << matched;
    }
}

} // namespace
