#pragma once

#include <array>
#include <cstdint>
#include <string>

// What a double-click on a result does (DblClickAction, DblClickShiftAction); the numbers are
// those of the settings file, where any other number does nothing.
enum class DoubleClickAction { Open = 0, Properties = 1, SelectAll = 2 };

// How the result lists show results (LVDefaultView).
enum class ListViewStyle { Paths = 0, Report = 1 };

// `AppSettings`: every value of the settings file the program works with, filled at start-up.
// Paths are bytes, as the file system takes them.
struct AppSettings {
    // [paths]
    std::string LastSourceFolder;
    std::string LastSourceNetFolder;
    std::string LastSourceNetAdminFolder;
    std::string LastCopyFileTarget;
    std::string LastCopyFolderTarget;
    std::string LastMoveFileTarget;
    std::string LastMoveFolderTarget;
    std::string LastOutputSaveDirectory;
    int32_t LastCfmBrowseID = 0;

    // [options]
    std::string LastFileMask = "*.*";
    bool ConfirmOnOpen = true;
    bool ConfirmOnCopy = true;
    bool ConfirmOnMove = true;
    bool ConfirmOnFolderDelete = true;
    bool ConfirmOnFileDelete = true;
    bool ConfirmOnEachFileDelete = true;
    bool AskToOpenWith = true;
    bool AutoRescanAfterAction = false;
    bool AutoRescanUseMaximum = false;
    bool AutoSDSOnNewSelection = true; // stands until the settings are loaded
    bool AlwaysShowCountWhenSDS = false;
    bool RetainTopIndex = false;
    bool OpenFoldersWithExplore = false;
    bool LVUseGridLines = false;
    bool LVUseCustomSortColor = false;
    bool QSSortResultsOnSave = false;
    bool WatchForChanges = true; // the searched folders watched for changes
    int32_t AutoRescanMaximum = 0;
    int32_t DblClickAction = 0;
    int32_t DblClickShiftAction = 1;
    int32_t LVCustomSortColor = 15987699;
    int32_t LVDefaultView = 0;
    int32_t PBScrollStyle = 0;

    // [windows]: the main window's placement in twips, and its state "0" normal or "2" maximised
    int32_t Left = 0;
    int32_t Top = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    char Winstate = '0';

    // Built-in fallbacks
    static constexpr int32_t kDefaultWidth = 11970;
    static constexpr int32_t kDefaultHeight = 9270;
    static constexpr int32_t kDefaultSortColor = 15987699; // 0xF3F3F3

    // [custom]: the colour picker's 16 custom colours, as 0x00BBGGRR references
    std::array<int32_t, 16> CustomColors{};
};
