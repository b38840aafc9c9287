#include "TestTree.h"
#include "settings/MaskFavorites.h"
#include "settings/SettingsLocation.h"
#include "settings/WindowPlacement.h"
#include "settings/modPProfile.h"

#include <climits>
#include <gtest/gtest.h>
#include <memory>

namespace {

constexpr const char* kHome = "/home/ann";

TEST(Profile, FirstStartWritesTheNewFileAndAnExistingOneIsLeftAsItIs) {
    TestTree t;
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    profile.Start();
    EXPECT_EQ(ReadBytes(t.Path("tallymoor.ini")),
              ReadBytes(TALLYMOOR_TEST_DATA "/new-settings.ini"));
    const AppSettings& s = profile.Settings();
    EXPECT_EQ(std::tie(s.AutoRescanMaximum, s.LVDefaultView, s.LastFileMask, s.LastSourceFolder),
              std::make_tuple(300, 1, std::string("*.txt"), std::string("/home/ann/")));
    EXPECT_TRUE(s.LVUseGridLines && s.LVUseCustomSortColor);

    WriteBytes(t.Path("old.ini"), "[options]\r\nConfirmOnOpen=0\r\n");
    modPProfile old(t.Path("old.ini"), kHome);
    old.Start();
    EXPECT_EQ(ReadBytes(t.Path("old.ini")), "[options]\r\nConfirmOnOpen=0\r\n");
    EXPECT_FALSE(old.Settings().ConfirmOnOpen);
}

// Copies of the program started at once all find no file: the first makes it, and the others
// neither make it again over the first one's changes nor lose their own.
TEST(Profile, CopiesStartingTogetherKeepEachOthersKeys) {
    TestTree t;
    std::vector<std::unique_ptr<modPProfile>> copies;
    for (int i = 0; i < 3; ++i) {
        copies.push_back(std::make_unique<modPProfile>(t.Path("tallymoor.ini"), kHome));
        EXPECT_FALSE(copies.back()->FileExists());
    }
    for (int i = 0; i < 3; ++i) {
        copies[i]->ProfileCreateDefault();
        copies[i]->ProfileSetOptionsKey("Key" + std::to_string(i), "set");
    }
    modPProfile after(t.Path("tallymoor.ini"), kHome);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(after.ProfileGetString("options", "Key" + std::to_string(i), ""), "set") << i;
    }
    EXPECT_EQ(after.File().KeyNames("masks").size(), 6u) << "one new file, not three";
}

// Whatever a file lacks reads as the missing-key values, which differ from a new file's.
TEST(Profile, MissingKeysAndStoredValuesAreReadByTheirRules) {
    for (const std::string& file : {std::string(), std::string("; only a comment\r\n"),
                                    std::string("[paths]\r\n[windows]\r\nLeft=5\r\n"),
                                    std::string("\xff\xfe\0garbage", 10)}) {
        TestTree t;
        WriteBytes(t.Path("tallymoor.ini"), file);
        modPProfile profile(t.Path("tallymoor.ini"), kHome);
        profile.Start();
        const AppSettings& s = profile.Settings();
        EXPECT_EQ(std::tie(s.AutoRescanMaximum, s.LVDefaultView, s.LVCustomSortColor,
                           s.DblClickAction, s.DblClickShiftAction, s.LastCfmBrowseID),
                  std::make_tuple(0, 0, 15987699, 0, 1, 0));
        EXPECT_EQ(s.LastFileMask, "*.*");
        EXPECT_EQ(s.LastOutputSaveDirectory, "/home/ann/");
        EXPECT_FALSE(s.LVUseGridLines || s.LVUseCustomSortColor || s.AutoSDSOnNewSelection);
        EXPECT_TRUE(s.ConfirmOnOpen && s.AskToOpenWith);
    }
    TestTree t;
    WriteBytes(t.Path("tallymoor.ini"),
               "[options]\r\nLVCustomSortColor=0\r\nAutoRescanMaximum=-1\r\nConfirmOnCopy=False\r\n"
               "ConfirmOnMove=oops\r\nLVUseGridLines=True\r\nDblClickAction=2.5\r\n"
               "LastFileMask=\r\n[PATHS]\r\nlastsourcefolder=/srv/data/\r\nLastCfmBrowseID=7\r\n");
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    profile.Start();
    const AppSettings& s = profile.Settings();
    EXPECT_EQ(
        std::tie(s.LVCustomSortColor, s.AutoRescanMaximum, s.DblClickAction, s.LastCfmBrowseID),
        std::make_tuple(15987699, -1, 2, 7))
        << "a colour of 0 reads as the built-in one";
    EXPECT_FALSE(s.ConfirmOnCopy || s.ConfirmOnMove);
    EXPECT_TRUE(s.LVUseGridLines);
    EXPECT_EQ(s.LastFileMask, "");
    EXPECT_EQ(s.LastSourceFolder, "/srv/data/");
}

// Every boolean of [options] and every key of [paths], stored with a value a new file does not
// have, reads back after a restart: each is written and read under one name.
TEST(Profile, EveryOptionAndPathReadsBackAfterARestart) {
    // clang-format off
    const std::pair<const char*, bool AppSettings::*> booleans[] = {
        {"AskToOpenWith", &AppSettings::AskToOpenWith},
        {"AutoRescanAfterAction", &AppSettings::AutoRescanAfterAction},
        {"AutoRescanUseMaximum", &AppSettings::AutoRescanUseMaximum},
        {"AutoSDSOnNewSelection", &AppSettings::AutoSDSOnNewSelection},
        {"AlwaysShowCountWhenSDS", &AppSettings::AlwaysShowCountWhenSDS},
        {"ConfirmOnOpen", &AppSettings::ConfirmOnOpen},
        {"ConfirmOnCopy", &AppSettings::ConfirmOnCopy},
        {"ConfirmOnMove", &AppSettings::ConfirmOnMove},
        {"ConfirmOnFolderDelete", &AppSettings::ConfirmOnFolderDelete},
        {"ConfirmOnFileDelete", &AppSettings::ConfirmOnFileDelete},
        {"ConfirmOnEachFileDelete", &AppSettings::ConfirmOnEachFileDelete},
        {"RetainTopIndex", &AppSettings::RetainTopIndex},
        {"OpenFoldersWithExplore", &AppSettings::OpenFoldersWithExplore},
        {"LVUseGridLines", &AppSettings::LVUseGridLines},
        {"LVUseCustomSortColor", &AppSettings::LVUseCustomSortColor},
        {"QSSortResultsOnSave", &AppSettings::QSSortResultsOnSave},
        {"WatchForChanges", &AppSettings::WatchForChanges},
    };
    const std::pair<const char*, std::string AppSettings::*> paths[] = {
        {"LastSourceFolder", &AppSettings::LastSourceFolder},
        {"LastCopyFileTarget", &AppSettings::LastCopyFileTarget},
        {"LastCopyFolderTarget", &AppSettings::LastCopyFolderTarget},
        {"LastMoveFileTarget", &AppSettings::LastMoveFileTarget},
        {"LastMoveFolderTarget", &AppSettings::LastMoveFolderTarget},
        {"LastSourceNetFolder", &AppSettings::LastSourceNetFolder},
        {"LastSourceNetAdminFolder", &AppSettings::LastSourceNetAdminFolder},
        {"LastOutputSaveDirectory", &AppSettings::LastOutputSaveDirectory},
    };
    // clang-format on
    for (const auto& [key, member] : booleans) {
        TestTree t;
        modPProfile first(t.Path("tallymoor.ini"), kHome);
        first.Start();
        const bool changed = !(first.Settings().*member);
        first.ProfileSetOptionsKey(key, BoolText(changed));
        modPProfile restarted(t.Path("tallymoor.ini"), kHome);
        restarted.Start();
        EXPECT_EQ(restarted.Settings().*member, changed) << key;
    }
    TestTree t;
    modPProfile first(t.Path("tallymoor.ini"), kHome);
    first.Start();
    for (const auto& [key, member] : paths) {
        first.ProfileSetPathsKey(key, std::string("/srv/") + key + "/");
    }
    first.ProfileSetPathsKey("LastCfmBrowseID", "8");
    modPProfile restarted(t.Path("tallymoor.ini"), kHome);
    restarted.Start();
    for (const auto& [key, member] : paths) {
        EXPECT_EQ(restarted.Settings().*member, std::string("/srv/") + key + "/") << key;
    }
    EXPECT_EQ(restarted.Settings().LastCfmBrowseID, 8);
}

TEST(Profile, NumberReadingRule) {
    // clang-format off
    const std::pair<const char*, int32_t> cases[] = {
        {"12", 12}, {" 12abc", 12}, {"abc", 0},  {"", 0},     {"2.5", 2},  {"3.5", 4},
        {"-2.5", -2}, {"-1", -1},   {"+7", 7},   {"1e3", 1000}, {"1e", 1}, {".5", 0},
        {"0.51", 1}, {"0x10", 0},   {"--3", 0},  {"99999999999", INT_MAX},
        {"-99999999999", INT_MIN},  {"1e999", INT_MAX}};
    // clang-format on
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(ReadNumber(text), value) << "'" << text << "'";
    }
}

TEST(Profile, BooleanReadingRule) {
    // clang-format off
    const std::pair<const char*, bool> cases[] = {
        {"1", true},     {"0", false},   {"-1", true},     {"2", true},    {" 1 ", true},
        {"True", true},  {"TRUE", true}, {"false", false}, {"", false},    {"yes", false},
        {"1abc", false}, {"0.0", false}, {"0.4", true},    {"1e999", true}};
    // clang-format on
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(ReadBoolean(text), value) << "'" << text << "'";
    }
}

TEST(Profile, WritersWriteThroughAndColoursRoundTrip) {
    TestTree t;
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    profile.Start();
    profile.ProfileSetOptionsKey("ConfirmOnOpen", BoolText(false));
    profile.ProfileSetPathsKey("LastSourceFolder", "/data/");
    std::array<int32_t, 16> colors{};
    profile.ProfileLoadCustomColors(colors);
    EXPECT_EQ(colors[11], -2147483643) << "a system colour";
    colors[4] = 0x00FF8000;
    profile.ProfileSaveCustomColors(colors);
    modPProfile other(t.Path("tallymoor.ini"), kHome);
    other.ProfileLoadSettings();
    EXPECT_FALSE(other.Settings().ConfirmOnOpen);
    EXPECT_EQ(other.Settings().LastSourceFolder, "/data/");
    std::array<int32_t, 16> again{};
    other.ProfileLoadCustomColors(again);
    EXPECT_EQ(again, colors);
}

// ---- window placement ----

constexpr ScreenTwips kScreen{28800, 16200}; // 1920 x 1080 pixels at 96 DPI

std::optional<Placement> PlacementFrom(const std::string& windows) {
    TestTree t;
    WriteBytes(t.Path("tallymoor.ini"), "[windows]\r\n" + windows);
    return ReadWindowPlacement(modPProfile(t.Path("tallymoor.ini"), kHome), kScreen);
}

TEST(WindowPlacement, WinstateKeepsOnlyNormalAndMaximised) {
    // clang-format off
    const std::pair<const char*, char> cases[] = {
        {"", '0'},    {"0", '0'},   {"1", '0'},   {"2", '2'}, {"-2", '2'},
        {"2.4", '2'}, {"1.6", '2'}, {"abc", '0'}, {"3", '0'}, {"-0", '0'}};
    // clang-format on
    for (const auto& [text, state] : cases) {
        const auto p = PlacementFrom(std::string("winstate=") + text + "\r\n");
        ASSERT_TRUE(p);
        EXPECT_EQ(p->Winstate, state) << "'" << text << "'";
    }
    EXPECT_EQ(PlacementFrom("WINSTATE=2\r\n")->Winstate, '2');
}

// Whatever the rules give, the window opens whole on its screen: 1600 x 1000 at scale 2 is an
// 800 x 500 screen, its panel taking 30 at the top; 48 for the title bar, 16 for the borders.
TEST(WindowPlacement, KeptWholeOnTheScreen) {
    const QRect available(0, 30, 800, 470);
    const std::vector<QRect> screens = {{0, 0, 800, 500}};
    // clang-format off
    const std::tuple<const char*, QRect, QRect> cases[] = {
        {"fits: kept", {100, 100, 400, 300}, {100, 100, 400, 300}},
        {"default size, centred by the rules above the top", {1, -59, 798, 618}, {0, 30, 784, 422}},
        {"under the panel: moved down", {10, 0, 400, 300}, {10, 30, 400, 300}},
        {"past the right and bottom: moved back", {600, 400, 400, 300}, {384, 152, 400, 300}},
        {"on no screen: centred", {3000, 2000, 400, 300}, {200, 115, 400, 300}},
        {"larger than everything", {-500, -500, 3000, 3000}, {0, 30, 784, 422}}};
    // clang-format on
    for (const auto& [what, frame, expected] : cases) {
        EXPECT_EQ(KeepWhole(frame, available, screens, {16, 48}), expected) << what;
    }
}

TEST(WindowPlacement, StoredValuesOrTheirFallbacks) {
    struct Case {
        const char* stored;
        Placement expected;
    };
    const Placement centred{(28800 - 11970) / 2, (16200 - 9270) / 2, 11970, 9270, '0'};
    // clang-format off
    const Case cases[] = {
        {"Left=100\r\nTop=200\r\nWidth=9000\r\nHeight=7000\r\n", {100, 200, 9000, 7000, '0'}},
        {"Left=100\r\nTop=0\r\nWidth=9000\r\nHeight=7000\r\n", {100, 9270, 9000, 7000, '0'}},
        {"Left=100\r\nTop=200\r\nWidth=0\r\nHeight=7000\r\n", {100, 200, 11970, 7000, '0'}},
        {"Left=0\r\nTop=200\r\nWidth=9000\r\nHeight=7000\r\n", centred},
        {"Left=100\r\nTop=200\r\nWidth=9000\r\n", centred},
        {"Left=-5\r\nTop=200\r\nWidth=9000\r\nHeight=7000\r\n", centred},
        {"Left=100.6\r\nTop=199.5\r\nWidth=9000\r\nHeight=7000\r\n", {101, 200, 9000, 7000, '0'}},
        {"", centred}};
    // clang-format on
    for (const auto& c : cases) {
        const auto p = PlacementFrom(c.stored);
        ASSERT_TRUE(p);
        EXPECT_EQ(std::tie(p->Left, p->Top, p->Width, p->Height),
                  std::tie(c.expected.Left, c.expected.Top, c.expected.Width, c.expected.Height))
            << c.stored;
    }
    TestTree t;
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    EXPECT_FALSE(ReadWindowPlacement(profile, kScreen)) << "no settings file, no placement";
    profile.Start();
    WriteStartupPlacement(profile, '2', kScreen, 9000, 7000); // the default, centred
    EXPECT_EQ(profile.File().KeyNames("windows"),
              (std::vector<std::string>{"Winstate", "Left", "Top", "Width", "Height"}));
    for (const auto& [key, value] : {std::pair{"Winstate", "2"},
                                     {"Left", "9900"},
                                     {"Top", "4600"},
                                     {"Width", "11970"},
                                     {"Height", "9270"}}) {
        EXPECT_EQ(profile.ProfileGetString("windows", key, ""), value) << key;
    }
}

TEST(WindowPlacement, ExitRecordsNormalMaximisedAndMinimisedWindows) {
    const Placement window{300, 400, 10000, 8000, '0'};
    const Placement startup{150, 250, 11970, 9270, '0'};
    // clang-format off
    const std::pair<WindowState, Placement> cases[] = {
        {WindowState::Normal, {300, 400, 10000, 8000, '0'}},
        {WindowState::Maximised, {(28800 - 11970) / 2, (16200 - 11970) / 2, 11970, 9270, '2'}},
        {WindowState::Minimised, {150, 250, 11970, 9270, '1'}}};
    // clang-format on
    for (const auto& [state, expected] : cases) {
        const Placement p = ExitPlacement(state, window, startup, kScreen);
        EXPECT_EQ(std::tie(p.Left, p.Top, p.Width, p.Height, p.Winstate),
                  std::tie(expected.Left, expected.Top, expected.Width, expected.Height,
                           expected.Winstate));
    }
    TestTree t;
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    profile.Start();
    SaveWindowPlacement(profile, cases[2].second);
    for (const auto& [key, value] :
         {std::pair{"Left", "150"}, {"Top", "250"}, {"Width", "11970"}, {"Height", "9270"}}) {
        EXPECT_EQ(modPProfile(t.Path("tallymoor.ini"), kHome).ProfileGetString("windows", key, ""),
                  value)
            << key;
    }
    EXPECT_EQ(ReadWindowPlacement(profile, kScreen)->Winstate, '0') << "never restored minimised";
}

// ---- mask favourites ----

TEST(MaskFavorites, LoadAddChooseAndSave) {
    TestTree t;
    modPProfile profile(t.Path("tallymoor.ini"), kHome);
    profile.Start();
    MaskFavorites favorites;
    EXPECT_TRUE(favorites.ShowsPlaceholder() && !favorites.IsEnabled(0));
    favorites.Load(profile);
    EXPECT_EQ(favorites.Captions(), (std::vector<std::string>{"*.doc;", "*.mdb;", "*.ppt;",
                                                              "*.txt;", "*.log;", "*.rtf;"}));
    favorites.Clear();
    favorites.Save(profile);
    EXPECT_EQ(profile.File().KeyNames("masks").size(), 6u) << "the placeholder saves nothing";
    // After a search: "*.*" and what is there already, trimmed and lower-cased, add nothing.
    for (const char* mask :
         {"*.*", " *.*; ", "  *.txt; ", " *.TXT; ", "*.log", "*.c;*.h", "*.C;*.H "}) {
        favorites.Add(mask);
    }
    EXPECT_EQ(favorites.Captions(), (std::vector<std::string>{"*.log", "*.txt;", "*.c;*.h"}))
        << "the second real favourite takes entry 0";
    EXPECT_EQ(favorites.Choose(0, "*.doc;", true), "*.doc;*.log") << "appended";
    EXPECT_EQ(favorites.Choose(0, "*.doc;", false), "*.log");
    favorites.Save(profile);
    EXPECT_EQ(profile.File().KeyNames("masks"),
              (std::vector<std::string>{"mask1", "mask2", "mask3"}));
    // Loading takes every key in file order, whatever its name; an empty section changes nothing.
    WriteBytes(t.Path("tallymoor.ini"), "[masks]\r\nzeta=*.c;\r\nmask1=*.h;\r\nx=\r\n");
    favorites.Load(profile);
    EXPECT_EQ(favorites.Captions(), (std::vector<std::string>{"*.c;", "*.h;", ""}));
    WriteBytes(t.Path("tallymoor.ini"), "[masks]\r\n");
    favorites.Load(profile);
    EXPECT_EQ(favorites.Captions().size(), 3u);
}

// Windows that share the file each write back only what they changed.
TEST(MaskFavorites, WindowsClosingInTurnKeepEveryonesMasks) {
    TestTree t;
    modPProfile(t.Path("tallymoor.ini"), kHome).Start();
    std::vector<std::unique_ptr<modPProfile>> profiles;
    std::vector<MaskFavorites> windows(3);
    for (int i = 0; i < 3; ++i) {
        profiles.push_back(std::make_unique<modPProfile>(t.Path("tallymoor.ini"), kHome));
        profiles[i]->Start();
        windows[i].Load(*profiles[i]);
        windows[i].Add("*.w" + std::to_string(i) + ";");
    }
    for (int i = 0; i < 3; ++i) {
        windows[i].Save(*profiles[i]);
    }
    MaskFavorites reopened;
    reopened.Load(*profiles[0]);
    EXPECT_EQ(reopened.Captions(),
              (std::vector<std::string>{"*.doc;", "*.mdb;", "*.ppt;", "*.txt;", "*.log;", "*.rtf;",
                                        "*.w0;", "*.w1;", "*.w2;"}));
}

TEST(MaskFavorites, MergeKeepsWhatEachSideGainedAndDropsWhatEachRemoved) {
    using List = std::vector<std::string>;
    using Order = MaskFavorites::Order;
    struct Row {
        const char* what;
        List disk, base, mine;
        Order order;
        List merged;
    };
    // clang-format off
    const Row rows[] = {
        {"nobody changed anything",   {"a", "b"},      {"a", "b"}, {"a", "b"},      Order::Disk, {"a", "b"}},
        {"both gained, disk's first", {"a", "b", "d"}, {"a", "b"}, {"a", "b", "c"}, Order::Disk, {"a", "b", "d", "c"}},
        {"both gained, mine first",   {"a", "b", "d"}, {"a", "b"}, {"a", "b", "c"}, Order::Mine, {"a", "b", "c", "d"}},
        {"I removed, other gained",   {"a", "b", "d"}, {"a", "b"}, {"b"},           Order::Disk, {"b", "d"}},
        {"other removed, I gained",   {"a"},           {"a", "b"}, {"a", "b", "c"}, Order::Mine, {"a", "c"}},
        {"my arrangement kept",       {"a", "b"},      {"a", "b"}, {"b", "a"},      Order::Mine, {"b", "a"}},
        {"the same mask gained twice",{"a", "X "},     {"a"},      {"a", " x"},     Order::Disk, {"a", "X "}},
        {"a second one goes first",   {"a"},           {"a"},      {"c", "a"},      Order::Disk, {"c", "a"}},
        {"I removed them all",        {"a"},           {"a"},      {},              Order::Mine, {}},
        {"a file that had none",      {},              {},         {"c"},           Order::Disk, {"c"}},
    };
    // clang-format on
    for (const Row& row : rows) {
        EXPECT_EQ(MaskFavorites::Merge(row.disk, row.base, row.mine, row.order), row.merged)
            << row.what;
    }
}

// ---- where the file lives ----

TEST(SettingsLocation, OverrideThenBesideTheProgramThenXdg) {
    TestTree t;
    t.Folder("bin");
    EXPECT_EQ(SettingsFilePath("/x/my.ini", t.Path("bin"), "/cfg", "/home/ann"), "/x/my.ini");
    EXPECT_EQ(SettingsFilePath("", t.Path("bin"), "/cfg", "/home/ann"),
              "/cfg/tallymoor/tallymoor.ini");
    EXPECT_EQ(SettingsFilePath("", t.Path("bin"), nullptr, "/home/ann"),
              "/home/ann/.config/tallymoor/tallymoor.ini");
    EXPECT_EQ(SettingsFilePath("", t.Path("bin"), "relative", "/home/ann"),
              "/home/ann/.config/tallymoor/tallymoor.ini");
    t.File("bin/tallymoor.ini");
    EXPECT_EQ(SettingsFilePath("", t.Path("bin"), "/cfg", "/home/ann"),
              t.Path("bin/tallymoor.ini"));
}

} // namespace
