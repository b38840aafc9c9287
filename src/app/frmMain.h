#pragma once

#include "analysis/Census.h"
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
class QListView;
class QListWidget;
class QMenu;
class QPushButton;
class QRadioButton;
class QTabBar;
class QToolButton;
class ResultListModel;
class dlgProgress;
class dlgStarDotStar;

// `frmMain`: the search request, the result views, the status line and the menus. Long work runs
// on this thread and lets the event loop run now and then; while a search runs (the busy flag)
// every command that would touch the result store is refused.
class frmMain : public QMainWindow {
    Q_OBJECT
public:
    frmMain(modPProfile& profile, Prompts& prompts, Desktop& desktop, CancelFlag& cancel,
            QWidget* parent = nullptr);
    ~frmMain() override;

    // ---- status line (frmMain.cpp) ----
    // Part `part` shows a blank and `text`; nothing once the status line is gone.
    void SetStatus(int part, const QString& text);
    // "save", "save&clear", "restore" or "clear"; anything else does nothing.
    void StatusState(const QString& mode);
    QString StatusText(int part) const;

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
    // The first tab whose tag, trimmed, equals `text` trimmed; -1 when none.
    int FindViewByTag(const QString& text) const;
    void SetViewCaption(int tab, const QString& mask, int count);
    // Fills List2 with the records of one extension, in store order; returns the row count.
    int FillTypeList(const std::string& extension, int32_t expectedCount);
    void CreateTypeViews(const SelectedTypeArray& types);
    void NewResults();
    void CloseViews();
    void RemoveFromViews(std::string_view path);
    void SelectAll();
    void SelectNone();
    void InvertSelection();
    QString ViewCaption(int tab) const;
    QString ViewTag(int tab) const;
    int ViewCount() const;

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
    // The popup a right-click on the shown list opens: folders or files.
    QMenu* PopupForShownList() const;

    // ---- masks menu (frmMain.cpp) ----
    void ChooseMaskFavorite(size_t index);
    void ChooseStarDotStar();

    SearchSession& Session() { return session_; }
    MaskFavorites& Favorites() { return favorites_; }
    // The placement the window was given at start-up (kept for a minimised exit).
    void SetStartupPlacement(const Placement& placement) { startupPlacement_ = placement; }

signals:
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct ResultView {
        QString caption;
        QString tag;
        std::vector<int32_t> items; // the rows of a view beyond the first
    };
    class StatusListener;

    void BuildControls();
    void BuildMenus();
    void RebuildMasksMenu();
    void OptionClicked(int index);
    void SetBusy(bool busy);
    void ShowPlaceholder(const QString& word);
    void ShowList(QListView* list);
    void RemoveViewsButFirst();
    void UnloadCensus();
    QListView* VisibleList() const;
    // The rows' texts as bytes (paths as the file system gave them), all or the selected ones,
    // in list order.
    std::vector<std::string> RowTexts(QListView* list, bool selectedOnly) const;
    int SelectedCount(QListView* list) const;
    void UpdateCommandStates();
    void BuildPopups();
    std::vector<std::string> SelectedPaths() const;
    bool eventFilter(QObject* watched, QEvent* event) override;
    ResultListModel* ModelOf(QListView* list) const;
    Placement CurrentPlacementTwips() const;

    modPProfile& profile_;
    Prompts& prompts_;
    Desktop& desktop_;
    CancelFlag& cancel_;
    SearchSession session_;
    MaskFavorites favorites_;
    Placement startupPlacement_;
    std::function<void()> walkObserver_;
    std::string startPathBytes_;
    QString startPathShown_;
    bool busy_ = false;
    bool searching_ = false;
    bool folderResults_ = false;
    bool statusGone_ = false;

    QLineEdit* txtStartPath;
    QToolButton* cmdPathBack;
    QLineEdit* txtObjMask;
    std::array<QCheckBox*, 3> chkOpts;
    std::array<QRadioButton*, 2> optListTypes;
    QPushButton* cmdSearch;
    QPushButton* cmdFileTypes = nullptr;
    QTabBar* tsResults;
    QListView* List1;
    QListView* List2;
    QListWidget* lstDummy;
    QLabel* lblResultType;
    QLabel* lblSelCount;
    std::array<QLabel*, 5> statusParts_;
    std::array<QString, 5> savedStatus_;
    ResultListModel* model1_;
    ResultListModel* model2_;
    std::vector<ResultView> views_;
    std::unique_ptr<dlgStarDotStar> census_;
    dlgProgress* progress_; // the window's own, transient for it

    QMenu* masksMenu_;
    QAction* appendMaskAction_;
    std::vector<QAction*> storeActions_; // refused while a search runs
    QAction* newAction_ = nullptr;
    QAction* saveAction_ = nullptr;
    QAction* saveAllAction_ = nullptr;
    std::vector<QAction*> verbActions_; // need results
    QMenu* mnuListPop_ = nullptr;
    QMenu* mnuFolderPopup_ = nullptr;
    bool shiftAtPress_ = false;
};
