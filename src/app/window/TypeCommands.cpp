#include "app/window/TypeCommands.h"

#include "analysis/CompoundMask.h"
#include "analysis/dlgRegFiles.h"
#include "analysis/dlgStarDotStar.h"
#include "analysis/dlgViewMasks.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchRequest.h"
#include "app/window/WindowContext.h"
#include "fileops/dlgProgress.h"
#include "platform/WindowPrompts.h"
#include "settings/modPProfile.h"
#include "text/DisplayText.h"

#include <QApplication>

TypeCommands::TypeCommands(QWidget& owner, ResultPane& results, SearchRequest& request,
                           WindowContext& shared)
    : owner_(owner), results_(results), request_(request), shared_(shared) {
}

TypeCommands::~TypeCommands() = default;

void TypeCommands::UnloadCensus() {
    census_.reset();
}

// Counts the store into a new census; false (and said) when there is no store to count.
bool TypeCommands::CountTypes() {
    if (shared_.session.Store().UBound() < 0) {
        shared_.prompts.Message(
            tr("Critical Error - the file data array is empty; this function is "
               "unavailable. Please restart the application to avoid corrupted "
               "reports."),
            MessageIcon::Critical, MessageButtons::Ok);
        return false;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // Two passes over the store, each stepped about twenty times.
    shared_.progress->Create(1, 42, false);
    census_ =
        std::make_unique<dlgStarDotStar>(shared_.session.Store(), shared_.profile, shared_.prompts,
                                         *shared_.progress, shared_.yield, &owner_);
    census_->CreateMaskArrayCountSR(kAllResults);
    census_->SetupControls(tr("File Types in %1").arg(results_.Views()[0].caption),
                           static_cast<int>(census_->CensusData().Hidden().size()));
    census_->SetSearchData(request_.StartPath(), request_.Mask().toStdString());
    QApplication::restoreOverrideCursor();
    return true;
}

void TypeCommands::ShowFileTypes() {
    if (shared_.busy) {
        return;
    }
    if (census_) {
        census_->DeselectAll();
    } else if (!CountTypes()) {
        return;
    }
    const int result = shared_.prompts.ShowModal(census_.get());
    if (result == dlgStarDotStar::View) {
        const SelectedTypeArray types = census_->GetSelectedItemArray();
        if (!types.empty()) {
            CreateTypeViews(types);
        }
    }
    shared_.progress->Destroy();
}

void TypeCommands::CreateTypeViews(const SelectedTypeArray& types) {
    if (shared_.busy || types.empty()) {
        return;
    }
    shared_.SetBusy(true);
    dlgProgress& progress = *shared_.progress;
    progress.Create(1, static_cast<int>(types.size()), false);
    int lastNew = -1;
    ResultPane& results = results_;
    for (const SelectedTypeEntry& type : types) {
        progress.SetMessage(tr("Processing... %1").arg(QString::fromStdString(type.Extension)));
        progress.Update(1);
        const int tab = results.Views().AddTypeView(type.Extension, type.FileCount,
                                                    [this] { shared_.yield.Yield(); });
        lastNew = tab >= 0 ? tab : lastNew;
    }
    progress.Destroy();
    shared_.SetBusy(false);
    results.SyncViews();
    results.ShowTab(lastNew > 0 ? lastNew : -1);
}

void TypeCommands::ShowRegisteredTypes() {
    if (shared_.busy) {
        return;
    }
    dlgRegFiles dialog(shared_.profile, shared_.prompts, &owner_);
    dialog.PrefillList();
    dialog.SetCurrentObjectMask(request_.Mask());
    // Nothing picked leaves the field as it was.
    if (shared_.prompts.ShowModal(&dialog) == QDialog::Accepted &&
        !dialog.CurrentObjectMask().isEmpty()) {
        request_.SetMask(dialog.CurrentObjectMask());
    }
}

void TypeCommands::FilterOnCurrentType() {
    ResultPane& results = results_;
    if (shared_.busy || !shared_.session.ResultsAvailable() || results.FolderResults()) {
        return;
    }
    const int32_t item = results.CurrentItem();
    if (item < 0) {
        return;
    }
    // The type as the census has it: ".bashrc" for ".bashrc", "." for a name without one.
    const std::string_view stored = shared_.session.Store()[item].Extension();
    const bool typeless = stored.empty() || stored == ".";
    if (typeless) {
        MarkTypeless(shared_.session.Store());
    }
    CreateTypeViews({{0, typeless ? std::string(".") : std::string(stored)}});
}

void TypeCommands::FilterOnMultipleTypes(bool viewEach) {
    ResultPane& results = results_;
    if (shared_.busy || !shared_.session.ResultsAvailable() || results.FolderResults()) {
        return;
    }
    dlgViewMasks dialog(&owner_);
    dialog.SetupMaskArray(OfferedExtensions(shared_.session.Store()));
    dialog.SetCurrentObjectMask({});
    dialog.SetupControls(results.TabText(0));
    if (shared_.prompts.ShowModal(&dialog) != QDialog::Accepted) {
        return;
    }
    const std::vector<std::string> picked = dialog.GetSelectedItemArray();
    if (!dialog.CommandFilter()) {
        request_.SetMask(dialog.Mask());
        request_.ListMatches();
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
    int tab = results.Views().FindViewByTag(mask);
    if (tab < 0) {
        tab = results.Views().AddMaskView(mask,
                                          RecordsOfExtensions(shared_.session.Store(), picked,
                                                              [this] { shared_.yield.Yield(); }));
        results.SyncViews();
    }
    results.ShowTab(tab);
}
