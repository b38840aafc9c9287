#include "app/window/MainMenus.h"

#include "app/ProjectLinks.h"
#include "app/window/MenuCommands.h"
#include "app/window/WindowContext.h"
#include "fileops/FileCommands.h"
#include "settings/dlgPreferences.h"
#include "settings/modBrowse.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <algorithm>

using modBrowse::PickPurpose;

QAction* MainMenus::Make(const Entry& entry) {
    auto* action = new QAction(&owner_);
    if (entry.text == nullptr) {
        action->setSeparator(true);
    } else {
        action->setText(tr(entry.text));
    }
    if (entry.name != nullptr) {
        action->setObjectName(QString::fromLatin1(entry.name));
    }
    if (entry.run) {
        QObject::connect(action, &QAction::triggered, &owner_, entry.run);
    }
    action->setShortcut(entry.key);
    action->setVisible(!entry.hidden);
    if (entry.needs != Needs::Nothing) {
        states_.emplace_back(action, entry.needs);
    }
    return action;
}

void MainMenus::Add(QMenu* menu, std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) {
        menu->addAction(Make(entry));
    }
}

void MainMenus::Build(QMenuBar* bar) {
    AddFileMenu(bar);
    AddEditAndSelectMenus(bar);
    AddMasksAndHelpMenus(bar);
    BuildListPopup();
    BuildFolderPopup();
    UpdateStates();
}

void MainMenus::AddFileMenu(QMenuBar* bar) {
    MenuCommands& run = commands_;
    const auto copy = [&run] {
        run.Request(run.FolderResults() ? PendingAction::CopyFolder : PendingAction::CopyFiles);
    };
    const auto remove = [&run] {
        run.Request(run.FolderResults() ? PendingAction::DeleteFolder : PendingAction::DeleteFiles);
    };
    // Moving files is offered nowhere; the entry is kept, hidden.
    Add(bar->addMenu(tr("&File")),
        {{"mnuFile_0", QT_TR_NOOP("&New"), [&run] { run.NewResults(); }, Needs::SomethingNew},
         {"mnuFile_1", QT_TR_NOOP("C&lose Views"), [&run] { run.CloseViews(); }, Needs::NotBusy},
         {"mnuFile_2", nullptr},
         {"mnuFile_3", QT_TR_NOOP("&Open with Associated App"), [&run] { run.OpenSelected(); },
          Needs::Results},
         {"mnuFile_4", QT_TR_NOOP("O&pen with Notepad"), [&run] { run.OpenSelectedWithNotepad(); },
          Needs::Results},
         {"mnuFile_5", QT_TR_NOOP("Open &with..."), [&run] { run.OpenSelectedWithDialog(); },
          Needs::Results},
         {"mnuFile_6", nullptr},
         {"mnuFile_7", QT_TR_NOOP("&Save..."), [&run] { run.SaveResultList(); }, Needs::Results,
          QKeySequence::Save},
         {"mnuFile_8", QT_TR_NOOP("Save &All..."), [&run] { run.SaveAllResults(); }, Needs::Store},
         {"mnuFile_9", nullptr},
         {"mnuFile_10", QT_TR_NOOP("&Copy..."), copy, Needs::Results},
         {"mnuFile_11", QT_TR_NOOP("&Move..."), {}, Needs::Never, {}, true},
         {"mnuFile_12", QT_TR_NOOP("&Delete"), remove, Needs::Results},
         {"mnuFile_13", nullptr},
         {"mnuFile_14", QT_TR_NOOP("P&roperties"), [&run] { run.ShowSelectedProperties(); },
          Needs::Results},
         {"mnuFile_15", nullptr},
         {"mnuFile_16", QT_TR_NOOP("E&xit"), [&run] { run.Exit(); }}});
}

void MainMenus::AddEditAndSelectMenus(QMenuBar* bar) {
    MenuCommands& run = commands_;
    Add(bar->addMenu(tr("&Edit")),
        {{"mnuEdit_0", QT_TR_NOOP("Select &All"), [&run] { run.SelectAll(); }, Needs::NotBusy,
          QKeySequence::SelectAll},
         {"mnuEdit_1", QT_TR_NOOP("Select &None"), [&run] { run.SelectNone(); }, Needs::NotBusy},
         {"mnuEdit_2", QT_TR_NOOP("&Invert Selection"), [&run] { run.InvertSelection(); },
          Needs::NotBusy},
         {"mnuEdit_3", nullptr},
         {"mnuEditCopy", QT_TR_NOOP("&Copy to Clipboard"),
          [&run] { run.CopySelectionToClipboard(); }, Needs::NotBusy, QKeySequence::Copy},
         {"mnuEdit_5", nullptr},
         {"mnuEditPreferences", QT_TR_NOOP("&Preferences..."),
          [&run] { run.ShowPreferences(PreferencesTab::General); }, Needs::NotBusy}});
    Add(bar->addMenu(tr("&Select")),
        {{"mnuSelect_0", QT_TR_NOOP("&Local Path"),
          [&run] { run.SelectSearchRoot(PickPurpose::SearchRoot); }, Needs::NotBusy},
         {"mnuSelect_1", QT_TR_NOOP("Network &Share"),
          [&run] { run.SelectSearchRoot(PickPurpose::NetworkShare); }, Needs::NotBusy},
         {"mnuSelect_2", QT_TR_NOOP("Network &Administrative Shares"),
          [&run] { run.SelectSearchRoot(PickPurpose::AdministrativeShare); }, Needs::NotBusy}});
}

void MainMenus::AddMasksAndHelpMenus(QMenuBar* bar) {
    masksMenu_ = bar->addMenu(tr("&Masks"));
    masksMenu_->setObjectName("zmnuMasks");
    MenuCommands& run = commands_;
    masksFixed_ = {Make({"mnuMasks_0", QT_TR_NOOP("Registered File Types..."),
                         [&run] { run.ShowRegisteredTypes(); }, Needs::NotBusy}),
                   Make({"mnuMasks_1", nullptr}),
                   Make({"mnuMasks_2", QT_TR_NOOP("Filter"), [&run] { run.FilterOnCurrentType(); },
                         Needs::FileList}),
                   Make({"mnuMasks_3", QT_TR_NOOP("Filter on Multiple Types..."),
                         [&run] { run.FilterOnMultipleTypes(false); }, Needs::FileList}),
                   Make({"mnuMasks_4", QT_TR_NOOP("Filter with Multiple Views..."),
                         [&run] { run.FilterOnMultipleTypes(true); }, Needs::FileList}),
                   Make({"mnuMasks_5", nullptr}),
                   Make({"mnuMasks_6", QT_TR_NOOP("Edit Favorite Masks List..."),
                         [&run] { run.ShowPreferences(PreferencesTab::Masks); }, Needs::NotBusy}),
                   Make({"mnuMasks_7", nullptr}),
                   appendMaskAction_ =
                       Make({"mnuMasks_8", QT_TR_NOOP("Append Selection to Existing Mask")}),
                   Make({"mnuMasks_9", nullptr})};
    appendMaskAction_->setCheckable(true);
    RebuildMasksMenu();

    Add(bar->addMenu(tr("&Help")),
        {{nullptr, QT_TR_NOOP("Tallymoor on the &Web"), [&run] { run.OpenLink(kProjectPage); }},
         {nullptr, QT_TR_NOOP("&Support by E-mail..."), [&run] { run.OpenLink(kSupportAddress); }},
         {nullptr, nullptr},
         {nullptr, QT_TR_NOOP("&About Tallymoor..."), [&run] { run.ShowAbout(); }}});
}

QMenu* MainMenus::NewPopup(const char* name) {
    auto* popup = new QMenu(&owner_);
    popup->setObjectName(name);
    return popup;
}

// A file command, started once the menu has closed.
std::function<void()> MainMenus::Request(PendingAction action) {
    return [this, action] { commands_.Request(action); };
}

// Captions and object names as in the program's menus.
void MainMenus::BuildListPopup() {
    listPopup_ = NewPopup("zmnuListPopup");
    MenuCommands& run = commands_;
    Add(listPopup_, {{"mnuListPop_0", QT_TR_NOOP("Copy..."), Request(PendingAction::CopyFiles)},
                     {"mnuListPop_1", QT_TR_NOOP("Move..."), {}, Needs::Never, {}, true},
                     {"mnuListPop_2", QT_TR_NOOP("Delete"), Request(PendingAction::DeleteFiles)},
                     {"mnuListPop_3", nullptr}});
    QMenu* sendTo = listPopup_->addMenu(tr("Send To"));
    sendTo->menuAction()->setObjectName("mnuListPop_4");
    Add(sendTo, {{"mnuListSendTo_0", QT_TR_NOOP("New Tab"), {}, Needs::Nothing, {}, true},
                 {"mnuListSendTo_1", nullptr, {}, Needs::Nothing, {}, true},
                 {"mnuListSendTo_2", QT_TR_NOOP("File..."), [&run] { run.SaveResultList(); }},
                 {"mnuListSendTo_3", QT_TR_NOOP("Clipboard as Name"),
                  [&run] { run.CopySelectionToClipboard(); }}});
    Add(listPopup_,
        {{"mnuListPop_5", QT_TR_NOOP("Filter"), [&run] { run.FilterOnCurrentType(); }},
         {"mnuListPop_6", QT_TR_NOOP("Filter on Multiple Types..."),
          [&run] { run.FilterOnMultipleTypes(false); }},
         {"mnuListPop_7", QT_TR_NOOP("Filter with Multiple Views..."),
          [&run] { run.FilterOnMultipleTypes(true); }},
         {"mnuListPop_8", nullptr},
         {"mnuListPop_9", QT_TR_NOOP("Open with Associated App"), [&run] { run.OpenSelected(); }},
         {"mnuListPop_10", QT_TR_NOOP("Open with Notepad"),
          [&run] { run.OpenSelectedWithNotepad(); }},
         {"mnuListPop_11", QT_TR_NOOP("Open With..."), [&run] { run.OpenSelectedWithDialog(); }},
         {"mnuListPop_12", nullptr},
         {"mnuListPop_13", QT_TR_NOOP("Select All"), [&run] { run.SelectAll(); }},
         {"mnuListPop_14", QT_TR_NOOP("Select None"), [&run] { run.SelectNone(); }},
         {"mnuListPop_15", QT_TR_NOOP("Invert Selection"), [&run] { run.InvertSelection(); }},
         {"mnuListPop_16", nullptr, {}, Needs::Nothing, {}, true},
         {"mnuListPop_17", QT_TR_NOOP("Properties"), [&run] { run.ShowSelectedProperties(); }}});
}

void MainMenus::BuildFolderPopup() {
    folderPopup_ = NewPopup("zmnuFolderPopup");
    MenuCommands& run = commands_;
    Add(folderPopup_,
        {{"mnuFolderPopup_0", QT_TR_NOOP("Set as New Start Path"),
          [&run] { run.SetAsNewStartPath(); }},
         {"mnuFolderPopup_1", nullptr},
         {"mnuFolderPopup_2", QT_TR_NOOP("Copy Folder..."), Request(PendingAction::CopyFolder)},
         {"mnuFolderPopup_3", QT_TR_NOOP("Copy Folder Contents..."),
          Request(PendingAction::CopyFolderContents)},
         {"mnuFolderPopup_4", QT_TR_NOOP("Move Folder..."), Request(PendingAction::MoveFolder),
          Needs::Folders},
         {"mnuFolderPopup_5", QT_TR_NOOP("Delete Folder"), Request(PendingAction::DeleteFolder)},
         {"mnuFolderPopup_6", nullptr}});
    QMenu* sendTo = folderPopup_->addMenu(tr("Send To"));
    sendTo->menuAction()->setObjectName("mnuFolderPopup_7");
    Add(sendTo, {{"mnuFolderSendTo_0", QT_TR_NOOP("File..."), [&run] { run.SaveResultList(); }},
                 {"mnuFolderSendTo_1", QT_TR_NOOP("Clipboard as Name"),
                  [&run] { run.CopySelectionToClipboard(); }}});
    Add(folderPopup_,
        {{"mnuFolderPopup_8", QT_TR_NOOP("Explore"), [&run] { run.OpenSelected(); }},
         {"mnuFolderPopup_9", nullptr},
         {"mnuFolderPopup_10", QT_TR_NOOP("Select All"), [&run] { run.SelectAll(); }},
         {"mnuFolderPopup_11", QT_TR_NOOP("Select None"), [&run] { run.SelectNone(); }},
         {"mnuFolderPopup_12", QT_TR_NOOP("Invert Selection"), [&run] { run.InvertSelection(); }},
         {"mnuFolderPopup_13", nullptr},
         {"mnuFolderPopup_14", QT_TR_NOOP("Properties"),
          [&run] { run.ShowSelectedProperties(); }}});
}

void MainMenus::RebuildMasksMenu() {
    masksMenu_->clear();
    for (QAction* fixed : masksFixed_) {
        masksMenu_->addAction(fixed);
    }
    QAction* all = masksMenu_->addAction(QStringLiteral("*.*"), &owner_,
                                         [this] { commands_.ChooseStarDotStar(); });
    all->setObjectName("mnuMasks_10");
    const MaskFavorites& favorites = shared_.favorites;
    const auto& captions = favorites.Captions();
    for (size_t i = 0; i < captions.size(); ++i) {
        QAction* entry =
            masksMenu_->addAction(QString::fromStdString(captions[i]), &owner_, [this, i] {
                commands_.ChooseMaskFavorite(i, appendMaskAction_->isChecked());
            });
        entry->setObjectName(QStringLiteral("mnuMaskFavs_%1").arg(i));
        entry->setEnabled(favorites.IsEnabled(i) && !shared_.busy);
    }
}

bool MainMenus::Allows(Needs needs) const {
    const bool results = !shared_.busy && shared_.session.ResultsAvailable();
    const bool store = !shared_.busy && shared_.session.Store().UBound() >= 0;
    switch (needs) {
    case Needs::Nothing:
        return true;
    case Needs::NotBusy:
        return !shared_.busy;
    case Needs::Store:
        return store;
    case Needs::SomethingNew:
        return store || (!shared_.busy && commands_.ViewCount() > 1);
    case Needs::Results:
        return results;
    case Needs::FileList:
        return results && !commands_.FolderResults();
    case Needs::Folders:
        return results && commands_.FolderResults();
    case Needs::Never:
        break;
    }
    return false;
}

// Save and the census need results; Save All only a store (even an empty search's); New
// whatever there is to clear.
void MainMenus::UpdateStates() {
    for (const auto& [action, needs] : states_) {
        action->setEnabled(Allows(needs));
    }
    commands_.EnableCensus(Allows(Needs::Results));
}

void MainMenus::SetBusy(bool busy) {
    UpdateStates();
    if (!busy) {
        RebuildMasksMenu();
        return;
    }
    // "*.*" and the favourites wait too.
    for (QAction* action : masksMenu_->actions()) {
        if (std::find(masksFixed_.begin(), masksFixed_.end(), action) == masksFixed_.end()) {
            action->setEnabled(false);
        }
    }
}

void MainMenus::ShowPopup(const QPoint& global) {
    if (!shared_.busy && shared_.session.ResultsAvailable()) {
        PopupForShownList()->popup(global);
    }
}

QMenu* MainMenus::PopupForShownList() const {
    return commands_.FolderResults() ? folderPopup_ : listPopup_;
}
