#pragma once

#include <QCoreApplication>
#include <QKeySequence>
#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

enum class PendingAction;
class QAction;
class QMenu;
class QMenuBar;
class QPoint;
class MenuCommands;
class QWidget;
struct WindowContext;

// The menu bar and the result lists' popups, built from tables, and when each entry may be used.
class MainMenus {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // Actions and popups belong to `owner`; entries start `commands`.
    MainMenus(QWidget& owner, MenuCommands& commands, WindowContext& shared)
        : owner_(owner), commands_(commands), shared_(shared) {}

    void Build(QMenuBar* bar);
    // The Masks menu anew: its fixed entries, "*.*" and the favourites as they are now.
    void RebuildMasksMenu();
    // Each entry enabled as the store, the results and the shown list allow.
    void UpdateStates();
    void SetBusy(bool busy);
    // The popup for the shown list at `global`. It does not wait: the user acts on it or it
    // closes.
    void ShowPopup(const QPoint& global);
    QMenu* ListPopup() const { return listPopup_; }
    QMenu* FolderPopup() const { return folderPopup_; }
    QMenu* PopupForShownList() const;

private:
    // What an entry needs to be enabled.
    enum class Needs {
        Nothing,
        NotBusy,
        Store,        // a store, even an empty search's
        SomethingNew, // a store or views to clear
        Results,
        FileList, // results shown as a list of files
        Folders,  // results of a folders-only search
        Never,
    };
    // An entry: its object name, its caption (none for a separator), what it runs, what it
    // needs, its key; a hidden entry is kept but not shown.
    struct Entry {
        const char* name;
        const char* text;
        std::function<void()> run = {};
        Needs needs = Needs::Nothing;
        QKeySequence key = {};
        bool hidden = false;
    };
    QAction* Make(const Entry& entry);
    void Add(QMenu* menu, std::initializer_list<Entry> entries);
    void AddFileMenu(QMenuBar* bar);
    void AddEditAndSelectMenus(QMenuBar* bar);
    void AddMasksAndHelpMenus(QMenuBar* bar);
    QMenu* NewPopup(const char* name);
    std::function<void()> Request(PendingAction action);
    void BuildListPopup();
    void BuildFolderPopup();
    bool Allows(Needs needs) const;

    QWidget& owner_;
    MenuCommands& commands_;
    WindowContext& shared_;
    std::vector<std::pair<QAction*, Needs>> states_;
    QMenu* masksMenu_ = nullptr;
    std::vector<QAction*> masksFixed_; // kept across the Masks menu's rebuilds
    QAction* appendMaskAction_ = nullptr;
    QMenu* listPopup_ = nullptr;
    QMenu* folderPopup_ = nullptr;
};
