#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "fileops/dlgOpenWith.h"
#include "fileops/dlgProperties.h"
#include "platform/Desktop.h"

#include <gtest/gtest.h>

namespace {

class LinuxDesktopTest : public testing::Test {
protected:
    void SetUp() override {
        folders.data = {t.Path("data")};
        folders.config = {t.Path("config")};
        t.Folder("config");
        t.Folder("data/applications");
        WriteBytes(t.Path("data/applications/editor.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Editor\nExec=editor --new %U\n"
                   "MimeType=text/plain;\n");
        WriteBytes(t.Path("data/applications/files.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Files\nExec=files %f\n"
                   "MimeType=inode/directory;\n");
        WriteBytes(t.Path("data/applications/helper.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Helper\nExec=helper\nNoDisplay=true\n");
        WriteBytes(t.Path("config/mimeapps.list"),
                   "[Default Applications]\ntext/plain=editor.desktop\n");
        t.File("docs/a b.txt");
        t.File("docs/unknown.zzqx");
        t.File("docs/notes.md");
        desktop = std::make_unique<LinuxDesktop>(
            prompts, folders,
            [this](const std::vector<std::string>& argv, const std::string& folder) {
                launched.push_back(argv);
                folders_.push_back(folder);
                return true;
            },
            [this](const QString& method, const std::string& uri) {
                asked.push_back(method.toStdString() + " " + uri);
                return fileManagerAnswers;
            });
    }

    TestTree t;
    XdgFolders folders;
    ScriptedPrompts prompts;
    std::unique_ptr<LinuxDesktop> desktop;
    std::vector<std::vector<std::string>> launched;
    std::vector<std::string> folders_;
    std::vector<std::string> asked;
    bool fileManagerAnswers = false;
};

TEST_F(LinuxDesktopTest, OpenLaunchesTheDefaultApplicationWithTheFile) {
    EXPECT_TRUE(desktop->Open(t.Path("docs/a b.txt")));
    ASSERT_EQ(launched.size(), 1u);
    EXPECT_EQ(launched[0], (std::vector<std::string>{"editor", "--new",
                                                     "file://" + t.Root() + "docs/a%20b.txt"}));
    EXPECT_EQ(folders_[0], t.Path("docs"));
    desktop->OpenInTextEditor(t.Path("docs/unknown.zzqx"));
    EXPECT_EQ(launched[1][0], "editor") << "the text editor is the default for plain text";
}

TEST_F(LinuxDesktopTest, ATypeFallsBackToTheTypeItDerivesFrom) {
    desktop->Open(t.Path("docs/notes.md"));
    ASSERT_EQ(launched.size(), 1u);
    EXPECT_EQ(launched[0][0], "editor") << "Markdown is plain text";
    QStringList rows;
    prompts.modals.push_back([&](QDialog* dialog) {
        rows = static_cast<dlgOpenWith*>(dialog)->Rows();
        return static_cast<int>(QDialog::Rejected);
    });
    desktop->OpenWith(t.Path("docs/notes.md"));
    EXPECT_EQ(rows, (QStringList{"Applications for text/markdown", "Editor", "Other applications",
                                 "Files"}));
}

TEST_F(LinuxDesktopTest, ExploreAsksTheFileManagerThenFallsBackToOpen) {
    fileManagerAnswers = true;
    desktop->Explore(t.Path("docs"));
    EXPECT_EQ(asked, std::vector<std::string>{"ShowFolders file://" + t.Root() + "docs"});
    EXPECT_TRUE(launched.empty());
    fileManagerAnswers = false;
    desktop->Explore(t.Path("docs"));
    ASSERT_EQ(launched.size(), 1u);
    EXPECT_EQ(launched[0], (std::vector<std::string>{"files", t.Path("docs")}));
}

TEST_F(LinuxDesktopTest, PropertiesFallBackToTheProgramsOwnDialog) {
    fileManagerAnswers = true;
    desktop->ShowProperties(t.Path("docs/a b.txt"));
    EXPECT_EQ(prompts.modalsShown, 0);
    fileManagerAnswers = false;
    QString shownName;
    prompts.modals.push_back([&](QDialog* dialog) {
        shownName = static_cast<dlgProperties*>(dialog)->Field("Name");
        return 0;
    });
    desktop->ShowProperties(t.Path("docs/a b.txt"));
    EXPECT_EQ(shownName, "a b.txt");
}

TEST_F(LinuxDesktopTest, OpenWithListsTheTypesApplicationsFirst) {
    QStringList rows;
    prompts.modals.push_back([&](QDialog* dialog) {
        auto* openWith = static_cast<dlgOpenWith*>(dialog);
        rows = openWith->Rows();
        openWith->ChooseRow(1);
        return static_cast<int>(QDialog::Accepted);
    });
    EXPECT_TRUE(desktop->OpenWith(t.Path("docs/a b.txt")));
    EXPECT_EQ(rows,
              (QStringList{"Applications for text/plain", "Editor", "Other applications", "Files"}))
        << "applications that ask not to be shown are left out";
    ASSERT_EQ(launched.size(), 1u);
    EXPECT_EQ(launched[0][0], "editor");

    prompts.modals.push_back([&](QDialog* dialog) {
        static_cast<dlgOpenWith*>(dialog)->SetCustomCommand("my tool --open %f");
        return static_cast<int>(QDialog::Accepted);
    });
    desktop->OpenWith(t.Path("docs/a b.txt"));
    EXPECT_EQ(launched[1],
              (std::vector<std::string>{"my", "tool", "--open", t.Path("docs/a b.txt")}));

    prompts.modals.push_back([](QDialog*) { return static_cast<int>(QDialog::Rejected); });
    EXPECT_FALSE(desktop->OpenWith(t.Path("docs/a b.txt")));
    EXPECT_EQ(launched.size(), 2u);
}

TEST_F(LinuxDesktopTest, ATypeWithoutAnApplicationOffersOpenWith) {
    prompts.modals.push_back([](QDialog*) { return static_cast<int>(QDialog::Rejected); });
    desktop->Open(t.Path("docs/unknown.zzqx"));
    EXPECT_EQ(prompts.modalsShown, 1);
    EXPECT_TRUE(launched.empty());
}

} // namespace
