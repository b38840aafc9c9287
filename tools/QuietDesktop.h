#pragma once

// What the development tools and the window benchmark give the main window in place of a
// person and a desktop: nothing waits, nothing is launched.

#include "platform/Desktop.h"
#include "platform/Prompts.h"

#include <cstdio>

// Answers every question with its first button, and tells each message on standard error.
class SilentPrompts : public Prompts {
public:
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        std::fprintf(stderr, "message: %s\n", text.toUtf8().constData());
        return buttons == MessageButtons::Ok || buttons == MessageButtons::OkCancel
                   ? MessageAnswer::Ok
                   : MessageAnswer::Yes;
    }
    std::string PickFolder(const FolderRequest&) override { return {}; }
    SaveAnswer SaveFile(const SaveRequest&) override { return {}; }
    OpenWithAnswer ChooseApplication(const OpenWithRequest&) override { return {}; }
    void ShowFileProperties(const std::string&) override {}
    ConflictAnswer AskConflict(const QString&) override { return {ConflictChoice::Skip, true}; }
    std::optional<int32_t> ChooseColor(int32_t, std::array<int32_t, 16>&) override { return {}; }
    int ShowModal(QDialog*) override { return 0; }
};

// Launches nothing.
class NoDesktop : public Desktop {
public:
    bool OpenUrl(const std::string&) override { return false; }
    bool Open(const std::string&) override { return false; }
    bool Explore(const std::string&) override { return false; }
    bool ShowProperties(const std::string&) override { return false; }
    bool OpenInTextEditor(const std::string&) override { return false; }
    bool OpenWith(const std::string&) override { return false; }
    std::string MoveToTrash(const std::string&) override { return "Operation not supported"; }
};
