#include "platform/DesktopEntries.h"

#include "QtPrinters.h"
#include "TestTree.h"

#include <gtest/gtest.h>

namespace {

// Two data folders and a config folder, as a desktop would have them.
struct XdgTree {
    TestTree t;
    XdgFolders folders;
    XdgTree() {
        folders.data = {t.Path("home-data"), t.Path("system-data")};
        folders.config = {t.Path("config")};
        t.Folder("home-data/applications/kde");
        t.Folder("system-data/applications");
        t.Folder("config");
        WriteBytes(t.Path("home-data/applications/editor.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Editor\nIcon=accessories-text-editor\n"
                   "Exec=editor --new %U\nMimeType=text/plain;text/x-c;\n");
        WriteBytes(t.Path("system-data/applications/editor.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Old Editor\nExec=old %f\n");
        WriteBytes(t.Path("home-data/applications/kde/viewer.desktop"),
                   "# a comment\n[Desktop Entry]\nType=Application\nName=Viewer\n"
                   "Exec=\"/opt/my viewer/bin\" -x %f\nMimeType=image/png;\n"
                   "[Desktop Action New]\nExec=ignored\n");
        WriteBytes(t.Path("system-data/applications/hidden.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Hidden\nExec=h\nHidden=true\n");
        WriteBytes(t.Path("system-data/applications/helper.desktop"),
                   "[Desktop Entry]\nType=Application\nName=Helper\nExec=helper\nNoDisplay=true\n"
                   "MimeType=text/plain;\n");
        WriteBytes(t.Path("system-data/applications/link.desktop"),
                   "[Desktop Entry]\nType=Link\nName=Link\nURL=https://example.org\n");
        WriteBytes(t.Path("config/mimeapps.list"),
                   "[Added Associations]\ntext/plain=viewer.desktop;\n"
                   "[Default Applications]\ntext/plain=missing.desktop;editor.desktop;\n");
        WriteBytes(t.Path("config/xfce-mimeapps.list"),
                   "[Default Applications]\nimage/png=kde-viewer.desktop\n");
    }
};

TEST(DesktopEntries, ApplicationsOfEveryDataFolderEarlierFoldersFirst) {
    XdgTree x;
    const auto entries = LoadDesktopEntries(x.folders);
    QStringList names;
    for (const auto& e : entries) {
        names << e.name;
    }
    EXPECT_EQ(names, (QStringList{"Editor", "Helper", "Viewer"}));
    EXPECT_EQ(entries[2].id, "kde-viewer.desktop");
    EXPECT_EQ(entries[2].exec, "\"/opt/my viewer/bin\" -x %f") << "other groups are not read";
    EXPECT_EQ(entries[0].mimeTypes, (QStringList{"text/plain", "text/x-c"}));
    EXPECT_TRUE(entries[1].noDisplay);
}

TEST(DesktopEntries, DefaultApplicationsFromMimeappsLists) {
    XdgTree x;
    EXPECT_EQ(DefaultApplicationIds("text/plain", x.folders, {}),
              (std::vector<std::string>{"missing.desktop", "editor.desktop"}));
    const auto entries = LoadDesktopEntries(x.folders);
    EXPECT_EQ(DefaultApplication("text/plain", entries, x.folders, {})->name, "Editor");
    EXPECT_EQ(DefaultApplication("image/png", entries, x.folders, {"XFCE"})->name, "Viewer");
    EXPECT_EQ(DefaultApplication("image/png", entries, x.folders, {})->name, "Viewer")
        << "an installed application declaring the type";
    EXPECT_FALSE(DefaultApplication("application/x-none", entries, x.folders, {}));
}

struct ExecCase {
    const char* exec;
    std::string path;
    std::vector<std::string> argv; // empty: refused
};

TEST(DesktopEntries, ExecLinesBecomeArgumentsWithoutAShell) {
    DesktopEntry entry;
    entry.name = "Editor";
    entry.file = "/apps/editor.desktop";
    entry.icon = "ed";
    const ExecCase cases[] = {
        {"editor --new %U", "/a b/c\"d.txt", {"editor", "--new", "file:///a%20b/c%22d.txt"}},
        {"\"/opt/my viewer/bin\" -x %f",
         "/tmp/-x.png",
         {"/opt/my viewer/bin", "-x", "/tmp/-x.png"}},
        {"app %f", "-rf", {"app", "./-rf"}},
        {"app", "/p q", {"app", "/p q"}},
        {"app --name=%c %k %i %%",
         "/p",
         {"app", "--name=Editor", "/apps/editor.desktop", "--icon", "ed", "%", "/p"}},
        {"app \"a\\\"b $x\" %F", "/p", {"app", "a\"b $x", "/p"}},
        {"app --file=%f %d %m", "/p", {"app", "--file=/p"}},
        {"app \"\"", "/p", {"app", "", "/p"}},
        {"app %f", "/tmp/\xff$(rm).txt", {"app", "/tmp/\xff$(rm).txt"}},
        {"app %u", "/tmp/\xff.txt", {"app", "file:///tmp/%FF.txt"}},
        {"app \"unterminated", "/p", {}},
        {"", "/p", {}}};
    for (const auto& c : cases) {
        const auto argv = ExpandExec(c.exec, c.path, entry);
        if (c.argv.empty()) {
            EXPECT_FALSE(argv) << c.exec;
        } else {
            ASSERT_TRUE(argv) << c.exec;
            EXPECT_EQ(*argv, c.argv) << c.exec;
        }
    }
}

} // namespace
