#pragma once

#include "analysis/ResultViews.h"
#include "fileops/FileCommands.h"

#include <QCoreApplication>
#include <QString>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class QEvent;
class QLabel;
class QLayout;
class QListWidget;
class QObject;
class QTreeView;
class QWidget;
class ResultListModel;
class QWidget;
class QPoint;
enum class PendingAction;
struct WindowContext;

// The result views and what shows them: the tabs, the two lists (the first view, and whichever
// other view is chosen), the placeholder shown while a list loads, the labels, the selection.
class ResultPane : private ResultViews::Observer {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // What the lists ask of the window: a command on the selection (the Delete key), the popup
    // at a point, a double click (with Shift as it was when the mouse went down), and the menus
    // brought up to date when the list shown changes.
    struct Hooks {
        std::function<void(PendingAction)> request;
        std::function<void(const QPoint& global)> popup;
        std::function<void(bool shift)> doubleClicked;
        std::function<void()> shownListChanged;
    };
    // The lists' models and connections belong to `owner`.
    ResultPane(QWidget& owner, WindowContext& shared, Hooks hooks);

    // The tabs, the labels and the lists, on `parent`.
    QLayout* Build(QWidget* parent);
    // The lists let go of the store before the store goes.
    void ClearLists();

    ResultViews& Views() { return views_; }
    const ResultViews& Views() const { return views_; }
    // The result lists as a list of paths or a report with columns, as LVDefaultView says.
    void ApplyListView();
    // The tabs and lists after the views changed: captions, the rows each list shows, the label.
    void SyncViews();
    void TabChanged(int tab);
    // Shows view `tab` (or, below 0, the one shown) as a click on its tab would.
    void ShowTab(int tab);
    QString TabText(int tab) const;
    void SetTabText(int tab, const QString& text);
    void SetResultType(const QString& text);
    // `word` in place of the lists ("searching...", "loading...").
    void ShowPlaceholder(const QString& word);
    void ResetPlaceholder();
    void ShowFirstList();
    // The two lines shown instead of results too many to list.
    void ShowTooManyToList();
    void UpdateSelectedCount();

    // The results are folders (a folders-only search): every view of them lists folders, and
    // the commands on them are the folder commands.
    void SetFolderResults(bool folders) { folderResults_ = folders; }
    bool FolderResults() const { return folderResults_; }
    QTreeView* VisibleList() const;
    int VisibleRowCount() const;
    // The shown list's current row's record, or -1.
    int32_t CurrentItem() const;
    // Where the user was in the shown list: the current row, the path it showed, the root
    // searched.
    struct Place {
        std::string path;
        int row = -1;
        std::string root;
    };
    Place CurrentPlace() const;
    // The first list's current row back at `place`'s path, or, in a search of the same root
    // (a rescan after a delete), at its row when the path is gone; nothing is selected.
    void ReturnTo(const Place& place);
    // The rows' paths as bytes, all or the selected ones, in list order.
    std::vector<std::string> RowPaths(bool selectedOnly) const;
    std::vector<std::string> SelectedPaths() const { return RowPaths(true); }
    int SelectedCount() const;
    std::vector<SelectedItem> SelectedItems() const;
    // Takes a path that a command removed from the disk out of every view.
    void RemoveFromViews(std::string_view path, const QString& mask);

    // "C&lose Views": every view but the first.
    void CloseViews();
    void SelectAll();
    void SelectNone();
    void InvertSelection();
    void SetBusy(bool busy);
    // Keys and the mouse on a list: Delete, the popup, and Shift as it was at the press.
    bool ListEvent(QObject* watched, QEvent* event);

private:
    void SetUpList(QTreeView* list, ResultListModel* model, const char* name);
    void ShowList(QTreeView* list);
    void ShowInListsPlace(QWidget* shown);
    ResultListModel* ModelOf(QTreeView* list) const;
    // The selected rows of a list, in list order (result rows only).
    std::vector<int> SelectedRows(QTreeView* list) const;
    void RowRemoving(int tab, int row) override;
    void RowRemoved(int tab) override;

    QWidget& owner_;
    Hooks hooks_;
    WindowContext& shared_;
    ResultViews views_;
    bool folderResults_ = false;
    bool shiftAtPress_ = false;
    class QTabBar* tsResults = nullptr;
    QTreeView* List1 = nullptr;
    QTreeView* List2 = nullptr;
    QListWidget* lstDummy = nullptr;
    QLabel* lblResultType = nullptr;
    QLabel* lblSelCount = nullptr;
    ResultListModel* model1_ = nullptr;
    ResultListModel* model2_ = nullptr;
};
