#include "fileops/modShell.h"

#include "platform/Desktop.h"
#include "platform/Prompts.h"
#include "settings/AppSettings.h"
#include "text/DisplayText.h"

#include <QCoreApplication>
#include <QUrl>

namespace modShell {

namespace {

struct Text {
    Q_DECLARE_TR_FUNCTIONS(modShell)
};

// The question asked once for several items; true when the command may go on.
bool ConfirmMany(const std::vector<std::string>& selected, const QString& question,
                 Prompts& prompts) {
    if (selected.empty()) {
        return false;
    }
    return selected.size() == 1 || prompts.Message(question, MessageIcon::Warning,
                                                   MessageButtons::YesNo) == MessageAnswer::Yes;
}

bool ConfirmItem(const QString& question, Prompts& prompts) {
    return prompts.Message(question, MessageIcon::Question, MessageButtons::YesNo) ==
           MessageAnswer::Yes;
}

} // namespace

void ShellOpenSelected(const std::vector<std::string>& selected, bool folderView,
                       const AppSettings& settings, Prompts& prompts, Desktop& desktop) {
    if (!ConfirmMany(selected,
                     Text::tr("More than one file is selected. Are you sure you want to open all "
                              "selected files in the current window?"),
                     prompts)) {
        return;
    }
    const bool explore = folderView && settings.OpenFoldersWithExplore;
    for (const std::string& path : selected) {
        if (settings.ConfirmOnOpen &&
            !ConfirmItem(Text::tr("Confirm opening of %1").arg(DisplayPath(path)), prompts)) {
            continue;
        }
        if (explore) {
            desktop.Explore(path);
        } else {
            desktop.Open(path);
        }
    }
}

void ShellOpenWithNotepad(const std::vector<std::string>& selected, const AppSettings& settings,
                          Prompts& prompts, Desktop& desktop) {
    if (!ConfirmMany(selected,
                     Text::tr("More than one file is selected. Are you sure you want to open all "
                              "selected files in the current window?"),
                     prompts)) {
        return;
    }
    for (const std::string& path : selected) {
        if (settings.ConfirmOnOpen &&
            !ConfirmItem(Text::tr("Confirm using Notepad to open: \r\n%1").arg(DisplayPath(path)),
                         prompts)) {
            continue;
        }
        desktop.OpenInTextEditor(path);
    }
}

void ShellShowProperties(const std::vector<std::string>& selected, Prompts& prompts,
                         Desktop& desktop) {
    if (!ConfirmMany(selected,
                     Text::tr("More than one file is selected. Are you sure you want to open "
                              "property pages for all selected files?"),
                     prompts)) {
        return;
    }
    for (const std::string& path : selected) {
        desktop.ShowProperties(path);
    }
}

void ShellOpenWithDialog(const std::vector<std::string>& selected, const AppSettings& settings,
                         Prompts& prompts, Desktop& desktop) {
    if (selected.empty()) {
        prompts.Message(Text::tr("Sorry. The 'Open With' dialog may only be invoked when one "
                                 "file is selected."),
                        MessageIcon::Information, MessageButtons::Ok);
        return;
    }
    if (selected.size() > 1) {
        return; // the entries that lead here are meant for one file
    }
    const std::string& path = selected.front();
    if (settings.AskToOpenWith &&
        !ConfirmItem(
            Text::tr("Show the 'Open With...' dialog for file: \r\n%1").arg(DisplayPath(path)),
            prompts)) {
        return;
    }
    if (!path.empty()) {
        desktop.OpenWith(path);
    }
}

void ShellOpenDocument(const std::string& target, Desktop& desktop) {
    const QUrl url(QString::fromStdString(target));
    if (!url.scheme().isEmpty() && !url.isLocalFile()) {
        desktop.OpenUrl(target);
        return;
    }
    // Open offers the Open With dialog itself when nothing is associated with the type.
    desktop.Open(target);
}

} // namespace modShell
