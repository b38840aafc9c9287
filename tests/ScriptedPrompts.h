#pragma once

#include "QtPrinters.h"
#include "platform/Desktop.h"
#include "platform/WindowPrompts.h"

#include <QStringList>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <vector>

// Answers every modal interaction from scripted queues and records what was asked, with the
// exact text, icon and buttons. Strict: a dialog nobody scripted, an answer that is not one of
// the box's buttons, or answers left over when it goes, fail the test.
class ScriptedPrompts : public WindowPrompts {
public:
    struct Asked {
        QString text;
        MessageIcon icon;
        MessageButtons buttons;
        QString title;
    };

    ~ScriptedPrompts() override;

    MessageAnswer Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                          const QString& title = {}) override;
    std::string PickFolder(const FolderRequest& request) override;
    SaveAnswer SaveFile(const SaveRequest& request) override;
    OpenWithAnswer ChooseApplication(const OpenWithRequest& request) override;
    void ShowFileProperties(const std::string& path) override;
    ConflictAnswer AskConflict(const QString& text) override;
    std::optional<int32_t> ChooseColor(int32_t bgr, std::array<int32_t, 16>& custom) override;
    std::optional<QString> AskText(const QString& title, const QString& label,
                                   const QString& text) override;
    MountLoginAnswer AskMountLogin(const MountLogin& request) override;
    int AskMountChoice(const QString& message, const QStringList& choices) override;
    int ShowModal(QDialog* dialog) override;

    // The texts asked, in order.
    QStringList Texts() const;

    std::deque<MessageAnswer> answers;
    std::deque<std::string> folders;         // "" cancels
    std::deque<SaveAnswer> saves;            // an empty path cancels
    std::deque<OpenWithAnswer> applications; // an empty answer cancels
    std::deque<ConflictAnswer> conflicts;
    std::deque<std::optional<int32_t>> colors; // nothing cancels
    std::deque<std::function<int(QDialog*)>> modals;
    std::deque<QString> texts; // an empty text cancels

    std::vector<Asked> asked;
    std::vector<FolderRequest> folderRequests;
    std::vector<SaveRequest> saveRequests;
    QStringList conflictsAsked;
    QStringList textsAsked; // each text's label
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
    // Takes the item out of the (temporary) test tree, unless a refusal is set up for it.
    FileOutcome MoveToTrash(const std::string& path) override {
        Record("trash", path);
        if (beforeTrash) {
            beforeTrash(path);
        }
        if (auto refusal = trashRefusals.find(path); refusal != trashRefusals.end()) {
            return FileOutcome::Failure(path, 0, refusal->second);
        }
        std::error_code error;
        if (std::filesystem::remove_all(path, error) == 0 || error) {
            return FileOutcome::Failure(path, error ? error.value() : ENOENT);
        }
        return FileOutcome::Ok(path);
    }

    std::vector<std::string> calls;
    std::map<std::string, std::string> trashRefusals;
    std::function<void(const std::string&)> beforeTrash; // a share that stops answering
    // The shares "mounted": URL to local path; any other URL is refused with `mountRefusal`.
    std::string LocalPathOf(const std::string& url, const CancelFlag&, std::string& why) override {
        Record("mount", url);
        if (auto found = mounts.find(url); found != mounts.end()) {
            return found->second;
        }
        why = mountRefusal;
        return {};
    }
    std::map<std::string, std::string> mounts;
    std::string mountRefusal = "Operation not supported";

private:
    bool Record(const char* verb, const std::string& path) {
        calls.push_back(std::string(verb) + " " + path);
        return true;
    }
};
