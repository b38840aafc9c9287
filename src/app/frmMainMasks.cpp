// The Masks menu's dialogs: the desktop's registered types, and views (or a new File Mask) made
// of the types the last search found.

#include "analysis/Census.h"
#include "analysis/CompoundMask.h"
#include "analysis/dlgRegFiles.h"
#include "analysis/dlgViewMasks.h"
#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "platform/Prompts.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"
#include "settings/dlgPreferences.h"
#include "settings/modPProfile.h"

#include <QLineEdit>
#include <QRadioButton>
#include <QTabBar>
#include <QTreeView>

void frmMain::ShowRegisteredTypes() {
    if (busy_) {
        return;
    }
    dlgRegFiles dialog(profile_, prompts_, this);
    dialog.PrefillList();
    dialog.SetCurrentObjectMask(txtObjMask->text());
    // Nothing picked leaves the field as it was.
    if (prompts_.ShowModal(&dialog) == QDialog::Accepted && !dialog.CurrentObjectMask().isEmpty()) {
        txtObjMask->setText(dialog.CurrentObjectMask());
    }
}

void frmMain::ShowPreferences(int tab) {
    if (busy_) {
        return;
    }
    dlgPreferences dialog(
        profile_, prompts_,
        [this] {
            favorites_.Clear();
            favorites_.Load(profile_);
            RebuildMasksMenu();
        },
        this);
    dialog.SetFavorites(favorites_.ShowsPlaceholder() ? std::vector<std::string>()
                                                      : favorites_.Captions());
    dialog.SetStartupTab(tab);
    prompts_.ShowModal(&dialog);
    profile_.ProfileLoadSettings();
    ApplyListView();
}

void frmMain::FilterOnCurrentType() {
    if (busy_ || !session_.ResultsAvailable() || FolderView()) {
        return;
    }
    QTreeView* list = VisibleList();
    const QModelIndex current = list->currentIndex();
    if (!current.isValid() || ModelOf(list)->ItemIndexAt(current.row()) < 0) {
        return;
    }
    // The type as the census has it: ".bashrc" for ".bashrc", "." for a name without one.
    const std::string_view stored =
        session_.Store()[ModelOf(list)->ItemIndexAt(current.row())].Extension();
    const bool typeless = stored.empty() || stored == ".";
    if (typeless) {
        MarkTypeless(session_.Store());
    }
    CreateTypeViews({{0, typeless ? std::string(".") : std::string(stored)}});
}

void frmMain::FilterOnMultipleTypes(bool viewEach) {
    if (busy_ || !session_.ResultsAvailable() || FolderView()) {
        return;
    }
    dlgViewMasks dialog(this);
    dialog.SetupMaskArray(OfferedExtensions(session_.Store()));
    dialog.SetCurrentObjectMask({});
    dialog.SetupControls(tsResults->tabText(0));
    if (prompts_.ShowModal(&dialog) != QDialog::Accepted) {
        return;
    }
    const std::vector<std::string> picked = dialog.GetSelectedItemArray();
    if (!dialog.CommandFilter()) {
        txtObjMask->setText(dialog.Mask());
        optListTypes[0]->setChecked(true);
        return;
    }
    if (viewEach) {
        SelectedTypeArray types;
        for (const std::string& extension : picked) {
            types.push_back({0, extension});
        }
        CreateTypeViews(types);
        return;
    }
    const QString mask = DisplayPath(CompoundMaskText(picked));
    int tab = views_.FindViewByTag(mask);
    if (tab < 0) {
        tab = views_.AddMaskView(
            mask, RecordsOfExtensions(session_.Store(), picked, [this] { yield_.Yield(); }));
        SyncViews();
    }
    tsResults->setCurrentIndex(tab);
    TabChanged(tab);
}
