#include "platform/GioDesktop.h"

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "platform/CancelFlag.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

// XDG folders of the suite's own, in place before GIO first reads them: applications of the
// suite's making, the system's MIME database, and nothing of this machine's applications.
class XdgFolders : public testing::Environment {
public:
    static const TestTree& Tree() {
        static TestTree tree;
        return tree;
    }
    static std::string Bin(const char* name) { return Tree().Path("bin/") + name; }

    void SetUp() override {
        const TestTree& t = Tree();
        t.Folder("share");
        t.Link("share/mime", "/usr/share/mime");
        t.Folder({"config-system", "config", "bin", "data/applications"});
        // Writes the folder it started in and each argument, every one ended by a NUL.
        WriteBytes(Bin("record"), "#!/bin/sh\n"
                                  "{ printf '%s\\0' \"$(pwd -P)\"; printf '%s\\0' \"$@\"; } "
                                  "> \"$(dirname \"$0\")/received\"\n");
        chmod(Bin("record").c_str(), 0755);
        const auto app = [&t](const std::string& file, const std::string& body) {
            WriteBytes(t.Path("data/applications/" + file),
                       "[Desktop Entry]\nType=Application\n" + body);
        };
        app("recorder.desktop", "Name=Recorder\nIcon=text-editor\nExec=" + Bin("record") +
                                    " %f\nMimeType=text/plain;inode/directory;\n");
        // This program made the default for folders: never asked to show one.
        WriteBytes(Bin("tallymoor"), "#!/bin/sh\ntouch \"$(dirname \"$0\")/received\"\n");
        chmod(Bin("tallymoor").c_str(), 0755);
        app("self.desktop",
            "Name=Tallymoor\nExec=" + Bin("tallymoor") + " %f\nMimeType=inode/directory;\n");
        app("mailer.desktop", "Name=Mail Recorder\nExec=" + Bin("record") +
                                  " %u\nMimeType=x-scheme-handler/mailto;\n");
        app("counter.desktop", "Name=Counter\nExec=sh -c \"wc -c %f > wc.out\"\n");
        // What update-desktop-database makes of the entries' MimeType keys; GIO reads this.
        WriteBytes(t.Path("data/applications/mimeinfo.cache"),
                   "[MIME Cache]\ntext/plain=recorder.desktop;\n"
                   "inode/directory=self.desktop;recorder.desktop;\n"
                   "x-scheme-handler/mailto=mailer.desktop;\n");
        WriteBytes(t.Path("config/mimeapps.list"),
                   "[Default Applications]\ntext/plain=recorder.desktop\n"
                   "inode/directory=self.desktop\n");
        setenv("XDG_DATA_HOME", t.Path("data").c_str(), 1);
        setenv("XDG_DATA_DIRS", t.Path("share").c_str(), 1);
        setenv("XDG_CONFIG_HOME", t.Path("config").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", t.Path("config-system").c_str(), 1);
        unsetenv("XDG_CURRENT_DESKTOP");
    }
};
const auto* const kXdg = testing::AddGlobalTestEnvironment(new XdgFolders);

// What the recorder received: the folder it started in, then its arguments.
std::vector<std::string> Received() {
    const std::string path = XdgFolders::Bin("received");
    std::string bytes = ReadBytes(path);
    unlink(path.c_str());
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end; (end = bytes.find('\0', start)) != std::string::npos; start = end + 1) {
        parts.push_back(bytes.substr(start, end - start));
    }
    return parts;
}

class GioDesktopTest : public testing::Test {
protected:
    GioDesktopTest()
        : desktop(prompts, [this](const char* method, const std::string& uri) {
              asked.push_back(std::string(method) + " " + uri);
              return fileManagerAnswers;
          }) {
        desktop.SetWaitForLaunches(true);
    }

    TestTree t;
    ScriptedPrompts prompts;
    GioDesktop desktop;
    std::vector<std::string> asked;
    bool fileManagerAnswers = false;
};

TEST_F(GioDesktopTest, TheApplicationGetsTheFileExactlyAndStartsInItsFolder) {
    for (const std::string name :
         {"a b.txt", "it's \"quoted\" $(x) `y`.txt", "-rf.txt", "\xff\xfe bytes.txt",
          "emoji \xf0\x9f\x98\x80.txt", "x;touch PWNED;.txt", "new\nline.txt"}) {
        SCOPED_TRACE(name);
        t.File("docs/" + name);
        EXPECT_TRUE(desktop.Open(t.Path("docs/" + name)));
        EXPECT_EQ(Received(), (std::vector<std::string>{t.Path("docs"), t.Path("docs/" + name)}));
    }
    const std::string deep = t.DeepChain("deep", 24, std::string(200, 'd')).back();
    EXPECT_TRUE(desktop.Open(deep)) << "typed and started in its folder through descriptors";
    EXPECT_EQ(Received().at(1), deep);
    EXPECT_TRUE(desktop.OpenInTextEditor(t.Path("docs/a b.txt")));
    EXPECT_EQ(Received().at(1), t.Path("docs/a b.txt"));
    EXPECT_NE(access(t.Path("docs/PWNED").c_str(), F_OK), 0);
    EXPECT_TRUE(prompts.asked.empty());
    EXPECT_TRUE(desktop.OpenUrl("mailto:support@tallymoor.example"));
    EXPECT_EQ(Received().at(1), "mailto:support@tallymoor.example") << "the scheme's application";
    EXPECT_TRUE(desktop.Explore(t.Path("docs"))) << "no file manager on D-Bus: never this program";
    EXPECT_EQ(Received().at(1), t.Path("docs"));
    fileManagerAnswers = true; // the file manager shows folders when it answers on D-Bus
    EXPECT_TRUE(desktop.Explore(t.Path("docs")));
    EXPECT_EQ(asked.back(), "ShowFolders file://" + t.Path("docs"));
}

// An Exec line (or a command of the user's own) that hands the file to a shell inside quotes:
// GIO quotes the name, so the shell sees one word and runs nothing else.
TEST_F(GioDesktopTest, AHostileNameInsideAShellCommandRunsNothing) {
    t.File("docs/x;touch PWNED;.txt");
    const std::string hostile = t.Path("docs/x;touch PWNED;.txt");
    prompts.applications.push_back({"counter.desktop", {}});
    EXPECT_TRUE(desktop.OpenWith(hostile));
    prompts.applications.push_back({{}, "sh -c \"wc -c %f > own.out\""});
    EXPECT_TRUE(desktop.OpenWith(hostile));
    EXPECT_EQ(ReadBytes(t.Path("docs/wc.out")), "0 " + hostile + "\n");
    EXPECT_EQ(ReadBytes(t.Path("docs/own.out")), "0 " + hostile + "\n");
    EXPECT_NE(access(t.Path("docs/PWNED").c_str(), F_OK), 0);
    EXPECT_NE(access("PWNED", F_OK), 0);
}

// Every launch that fails says which application and GIO's reason.
TEST_F(GioDesktopTest, FailedLaunchesSayWhatAndWhy) {
    t.File("a.txt");
    prompts.applications.push_back({{}, "no-such-tool-here --x"});
    prompts.answers.push_back(MessageAnswer::Ok);
    EXPECT_FALSE(desktop.OpenWith(t.Path("a.txt")));
    prompts.answers.push_back(MessageAnswer::Ok);
    EXPECT_FALSE(desktop.OpenUrl("https://tallymoor.example/"));
    prompts.applications.push_back({{}, "sh -c \"unterminated %f"});
    prompts.answers.push_back(MessageAnswer::Ok);
    EXPECT_FALSE(desktop.OpenWith(t.Path("a.txt")));
    ASSERT_EQ(prompts.asked.size(), 3u);
    EXPECT_EQ(prompts.asked[0].text,
              QString::fromStdString("Could not open ' " + t.Path("a.txt") +
                                     " ' with no-such-tool-here: Failed to execute child process "
                                     "\u201cno-such-tool-here\u201d (No such file or directory)"));
    EXPECT_EQ(prompts.asked[1].text,
              "Could not open https://tallymoor.example/: no application on this desktop opens "
              "https: links (Operation not supported)");
    EXPECT_TRUE(prompts.asked[2].text.startsWith(QString::fromStdString(
        "Could not open ' " + t.Path("a.txt") + " ' with sh: Text ended before matching quote")))
        << prompts.asked[2].text.toStdString();
    for (const auto& asked : prompts.asked) {
        EXPECT_EQ(asked.icon, MessageIcon::Critical);
    }
}

// A file: URL is its own path; a scheme nothing here serves is refused with GIO's reason.
TEST_F(GioDesktopTest, LocationUrlsAreTheirLocalPathsOrRefused) {
    const CancelFlag cancel;
    std::string why;
    EXPECT_EQ(LocalPathOfUrl("file://" + t.Path("a%20b"), nullptr, cancel, why), t.Path("a b"));
    EXPECT_EQ(LocalPathOfUrl("nosuch://host/share", nullptr, cancel, why), "");
    EXPECT_EQ(why, "nothing here serves nosuch: locations (the desktop's gvfs backends are not "
                   "installed)");
}

// The Path= lines of a trash's info files, each with its deletion date to the second, and how
// many items its files folder holds.
std::set<std::string>
TrashedPaths(size_t& items, const std::string& trash = XdgFolders::Tree().Path("data/Trash/")) {
    std::set<std::string> paths;
    for (const auto& info : std::filesystem::directory_iterator(trash + "info")) {
        const std::string text = ReadBytes(info.path());
        const size_t at = text.find("\nPath=") + 6;
        paths.insert(text.substr(at, text.find('\n', at) - at));
        EXPECT_TRUE(std::regex_search(
            text, std::regex("\nDeletionDate=20\\d\\d-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n")))
            << text;
    }
    items = std::distance(std::filesystem::directory_iterator(trash + "files"), {});
    return paths;
}

TEST_F(GioDesktopTest, TheTrashKeepsEveryItemWithItsWholePath) {
    const std::string longName = "\xff" + std::string(254, 'n'); // too long for GIO's info file
    const std::string deep = t.DeepChain("deep", 24, std::string(200, 'd')).back();
    for (const std::string& name : {std::string("x/same.txt"), std::string("y/same.txt"),
                                    std::string("z/odd \xff name.txt"), "z/" + longName}) {
        t.File(name);
        EXPECT_TRUE(desktop.MoveToTrash(t.Path(name)).Done()) << name;
        EXPECT_FALSE(std::filesystem::exists(t.Path(name)));
    }
    EXPECT_TRUE(desktop.MoveToTrash(deep).Done()) << "deeper than PATH_MAX";
    size_t items = 0;
    const std::set<std::string> paths = TrashedPaths(items);
    EXPECT_EQ(items, 5u);
    EXPECT_EQ(paths, (std::set<std::string>{t.Path("x/same.txt"), t.Path("y/same.txt"),
                                            t.Path("z/odd%20%FF%20name.txt"),
                                            t.Path("z/%FF" + longName.substr(1)), deep}));
    EXPECT_EQ(desktop.MoveToTrash(t.Path("x/same.txt")).reason, "No such file or directory");
    // What the trash cannot take stays where it is, with the system's reason.
    EXPECT_FALSE(desktop.MoveToTrash("/proc/self/status").Done());
    EXPECT_TRUE(std::filesystem::exists("/proc/self/status"));
}

// On a file system of its own (when the test may mount one), a name too long for GIO goes to
// the trash at its top: the administrator's .Trash/UID when it is a sticky folder, else
// .Trash-UID; its path relative to the top, as file managers restore it.
TEST_F(GioDesktopTest, LongNamesGoToTheTrashOfTheirOwnFileSystem) {
    TestTree disk;
    const std::string image = t.Path("disk.img");
    if (std::system(("truncate -s 4M " + image + " && mkfs.ext2 -q " + image +
                     " 2>/dev/null && mount -o loop " + image + " " + disk.Dir() + " 2>/dev/null")
                        .c_str()) != 0) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    const struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk.Dir()};
    const std::string name(255, 'l'), uid = std::to_string(getuid());
    for (const std::string& trash : {".Trash-" + uid, ".Trash/" + uid}) {
        disk.Folder(".Trash");
        chmod(disk.Path(".Trash").c_str(), trash[6] == '/' ? 01777 : 0777);
        disk.File("a/" + name);
        EXPECT_TRUE(desktop.MoveToTrash(disk.Path("a/" + name)).Done()) << trash;
        size_t items = 0;
        EXPECT_EQ(TrashedPaths(items, disk.Path(trash + "/")), std::set<std::string>{"a/" + name});
        EXPECT_EQ(items, 1u);
    }
}

} // namespace
