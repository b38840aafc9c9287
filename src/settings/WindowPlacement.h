#pragma once

#include <QRect>
#include <QSize>
#include <cstdint>
#include <optional>
#include <vector>

class modPProfile;
struct AppSettings;

// The main window's placement rules, in twips, as pure functions of the settings and the
// screen size; the window converts to pixels.

struct Placement {
    int32_t Left = 0;
    int32_t Top = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    char Winstate = '0'; // '0' normal, '1' minimised, '2' maximised
};

// Twips (1/1440 inch) and pixels at a screen's dots per inch, both ways: the one conversion.
struct TwipScale {
    double dpi = 96.0;
    int32_t ToTwips(int pixels) const { return static_cast<int32_t>(pixels * 1440.0 / dpi); }
    int ToPixels(int32_t twips) const { return static_cast<int>(twips * dpi / 1440.0); }
};

struct ScreenTwips {
    int32_t Width = 0;
    int32_t Height = 0;
};

enum class WindowState { Normal, Minimised, Maximised };

// The placement to open with; nothing when there is no settings file (the window keeps its
// own). Winstate is read as the absolute rounded number and only 0 and 2 are kept; a Width of 0
// becomes 11970 and a Top of 0 becomes 9270 (the default height, deliberately); anything not
// positive then centres an 11970 by 9270 window.
std::optional<Placement> ReadWindowPlacement(const modPProfile& profile, ScreenTwips screen);

// What [windows] holds while the program runs: the state, a centred left and top for the
// window's current size, and the default size. The real placement is written only at exit.
void WriteStartupPlacement(modPProfile& profile, char winstate, ScreenTwips screen,
                           int32_t windowWidth, int32_t windowHeight);

// The placement recorded when the window closes. Normal: the window's own. Maximised: a
// default-size window centred with 11970 for both offsets (deliberately). Minimised: the
// placement recorded at start-up, with state "1".
Placement ExitPlacement(WindowState state, const Placement& window, const Placement& atStartup,
                        ScreenTwips screen);

// Keeps `placement` in the settings (nothing written).
void KeepWindowPlacement(AppSettings& settings, const Placement& placement);

// Keeps `placement` in the settings and writes [windows].
void SaveWindowPlacement(modPProfile& profile, const Placement& placement);

// A window's frame as the rules place it (`frame`, in pixels), kept whole on the screen it opens
// on: no larger than the screen's `available` area, moved inside it; a frame that touches no
// screen of `screens` opens centred on `available`. `decoration` is what the window manager
// adds around the contents (a title bar), taken from the room before the contents are sized.
QRect KeepWhole(QRect frame, const QRect& available, const std::vector<QRect>& screens,
                QSize decoration = {});
