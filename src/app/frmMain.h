#pragma once

#include "analysis/Census.h"
#include "app/ResultViews.h"
#include "app/StatusLine.h"
#include "fileops/FileCommands.h"
#include "platform/EventYield.h"
#include "search/SearchSession.h"
#include "settings/MaskFavorites.h"
#include "settings/WindowPlacement.h"

#include <QMainWindow>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class CancelFlag;
class Desktop;
class Prompts;
class modPProfile;
class QAction;
class QCheckBox;
class QLabel;
class QLineEdit;
class QTreeView;
class QListWidget;
class QMenu;
class QPushButton;
class QRadioButton;
class QTabBar;
class QTimer;
class QToolButton;
class ResultListModel;
class dlgProgress;
class dlgStarDotStar;

// `frmMain`: the search request, the result views, the status line and the menus. Long work runs
// on this thread and lets the event loop run now and then; while a search runs (the busy flag)
// every command that would touch the result store is refused. The window owns what its commands
// share: the cancel flag's use, the progress dialog, the yield helper, the status line, the
// result views; the settings, prompts and desktop are handed to it.
class frmMain : public QMainWindow, private ResultViews::Observer {
    Q_OBJECT
public:
    frmMain(modPProfile& profile, Prompts& prompts, Desktop& desktop, CancelFlag& cancel,
            QWidget* parent = nullptr);
    ~frmMain() override;

    // ---- status line (frmMain.cpp) ----
    StatusLine& Status() { return status_; }
    // Part `part` shows a blank and `text`.
    void SetStatus(StatusPart part, const QString& text) { status_.Set(part, text); }

    // ---- search (frmMainSearch.cpp) ----
    // The search button: begins a search, or cancels the one running.
    void SearchButtonClicked();
    bool IsBusy() const { return busy_; }
    // Checks the File Mask field; on a refusal says why and returns false.
    bool ValidateMask();
    void PathBackClicked();
    // Puts a folder picked for purpose 6, 7 or 8 into the root path field.
    void SelectSearchRoot(int purpose);
    // The root path field: a folder's bytes shown as text. While the text is unchanged the
    // bytes stand (a name that is not UTF-8 survives); typed text is taken as typed, with "~"
    // for the home folder.
    void SetStartPath(const std::string& bytes);
    std::string StartPath() const;
    // Runs whenever the walk yields (tests cancel or close from here).
    void SetWalkObserver(std::function<void()> observer) { walkObserver_ = std::move(observer); }

    // ---- result views (frmMainViews.cpp) ----
    void ShowSearchResults(float elapsedSeconds);
    void TabChanged(int tab);
    void UpdateSelectedCount();
    // One view per type the census hands over (a type with a view already is skipped).
    void CreateTypeViews(const SelectedTypeArray& types);
    void NewResults();
    void CloseViews();
    // Takes a path that a command removed from the disk out of every view.
    void RemoveFromViews(std::string_view path);
    void SelectAll();
    void SelectNone();
    void InvertSelection();
    const ResultViews& Views() const { return views_; }

    // ---- compound masks and registered types (frmMainMasks.cpp) ----
    // "Registered File Types...": the File Mask built from the desktop's types.
    void ShowRegisteredTypes();
    // "Filter": a view of the type of the shown list's current item.
    void FilterOnCurrentType();
    // "Filter on Multiple Types..." (one view of all the types picked) and "Filter with
    // Multiple Views..." (one view each); unchecked, the picks become the File Mask.
    void FilterOnMultipleTypes(bool viewEach);

    // The preferences at a tab (1 to 5); the settings are read again when they close.
    void ShowPreferences(int tab);

    // ---- file-type census (frmMainViews.cpp) ----
    // Opens the census of the last search (counted once per search, then shown again).
    void ShowFileTypes();
    bool CensusReady() const { return census_ != nullptr; }
    dlgStarDotStar* CensusDialog() const { return census_.get(); }

    // ---- output (frmMainOutput.cpp) ----
    // "&Save...": the shown list, whole or its selected rows.
    void SaveResultList();
    // "Save &All...": every slot of the store but the last.
    void SaveAllResults();
    // The selected rows of the shown list, one per line (at most 1000).
    void CopySelectionToClipboard();

    // ---- shell verbs and popups (frmMainShell.cpp) ----
    void OpenSelected();
    void OpenSelectedWithNotepad();
    void OpenSelectedWithDialog();
    void ShowSelectedProperties();
    // The folder popup's first entry: the selected folder becomes the root, folders-only off.
    void SetAsNewStartPath();
    // A double-click in a result list, by DblClickAction or, with Shift, DblClickShiftAction.
    void DoubleClicked(bool shiftHeld);
    QMenu* ListPopup() const { return mnuListPop_; }
    QMenu* FolderPopup() const { return mnuFolderPopup_; }
    // The popup a right-click (or Shift+F10, or the Menu key) on the shown list opens.
    QMenu* PopupForShownList() const;
    // The shown list lists folders (the first view of a folders-only search).
    bool FolderView() const;

    // ---- file commands (frmMainCommands.cpp) ----
    // Starts a copy, move or delete once the menu or key that asked for it is done.
    void RequestCommand(PendingAction action);
    // Faults put into the copies (tests only).
    void SetCopyFaultsForTesting(const CopyFaults* faults) { copyFaults_ = faults; }
    // The timer's event: runs the waiting command, then rescans or advises a rescan.
    void Timer1Fired();

    // ---- masks menu (frmMain.cpp) ----
    void ChooseMaskFavorite(size_t index);
    void ChooseStarDotStar();

    SearchSession& Session() { return session_; }
    MaskFavorites& Favorites() { return favorites_; }
    EventYield& Yield() { return yield_; }
    // The placement the window was given at start-up (kept for a minimised exit).
    void SetStartupPlacement(const Placement& placement) { startupPlacement_ = placement; }

signals:
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    class StatusListener;

    void BuildControls();
    void BuildStatusBar();
    void BuildMenus();
    void RebuildMasksMenu();
    // The result lists as a list of paths or a report with columns, as LVDefaultView says.
    void ApplyListView();
    void OptionClicked(int index);
    void SetBusy(bool busy);
    void ShowPlaceholder(const QString& word);
    void ShowList(QTreeView* list);
    // The tabs and lists after the views changed: captions, the rows each list shows, the label.
    void SyncViews();
    void UnloadCensus();
    QTreeView* VisibleList() const;
    ResultListModel* ModelOf(QTreeView* list) const;
    // The selected rows of a list, in list order (result rows only).
    std::vector<int> SelectedRows(QTreeView* list) const;
    // The rows' paths as bytes, all or the selected ones, in list order.
    std::vector<std::string> RowPaths(QTreeView* list, bool selectedOnly) const;
    std::vector<std::string> SelectedPaths() const;
    void UpdateCommandStates();
    void BuildPopups();
    void ShowPopup(QTreeView* list, const QPoint& at);
    bool eventFilter(QObject* watched, QEvent* event) override;
    Placement CurrentPlacementTwips() const;
    CommandContext Context();
    void CommandEnded();
    void ShowNotProcessed(PendingAction command, const std::vector<SkippedItem>& items);
    std::vector<SelectedItem> SelectedItems() const;
    bool DeleteSelectedFilesCommand();
    bool DeleteFolderCommand();
    bool CopySelectedFilesCommand();
    // Copying a folder or its contents, or moving it.
    bool FolderCommand(PendingAction command);
    // The destination of a copy or move, after its question; nothing when the command ends.
    std::optional<std::string> PrepareCopyCommand(PendingAction command,
                                                  const std::vector<std::string>& selected,
                                                  CommandContext& context);

    void RowRemoving(int tab, int row) override;
    void RowRemoved(int tab) override;

    modPProfile& profile_;
    Prompts& prompts_;
    Desktop& desktop_;
    CancelFlag& cancel_;
    EventYield yield_;
    SearchSession session_;
    ResultViews views_;
    StatusLine status_;
    MaskFavorites favorites_;
    Placement startupPlacement_;
    std::function<void()> walkObserver_;
    std::string startPathBytes_;
    QString startPathShown_;
    bool busy_ = false;
    bool searching_ = false;
    bool commandRunning_ = false; // the search button is the command's Cancel
    PendingAction pendingAction_ = PendingAction::None;
    QTimer* Timer1;
    bool folderResults_ = false;

    QLineEdit* txtStartPath;
    QToolButton* cmdPathBack;
    QLineEdit* txtObjMask;
    std::array<QCheckBox*, 3> chkOpts;
    std::array<QRadioButton*, 2> optListTypes;
    QPushButton* cmdSearch;
    QPushButton* cmdFileTypes = nullptr;
    QTabBar* tsResults;
    QTreeView* List1;
    QTreeView* List2;
    QListWidget* lstDummy;
    QLabel* lblResultType;
    QLabel* lblSelCount;
    std::array<QLabel*, StatusLine::kParts> statusParts_{};
    ResultListModel* model1_;
    ResultListModel* model2_;
    std::unique_ptr<dlgStarDotStar> census_;
    dlgProgress* progress_; // the window's own, transient for it

    QMenu* masksMenu_;
    QAction* appendMaskAction_;
    std::vector<QAction*> storeActions_; // refused while a search runs
    std::vector<QAction*> filterActions_; // need a list of files
    QAction* newAction_ = nullptr;
    QAction* saveAction_ = nullptr;
    QAction* saveAllAction_ = nullptr;
    std::vector<QAction*> verbActions_; // need results (the verbs and the file commands)
    QAction* moveFolderAction_ = nullptr;
    QAction* registeredTypesAction_ = nullptr;
    QAction* editFavoritesAction_ = nullptr;
    const CopyFaults* copyFaults_ = nullptr;
    QMenu* mnuListPop_ = nullptr;
    QMenu* mnuFolderPopup_ = nullptr;
    bool shiftAtPress_ = false;
};
