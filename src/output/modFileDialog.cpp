#include "output/modFileDialog.h"

#include "platform/Prompts.h"
#include "search/PathText.h"
#include "settings/modPProfile.h"

namespace modFileDialog {

bool& EntireListSwitch() {
    static bool entireList = false;
    return entireList;
}

std::string SaveReportDialog(Prompts& prompts, QWidget* owner, bool& entireList,
                             std::string& initialFolder, const std::string& initialName) {
    SaveRequest request;
    request.title = QStringLiteral("Save Report As");
    request.filters = {QStringLiteral("Text Files  (*.txt)"), QStringLiteral("All Files  (*.*)")};
    request.defaultSuffix = QStringLiteral("txt");
    request.folder = initialFolder;
    request.name = initialName;
    request.entireListEnabled = EntireListSwitch();
    request.entireListChecked = entireList;
    const SaveAnswer answer = prompts.SaveFile(owner, request);
    if (answer.path.empty()) {
        return {};
    }
    entireList = answer.entireList;
    initialFolder = ParentFolder(answer.path);
    return answer.path;
}

std::string AskForOutputFile(Prompts& prompts, QWidget* owner, modPProfile& profile,
                             bool& entireList, const std::string& initialName,
                             bool writeBackOnCancel) {
    std::string& folder = profile.Settings().LastOutputSaveDirectory;
    const std::string path = SaveReportDialog(prompts, owner, entireList, folder, initialName);
    if (!folder.empty() && (!path.empty() || writeBackOnCancel)) {
        profile.ProfileSetPathsKey("LastOutputSaveDirectory", folder);
    }
    return path;
}

} // namespace modFileDialog
