#include "app/frmMain.h"

#include "app/AppIcon.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "platform/WindowPrompts.h"
#include "settings/dlgPreferences.h"
#include "settings/modPProfile.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
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

frmMain::frmMain(modPProfile& profile, WindowPrompts& prompts, Desktop& desktop, CancelFlag& cancel,
                 QWidget* parent)
    : QMainWindow(parent), shared_(profile, prompts, desktop, cancel),
      request_(*this, shared_,
               {[this] { search_.ButtonClicked(); }, [this] { return search_.Searching(); },
                [this] { types_.ShowFileTypes(); }}),
      search_(shared_, request_, results_, types_, monitor_,
              [this] { return commands_.Running(); }),
      results_(*this, shared_,
               {[this](PendingAction action) { commands_.Request(action); },
                [this](const QPoint& global) { menus_.ShowPopup(global); },
                [this](bool shift) { selection_.DoubleClicked(shift); },
                [this] { menus_.UpdateStates(); }}),
      types_(*this, results_, request_, shared_), selection_(results_, request_, shared_),
      commands_(*this, shared_, results_, request_, types_, monitor_,
                {[this] { search_.ButtonClicked(); },
                 [this](PreferencesTab tab) { ShowPreferences(tab); },
                 [this] { return MessagePart(); }}),
      menuCommands_(results_, request_, selection_, types_, commands_, desktop,
                    {[this] { NewResults(); }, [this] { close(); },
                     [this](PreferencesTab tab) { ShowPreferences(tab); },
                     [this] { emit AboutRequested(); }}),
      menus_(*this, menuCommands_, shared_),
      monitor_(*this, shared_,
               {[this](const QString& tip) { statusBar()->setToolTip(tip); },
                [this] { return commands_.Running(); },
                [this] { return results_.VisibleRowCount(); },
                [this] { search_.ButtonClicked(); }}) {
    setObjectName("frmMain");
    shared_.busyChanged = [this](bool busy) {
        menus_.SetBusy(busy);
        request_.SetBusy(busy);
        results_.SetBusy(busy);
    };
    setWindowTitle(kApplicationTitle);
    setWindowIcon(AppIcon());
    shared_.progress = new dlgProgress(cancel, profile.Settings(), shared_.yield, this);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->addLayout(request_.Build(central));
    layout->addLayout(results_.Build(central), 1);
    setCentralWidget(central);
    BuildStatusBar();
    shared_.favorites.Load(profile);
    menus_.Build(menuBar());
    results_.ApplyListView();
    const AppSettings& s = profile.Settings();
    request_.SetStartPath(s.LastSourceFolder);
    request_.SetMask(QString::fromStdString(s.LastFileMask));
    shared_.status.State(StatusLine::Mode::Clear);
    results_.SyncViews();
    // A settings file that cannot be used or written is told once, when the window can say it
    // rather than in the middle of whatever wrote the setting.
    profile.File().SetProblemHandler([this](const std::string& problem) {
        QTimer::singleShot(0, this, [this, text = QString::fromStdString(problem)] {
            shared_.prompts.Message(text, MessageIcon::Warning, MessageButtons::Ok);
        });
    });
}

frmMain::~frmMain() {
    shared_.profile.File().SetProblemHandler({});
    // The lists outlive the store and the views they show (they go with the widgets): they let
    // go of them first.
    results_.ClearLists();
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
    shared_.status.SetDisplay([this](StatusPart part, const QString& text) {
        static_cast<StatusPartLabel*>(statusParts_[static_cast<size_t>(part)])->Show(text);
    });
}

void frmMain::SetBusy(bool busy) {
    shared_.SetBusy(busy);
}

void frmMain::NewResults() {
    if (shared_.busy) {
        return;
    }
    results_.ResetPlaceholder();
    results_.ClearLists();
    results_.Views().Clear();
    shared_.status.State(StatusLine::Mode::Clear);
    types_.UnloadCensus();
    monitor_.Stop();
    shared_.session.Erase();
    results_.SetFolderResults(false);
    results_.SyncViews();
    SetBusy(false);
}

void frmMain::ShowPreferences(PreferencesTab tab) {
    if (shared_.busy) {
        return;
    }
    modPProfile& profile = shared_.profile;
    dlgPreferences dialog(
        profile, shared_.prompts,
        [this, &profile] {
            shared_.favorites.Clear();
            shared_.favorites.Load(profile);
            menus_.RebuildMasksMenu();
        },
        this);
    dialog.SetFavorites(shared_.favorites.ShowsPlaceholder() ? std::vector<std::string>()
                                                             : shared_.favorites.Captions(),
                        shared_.favorites.Loaded());
    dialog.SetStartupTab(tab);
    shared_.prompts.ShowModal(&dialog);
    profile.ProfileLoadSettings();
    results_.ApplyListView();
    if (!profile.Settings().WatchForChanges) {
        monitor_.Stop();
    }
}

Placement frmMain::CurrentPlacementTwips() const {
    const TwipScale scale{screen() ? screen()->logicalDotsPerInch() : 96.0};
    return {scale.ToTwips(x()), scale.ToTwips(y()), scale.ToTwips(width()), scale.ToTwips(height()),
            '0'};
}

void frmMain::keyPressEvent(QKeyEvent* event) {
    // Escape cancels a search or a command, wherever the focus is (no field takes the key).
    if (event->key() == Qt::Key_Escape && (search_.Searching() || commands_.Running())) {
        search_.ButtonClicked();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (request_.EnterPressed(watched, event)) {
        if (!search_.Searching()) {
            search_.ButtonClicked();
        }
        return true;
    }
    return results_.ListEvent(watched, event) || QMainWindow::eventFilter(watched, event);
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (shared_.busy) {
        // Closing during a search only cancels it.
        event->ignore();
        search_.Cancel();
        return;
    }
    shared_.cancel.Raise();
    shared_.yield.Now();
    monitor_.Stop();
    results_.ClearLists();
    results_.Views().Clear();
    shared_.session.Erase();
    shared_.status.Close();

    const TwipScale scale{screen() ? screen()->logicalDotsPerInch() : 96.0};
    const QSize screenPixels = screen() ? screen()->size() : QSize(1920, 1080);
    const ScreenTwips screenTwips{scale.ToTwips(screenPixels.width()),
                                  scale.ToTwips(screenPixels.height())};
    const WindowState state = isMinimized()   ? WindowState::Minimised
                              : isMaximized() ? WindowState::Maximised
                                              : WindowState::Normal;
    SaveWindowPlacement(shared_.profile, ExitPlacement(state, CurrentPlacementTwips(),
                                                       startupPlacement_, screenTwips));
    shared_.favorites.Save(shared_.profile);
    event->accept();
}
