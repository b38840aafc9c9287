// The shell verbs on the selected results, the result lists' popups and their double-click.

#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/modShell.h"
#include "settings/modPProfile.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QEvent>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QTabBar>
#include <QTreeView>
#include <algorithm>

void frmMain::BuildPopups() {
    // Captions and objects named as in the program's menus; the entries that copy, move, delete
    // or filter join them with those commands.
    mnuListPop_ = new QMenu(this);
    mnuListPop_->setObjectName("zmnuListPopup");
    const auto add = [this](QMenu* menu, const QString& name, const QString& text, auto handler) {
        QAction* action = menu->addAction(text, this, handler);
        action->setObjectName(name);
        return action;
    };
    const auto separator = [](QMenu* menu, const QString& name) {
        QAction* line = menu->addSeparator();
        line->setObjectName(name);
        return line;
    };
    add(mnuListPop_, "mnuListPop_0", tr("Copy..."),
        [this] { RequestCommand(PendingAction::CopyFiles); });
    QAction* moveFiles = add(mnuListPop_, "mnuListPop_1", tr("Move..."), [] {});
    moveFiles->setVisible(false);
    moveFiles->setEnabled(false);
    add(mnuListPop_, "mnuListPop_2", tr("Delete"),
        [this] { RequestCommand(PendingAction::DeleteFiles); });
    separator(mnuListPop_, "mnuListPop_3");
    QMenu* sendTo = mnuListPop_->addMenu(tr("Send To"));
    sendTo->menuAction()->setObjectName("mnuListPop_4");
    QAction* newTab = sendTo->addAction(tr("New Tab"));
    newTab->setObjectName("mnuListSendTo_0");
    newTab->setVisible(false);
    separator(sendTo, "mnuListSendTo_1")->setVisible(false);
    add(sendTo, "mnuListSendTo_2", tr("File..."), &frmMain::SaveResultList);
    add(sendTo, "mnuListSendTo_3", tr("Clipboard as Name"), &frmMain::CopySelectionToClipboard);
    add(mnuListPop_, "mnuListPop_5", tr("Filter"), &frmMain::FilterOnCurrentType);
    add(mnuListPop_, "mnuListPop_6", tr("Filter on Multiple Types..."),
        [this] { FilterOnMultipleTypes(false); });
    add(mnuListPop_, "mnuListPop_7", tr("Filter with Multiple Views..."),
        [this] { FilterOnMultipleTypes(true); });
    separator(mnuListPop_, "mnuListPop_8");
    add(mnuListPop_, "mnuListPop_9", tr("Open with Associated App"), &frmMain::OpenSelected);
    add(mnuListPop_, "mnuListPop_10", tr("Open with Notepad"), &frmMain::OpenSelectedWithNotepad);
    add(mnuListPop_, "mnuListPop_11", tr("Open With..."), &frmMain::OpenSelectedWithDialog);
    separator(mnuListPop_, "mnuListPop_12");
    add(mnuListPop_, "mnuListPop_13", tr("Select All"), &frmMain::SelectAll);
    add(mnuListPop_, "mnuListPop_14", tr("Select None"), &frmMain::SelectNone);
    add(mnuListPop_, "mnuListPop_15", tr("Invert Selection"), &frmMain::InvertSelection);
    separator(mnuListPop_, "mnuListPop_16")->setVisible(false);
    add(mnuListPop_, "mnuListPop_17", tr("Properties"), &frmMain::ShowSelectedProperties);

    mnuFolderPopup_ = new QMenu(this);
    mnuFolderPopup_->setObjectName("zmnuFolderPopup");
    add(mnuFolderPopup_, "mnuFolderPopup_0", tr("Set as New Start Path"),
        &frmMain::SetAsNewStartPath);
    separator(mnuFolderPopup_, "mnuFolderPopup_1");
    add(mnuFolderPopup_, "mnuFolderPopup_2", tr("Copy Folder..."),
        [this] { RequestCommand(PendingAction::CopyFolder); });
    add(mnuFolderPopup_, "mnuFolderPopup_3", tr("Copy Folder Contents..."),
        [this] { RequestCommand(PendingAction::CopyFolderContents); });
    // Disabled until there are folders to move.
    moveFolderAction_ = add(mnuFolderPopup_, "mnuFolderPopup_4", tr("Move Folder..."),
                            [this] { RequestCommand(PendingAction::MoveFolder); });
    moveFolderAction_->setEnabled(false);
    add(mnuFolderPopup_, "mnuFolderPopup_5", tr("Delete Folder"),
        [this] { RequestCommand(PendingAction::DeleteFolder); });
    separator(mnuFolderPopup_, "mnuFolderPopup_6");
    QMenu* folderSendTo = mnuFolderPopup_->addMenu(tr("Send To"));
    folderSendTo->menuAction()->setObjectName("mnuFolderPopup_7");
    add(folderSendTo, "mnuFolderSendTo_0", tr("File..."), &frmMain::SaveResultList);
    add(folderSendTo, "mnuFolderSendTo_1", tr("Clipboard as Name"),
        &frmMain::CopySelectionToClipboard);
    add(mnuFolderPopup_, "mnuFolderPopup_8", tr("Explore"), &frmMain::OpenSelected);
    separator(mnuFolderPopup_, "mnuFolderPopup_9");
    add(mnuFolderPopup_, "mnuFolderPopup_10", tr("Select All"), &frmMain::SelectAll);
    add(mnuFolderPopup_, "mnuFolderPopup_11", tr("Select None"), &frmMain::SelectNone);
    add(mnuFolderPopup_, "mnuFolderPopup_12", tr("Invert Selection"), &frmMain::InvertSelection);
    separator(mnuFolderPopup_, "mnuFolderPopup_13");
    add(mnuFolderPopup_, "mnuFolderPopup_14", tr("Properties"), &frmMain::ShowSelectedProperties);

    for (QTreeView* list : {List1, List2}) {
        // Context menus come through the event filter: a click, Shift+F10 or the Menu key.
        list->installEventFilter(this);
        list->viewport()->installEventFilter(this);
        connect(list, &QAbstractItemView::doubleClicked, this,
                [this] { DoubleClicked(shiftAtPress_); });
    }
}

// `at` in the list's viewport. The popup does not wait: the user acts on it or it closes.
void frmMain::ShowPopup(QTreeView* list, const QPoint& at) {
    if (!busy_ && session_.ResultsAvailable()) {
        PopupForShownList()->popup(list->viewport()->mapToGlobal(at));
    }
}

bool frmMain::FolderView() const {
    return folderResults_ && tsResults->currentIndex() == 0;
}

QMenu* frmMain::PopupForShownList() const {
    return FolderView() ? mnuFolderPopup_ : mnuListPop_;
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && qobject_cast<QAbstractButton*>(watched) != nullptr) {
        // An option box has the focus: Enter searches, as it does in the fields.
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            if (!searching_) {
                SearchButtonClicked();
            }
            return true;
        }
    }
    // Shift counts as it was when the mouse went down.
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick) {
        shiftAtPress_ = static_cast<QMouseEvent*>(event)->modifiers() & Qt::ShiftModifier;
    }
    for (QTreeView* list : {List1, List2}) {
        if (watched != list && watched != list->viewport()) {
            continue;
        }
        // From the keyboard (the Menu key, Shift+F10): at the current row, or the list's
        // corner without one.
        const QRect row = list->visualRect(list->currentIndex());
        const QPoint atRow = row.isValid() ? row.bottomLeft() : QPoint(0, 0);
        if (event->type() == QEvent::KeyPress) {
            const auto* key = static_cast<QKeyEvent*>(event);
            if (key->key() == Qt::Key_Delete && key->modifiers() == Qt::NoModifier) {
                RequestCommand(FolderView() ? PendingAction::DeleteFolder
                                            : PendingAction::DeleteFiles);
                return true;
            }
            if (key->key() == Qt::Key_Menu ||
                (key->key() == Qt::Key_F10 && key->modifiers() == Qt::ShiftModifier)) {
                ShowPopup(list, atRow);
                return true;
            }
        } else if (event->type() == QEvent::ContextMenu) {
            const auto* menu = static_cast<QContextMenuEvent*>(event);
            ShowPopup(list, menu->reason() == QContextMenuEvent::Keyboard
                                ? atRow
                                : list->viewport()->mapFromGlobal(menu->globalPos()));
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

std::vector<std::string> frmMain::SelectedPaths() const {
    return RowPaths(VisibleList(), true);
}

void frmMain::OpenSelected() {
    if (!busy_) {
        modShell::ShellOpenSelected(SelectedPaths(), folderResults_, profile_.Settings(), prompts_,
                                    desktop_);
    }
}

void frmMain::OpenSelectedWithNotepad() {
    if (!busy_) {
        modShell::ShellOpenWithNotepad(SelectedPaths(), profile_.Settings(), prompts_, desktop_);
    }
}

void frmMain::OpenSelectedWithDialog() {
    if (!busy_) {
        modShell::ShellOpenWithDialog(SelectedPaths(), profile_.Settings(), prompts_, desktop_);
    }
}

void frmMain::ShowSelectedProperties() {
    if (!busy_) {
        modShell::ShellShowProperties(SelectedPaths(), prompts_, desktop_);
    }
}

void frmMain::SetAsNewStartPath() {
    const std::vector<std::string> paths = SelectedPaths();
    if (busy_ || paths.empty()) {
        return;
    }
    SetStartPath(paths.front());
    if (chkOpts[1]->isChecked()) {
        chkOpts[1]->setChecked(false);
        OptionClicked(1);
    }
}

void frmMain::DoubleClicked(bool shiftHeld) {
    const AppSettings& s = profile_.Settings();
    switch (shiftHeld ? s.DblClickShiftAction : s.DblClickAction) {
    case 0:
        OpenSelected();
        break;
    case 1:
        ShowSelectedProperties();
        break;
    case 2:
        SelectAll();
        break;
    default:
        break;
    }
}
