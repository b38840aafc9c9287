#pragma once

#include "output/StatusLine.h"
#include "platform/EventYield.h"
#include "search/SearchSession.h"
#include "settings/MaskFavorites.h"

#include <functional>

class CancelFlag;
class Desktop;
class WindowPrompts;
class dlgProgress;
class modPProfile;

// What the main window's parts share: the settings, the person and the desktop they reach, the
// search with its store, the status line, and whether a search or a command holds the store.
struct WindowContext {
    WindowContext(modPProfile& profile, WindowPrompts& prompts, Desktop& desktop,
                  CancelFlag& cancel)
        : profile(profile), prompts(prompts), desktop(desktop), cancel(cancel) {}

    modPProfile& profile;
    WindowPrompts& prompts;
    Desktop& desktop;
    CancelFlag& cancel;
    EventYield yield;
    SearchSession session;
    StatusLine status;
    MaskFavorites favorites;
    dlgProgress* progress = nullptr; // the window's own, transient for it
    // While set, every command that would touch the result store is refused.
    bool busy = false;
    // Sets the busy flag and tells `busyChanged` (the window: its controls follow).
    void SetBusy(bool isBusy) {
        busy = isBusy;
        if (busyChanged) {
            busyChanged(isBusy);
        }
    }
    std::function<void(bool)> busyChanged;
};
