#include "settings/dlgPreferences.h"

#include "platform/Prompts.h"
#include "search/SortStrings.h"
#include "settings/MaskFavorites.h"
#include "settings/modBrowse.h"
#include "settings/modPProfile.h"
#include "text/DisplayText.h"
#include "widgets/ScrollStyle.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>
#include <sys/stat.h>

namespace {

struct Option {
    const char* caption;
    const char* key;
    bool AppSettings::*field;
};

// The check boxes whose state others follow, by their place in the tables below.
enum Box { kAutoRescan = 0, kOnlyBelowMaximum = 1, kConfirmFileDelete = 5, kConfirmEachFile = 6 };

// The General tab's check boxes, in their order.
const Option kGeneral[] = {
    // "perfrom" is the program's own spelling.
    {QT_TRANSLATE_NOOP(
         "dlgPreferences",
         "Automatically perfrom a file system rescan after a file or folder move or deletion"),
     "AutoRescanAfterAction", &AppSettings::AutoRescanAfterAction},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Only when list contains less than"),
     "AutoRescanUseMaximum", &AppSettings::AutoRescanUseMaximum},
    {QT_TRANSLATE_NOOP("dlgPreferences",
                       "When viewing contents of a folder, open Explorer in 'explore view'"),
     "OpenFoldersWithExplore", &AppSettings::OpenFoldersWithExplore},
    {QT_TRANSLATE_NOOP(
         "dlgPreferences",
         "When performing an Edit / Invert Selection command, retain the top index in view"),
     "RetainTopIndex", &AppSettings::RetainTopIndex},
    {QT_TRANSLATE_NOOP(
         "dlgPreferences",
         "When a new start path selected using Browse dialog, automatically set *.* search"),
     "AutoSDSOnNewSelection", &AppSettings::AutoSDSOnNewSelection},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Always show the File Type dialog following *.* search"),
     "AlwaysShowCountWhenSDS", &AppSettings::AlwaysShowCountWhenSDS},
    {QT_TRANSLATE_NOOP(
         "dlgPreferences",
         "Sort file or folder results in ascending order before writing the results to disk"),
     "QSSortResultsOnSave", &AppSettings::QSSortResultsOnSave},
    {QT_TRANSLATE_NOOP("dlgPreferences",
                       "Watch the searched folders and say when their contents change"),
     "WatchForChanges", &AppSettings::WatchForChanges},
};

const Option kWarnings[] = {
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm file open (associated or notepad)"),
     "ConfirmOnOpen", &AppSettings::ConfirmOnOpen},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm 'Open With' command"), "AskToOpenWith",
     &AppSettings::AskToOpenWith},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm file or folder copying"), "ConfirmOnCopy",
     &AppSettings::ConfirmOnCopy},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm file or folder move commands"), "ConfirmOnMove",
     &AppSettings::ConfirmOnMove},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm folder deletion"), "ConfirmOnFolderDelete",
     &AppSettings::ConfirmOnFolderDelete},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm file deletion"), "ConfirmOnFileDelete",
     &AppSettings::ConfirmOnFileDelete},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Confirm delete for every file"),
     "ConfirmOnEachFileDelete", &AppSettings::ConfirmOnEachFileDelete},
};

struct Folder {
    const char* label;
    const char* key;
    std::string AppSettings::*field;
};
const Folder kFolders[] = {
    {QT_TRANSLATE_NOOP("dlgPreferences", "Source Search Folder"), "LastSourceFolder",
     &AppSettings::LastSourceFolder},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Copy File Target"), "LastCopyFileTarget",
     &AppSettings::LastCopyFileTarget},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Copy Folder Target"), "LastCopyFolderTarget",
     &AppSettings::LastCopyFolderTarget},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Move File Target"), "LastMoveFileTarget",
     &AppSettings::LastMoveFileTarget},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Move Folder Target"), "LastMoveFolderTarget",
     &AppSettings::LastMoveFolderTarget},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Network Source Folder"), "LastSourceNetFolder",
     &AppSettings::LastSourceNetFolder},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Network Admin Source Folder"), "LastSourceNetAdminFolder",
     &AppSettings::LastSourceNetAdminFolder},
    {QT_TRANSLATE_NOOP("dlgPreferences", "Report Output Folder"), "LastOutputSaveDirectory",
     &AppSettings::LastOutputSaveDirectory},
};

const char* const kMaxItems[] = {QT_TRANSLATE_NOOP("dlgPreferences", "no maximum"),
                                 "100",
                                 "200",
                                 "300",
                                 "400",
                                 "500",
                                 "1000",
                                 "2000"};
const char* const kDoubleClick[] = {
    QT_TRANSLATE_NOOP("dlgPreferences", "opens the file or folder using the associated app."),
    QT_TRANSLATE_NOOP("dlgPreferences", "opens the file or folder's property page."),
    QT_TRANSLATE_NOOP("dlgPreferences", "performs a 'Select All' in the current list.")};

QColor FromBgr(int32_t bgr) {
    const auto v = static_cast<uint32_t>(bgr);
    return QColor(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
}

QString Bytes(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

QLabel* Description(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName("lblDescription");
    label->setWordWrap(true);
    return label;
}

} // namespace

namespace {
// A page that asks for its whole size (a scroll area's own hint is capped), and scrolls only
// when the screen gives it less.
class WholePageArea : public QScrollArea {
public:
    QSize sizeHint() const override {
        return widget() ? widget()->sizeHint() + QSize(2 * frameWidth(), 2 * frameWidth())
                        : QScrollArea::sizeHint();
    }
};
} // namespace

dlgPreferences::dlgPreferences(modPProfile& profile, Prompts& prompts,
                               std::function<void()> masksCommitted, QWidget* parent)
    : QDialog(parent), profile_(profile), prompts_(prompts),
      masksCommitted_(std::move(masksCommitted)) {
    setObjectName("dlgPreferences");
    setWindowTitle(tr("Preferences"));
    tsPrefs = new QTabWidget(this);
    tsPrefs->setObjectName("tsPrefs");
    tsPrefs->setAccessibleName(tr("Preferences"));
    // Each page scrolls when the screen is too small for it (a large scale), so the buttons
    // below stay in reach.
    const auto scrolled = [](QWidget* page) {
        auto* area = new WholePageArea;
        area->setFocusPolicy(Qt::NoFocus); // the page's controls take the focus, and are shown
        area->setWidget(page);
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        return area;
    };
    tsPrefs->addTab(scrolled(GeneralTab()), tr("&General"));
    tsPrefs->addTab(scrolled(WarningsTab()), tr("&Confirmation && Warnings"));
    tsPrefs->addTab(scrolled(FoldersTab()), tr("&Folders && Paths"));
    tsPrefs->addTab(scrolled(MasksTab()), tr("Edit &Masks"));
    tsPrefs->addTab(scrolled(ViewTab()), tr("View Options"));
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(tr("&OK"), QDialogButtonBox::AcceptRole)->setObjectName("cmdOK");
    // "&C" is the Confirmation tab's.
    buttons->addButton(tr("Ca&ncel"), QDialogButtonBox::RejectRole)->setObjectName("cmdCancel");
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        CommitMasks();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tsPrefs);
    layout->addWidget(buttons);
    tsPrefs->setUsesScrollButtons(false); // every tab in sight
    Load();
}

QWidget* dlgPreferences::GeneralTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    layout->addWidget(Description(tr("General options affecting how you interact with the "
                                     "application.\nChanges made to General options are applied "
                                     "immediately."),
                                  tab));
    for (int i = 0; i < static_cast<int>(std::size(kGeneral)); ++i) {
        chkGeneral[i] = new QCheckBox(tr(kGeneral[i].caption), tab);
        chkGeneral[i]->setObjectName(QStringLiteral("chkGeneral_%1").arg(i));
        connect(chkGeneral[i], &QCheckBox::clicked, this, [this, i] { GeneralClicked(i); });
        if (i == kOnlyBelowMaximum) {
            layout->addLayout(MaximumItemsRow(tab));
        } else {
            layout->addWidget(chkGeneral[i]);
        }
    }
    AddDoubleClickChoices(tab, layout);
    layout->addStretch(1);
    return tab;
}

// "Only when list contains less than" [number] "items."
QLayout* dlgPreferences::MaximumItemsRow(QWidget* tab) {
    auto* row = new QHBoxLayout;
    cboMaxItems = new QComboBox(tab);
    cboMaxItems->setObjectName("cboMaxItems");
    for (const char* item : kMaxItems) {
        cboMaxItems->addItem(tr(item));
    }
    lblItems = new QLabel(tr("items."), tab);
    row->addSpacing(20);
    row->addWidget(chkGeneral[kOnlyBelowMaximum]);
    row->addWidget(cboMaxItems);
    row->addWidget(lblItems);
    row->addStretch(1);
    connect(cboMaxItems, &QComboBox::activated, this, [this](int position) {
        if (!loading_ && position >= 0) {
            const std::string value =
                position == 0 ? "-1" : cboMaxItems->itemText(position).toStdString();
            profile_.Settings().AutoRescanMaximum = ReadNumber(value);
            profile_.ProfileSetOptionsKey("AutoRescanMaximum", value);
        }
    });
    return row;
}

void dlgPreferences::AddDoubleClickChoices(QWidget* tab, QLayout* layout) {
    for (auto [combo, caption, key] :
         {std::tuple{&cboDC, QT_TR_NOOP("A double-click in the current list:"), "DblClickAction"},
          std::tuple{&cboDCS, QT_TR_NOOP("A shift-double-click in the current list:"),
                     "DblClickShiftAction"}}) {
        *combo = new QComboBox(tab);
        (*combo)->setObjectName(key == std::string("DblClickAction") ? "cboDC" : "cboDCS");
        for (const char* item : kDoubleClick) {
            (*combo)->addItem(tr(item));
        }
        auto* label = new QLabel(tr(caption), tab);
        label->setBuddy(*combo);
        layout->addWidget(label);
        layout->addWidget(*combo);
        connect(*combo, &QComboBox::activated, this, [this, key = key](int position) {
            if (!loading_ && position >= 0) {
                int32_t& field = key == std::string("DblClickAction")
                                     ? profile_.Settings().DblClickAction
                                     : profile_.Settings().DblClickShiftAction;
                field = position;
                profile_.ProfileSetOptionsKey(key, std::to_string(position));
            }
        });
    }
}

QWidget* dlgPreferences::WarningsTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    layout->addWidget(Description(tr("Set warning levels for various destructive and "
                                     "non-destructive file operations.\nChanges made to Warning "
                                     "options are applied immediately."),
                                  tab));
    for (int i = 0; i < 7; ++i) {
        if (i == 0 || i == 2) {
            layout->addWidget(
                new QLabel(i == 0 ? tr("File Opening:") : tr("File Operations:"), tab));
        }
        chkWarnings[i] = new QCheckBox(tr(kWarnings[i].caption), tab);
        chkWarnings[i]->setObjectName(QStringLiteral("chkWarnings_%1").arg(i));
        connect(chkWarnings[i], &QCheckBox::clicked, this, [this, i] { WarningClicked(i); });
        layout->addWidget(chkWarnings[i]);
    }
    layout->addStretch(1);
    return tab;
}

QWidget* dlgPreferences::FoldersTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    layout->addWidget(Description(
        tr("The paths represent the current locations the application tries to use for each file "
           "action. Changes made are temporary as each file action updates these values. If you "
           "have a location giving problems, change it here. Clicking each label opens the "
           "Browse dialog for easier selection."),
        tab));
    for (int i = 0; i < 8; ++i) {
        Label3[i] = new QLabel(tr(kFolders[i].label), tab);
        Label3[i]->setObjectName(QStringLiteral("Label3_%1").arg(i));
        Label3[i]->setCursor(Qt::PointingHandCursor);
        Label3[i]->setToolTip(tr("Click to pick the folder"));
        Label3[i]->installEventFilter(this);
        txtFolders[i] = new QLineEdit(tab);
        txtFolders[i]->setObjectName(QStringLiteral("txtFolders_%1").arg(i));
        txtFolders[i]->setAccessibleName(Label3[i]->text());
        txtFolders[i]->installEventFilter(this);
        connect(txtFolders[i], &QLineEdit::editingFinished, this, [this, i] {
            if (txtFolders[i]->isModified()) {
                AcceptFolder(i);
            }
        });
        layout->addWidget(Label3[i]);
        layout->addWidget(txtFolders[i]);
    }
    auto* reload = new QPushButton(tr("Reload &Paths From File"), tab);
    reload->setObjectName("cmdReloadPaths");
    connect(reload, &QPushButton::clicked, this, [this] {
        profile_.ProfileLoadSettings();
        LoadFolders();
    });
    layout->addWidget(reload, 0, Qt::AlignLeft);
    layout->addStretch(1);
    return tab;
}

QWidget* dlgPreferences::MasksTab() {
    auto* tab = new QWidget;
    auto* layout = new QGridLayout(tab);
    layout->addWidget(Description(tr("Add favorite masks or remove unused masks from the Masks "
                                     "menu.\nDouble click to edit existing masks, or select and "
                                     "delete."),
                                  tab),
                      0, 0, 1, 2);
    lstMasks = new QListWidget(tab);
    lstMasks->setObjectName("lstMasks");
    lstMasks->setAccessibleName(tr("Favorite masks"));
    connect(lstMasks, &QListWidget::itemDoubleClicked, this,
            [this] { MaskCommand(MaskButton::Select); });
    txtMask = new QLineEdit(tab);
    txtMask->setObjectName("txtMask");
    txtMask->setAccessibleName(tr("Mask to add"));
    txtMask->installEventFilter(this);
    auto* buttons = new QVBoxLayout;
    const char* captions[] = {QT_TR_NOOP("&Delete"), QT_TR_NOOP("&Add"), QT_TR_NOOP("&Select"),
                              QT_TR_NOOP("&Reload"), QT_TR_NOOP("Sor&t")};
    for (int i = 0; i < 5; ++i) {
        cmdMasks[i] = new QPushButton(tr(captions[i]), tab);
        cmdMasks[i]->setObjectName(QStringLiteral("cmdMasks_%1").arg(i));
        connect(cmdMasks[i], &QPushButton::clicked, this,
                [this, i] { MaskCommand(static_cast<MaskButton>(i)); });
        buttons->addWidget(cmdMasks[i]);
    }
    buttons->addStretch(1);
    connect(txtMask, &QLineEdit::textChanged, this, [this](const QString& text) {
        cmdMasks[static_cast<size_t>(MaskButton::Add)]->setEnabled(!text.isEmpty());
    });
    cmdMasks[static_cast<size_t>(MaskButton::Add)]->setEnabled(false);
    chkMaskAppend = new QCheckBox(tr("Append new entries to existing mask"), tab);
    chkMaskAppend->setObjectName("chkMaskAppend");
    layout->addWidget(lstMasks, 1, 0);
    layout->addLayout(buttons, 1, 1);
    layout->addWidget(txtMask, 2, 0);
    layout->addWidget(chkMaskAppend, 3, 0);
    return tab;
}

QWidget* dlgPreferences::ViewTab() {
    auto* tab = new QWidget;
    auto* layout = new QGridLayout(tab);
    layout->addWidget(Description(tr("General interface preferences"), tab), 0, 0, 1, 2);
    AddViewChoices(tab, layout);
    AddViewSamples(tab, layout);
    layout->setRowStretch(11, 1);
    return tab;
}

// The view, the visible sort and its colour, the grid lines.
void dlgPreferences::AddViewChoices(QWidget* tab, QGridLayout* layout) {
    layout->addWidget(new QLabel(tr("The default view is:"), tab), 1, 0);
    auto* views = new QButtonGroup(tab);
    for (int i = 0; i < 2; ++i) {
        optView[i] = new QRadioButton(i == 0 ? tr("List") : tr("Report"), tab);
        optView[i]->setObjectName(QStringLiteral("optView_%1").arg(i));
        views->addButton(optView[i], i);
        layout->addWidget(optView[i], 2 + i, 0);
        connect(optView[i], &QRadioButton::clicked, this, [this, i] {
            profile_.Settings().LVDefaultView = i;
            profile_.ProfileSetOptionsKey("LVDefaultView", std::to_string(i));
            ApplyViewSample();
        });
    }
    for (int i = 0; i < 2; ++i) {
        chkViews[i] = new QCheckBox(i == 0 ? tr("Enable visible sort") : tr("Show gridlines"), tab);
        chkViews[i]->setObjectName(QStringLiteral("chkViews_%1").arg(i));
        layout->addWidget(chkViews[i], 4 + i, 0);
        connect(chkViews[i], &QCheckBox::clicked, this, [this, i](bool on) {
            (i == 0 ? profile_.Settings().LVUseCustomSortColor
                    : profile_.Settings().LVUseGridLines) = on;
            profile_.ProfileSetOptionsKey(i == 0 ? "LVUseCustomSortColor" : "LVUseGridLines",
                                          BoolText(on));
            ApplyViewSample();
        });
    }
    cmdViews = new QPushButton(tab);
    cmdViews->setObjectName("cmdViews");
    cmdViews->setFixedWidth(40);
    cmdViews->setAccessibleName(tr("Select sorted column backcolor"));
    connect(cmdViews, &QPushButton::clicked, this, &dlgPreferences::ChooseSortColor);
    lblSort = new QLabel(tr("Select sorted column backcolor"), tab);
    lblSort->setObjectName("lblSort");
    auto* colour = new QHBoxLayout;
    colour->addWidget(cmdViews);
    colour->addWidget(lblSort);
    layout->addLayout(colour, 6, 0);
}

// The progress bars' style with a sample bar, and a sample list showing the view's choices.
void dlgPreferences::AddViewSamples(QWidget* tab, QGridLayout* layout) {
    layout->addWidget(new QLabel(tr("Application Progress Bars:"), tab), 7, 0);
    auto* styles = new QButtonGroup(tab);
    for (int i = 0; i < 2; ++i) {
        optStyle[i] = new QRadioButton(i == 0 ? tr("Standard") : tr("Smooth"), tab);
        optStyle[i]->setObjectName(QStringLiteral("optStyle_%1").arg(i));
        styles->addButton(optStyle[i], i);
        layout->addWidget(optStyle[i], 8 + i, 0);
        connect(optStyle[i], &QRadioButton::clicked, this, [this, i] {
            ApplyScrollStyle(sampleBar_, i);
            profile_.Settings().PBScrollStyle = i;
            profile_.ProfileSetOptionsKey("PBScrollStyle", std::to_string(i));
        });
    }
    sampleBar_ = new QProgressBar(tab);
    sampleBar_->setObjectName("ProgressBar1");
    sampleBar_->setRange(0, 10);
    sampleBar_->setValue(10);
    sampleBar_->setTextVisible(false);
    layout->addWidget(sampleBar_, 10, 0);
    ListView1 = new QTableWidget(3, 3, tab);
    ListView1->setObjectName("ListView1");
    ListView1->setAccessibleName(tr("Sample list"));
    ListView1->setHorizontalHeaderLabels({tr("Col 1"), tr("Col 2"), tr("Col 3")});
    ListView1->verticalHeader()->hide();
    ListView1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    int row = 0;
    for (const char* letter : {"a", "b", "c"}) {
        const QString texts[] = {tr("data %1").arg(letter), tr("sub 1 %1").arg(letter),
                                 tr("sub 2 %1").arg(letter)};
        for (int column = 0; column < 3; ++column) {
            ListView1->setItem(row, column, new QTableWidgetItem(texts[column]));
        }
        ++row;
    }
    layout->addWidget(ListView1, 1, 1, 10, 1);
}

void dlgPreferences::Load() {
    loading_ = true;
    const AppSettings& s = profile_.Settings();
    for (size_t i = 0; i < std::size(kGeneral); ++i) {
        chkGeneral[i]->setChecked(s.*(kGeneral[i].field));
    }
    for (size_t i = 0; i < std::size(kWarnings); ++i) {
        chkWarnings[i]->setChecked(s.*(kWarnings[i].field));
    }
    const int maximum = cboMaxItems->findText(QString::number(s.AutoRescanMaximum));
    cboMaxItems->setCurrentIndex(s.AutoRescanMaximum == -1 ? 0 : maximum);
    for (QWidget* w : std::initializer_list<QWidget*>{chkGeneral[1], cboMaxItems, lblItems}) {
        w->setEnabled(s.AutoRescanAfterAction);
    }
    cboDC->setCurrentIndex(s.DblClickAction >= 0 && s.DblClickAction < 3 ? s.DblClickAction : -1);
    cboDCS->setCurrentIndex(
        s.DblClickShiftAction >= 0 && s.DblClickShiftAction < 3 ? s.DblClickShiftAction : -1);
    chkWarnings[6]->setEnabled(s.ConfirmOnFileDelete);
    LoadFolders();
    LoadMasks();
    optView[s.LVDefaultView == 1 ? 1 : 0]->setChecked(true);
    chkViews[0]->setChecked(s.LVUseCustomSortColor);
    chkViews[1]->setChecked(s.LVUseGridLines);
    optStyle[s.PBScrollStyle == 1 ? 1 : 0]->setChecked(true);
    ApplyScrollStyle(sampleBar_, s.PBScrollStyle);
    ApplyViewSample();
    loading_ = false;
}

void dlgPreferences::LoadFolders() {
    for (int i = 0; i < 8; ++i) {
        txtFolders[i]->setText(Bytes(profile_.Settings().*(kFolders[i].field)));
        txtFolders[i]->setModified(false);
    }
}

void dlgPreferences::LoadMasks() {
    MaskFavorites favorites;
    favorites.Load(profile_);
    SetFavorites(favorites.Loaded(), favorites.Loaded());
}

void dlgPreferences::SetFavorites(const std::vector<std::string>& favorites,
                                  const std::vector<std::string>& loaded) {
    lstMasks->clear();
    for (const std::string& mask : favorites) {
        lstMasks->addItem(QString::fromStdString(mask));
    }
    masksLoaded_ = loaded;
    masksChanged_ = false;
    editedMask_ = -1;
}

// The list as arranged here, with what other windows changed on disk meanwhile.
void dlgPreferences::CommitMasks() {
    if (!masksChanged_) {
        return;
    }
    std::vector<std::string> mine;
    for (int row = 0; row < lstMasks->count(); ++row) {
        mine.push_back(lstMasks->item(row)->text().toStdString());
    }
    MaskFavorites::WriteMerged(profile_, masksLoaded_, std::move(mine), MaskFavorites::Order::Mine);
    masksChanged_ = false;
    if (masksCommitted_) {
        masksCommitted_();
    }
}

void dlgPreferences::SetStartupTab(PreferencesTab tab) {
    const int index = static_cast<int>(tab) - 1;
    if (index >= 0 && index < tsPrefs->count()) {
        tsPrefs->setCurrentIndex(index);
    }
}

void dlgPreferences::GeneralClicked(int index) {
    if (loading_) {
        return;
    }
    const bool on = chkGeneral[index]->isChecked();
    profile_.Settings().*(kGeneral[index].field) = on;
    profile_.ProfileSetOptionsKey(kGeneral[index].key, BoolText(on));
    if (index == kAutoRescan) {
        for (QWidget* w : std::initializer_list<QWidget*>{chkGeneral[kOnlyBelowMaximum],
                                                          cboMaxItems, lblItems}) {
            w->setEnabled(on);
        }
    }
}

void dlgPreferences::WarningClicked(int index) {
    if (loading_) {
        return;
    }
    const bool on = chkWarnings[index]->isChecked();
    profile_.Settings().*(kWarnings[index].field) = on;
    profile_.ProfileSetOptionsKey(kWarnings[index].key, BoolText(on));
    if (index == kConfirmFileDelete) {
        // Every file can be asked for only while file deletion is.
        chkWarnings[kConfirmEachFile]->setEnabled(on);
        if (!on) {
            chkWarnings[kConfirmEachFile]->setChecked(false);
        }
        WarningClicked(kConfirmEachFile);
    }
}

void dlgPreferences::AcceptFolder(int index) {
    if (index < 0 || index >= 8) {
        prompts_.Message(tr("oops!"), MessageIcon::None, MessageButtons::Ok);
        return;
    }
    // Taken now: the question below moves the focus, which would end the editing again.
    txtFolders[index]->setModified(false);
    const std::string path = QFile::encodeName(txtFolders[index]->text()).toStdString();
    struct stat st {};
    const bool exists = stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    if (!exists && prompts_.Message(tr("The path entered as ' %1 ' does not exist. Use it anyway?")
                                        .arg(tr(kFolders[index].label)),
                                    MessageIcon::Warning,
                                    MessageButtons::YesNoDefaultNo) != MessageAnswer::Yes) {
        txtFolders[index]->setText(Bytes(profile_.Settings().*(kFolders[index].field)));
        txtFolders[index]->setModified(false);
        return;
    }
    profile_.Settings().*(kFolders[index].field) = path;
    profile_.ProfileSetPathsKey(kFolders[index].key, path);
    txtFolders[index]->setModified(false);
}

void dlgPreferences::PickFolder(int index) {
    const QString label = tr(kFolders[index].label);
    const std::string current = QFile::encodeName(txtFolders[index]->text()).toStdString();
    const std::string picked = prompts_.PickFolder(
        {tr("Select Folder"),
         tr("Select the folder representing the default path for ' %1 '").arg(label), "/", current,
         modBrowse::StartingPlaces(profile_)});
    if (!picked.empty()) {
        txtFolders[index]->setText(Bytes(picked));
        txtFolders[index]->setModified(true);
        AcceptFolder(index);
    }
}

bool dlgPreferences::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease) {
        for (int i = 0; i < 8; ++i) {
            if (watched == Label3[i]) {
                PickFolder(i);
                return true;
            }
        }
    }
    // Enter in an entry takes what was typed there, and leaves the dialog open.
    const int key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event)->key() : 0;
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        for (int i = 0; i < 8; ++i) {
            if (watched == txtFolders[i]) {
                if (txtFolders[i]->isModified()) {
                    AcceptFolder(i);
                }
                return true;
            }
        }
        if (watched == txtMask) {
            MaskCommand(MaskButton::Add);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void dlgPreferences::MaskCommand(MaskButton button) {
    switch (button) {
    case MaskButton::Delete:
        DeleteMask();
        break;
    case MaskButton::Add:
        AddMask();
        break;
    case MaskButton::Select: // the current row into the entry box, to be changed with Add
        if (QListWidgetItem* current = lstMasks->currentItem(); current != nullptr) {
            editedMask_ = lstMasks->row(current);
            txtMask->setText(current->text());
        }
        break;
    case MaskButton::Reload:
        ReloadMasks();
        break;
    case MaskButton::Sort:
        SortMasks();
        break;
    }
}

void dlgPreferences::DeleteMask() {
    QListWidgetItem* current = lstMasks->currentItem();
    if (current == nullptr) {
        return;
    }
    const int row = lstMasks->row(current);
    delete lstMasks->takeItem(row);
    masksChanged_ = true;
    editedMask_ = -1;
    if (lstMasks->count() > 0) {
        lstMasks->setCurrentRow(std::min(row, lstMasks->count() - 1));
    }
}

// A new row, the row taken for editing, or appended to the current row.
void dlgPreferences::AddMask() {
    const QString text = txtMask->text().trimmed();
    if (text.isEmpty()) {
        return;
    }
    QListWidgetItem* current = lstMasks->currentItem();
    const bool there = !lstMasks->findItems(text, Qt::MatchFixedString).isEmpty();
    if (editedMask_ >= 0 && editedMask_ < lstMasks->count() && !there) {
        lstMasks->item(editedMask_)->setText(text);
        masksChanged_ = true;
    } else if (chkMaskAppend->isChecked() && current != nullptr) {
        current->setText(current->text() + text);
        masksChanged_ = true;
    } else if (!there) {
        lstMasks->addItem(text);
        masksChanged_ = true;
    }
    editedMask_ = -1;
    txtMask->clear();
}

// "willl" is the program's own spelling.
void dlgPreferences::ReloadMasks() {
    if (masksChanged_ &&
        prompts_.Message(tr("The Mask List has changed. Reloading willl discard all changes. "
                            "Continue?"),
                         MessageIcon::Question, MessageButtons::YesNo) != MessageAnswer::Yes) {
        return;
    }
    LoadMasks();
}

// By the bytes: upper case before lower case.
void dlgPreferences::SortMasks() {
    if (lstMasks->count() < 2) {
        return;
    }
    std::vector<std::string> rows;
    for (int row = 0; row < lstMasks->count(); ++row) {
        rows.push_back(lstMasks->item(row)->text().toStdString());
    }
    SortStrings(rows, 0, static_cast<int>(rows.size()) - 1);
    lstMasks->clear();
    for (const std::string& row : rows) {
        lstMasks->addItem(QString::fromStdString(row));
    }
    masksChanged_ = true;
}

void dlgPreferences::ChooseSortColor() {
    std::array<int32_t, 16> custom{};
    profile_.ProfileLoadCustomColors(custom);
    const std::optional<int32_t> chosen =
        prompts_.ChooseColor(profile_.Settings().LVCustomSortColor, custom);
    profile_.ProfileSaveCustomColors(custom);
    if (chosen && *chosen != 0) {
        profile_.Settings().LVCustomSortColor = *chosen;
        profile_.ProfileSetOptionsKey("LVCustomSortColor", std::to_string(*chosen));
    }
    ApplyViewSample();
}

void dlgPreferences::ApplyViewSample() {
    const AppSettings& s = profile_.Settings();
    const bool report = optView[1]->isChecked();
    ListView1->horizontalHeader()->setVisible(report);
    for (int column = 1; column < 3; ++column) {
        ListView1->setColumnHidden(column, !report);
    }
    for (QWidget* w :
         std::initializer_list<QWidget*>{chkViews[0], chkViews[1], cmdViews, lblSort}) {
        w->setEnabled(report);
    }
    cmdViews->setEnabled(report && chkViews[0]->isChecked());
    lblSort->setEnabled(report && chkViews[0]->isChecked());
    cmdViews->setStyleSheet(QStringLiteral("background-color: %1; border: 1px solid palette(dark);")
                                .arg(FromBgr(s.LVCustomSortColor).name()));
    ListView1->setShowGrid(report && chkViews[1]->isChecked());
    // The first column stands for a sorted one.
    const QColor shade =
        report && chkViews[0]->isChecked() ? FromBgr(s.LVCustomSortColor) : QColor();
    for (int row = 0; row < ListView1->rowCount(); ++row) {
        ListView1->item(row, 0)->setBackground(shade.isValid() ? QBrush(shade) : QBrush());
    }
}
