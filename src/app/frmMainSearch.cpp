// The search request: the mask check, the options, the walk with its status line, and the
// hand-over to the result views.

#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/modBrowse.h"
#include "platform/CancelFlag.h"
#include "platform/Prompts.h"
#include "search/MaskRules.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"
#include "settings/SettingsLocation.h"
#include "settings/modPProfile.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTreeView>

// Keeps the newest status texts of the walk and puts them on the status line only when the
// event loop is about to run: formatting a text for every folder would cost more than the walk.
class frmMain::StatusListener : public WalkListener {
public:
    explicit StatusListener(frmMain& window) : window_(window) {}

    void ObjectsCounted(int64_t shown) override {
        objects_ = shown;
        objectsSequence_ = ++sequence_;
    }
    void FolderEntered(std::string_view name, int64_t objects, int32_t matched) override {
        folderName_.assign(name);
        folderObjects_ = objects;
        folderMatched_ = matched;
        folderSequence_ = ++sequence_;
    }
    void Yield() override {
        if (window_.walkObserver_) {
            window_.walkObserver_();
        }
        if (window_.yield_.Due()) {
            Flush();
            window_.yield_.Now();
        }
    }
    void Flush() {
        StatusLine& status = window_.status_;
        if (folderSequence_ > shownSequence_ && window_.session_.Options().ShowFolderProgress) {
            const FolderMessage m = FolderMessageTexts(folderName_, folderObjects_, folderMatched_);
            status.SetExact(StatusPart::Message, m.part0);
            status.SetExact(StatusPart::Objects, m.part1);
            status.SetExact(StatusPart::Matched, m.part2);
        }
        if (objectsSequence_ > shownSequence_ && objectsSequence_ > folderSequence_) {
            status.Set(StatusPart::Objects, ObjectsText(objects_));
        }
        shownSequence_ = sequence_;
    }

private:
    frmMain& window_;
    uint64_t sequence_ = 0;
    uint64_t shownSequence_ = 0;
    int64_t objects_ = 0;
    uint64_t objectsSequence_ = 0;
    std::string folderName_;
    int64_t folderObjects_ = 0;
    int32_t folderMatched_ = 0;
    uint64_t folderSequence_ = 0;
};

bool frmMain::ValidateMask() {
    const MaskVerdict verdict = ::ValidateMask(txtObjMask->text().toStdString());
    if (verdict != MaskVerdict::Accepted) {
        prompts_.Message(MaskRefusalText(verdict), MessageIcon::Warning, MessageButtons::Ok);
        if (verdict != MaskVerdict::Empty) {
            txtObjMask->setFocus();
        }
        return false;
    }
    views_.CloseViews();
    SyncViews();
    status_.State(QStringLiteral("clear"));
    return true;
}

void frmMain::SearchButtonClicked() {
    if (searching_ || commandRunning_) {
        cancel_.Raise();
        yield_.Now();
        return;
    }
    if (busy_) {
        return;
    }
    cancel_.Lower();
    if (!ValidateMask()) {
        lstDummy->clear();
        lstDummy->addItem(tr("searching..."));
        return;
    }

    SearchOptions options;
    options.ExpectedMatch = optListTypes[0]->isChecked() ? 1 : 0;
    options.Recurse = chkOpts[0]->isChecked();
    options.FoldersOnly = chkOpts[1]->isChecked();
    options.ShowFolderProgress = !chkOpts[2]->isChecked();
    options.MaskText = txtObjMask->text().toStdString();
    // The lists and the census refer to records of the store, which the search is about to
    // erase.
    UnloadCensus();
    model1_->Clear();
    model2_->Clear();
    session_.Prepare(StartPath(), options);
    folderResults_ = false;
    cancel_.Lower();
    cmdSearch->setText(tr("Cancel"));
    searching_ = true;
    SetBusy(true);
    SetStatus(StatusPart::Message, tr("Searching..."));

    StatusListener listener(*this);
    session_.Run(cancel_, &listener);

    const QString mask = txtObjMask->text();
    if (!session_.ResultsAvailable()) {
        // The old results are gone with the store: the window shows what File > New gives.
        views_.Clear();
        SyncViews();
        ShowList(List1);
        prompts_.Message(
            NoMatchesMessage(options.FoldersOnly, mask, DisplayPath(session_.RootPath())),
            MessageIcon::Information, MessageButtons::Ok);
        SetStatus(StatusPart::Message, tr("Ready!"));
    } else {
        // The caption and tag while the list loads; ShowSearchResults adds the count.
        tsResults->setTabText(0, tr("All Results (%1)").arg(mask));
        lblResultType->setText(
            options.FoldersOnly
                ? tr("Results (folders only)")
                : tr("%1 files ").arg(QString(mask).replace(QLatin1Char(';'), QLatin1Char(' '))));
        ShowPlaceholder(tr("formatting..."));
        session_.CloseStore();
        const int32_t matched = session_.Counters().MatchedCount;
        const bool listed = !session_.ListLimitExceeded();
        if (listed) {
            ShowPlaceholder(tr("loading..."));
            SetStatus(StatusPart::Message, tr("Loading %1 items to the list...").arg(matched - 1));
        }
        views_.ShowSearch(mask, options.FoldersOnly, options.ExpectedMatch == 0, matched, listed);
        SyncViews();
        ShowList(List1);
        ShowSearchResults(session_.ElapsedSeconds());
        if (!listed) {
            model1_->ShowTexts({tr("File results exceed 32 thousand files."),
                                tr("Create filtered views from the File Type dialog.")});
            for (const int row : {0, 1}) {
                List1->setFirstColumnSpanned(row, {}, true); // across the report's columns
            }
            // Views of a part of the results are made from the census.
            ShowFileTypes();
        } else if (session_.StarDotStarSearched() && profile_.Settings().AlwaysShowCountWhenSDS) {
            ShowFileTypes();
        }
    }
    cmdSearch->setText(tr("&Begin Search"));
    searching_ = false;
    SetBusy(false);
    lstDummy->clear();
    lstDummy->addItem(tr("searching..."));
}

void frmMain::SetStartPath(const std::string& bytes) {
    startPathBytes_ = bytes;
    startPathShown_ = QFile::decodeName(QByteArray::fromStdString(bytes));
    txtStartPath->setText(startPathShown_);
}

std::string frmMain::StartPath() const {
    const QString text = txtStartPath->text();
    if (text == startPathShown_) {
        return startPathBytes_;
    }
    std::string typed = QFile::encodeName(text).toStdString();
    if (typed == "~" || typed.rfind("~/", 0) == 0) {
        typed = HomeFolder() + typed.substr(1);
    }
    return typed;
}

void frmMain::PathBackClicked() {
    if (busy_) {
        return;
    }
    const std::string parent = ParentFolder(StartPath());
    SetStartPath(parent);
    modBrowse::RememberPickedFolder(6, parent, profile_);
}

void frmMain::SelectSearchRoot(int purpose) {
    if (busy_) {
        return;
    }
    const std::string picked =
        modBrowse::PickFolder(purpose, true, StartPath(), profile_, prompts_);
    if (picked.empty()) {
        return;
    }
    SetStartPath(picked);
    if (profile_.Settings().AutoSDSOnNewSelection) {
        txtObjMask->setText(QStringLiteral("*.*"));
    }
}
