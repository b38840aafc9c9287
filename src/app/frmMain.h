#pragma once

#include "app/window/ChangeMonitor.h"
#include "app/window/CommandRunner.h"
#include "app/window/MainMenus.h"
#include "app/window/MenuCommands.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchController.h"
#include "app/window/SearchRequest.h"
#include "app/window/SelectionCommands.h"
#include "app/window/TypeCommands.h"
#include "app/window/WindowContext.h"
#include "settings/WindowPlacement.h"

#include <QMainWindow>
#include <array>

class QLabel;
enum class PreferencesTab;

// `frmMain`: the main window, a frame that owns its parts (the request, the search, the result
// views, the menus and the commands) and what they share, and wires them to each other. Long
// work runs on threads of its own while this one keeps the event loop running; while a search
// or command runs (the busy flag) every command that would touch the result store is refused.
class frmMain : public QMainWindow {
    Q_OBJECT
public:
    frmMain(modPProfile& profile, WindowPrompts& prompts, Desktop& desktop, CancelFlag& cancel,
            QWidget* parent = nullptr);
    ~frmMain() override;

    SearchRequest& Request() { return request_; }
    SearchController& Search() { return search_; }
    ResultPane& Results() { return results_; }
    const ResultPane& Results() const { return results_; }
    TypeCommands& Types() { return types_; }
    SelectionCommands& Selection() { return selection_; }
    CommandRunner& Commands() { return commands_; }
    MainMenus& Menus() { return menus_; }
    ChangeMonitor& Monitor() { return monitor_; }

    StatusLine& Status() { return shared_.status; }
    SearchSession& Session() { return shared_.session; }
    EventYield& Yield() { return shared_.yield; }
    bool IsBusy() const { return shared_.busy; }
    // Every part's controls and entries as the busy flag now says.
    void SetBusy(bool busy);
    // The message part of the status line (commands fit paths to it).
    const QLabel* MessagePart() const { return statusParts_[0]; }

    // "&New": the store, the views and the census emptied.
    void NewResults();
    // The preferences at a tab; the settings are read again when they close.
    void ShowPreferences(PreferencesTab tab);
    // The placement the window was given at start-up (kept for a minimised exit).
    void SetStartupPlacement(const Placement& placement) { startupPlacement_ = placement; }

signals:
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void BuildStatusBar();
    Placement CurrentPlacementTwips() const;

    WindowContext shared_;
    Placement startupPlacement_;
    std::array<QLabel*, StatusLine::kParts> statusParts_{};
    SearchRequest request_;
    SearchController search_;
    ResultPane results_;
    TypeCommands types_;
    SelectionCommands selection_;
    CommandRunner commands_;
    WindowMenuCommands menuCommands_;
    MainMenus menus_;
    ChangeMonitor monitor_;
};
