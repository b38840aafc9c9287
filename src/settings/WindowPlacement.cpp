#include "settings/WindowPlacement.h"

#include "settings/modPProfile.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr int32_t kWidth = AppSettings::kDefaultWidth;
constexpr int32_t kHeight = AppSettings::kDefaultHeight;
} // namespace

std::optional<Placement> ReadWindowPlacement(const modPProfile& profile, ScreenTwips screen) {
    if (!profile.FileExists()) {
        return std::nullopt;
    }
    Placement p;
    const std::string state = profile.ProfileGetString("windows", "winstate", "");
    if (!state.empty()) {
        const int32_t number = std::abs(ReadNumber(state));
        if (number == 0 || number == 2) {
            p.Winstate = static_cast<char>('0' + number);
        }
    }
    p.Left = ReadNumber(profile.ProfileGetString("windows", "Left", ""));
    p.Top = ReadNumber(profile.ProfileGetString("windows", "Top", ""));
    p.Width = ReadNumber(profile.ProfileGetString("windows", "Width", ""));
    p.Height = ReadNumber(profile.ProfileGetString("windows", "Height", ""));
    if (p.Width == 0) {
        p.Width = kWidth;
    }
    if (p.Top == 0) {
        p.Top = kHeight;
    }
    if (p.Left > 0 && p.Top > 0 && p.Width >= 1 && p.Height > 0) {
        return p;
    }
    p.Left = (screen.Width - kWidth) / 2;
    p.Top = (screen.Height - kHeight) / 2;
    p.Width = kWidth;
    p.Height = kHeight;
    return p;
}

void WriteStartupPlacement(modPProfile& profile, char winstate, ScreenTwips screen,
                           int32_t windowWidth, int32_t windowHeight) {
    IniFile::Batch batch(profile.File());
    profile.ProfileSetWindowsKey("Winstate", std::string(1, winstate));
    profile.ProfileSetWindowsKey("Left", std::to_string((screen.Width - windowWidth) / 2));
    profile.ProfileSetWindowsKey("Top", std::to_string((screen.Height - windowHeight) / 2));
    profile.ProfileSetWindowsKey("Width", std::to_string(kWidth));
    profile.ProfileSetWindowsKey("Height", std::to_string(kHeight));
}

Placement ExitPlacement(WindowState state, const Placement& window, const Placement& atStartup,
                        ScreenTwips screen) {
    switch (state) {
    case WindowState::Minimised: {
        Placement p = atStartup;
        p.Winstate = '1';
        return p;
    }
    case WindowState::Maximised:
        return {(screen.Width - kWidth) / 2, (screen.Height - kWidth) / 2, kWidth, kHeight, '2'};
    case WindowState::Normal:
        break;
    }
    Placement p = window;
    p.Winstate = '0';
    return p;
}

void KeepWindowPlacement(AppSettings& settings, const Placement& placement) {
    settings.Left = placement.Left;
    settings.Top = placement.Top;
    settings.Width = placement.Width;
    settings.Height = placement.Height;
    settings.Winstate = placement.Winstate;
}

void SaveWindowPlacement(modPProfile& profile, const Placement& placement) {
    KeepWindowPlacement(profile.Settings(), placement);
    IniFile::Batch batch(profile.File());
    profile.ProfileSaveWindowPlacement();
}

QRect KeepWhole(QRect frame, const QRect& available, const std::vector<QRect>& screens,
                QSize decoration) {
    const QSize room = available.size() - decoration;
    frame.setSize(frame.size().boundedTo(room.expandedTo({1, 1})));
    const bool seen = std::any_of(screens.begin(), screens.end(),
                                  [&](const QRect& screen) { return screen.intersects(frame); });
    if (!seen) {
        frame.moveCenter(available.center());
    }
    const QSize whole = frame.size() + decoration;
    frame.moveLeft(std::clamp(frame.left(), available.left(),
                              std::max(available.left(), available.right() + 1 - whole.width())));
    frame.moveTop(std::clamp(frame.top(), available.top(),
                             std::max(available.top(), available.bottom() + 1 - whole.height())));
    return frame;
}
