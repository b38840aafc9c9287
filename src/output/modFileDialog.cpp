#include "output/modFileDialog.h"

#include "platform/Prompts.h"
#include "settings/modPProfile.h"
#include "text/PathText.h"

#include <QCoreApplication>

namespace modFileDialog {

std::string SaveReportDialog(Prompts& prompts, bool entireListEnabled, bool& entireList,
                             std::string& initialFolder, const std::string& initialName) {
    SaveRequest request;
    request.title = QCoreApplication::translate("modFileDialog", "Save Report As");
    request.filters = {QCoreApplication::translate("modFileDialog", "Text Files  (*.txt)"),
                       QCoreApplication::translate("modFileDialog", "All Files  (*.*)")};
    request.defaultSuffix = QStringLiteral("txt");
    request.folder = initialFolder;
    request.name = initialName;
    request.entireListEnabled = entireListEnabled;
    request.entireListChecked = entireList;
    const SaveAnswer answer = prompts.SaveFile(request);
    if (answer.path.empty()) {
        return {};
    }
    entireList = answer.entireList;
    initialFolder = ParentFolder(answer.path);
    return answer.path;
}

std::string AskForOutputFile(Prompts& prompts, modPProfile& profile, bool entireListEnabled,
                             bool& entireList, const std::string& initialName,
                             bool writeBackOnCancel) {
    std::string& folder = profile.Settings().LastOutputSaveDirectory;
    const std::string path =
        SaveReportDialog(prompts, entireListEnabled, entireList, folder, initialName);
    if (!folder.empty() && (!path.empty() || writeBackOnCancel)) {
        profile.ProfileSetPathsKey("LastOutputSaveDirectory", folder);
    }
    return path;
}

} // namespace modFileDialog
