#include "app/frmMain.h"

#include "analysis/dlgStarDotStar.h"
#include "app/AppIcon.h"
#include "app/ListCellDelegate.h"
#include "app/ProjectLinks.h"
#include "app/ResultListModel.h"
#include "fileops/dlgProgress.h"
#include "fileops/modShell.h"
#include "platform/CancelFlag.h"
#include "platform/Prompts.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// A part of the status line. The message part takes the room the others leave, and shortens
// a text too long for it with "…", showing it whole as a tool tip. A count part is as wide as
// its text, growing with it but not shrinking back until it is cleared, so that counts going up
// do not push the message around.
class StatusPartLabel : public QLabel {
public:
    StatusPartLabel(bool message, QWidget* parent) : QLabel(parent), message_(message) {
        setMinimumWidth(message ? 40 : 0);
        if (!message) {
            setFixedWidth(0);
        }
    }
    void Show(const QString& text) {
        setText(text);
        if (!message_) {
            const int wanted = text.isEmpty() ? 0 : fontMetrics().horizontalAdvance(text) + 4;
            setFixedWidth(text.isEmpty() ? 0 : std::max(width(), wanted));
        }
    }
    QSize minimumSizeHint() const override { return {minimumWidth(), QLabel::sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QRect area = contentsRect();
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, area.width());
        setToolTip(shown == text() ? QString() : text());
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter, shown);
    }

private:
    bool message_;
};

} // namespace

frmMain::frmMain(modPProfile& profile, Prompts& prompts, Desktop& desktop, CancelFlag& cancel,
                 QWidget* parent)
    : QMainWindow(parent), profile_(profile), prompts_(prompts), desktop_(desktop), cancel_(cancel),
      views_(session_.Store()) {
    setObjectName("frmMain");
    setWindowTitle(kApplicationTitle);
    setWindowIcon(AppIcon());
    progress_ = new dlgProgress(cancel_, profile_.Settings(), yield_, this);
    Timer1 = new QTimer(this);
    Timer1->setObjectName("Timer1");
    Timer1->setSingleShot(true);
    connect(Timer1, &QTimer::timeout, this, &frmMain::Timer1Fired);
    BuildControls();
    BuildStatusBar();
    BuildMenus();
    favorites_.Load(profile_);
    RebuildMasksMenu();
    ApplyListView();
    const AppSettings& s = profile_.Settings();
    SetStartPath(s.LastSourceFolder);
    txtObjMask->setText(QString::fromStdString(s.LastFileMask));
    status_.State(QStringLiteral("clear"));
    SyncViews();
    // A settings file that cannot be used or written is told once, when the window can say it
    // rather than in the middle of whatever wrote the setting.
    profile_.File().SetProblemHandler([this](const std::string& problem) {
        QTimer::singleShot(0, this, [this, text = QString::fromStdString(problem)] {
            prompts_.Message(text, MessageIcon::Warning, MessageButtons::Ok);
        });
    });
}

frmMain::~frmMain() {
    profile_.File().SetProblemHandler({});
    // The lists outlive the store and the views they show (they go with the widgets): they let
    // go of them first.
    model1_->Clear();
    model2_->Clear();
}

void frmMain::BuildControls() {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    // Access keys: the menus take F, E, S, M and H; the fields and options the letters below.
    auto* request = new QGridLayout;
    auto* startLabel = new QLabel(tr("Start &Path:"), central);
    txtStartPath = new QLineEdit(central);
    txtStartPath->setObjectName("txtStartPath");
    startLabel->setBuddy(txtStartPath);
    cmdPathBack = new QToolButton(central);
    cmdPathBack->setObjectName("cmdPathBack");
    cmdPathBack->setText(tr("&Up"));
    cmdPathBack->setToolTip(tr("Go to the parent folder"));
    auto* maskLabel = new QLabel(tr("File Mas&k:"), central);
    txtObjMask = new QLineEdit(central);
    txtObjMask->setObjectName("txtObjMask");
    txtObjMask->setToolTip(tr("One or more patterns separated by \";\", such as *.txt;*.log"));
    maskLabel->setBuddy(txtObjMask);
    cmdSearch = new QPushButton(tr("&Begin Search"), central);
    cmdSearch->setObjectName("cmdSearch");
    cmdSearch->setDefault(true);
    cmdSearch->setMinimumWidth(
        cmdSearch->fontMetrics().horizontalAdvance(cmdSearch->text().remove(QLatin1Char('&'))) +
        32);
    cmdFileTypes = new QPushButton(tr("File &Types..."), central);
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
    layout->addLayout(request);

    auto* options = new QHBoxLayout;
    const char* optionTexts[] = {QT_TR_NOOP("Search subf&olders"), QT_TR_NOOP("Fo&lders only"),
                                 QT_TR_NOOP("Suppress up&dates")};
    for (int i = 0; i < 3; ++i) {
        chkOpts[i] = new QCheckBox(tr(optionTexts[i]), central);
        chkOpts[i]->setObjectName(QStringLiteral("chkOpts_%1").arg(i));
        connect(chkOpts[i], &QCheckBox::clicked, this, [this, i] { OptionClicked(i); });
        chkOpts[i]->installEventFilter(this); // Enter searches, as in the fields
        options->addWidget(chkOpts[i]);
    }
    chkOpts[0]->setChecked(true);
    options->addStretch();
    auto* listTypes = new QButtonGroup(this);
    const char* typeTexts[] = {QT_TR_NOOP("List mat&ches"), QT_TR_NOOP("List all e&xcept matches")};
    for (int i = 0; i < 2; ++i) {
        optListTypes[i] = new QRadioButton(tr(typeTexts[i]), central);
        optListTypes[i]->setObjectName(QStringLiteral("optListTypes_%1").arg(i));
        listTypes->addButton(optListTypes[i], i);
        optListTypes[i]->installEventFilter(this);
        options->addWidget(optListTypes[i]);
    }
    optListTypes[0]->setChecked(true);
    layout->addLayout(options);

    tsResults = new QTabBar(central);
    tsResults->setObjectName("tsResults");
    tsResults->setExpanding(false);
    tsResults->setDocumentMode(true);
    tsResults->addTab(views_[0].caption);
    layout->addWidget(tsResults);

    auto* labels = new QHBoxLayout;
    lblResultType = new QLabel(central);
    lblResultType->setObjectName("lblResultType");
    lblSelCount = new QLabel(tr("Selected: 0"), central);
    lblSelCount->setObjectName("lblSelCount");
    labels->addWidget(lblResultType, 1);
    labels->addWidget(lblSelCount);
    layout->addLayout(labels);

    // The three lists share one place; only one is shown at a time.
    auto* lists = new QGridLayout;
    model1_ = new ResultListModel(session_.Store(), this);
    model2_ = new ResultListModel(session_.Store(), this);
    List1 = new QTreeView(central);
    List2 = new QTreeView(central);
    for (auto [list, model, name] :
         {std::tuple{List1, model1_, "List1"}, std::tuple{List2, model2_, "List2"}}) {
        list->setObjectName(name);
        list->setModel(model);
        list->setUniformRowHeights(true);
        list->setRootIsDecorated(false);
        list->setSelectionMode(QAbstractItemView::ExtendedSelection);
        list->setSelectionBehavior(QAbstractItemView::SelectRows);
        list->setAllColumnsShowFocus(true);
        list->setDragEnabled(true);
        list->setDragDropMode(QAbstractItemView::DragOnly);
        list->setDefaultDropAction(Qt::CopyAction);
        list->setItemDelegate(
            new ListCellDelegate(profile_.Settings(), list->header(), true, list));
        // Sorted only once the user asks, by a click on a column's header: the header keeps the
        // order (ascending first, then each click the other way); no column is marked before.
        QHeaderView* header = list->header();
        header->setSectionsClickable(true);
        header->setSortIndicator(-1, Qt::AscendingOrder);
        header->setSortIndicatorShown(true);
        connect(header, &QHeaderView::sortIndicatorChanged, this,
                [model](int column, Qt::SortOrder order) {
                    if (column >= 0) {
                        model->sort(column, order);
                    }
                });
        connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &frmMain::UpdateSelectedCount);
        connect(model, &QAbstractItemModel::modelReset, this, &frmMain::UpdateSelectedCount);
        connect(model, &QAbstractItemModel::rowsRemoved, this, &frmMain::UpdateSelectedCount);
        lists->addWidget(list, 0, 0);
    }
    List2->hide();
    lstDummy = new QListWidget(central);
    lstDummy->setObjectName("lstDummy");
    lstDummy->addItem(tr("searching..."));
    lstDummy->hide();
    lists->addWidget(lstDummy, 0, 0);
    layout->addLayout(lists, 1);
    setCentralWidget(central);

    connect(cmdSearch, &QPushButton::clicked, this, &frmMain::SearchButtonClicked);
    // Enter in either field starts a search, as the default button would.
    for (QLineEdit* field : {txtStartPath, txtObjMask}) {
        connect(field, &QLineEdit::returnPressed, this, [this] {
            if (!searching_) {
                SearchButtonClicked();
            }
        });
    }
    connect(cmdPathBack, &QToolButton::clicked, this, &frmMain::PathBackClicked);
    connect(cmdFileTypes, &QPushButton::clicked, this, &frmMain::ShowFileTypes);
    connect(tsResults, &QTabBar::currentChanged, this, &frmMain::TabChanged);
}

void frmMain::BuildStatusBar() {
    QStatusBar* bar = statusBar();
    bar->setSizeGripEnabled(false); // the window's frame resizes it; the room goes to the texts
    for (int i = 0; i < StatusLine::kParts; ++i) {
        statusParts_[i] = new StatusPartLabel(i == 0, bar);
        statusParts_[i]->setObjectName(QStringLiteral("StatusPart%1").arg(i));
        if (i == 0) {
            bar->addWidget(statusParts_[i], 1);
        } else {
            bar->addPermanentWidget(statusParts_[i]);
        }
    }
    status_.SetDisplay([this](StatusPart part, const QString& text) {
        static_cast<StatusPartLabel*>(statusParts_[static_cast<size_t>(part)])->Show(text);
    });
}

void frmMain::BuildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    newAction_ = file->addAction(tr("&New"), this, &frmMain::NewResults);
    newAction_->setObjectName("mnuFile_0");
    QAction* closeViews = file->addAction(tr("C&lose Views"), this, &frmMain::CloseViews);
    closeViews->setObjectName("mnuFile_1");
    file->addSeparator();
    QAction* open = file->addAction(tr("&Open with Associated App"), this, &frmMain::OpenSelected);
    open->setObjectName("mnuFile_3");
    QAction* notepad =
        file->addAction(tr("O&pen with Notepad"), this, &frmMain::OpenSelectedWithNotepad);
    notepad->setObjectName("mnuFile_4");
    QAction* openWith =
        file->addAction(tr("Open &with..."), this, &frmMain::OpenSelectedWithDialog);
    openWith->setObjectName("mnuFile_5");
    file->addSeparator();
    saveAction_ = file->addAction(tr("&Save..."), this, &frmMain::SaveResultList);
    saveAction_->setObjectName("mnuFile_7");
    saveAction_->setShortcut(QKeySequence::Save);
    saveAllAction_ = file->addAction(tr("Save &All..."), this, &frmMain::SaveAllResults);
    saveAllAction_->setObjectName("mnuFile_8");
    file->addSeparator();
    QAction* copyTo = file->addAction(tr("&Copy..."), this, [this] {
        RequestCommand(FolderView() ? PendingAction::CopyFolder : PendingAction::CopyFiles);
    });
    copyTo->setObjectName("mnuFile_10");
    // Moving files is offered nowhere; the entry is kept, hidden.
    QAction* move = file->addAction(tr("&Move..."));
    move->setObjectName("mnuFile_11");
    move->setVisible(false);
    move->setEnabled(false);
    QAction* remove = file->addAction(tr("&Delete"), this, [this] {
        RequestCommand(FolderView() ? PendingAction::DeleteFolder : PendingAction::DeleteFiles);
    });
    remove->setObjectName("mnuFile_12");
    file->addSeparator();
    QAction* properties =
        file->addAction(tr("P&roperties"), this, &frmMain::ShowSelectedProperties);
    properties->setObjectName("mnuFile_14");
    file->addSeparator();
    QAction* exitAction = file->addAction(tr("E&xit"), this, &QWidget::close);
    exitAction->setObjectName("mnuFile_16");

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    QAction* all = edit->addAction(tr("Select &All"), this, &frmMain::SelectAll);
    all->setShortcut(QKeySequence::SelectAll);
    QAction* none = edit->addAction(tr("Select &None"), this, &frmMain::SelectNone);
    QAction* invert = edit->addAction(tr("&Invert Selection"), this, &frmMain::InvertSelection);
    edit->addSeparator();
    QAction* copy =
        edit->addAction(tr("&Copy to Clipboard"), this, &frmMain::CopySelectionToClipboard);
    copy->setObjectName("mnuEditCopy");
    copy->setShortcut(QKeySequence::Copy);
    edit->addSeparator();
    QAction* preferences =
        edit->addAction(tr("&Preferences..."), this, [this] { ShowPreferences(1); });
    preferences->setObjectName("mnuEditPreferences");

    QMenu* select = menuBar()->addMenu(tr("&Select"));
    QAction* local = select->addAction(tr("&Local Path"), this, [this] { SelectSearchRoot(6); });
    QAction* share = select->addAction(tr("Network &Share"), this, [this] { SelectSearchRoot(7); });
    QAction* admin = select->addAction(tr("Network &Administrative Shares"), this,
                                       [this] { SelectSearchRoot(8); });

    masksMenu_ = menuBar()->addMenu(tr("&Masks"));
    masksMenu_->setObjectName("zmnuMasks");
    // Kept across the menu's rebuilds; the favourites are made anew each time.
    const auto masksEntry = [this](const QString& text, int index, auto handler) {
        auto* action = new QAction(text, this);
        action->setObjectName(QStringLiteral("mnuMasks_%1").arg(index));
        connect(action, &QAction::triggered, this, handler);
        return action;
    };
    registeredTypesAction_ =
        masksEntry(tr("Registered File Types..."), 0, [this] { ShowRegisteredTypes(); });
    filterActions_ = {
        masksEntry(tr("Filter"), 2, [this] { FilterOnCurrentType(); }),
        masksEntry(tr("Filter on Multiple Types..."), 3, [this] { FilterOnMultipleTypes(false); }),
        masksEntry(tr("Filter with Multiple Views..."), 4,
                   [this] { FilterOnMultipleTypes(true); })};
    editFavoritesAction_ =
        masksEntry(tr("Edit Favorite Masks List..."), 6, [this] { ShowPreferences(4); });
    appendMaskAction_ = new QAction(tr("Append Selection to Existing Mask"), this);
    appendMaskAction_->setObjectName("mnuMasks_8");
    appendMaskAction_->setCheckable(true);

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(tr("Tallymoor on the &Web"), this,
                    [this] { modShell::ShellOpenDocument(kProjectPage, desktop_); });
    help->addAction(tr("&Support by E-mail..."), this,
                    [this] { modShell::ShellOpenDocument(kSupportAddress, desktop_); });
    help->addSeparator();
    help->addAction(tr("&About Tallymoor..."), this, &frmMain::AboutRequested);

    verbActions_ = {open, notepad, openWith, copyTo, remove, properties};
    BuildPopups();

    storeActions_ = {closeViews, all, none, invert, copy, local, share, admin, preferences};
    UpdateCommandStates();
}

void frmMain::ApplyListView() {
    const bool report = profile_.Settings().LVDefaultView == 1;
    for (auto [list, model] : {std::pair{List1, model1_}, std::pair{List2, model2_}}) {
        model->SetReport(report);
        list->setHeaderHidden(!report);
        if (report) {
            // The folder takes the room the others leave.
            QHeaderView* header = list->header();
            header->setStretchLastSection(false);
            header->setSectionResizeMode(QHeaderView::Interactive);
            header->setSectionResizeMode(ResultListModel::Folder, QHeaderView::Stretch);
            const int widths[] = {220, 0, 60, 170};
            for (const int column : {0, 2, 3}) {
                header->resizeSection(column, widths[column]);
            }
        } else {
            // The one column of paths takes the whole width.
            list->header()->setSortIndicator(-1, Qt::AscendingOrder);
            list->header()->setStretchLastSection(true);
        }
        list->viewport()->update();
    }
}

void frmMain::RebuildMasksMenu() {
    masksMenu_->clear();
    masksMenu_->addAction(registeredTypesAction_);
    masksMenu_->addSeparator();
    for (QAction* filter : filterActions_) {
        masksMenu_->addAction(filter);
    }
    masksMenu_->addSeparator();
    masksMenu_->addAction(editFavoritesAction_);
    masksMenu_->addSeparator()->setVisible(editFavoritesAction_->isVisible());
    masksMenu_->addAction(appendMaskAction_);
    masksMenu_->addSeparator();
    QAction* all = masksMenu_->addAction(QStringLiteral("*.*"), this, &frmMain::ChooseStarDotStar);
    all->setObjectName("mnuMasks_10");
    const auto& captions = favorites_.Captions();
    for (size_t i = 0; i < captions.size(); ++i) {
        QAction* entry = masksMenu_->addAction(QString::fromStdString(captions[i]), this,
                                               [this, i] { ChooseMaskFavorite(i); });
        entry->setObjectName(QStringLiteral("mnuMaskFavs_%1").arg(i));
        entry->setEnabled(favorites_.IsEnabled(i) && !busy_);
    }
}

void frmMain::ChooseMaskFavorite(size_t index) {
    if (busy_ || !favorites_.IsEnabled(index)) {
        return;
    }
    txtObjMask->setText(QString::fromStdString(favorites_.Choose(
        index, txtObjMask->text().toStdString(), appendMaskAction_->isChecked())));
}

void frmMain::ChooseStarDotStar() {
    if (busy_) {
        return;
    }
    txtObjMask->setText(QStringLiteral("*.*"));
    optListTypes[0]->setChecked(true);
    if (chkOpts[1]->isChecked()) {
        chkOpts[1]->setChecked(false);
        OptionClicked(1);
    }
}

void frmMain::OptionClicked(int index) {
    const bool checked = chkOpts[index]->isChecked();
    if (index == 1) {
        txtObjMask->setEnabled(!checked);
        optListTypes[0]->setEnabled(!checked);
        optListTypes[1]->setEnabled(!checked);
        if (checked) {
            SetStatus(StatusPart::Mode, tr("Folder Search"));
        } else {
            status_.Clear(StatusPart::Mode);
        }
    } else if (index == 2) {
        session_.Options().ShowFolderProgress = !checked;
        if (checked) {
            SetStatus(StatusPart::Mode, tr("Update suppressed"));
        } else {
            status_.Clear(StatusPart::Mode);
        }
        if (searching_) {
            // Folder names will no longer appear on the status line.
            status_.Clear(StatusPart::Matched);
            if (checked) {
                SetStatus(StatusPart::Message, tr("Searching..."));
            } else {
                status_.Clear(StatusPart::Message);
            }
        }
    }
}

void frmMain::SetBusy(bool busy) {
    busy_ = busy;
    for (QAction* action : storeActions_) {
        action->setEnabled(!busy);
    }
    UpdateCommandStates();
    for (QAction* action : masksMenu_->actions()) {
        if (action != appendMaskAction_ && std::find(filterActions_.begin(), filterActions_.end(),
                                                     action) == filterActions_.end()) {
            action->setEnabled(!busy);
        }
    }
    if (!busy) {
        RebuildMasksMenu();
    }
    txtStartPath->setReadOnly(busy);
    cmdPathBack->setEnabled(!busy);
    tsResults->setEnabled(!busy);
}

// Save and the census need results; Save All only a store (even an empty search's); New
// whatever there is to clear.
void frmMain::UpdateCommandStates() {
    const bool results = !busy_ && session_.ResultsAvailable();
    newAction_->setEnabled(!busy_ && (session_.Store().UBound() >= 0 || views_.Count() > 1));
    saveAction_->setEnabled(results);
    saveAllAction_->setEnabled(!busy_ && session_.Store().UBound() >= 0);
    for (QAction* action : verbActions_) {
        action->setEnabled(results);
    }
    if (moveFolderAction_ != nullptr) {
        moveFolderAction_->setEnabled(results && folderResults_);
    }
    for (QAction* action : filterActions_) {
        action->setEnabled(results && !FolderView());
    }
    if (cmdFileTypes != nullptr) {
        cmdFileTypes->setEnabled(results);
    }
}

Placement frmMain::CurrentPlacementTwips() const {
    const double dpi = screen() ? screen()->logicalDotsPerInch() : 96.0;
    const auto twips = [dpi](int pixels) { return static_cast<int32_t>(pixels * 1440.0 / dpi); };
    return {twips(x()), twips(y()), twips(width()), twips(height()), '0'};
}

void frmMain::keyPressEvent(QKeyEvent* event) {
    // Escape cancels a search or a command, wherever the focus is (no field takes the key).
    if (event->key() == Qt::Key_Escape && (searching_ || commandRunning_)) {
        SearchButtonClicked();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (busy_) {
        // Closing during a search only cancels it.
        event->ignore();
        cancel_.Raise();
        return;
    }
    cancel_.Raise();
    yield_.Now();
    model1_->Clear();
    model2_->Clear();
    views_.Clear();
    session_.Erase();
    status_.Close();

    const double dpi = screen() ? screen()->logicalDotsPerInch() : 96.0;
    const QSize screenPixels = screen() ? screen()->size() : QSize(1920, 1080);
    const ScreenTwips screenTwips{static_cast<int32_t>(screenPixels.width() * 1440.0 / dpi),
                                  static_cast<int32_t>(screenPixels.height() * 1440.0 / dpi)};
    const WindowState state = isMinimized()   ? WindowState::Minimised
                              : isMaximized() ? WindowState::Maximised
                                              : WindowState::Normal;
    SaveWindowPlacement(
        profile_, ExitPlacement(state, CurrentPlacementTwips(), startupPlacement_, screenTwips));
    favorites_.Save(profile_);
    event->accept();
}
