#include "ScriptedPrompts.h"

#include <gtest/gtest.h>

MessageAnswer ScriptedPrompts::Message(const QString& text, MessageIcon icon,
                                       MessageButtons buttons, const QString& title) {
    asked.push_back({text, icon, buttons, title});
    if (answers.empty()) {
        if (buttons == MessageButtons::Ok) {
            return MessageAnswer::Ok;
        }
        ADD_FAILURE() << "unscripted question: " << text.toStdString();
        return MessageAnswer::Cancel;
    }
    const MessageAnswer answer = answers.front();
    answers.pop_front();
    return answer;
}

std::string ScriptedPrompts::PickFolder(const FolderRequest& request) {
    folderRequests.push_back(request);
    if (folders.empty()) {
        return {};
    }
    std::string folder = folders.front();
    folders.pop_front();
    return folder;
}

SaveAnswer ScriptedPrompts::SaveFile(const SaveRequest& request) {
    saveRequests.push_back(request);
    if (saves.empty()) {
        return {};
    }
    SaveAnswer answer = saves.front();
    saves.pop_front();
    return answer;
}

OpenWithAnswer ScriptedPrompts::ChooseApplication(const OpenWithRequest& request) {
    openWithRequests.push_back(request);
    if (applications.empty()) {
        ADD_FAILURE() << "unscripted Open With dialog";
        return {};
    }
    OpenWithAnswer answer = applications.front();
    applications.pop_front();
    return answer;
}

void ScriptedPrompts::ShowFileProperties(const std::string& path) {
    propertiesShown.push_back(path);
}

int ScriptedPrompts::ShowModal(QDialog* dialog) {
    ++modalsShown;
    if (modals.empty()) {
        return 0;
    }
    auto handler = std::move(modals.front());
    modals.pop_front();
    return handler(dialog);
}

QStringList ScriptedPrompts::Texts() const {
    QStringList texts;
    for (const auto& a : asked) {
        texts << a.text;
    }
    return texts;
}
