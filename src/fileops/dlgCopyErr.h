#pragma once

#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"

#include <QDialog>
#include <functional>

class Desktop;
class Prompts;
class modPProfile;
class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QTableWidget;

// `dlgCopyErr`, "Files Not Processed": the items a command could not handle, each with its
// reason. Copies show five columns, other commands two. Selecting an item shows its whole path
// below the list; the list can be sorted by any column, saved, copied to the clipboard, shown as
// a report or a plain list and with grid lines (both remembered in the settings).
class dlgCopyErr : public QDialog {
    Q_OBJECT
public:
    dlgCopyErr(modPProfile& profile, Prompts& prompts, Desktop& desktop, QWidget* parent = nullptr);

    // The columns for the command that ran.
    void Create(PendingAction command);
    // One row per item, in the order given.
    void AddItems(const std::vector<SkippedItem>& items);
    // Sizes the columns to their contents and applies the view settings.
    void CreateFinalize();

    // `FileSaveListview`: every item's path, or the selected items' only.
    void FileSaveListview(bool allItems);
    // The selected items' paths under a header naming the list and the date.
    void CopyToClipboard();
    // Report view (columns) or list view (the first column alone); remembered.
    void SetReportView(bool report);
    // Grid lines on or off; remembered.
    void SetGridLines(bool on);

    QTableWidget* List() const { return ListView1; }
    // What Edit > "Preferences..." opens; the view settings are applied again afterwards.
    void SetPreferencesOpener(std::function<void()> open) { openPreferences_ = std::move(open); }
    // Closing while the list is written stops the write.
    void reject() override;

private:
    CancelFlag stop_; // raised by closing: a write that does not answer is left behind
    std::vector<std::string> Paths(bool selectedOnly) const;
    void BuildMenus(QMenu* file, QMenu* edit, QMenu* view);

    modPProfile& profile_;
    Prompts& prompts_;
    Desktop& desktop_;
    bool copyLayout_ = false;
    QLabel* Label1;
    QTableWidget* ListView1;
    QLineEdit* Text1;
    QAction* reportView_ = nullptr;
    QAction* listView_ = nullptr;
    QAction* gridLines_ = nullptr;
    QMenu* mnuErrListPopup_ = nullptr;
    std::function<void()> openPreferences_;
};
