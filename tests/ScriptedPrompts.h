#pragma once

#include "QtPrinters.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"

#include <QStringList>
#include <deque>
#include <functional>
#include <vector>

// Records every question with its exact text, icon and buttons, and answers from queues. A
// question nobody scripted an answer for fails the test (a box with only OK just gets OK).
class ScriptedPrompts : public Prompts {
public:
    struct Asked {
        QString text;
        MessageIcon icon;
        MessageButtons buttons;
        QString title;
    };

    MessageAnswer Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                          const QString& title = {}) override;
    std::string PickFolder(const FolderRequest& request) override;
    SaveAnswer SaveFile(const SaveRequest& request) override;
    OpenWithAnswer ChooseApplication(const OpenWithRequest& request) override;
    void ShowFileProperties(const std::string& path) override;
    int ShowModal(QDialog* dialog) override;

    QStringList Texts() const;

    std::vector<Asked> asked;
    std::vector<FolderRequest> folderRequests;
    std::deque<MessageAnswer> answers;
    std::deque<std::string> folders; // "" cancels
    std::vector<SaveRequest> saveRequests;
    std::deque<SaveAnswer> saves; // an empty path cancels
    std::deque<std::function<int(QDialog*)>> modals;
    int modalsShown = 0;
    std::vector<OpenWithRequest> openWithRequests;
    std::deque<OpenWithAnswer> applications; // an empty answer cancels
    std::vector<std::string> propertiesShown;
};

// Records what would be launched, as "verb path" lines; paths keep their bytes.
class RecordingDesktop : public Desktop {
public:
    bool OpenUrl(const std::string& url) override { return Record("url", url); }
    bool Open(const std::string& path) override { return Record("open", path); }
    bool Explore(const std::string& path) override { return Record("explore", path); }
    bool ShowProperties(const std::string& path) override { return Record("properties", path); }
    bool OpenInTextEditor(const std::string& path) override { return Record("editor", path); }
    bool OpenWith(const std::string& path) override { return Record("openwith", path); }

    std::vector<std::string> calls;

private:
    bool Record(const char* verb, const std::string& path) {
        calls.push_back(std::string(verb) + " " + path);
        return true;
    }
};
