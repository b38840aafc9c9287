#pragma once

#include <functional>
#include <memory>
#include <string>

class Desktop;
class Prompts;
class frmMain;
class modPProfile;

class QCoreApplication;

// Installs the translations for the user's language, when there are any: Qt's own (the standard
// buttons and dialogs) and the program's, from "translations" beside the binary (a build folder)
// or share/tallymoor/translations beside its bin folder (an installed program).
void InstallTranslations(QCoreApplication& app);

// Places the main window from the settings (twips to pixels on its screen), keeps that
// placement for a minimised exit and writes the start-up [windows] values.
void PlaceMainWindow(frmMain& window, modPProfile& profile);
// A dialog no larger than the screen it opens on leaves (a small screen, a large scale).
void KeepDialogWhole(class QWidget& dialog);

// Makes the desktop the window's commands reach (launching, file manager), asking through
// `prompts` when it needs the user.
using DesktopFactory = std::function<std::unique_ptr<Desktop>(Prompts& prompts)>;

// `Main` for the window: the splash, the settings (a default file on first start), the
// placement, the main window (with `startFolder`, when given, as its Start Path); returns the
// exit status of the event loop.
int RunWindow(int& argc, char** argv, const std::string& settingsOverride,
              const std::string& startFolder, const DesktopFactory& makeDesktop);
