#include "ScriptedPrompts.h"

#include <gtest/gtest.h>

namespace {

bool IsButtonOf(MessageAnswer answer, MessageButtons buttons) {
    using A = MessageAnswer;
    switch (buttons) {
    case MessageButtons::Ok:
        return answer == A::Ok;
    case MessageButtons::OkCancel:
        return answer == A::Ok || answer == A::Cancel;
    case MessageButtons::YesNo:
    case MessageButtons::YesNoDefaultNo:
        return answer == A::Yes || answer == A::No;
    case MessageButtons::YesNoCancel:
        return answer != A::Ok;
    }
    return false;
}

// Takes the next scripted answer; a dialog nobody scripted fails and gets `fallback`.
template <class T> T Next(std::deque<T>& queue, const std::string& what, T fallback = {}) {
    if (queue.empty()) {
        ADD_FAILURE() << "unscripted " << what;
        return fallback;
    }
    T answer = std::move(queue.front());
    queue.pop_front();
    return answer;
}

} // namespace

ScriptedPrompts::~ScriptedPrompts() {
    EXPECT_TRUE(answers.empty()) << answers.size() << " message answers left over";
    EXPECT_TRUE(folders.empty()) << folders.size() << " folder picks left over";
    EXPECT_TRUE(saves.empty()) << saves.size() << " save answers left over";
    EXPECT_TRUE(applications.empty()) << applications.size() << " Open With answers left over";
    EXPECT_TRUE(modals.empty()) << modals.size() << " dialogs never shown";
    EXPECT_TRUE(conflicts.empty() && colors.empty()) << "conflict or colour answers left over";
}

MessageAnswer ScriptedPrompts::Message(const QString& text, MessageIcon icon,
                                       MessageButtons buttons, const QString& title) {
    asked.push_back({text, icon, buttons, title});
    const MessageAnswer answer =
        Next(answers, "message box: " + text.toStdString(), MessageAnswer::Cancel);
    EXPECT_TRUE(IsButtonOf(answer, buttons))
        << "the scripted answer is not a button of: " << text.toStdString();
    return answer;
}

std::string ScriptedPrompts::PickFolder(const FolderRequest& request) {
    folderRequests.push_back(request);
    return Next(folders, "folder picker: " + request.caption.toStdString());
}

SaveAnswer ScriptedPrompts::SaveFile(const SaveRequest& request) {
    saveRequests.push_back(request);
    return Next(saves, "save dialog");
}

OpenWithAnswer ScriptedPrompts::ChooseApplication(const OpenWithRequest&) {
    return Next(applications, "Open With dialog");
}

void ScriptedPrompts::ShowFileProperties(const std::string& path) {
    ADD_FAILURE() << "unscripted properties of " << path; // the file manager's, in every test
}

ConflictAnswer ScriptedPrompts::AskConflict(const QString& text) {
    conflictsAsked << text;
    return Next(conflicts, "conflict question: " + text.toStdString());
}

std::optional<int32_t> ScriptedPrompts::ChooseColor(int32_t, std::array<int32_t, 16>&) {
    return Next(colors, "colour picker");
}

std::optional<QString> ScriptedPrompts::AskText(const QString&, const QString& label,
                                                const QString&) {
    textsAsked << label;
    const QString text = Next(texts, "text asked: " + label.toStdString());
    return text.isEmpty() ? std::nullopt : std::optional<QString>(text);
}

// No test mounts a real share: a question of one is unexpected.
MountLoginAnswer ScriptedPrompts::AskMountLogin(const MountLogin& request) {
    ADD_FAILURE() << "unscripted mount login: " << request.message.toStdString();
    return {};
}

int ScriptedPrompts::AskMountChoice(const QString& message, const QStringList&) {
    ADD_FAILURE() << "unscripted mount question: " << message.toStdString();
    return -1;
}

int ScriptedPrompts::ShowModal(QDialog* dialog) {
    const auto answer =
        Next(modals, "dialog", std::function<int(QDialog*)>([](QDialog*) { return 0; }));
    return answer(dialog);
}

QStringList ScriptedPrompts::Texts() const {
    QStringList texts;
    for (const auto& a : asked) {
        texts << a.text;
    }
    return texts;
}
