#include "app/window/SearchRequest.h"

#include "app/window/WindowContext.h"
#include "platform/WindowPrompts.h"
#include "search/MaskRules.h"
#include "settings/SettingsLocation.h"
#include "settings/modBrowse.h"
#include "settings/modPProfile.h"
#include "text/PathText.h"
#include "widgets/WrappingRow.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QVBoxLayout>

QLayout* SearchRequest::Build(QWidget* parent) {
    auto* rows = new QVBoxLayout;
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addLayout(BuildFields(parent));
    rows->addLayout(BuildOptions(parent));
    Connect();
    return rows;
}

QLayout* SearchRequest::BuildFields(QWidget* parent) {
    // Access keys: the menus take F, E, S, M and H; the fields and options the letters below.
    auto* request = new QGridLayout;
    auto* startLabel = new QLabel(tr("Start &Path:"), parent);
    txtStartPath = new QLineEdit(parent);
    txtStartPath->setObjectName("txtStartPath");
    startLabel->setBuddy(txtStartPath);
    cmdPathBack = new QToolButton(parent);
    cmdPathBack->setObjectName("cmdPathBack");
    cmdPathBack->setText(tr("&Up"));
    cmdPathBack->setToolTip(tr("Go to the parent folder"));
    auto* maskLabel = new QLabel(tr("File Mas&k:"), parent);
    txtObjMask = new QLineEdit(parent);
    txtObjMask->setObjectName("txtObjMask");
    txtObjMask->setToolTip(tr("One or more patterns separated by \";\", such as *.txt;*.log"));
    maskLabel->setBuddy(txtObjMask);
    cmdSearch = new QPushButton(tr("&Begin Search"), parent);
    cmdSearch->setObjectName("cmdSearch");
    cmdSearch->setDefault(true);
    cmdSearch->setMinimumWidth(
        cmdSearch->fontMetrics().horizontalAdvance(cmdSearch->text().remove(QLatin1Char('&'))) +
        32);
    cmdFileTypes = new QPushButton(tr("File &Types..."), parent);
    cmdFileTypes->setObjectName("cmdFileTypes");
    cmdFileTypes->setToolTip(tr("Count the results by file type, and view or report the types"));
    cmdFileTypes->setEnabled(false);
    request->addWidget(startLabel, 0, 0);
    request->addWidget(txtStartPath, 0, 1);
    request->addWidget(cmdPathBack, 0, 2);
    request->addWidget(maskLabel, 1, 0);
    request->addWidget(txtObjMask, 1, 1);
    request->addWidget(cmdSearch, 1, 2);
    request->addWidget(cmdFileTypes, 1, 3);
    return request;
}

QLayout* SearchRequest::BuildOptions(QWidget* parent) {
    // The boxes at the left, the list types at the right; below them on a narrow window.
    auto* row = new WrappingRow;
    auto* options = new QHBoxLayout;
    auto* types = new QHBoxLayout;
    row->addItem(options);
    row->addItem(types);
    const char* optionTexts[] = {QT_TR_NOOP("Search subf&olders"), QT_TR_NOOP("Fo&lders only"),
                                 QT_TR_NOOP("Suppress up&dates")};
    for (int i = 0; i < 3; ++i) {
        chkOpts[i] = new QCheckBox(tr(optionTexts[i]), parent);
        chkOpts[i]->setObjectName(QStringLiteral("chkOpts_%1").arg(i));
        QObject::connect(chkOpts[i], &QCheckBox::clicked, &owner_,
                         [this, i] { OptionClicked(static_cast<OptionBox>(i)); });
        chkOpts[i]->installEventFilter(&owner_);
        options->addWidget(chkOpts[i]);
    }
    Box(OptionBox::Subfolders)->setChecked(true);
    auto* listTypes = new QButtonGroup(parent);
    const char* typeTexts[] = {QT_TR_NOOP("List mat&ches"), QT_TR_NOOP("List all e&xcept matches")};
    for (int i = 0; i < 2; ++i) {
        optListTypes[i] = new QRadioButton(tr(typeTexts[i]), parent);
        optListTypes[i]->setObjectName(QStringLiteral("optListTypes_%1").arg(i));
        listTypes->addButton(optListTypes[i], i);
        optListTypes[i]->installEventFilter(&owner_);
        types->addWidget(optListTypes[i]);
    }
    optListTypes[0]->setChecked(true);
    return row;
}

void SearchRequest::Connect() {
    QObject::connect(cmdSearch, &QPushButton::clicked, &owner_, [this] { hooks_.searchClicked(); });
    // Enter in either field starts a search, as the default button would.
    for (QLineEdit* field : {txtStartPath, txtObjMask}) {
        QObject::connect(field, &QLineEdit::returnPressed, &owner_, [this] {
            if (!hooks_.searching()) {
                hooks_.searchClicked();
            }
        });
    }
    QObject::connect(cmdPathBack, &QToolButton::clicked, &owner_, [this] { PathBackClicked(); });
    QObject::connect(cmdFileTypes, &QPushButton::clicked, &owner_,
                     [this] { hooks_.fileTypesClicked(); });
}

SearchOptions SearchRequest::Options() const {
    SearchOptions options;
    options.ExpectedMatch = optListTypes[0]->isChecked() ? 1 : 0;
    options.Recurse = Box(OptionBox::Subfolders)->isChecked();
    options.FoldersOnly = FoldersOnly();
    options.ShowFolderProgress = !Box(OptionBox::SuppressUpdates)->isChecked();
    options.MaskText = txtObjMask->text().toStdString();
    return options;
}

QString SearchRequest::Mask() const {
    return txtObjMask->text();
}

void SearchRequest::SetMask(const QString& mask) {
    txtObjMask->setText(mask);
}

bool SearchRequest::FoldersOnly() const {
    return Box(OptionBox::FoldersOnly)->isChecked();
}

void SearchRequest::ClearFoldersOnly() {
    if (FoldersOnly()) {
        Box(OptionBox::FoldersOnly)->setChecked(false);
        OptionClicked(OptionBox::FoldersOnly);
    }
}

void SearchRequest::ListMatches() {
    optListTypes[0]->setChecked(true);
}

bool SearchRequest::ValidateMask() {
    const MaskVerdict verdict = ::ValidateMask(txtObjMask->text().toStdString());
    if (verdict == MaskVerdict::Accepted) {
        return true;
    }
    shared_.prompts.Message(MaskRefusalText(verdict), MessageIcon::Warning, MessageButtons::Ok);
    if (verdict != MaskVerdict::Empty) {
        txtObjMask->setFocus();
    }
    return false;
}

void SearchRequest::SetStartPath(const std::string& bytes) {
    startPathBytes_ = bytes;
    startPathShown_ = QFile::decodeName(QByteArray::fromStdString(bytes));
    txtStartPath->setText(startPathShown_);
}

std::string SearchRequest::StartPath() const {
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

void SearchRequest::PathBackClicked() {
    if (shared_.busy) {
        return;
    }
    const std::string parent = ParentFolder(StartPath());
    SetStartPath(parent);
    modBrowse::RememberPickedFolder(modBrowse::PickPurpose::SearchRoot, parent, shared_.profile);
}

void SearchRequest::SelectSearchRoot(modBrowse::PickPurpose purpose) {
    if (shared_.busy) {
        return;
    }
    const std::string picked =
        modBrowse::PickFolder(purpose, true, StartPath(), shared_.profile, shared_.prompts);
    if (picked.empty()) {
        return;
    }
    SetStartPath(picked);
    if (shared_.profile.Settings().AutoSDSOnNewSelection) {
        txtObjMask->setText(QStringLiteral("*.*"));
    }
}

void SearchRequest::ChooseMaskFavorite(size_t index, bool append) {
    if (shared_.busy || !shared_.favorites.IsEnabled(index)) {
        return;
    }
    txtObjMask->setText(QString::fromStdString(
        shared_.favorites.Choose(index, txtObjMask->text().toStdString(), append)));
}

void SearchRequest::ChooseStarDotStar() {
    if (shared_.busy) {
        return;
    }
    txtObjMask->setText(QStringLiteral("*.*"));
    ListMatches();
    ClearFoldersOnly();
}

void SearchRequest::OptionClicked(OptionBox box) {
    const bool checked = Box(box)->isChecked();
    StatusLine& status = shared_.status;
    if (box == OptionBox::FoldersOnly) {
        txtObjMask->setEnabled(!checked);
        optListTypes[0]->setEnabled(!checked);
        optListTypes[1]->setEnabled(!checked);
        if (checked) {
            status.Set(StatusPart::Mode, tr("Folder Search"));
        } else {
            status.Clear(StatusPart::Mode);
        }
    } else if (box == OptionBox::SuppressUpdates) {
        shared_.session.Options().ShowFolderProgress = !checked;
        if (checked) {
            status.Set(StatusPart::Mode, tr("Update suppressed"));
        } else {
            status.Clear(StatusPart::Mode);
        }
        if (hooks_.searching()) {
            // Folder names will no longer appear on the status line.
            status.Clear(StatusPart::Matched);
            if (checked) {
                status.Set(StatusPart::Message, tr("Searching..."));
            } else {
                status.Clear(StatusPart::Message);
            }
        }
    }
}

void SearchRequest::ShowRunning(bool running) {
    cmdSearch->setText(running ? tr("Cancel") : tr("&Begin Search"));
}

void SearchRequest::SetBusy(bool busy) {
    txtStartPath->setReadOnly(busy);
    cmdPathBack->setEnabled(!busy);
}

void SearchRequest::EnableCensus(bool enabled) {
    cmdFileTypes->setEnabled(enabled);
}

bool SearchRequest::EnterPressed(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || qobject_cast<QAbstractButton*>(watched) == nullptr) {
        return false;
    }
    const int key = static_cast<QKeyEvent*>(event)->key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}
