#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "settings/modBrowse.h"
#include "settings/modPProfile.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

namespace {

// GVFS's mounts in a folder of the test's, while it lives: nothing of the host's counts.
struct RuntimeDir {
    explicit RuntimeDir(const TestTree& t) {
        if (const char* now = std::getenv("XDG_RUNTIME_DIR")) {
            saved = now;
        }
        t.Folder("run/gvfs");
        setenv("XDG_RUNTIME_DIR", t.Path("run").c_str(), 1);
    }
    ~RuntimeDir() {
        saved ? setenv("XDG_RUNTIME_DIR", saved->c_str(), 1) : unsetenv("XDG_RUNTIME_DIR");
    }
    std::optional<std::string> saved;
};

struct PurposeCase {
    int purpose;
    const char* caption;
    const char* prompt;
    const char* root; // "/" or "network"
    const char* key;
};

TEST(modBrowse, EveryPurposeHasItsCaptionPromptRootAndMemory) {
    // clang-format off
    const PurposeCase cases[] = {
        {1, "Select Destination Folder",
         "Select the folder or drive into which the selected files will be copied.", "/",
         "LastCopyFileTarget"},
        {2, "Select Local Folder",
         "Select the folder or drive into which the selected folder should be copied.", "/",
         "LastCopyFolderTarget"},
        {3, "Select Destination Folder",
         "Choose the folder or drive into which all contents of selected folder should be copied.",
         "/", "LastCopyFolderTarget"},
        {4, "", "", "/", "LastMoveFileTarget"},
        {5, "Select Destination Location",
         "You are about to move a folder and all its contents. Choose a new location for the "
         "selected folder.",
         "/", "LastMoveFolderTarget"},
        {6, "Select Local Folder", "Select the folder or drive in which to begin the search.", "/",
         "LastSourceFolder"},
        {7, "Select Network Share", "Select the network share in which to begin the search.",
         "network", "LastSourceNetFolder"},
        {8, "Select Network Administrative Share",
         "Select the network share in which to begin the search.", "network",
         "LastSourceNetAdminFolder"}};
    // clang-format on
    TestTree t;
    t.Folder({"home", "start", "picked"});
    const RuntimeDir mounts(t);
    modPProfile profile(t.Path("tallymoor.ini"), t.Path("home"));
    profile.Start();
    AppSettings& s = profile.Settings();
    for (const auto& c : cases) {
        for (std::string* path :
             {&s.LastCopyFileTarget, &s.LastCopyFolderTarget, &s.LastMoveFileTarget,
              &s.LastMoveFolderTarget, &s.LastSourceNetFolder, &s.LastSourceNetAdminFolder}) {
            *path = t.Path("start");
        }
        ScriptedPrompts prompts;
        prompts.folders.push_back(t.Path("picked"));
        modBrowse::PickFolder(static_cast<modBrowse::PickPurpose>(c.purpose), true, t.Path("start"),
                              profile, prompts);
        const FolderRequest& r = prompts.folderRequests.at(0);
        EXPECT_EQ(std::tie(r.caption, r.prompt), std::tie(c.caption, c.prompt)) << c.purpose;
        EXPECT_TRUE(std::string(c.root) != "/" || r.root == "/") << c.purpose;
        EXPECT_EQ(r.places.at(0).path, t.Path("home/")) << "then the file system and the volumes";
        // purpose 4 always starts at the home folder; a share is picked among the network
        // mounts
        EXPECT_EQ(r.start, c.purpose == 4               ? t.Path("home/")
                           : std::string(c.root) == "/" ? t.Path("start")
                                                        : t.Path("run/gvfs"))
            << c.purpose;
        EXPECT_EQ(profile.ProfileGetString("paths", c.key, ""), t.Path("picked")) << c.purpose;
        EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""),
                  std::to_string(c.purpose));
    }
}

// The network purposes start among the network mounts (GVFS's, here a folder of the test's):
// at the share picked last when it is one of them, else at the mounts themselves, shown
// selected in a tree opened at their parent.
TEST(modBrowse, NetworkPurposesStartAmongTheNetworkMounts) {
    TestTree t;
    t.Folder({"home", "run/gvfs/sftp:host=server/data"});
    const RuntimeDir mounts(t);
    modPProfile profile(t.Path("tallymoor.ini"), t.Path("home"));
    profile.Start();
    const std::string share = t.Path("run/gvfs/sftp:host=server/data");
    // clang-format off
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {t.Path("home/"), t.Path("run/gvfs"), t.Path("run/")},
        {share, share, t.Path("run/gvfs")}};
    // clang-format on
    for (const auto& [remembered, start, root] : cases) {
        profile.Settings().LastSourceNetFolder = remembered;
        ScriptedPrompts prompts;
        prompts.folders.push_back("");
        modBrowse::PickFolder(modBrowse::PickPurpose::NetworkShare, true, "", profile, prompts);
        EXPECT_EQ(prompts.folderRequests.at(0).root, root) << remembered;
        EXPECT_EQ(prompts.folderRequests.at(0).start, start) << remembered;
    }
}

TEST(modBrowse, MissingStartCancelAndUnknownPurposes) {
    TestTree t;
    t.Folder("home");
    modPProfile profile(t.Path("tallymoor.ini"), t.Path("home"));
    profile.Start();
    profile.Settings().LastCopyFileTarget = t.Path("deleted-since");
    ScriptedPrompts prompts;
    prompts.folders.push_back(""); // the user cancels
    EXPECT_EQ(modBrowse::PickFolder(modBrowse::PickPurpose::CopyFiles, true, "", profile, prompts),
              "");
    EXPECT_EQ(prompts.folderRequests[0].start, t.Path("home/"));
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "0")
        << "a cancelled pick remembers nothing";

    prompts.folders.push_back(t.Path("home"));
    prompts.answers.push_back(MessageAnswer::Ok);
    modBrowse::PickFolder(static_cast<modBrowse::PickPurpose>(9), true, "", profile, prompts);
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text, "oops!");
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::None);
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "9");

    modBrowse::RememberPickedFolder(modBrowse::PickPurpose::SearchRoot, "", profile);
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "9");
}

} // namespace
