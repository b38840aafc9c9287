#include "fileops/CommandThread.h"
#include "fileops/FileCommands.h"
#include "platform/Desktop.h"
#include "platform/Progress.h"
#include "platform/Prompts.h"
#include "settings/AppSettings.h"

#include <array>
#include <optional>

namespace {

// The window's prompts, asked on the window's thread while the body waits; once the body is
// left behind every question is cancelled.
class ThreadPrompts : public Prompts {
public:
    ThreadPrompts(CommandThread& thread, Prompts& window) : thread_(thread), window_(window) {}

    MessageAnswer Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                          const QString& title) override {
        MessageAnswer answer = MessageAnswer::Cancel;
        thread_.Ask([&] { answer = window_.Message(text, icon, buttons, title); });
        return answer;
    }
    std::string PickFolder(const FolderRequest& request) override {
        std::string path;
        thread_.Ask([&] { path = window_.PickFolder(request); });
        return path;
    }
    SaveAnswer SaveFile(const SaveRequest& request) override {
        SaveAnswer answer;
        thread_.Ask([&] { answer = window_.SaveFile(request); });
        return answer;
    }
    OpenWithAnswer ChooseApplication(const OpenWithRequest& request) override {
        OpenWithAnswer answer;
        thread_.Ask([&] { answer = window_.ChooseApplication(request); });
        return answer;
    }
    void ShowFileProperties(const std::string& path) override {
        thread_.Ask([&] { window_.ShowFileProperties(path); });
    }
    std::optional<int32_t> ChooseColor(int32_t bgr, std::array<int32_t, 16>& custom) override {
        std::optional<int32_t> answer;
        thread_.Ask([&] { answer = window_.ChooseColor(bgr, custom); });
        return answer;
    }
    ConflictAnswer AskConflict(const QString& text) override {
        ConflictAnswer answer{ConflictChoice::Cancel, false};
        thread_.Ask([&] { answer = window_.AskConflict(text); });
        return answer;
    }
    std::optional<QString> AskText(const QString& title, const QString& label,
                                   const QString& text) override {
        std::optional<QString> answer;
        thread_.Ask([&] { answer = window_.AskText(title, label, text); });
        return answer;
    }
    MountLoginAnswer AskMountLogin(const MountLogin& request) override {
        MountLoginAnswer answer;
        thread_.Ask([&] { answer = window_.AskMountLogin(request); });
        return answer;
    }
    int AskMountChoice(const QString& message, const QStringList& choices) override {
        int answer = -1;
        thread_.Ask([&] { answer = window_.AskMountChoice(message, choices); });
        return answer;
    }

private:
    CommandThread& thread_;
    Prompts& window_;
};

// The trash, reached from the body's thread (GIO's calls are safe there), refused once the
// body is left behind: the user cancelled what would follow.
class ThreadDesktop : public NoDesktop {
public:
    ThreadDesktop(CommandThread& thread, Desktop& window) : thread_(thread), window_(window) {}
    FileOutcome MoveToTrash(const std::string& path) override {
        if (thread_.LeftBehind()) {
            return FileOutcome::Refusal(path,
                                        QT_TRANSLATE_NOOP("Remark", "the command was cancelled"));
        }
        thread_.Working(path);
        return window_.MoveToTrash(path);
    }

private:
    CommandThread& thread_;
    Desktop& window_;
};

// The progress window, through the window's thread.
class ThreadProgress : public Progress, public std::enable_shared_from_this<ThreadProgress> {
public:
    ThreadProgress(CommandThread& thread, Progress& window) : thread_(thread), window_(window) {}

    void Create(int stepSize, int maximum, bool cancelAllowed) override {
        ResetBar();
        PostToWindow([=](Progress& w) { w.Create(stepSize, maximum, cancelAllowed); });
    }
    void Destroy() override {
        PostToWindow([](Progress& w) { w.Destroy(); });
    }
    void Reset() override {
        ResetBar();
        PostToWindow([](Progress& w) { w.Reset(); });
    }
    void SetMessage(const QString& text) override {
        PostToWindow([text](Progress& w) { w.SetMessage(text); });
    }
    void Setup(int stepSize, int maximum, int value) override {
        ResetBar();
        PostToWindow([=](Progress& w) { w.Setup(stepSize, maximum, value); });
    }
    void Update(int units) override {
        PostToWindow([units](Progress& w) { w.Update(units); });
    }
    // Called for every chunk copied: the window gets the latest value, not every one.
    void UpdateDirect(int value) override {
        thread_.Beat();
        bar_.store(value);
        if (!barPosted_.exchange(true)) {
            PostToWindow([self = shared_from_this()](Progress& w) {
                self->barPosted_.store(false);
                w.UpdateDirect(self->bar_.load());
            });
        }
    }

private:
    void PostToWindow(std::function<void(Progress&)> call) {
        thread_.Post([self = shared_from_this(), call = std::move(call)] { call(self->window_); });
    }
    // A bar set anew is not overtaken by a value posted for the old one.
    void ResetBar() { barPosted_.store(false); }

    CommandThread& thread_;
    Progress& window_;
    std::atomic<int> bar_{0};
    std::atomic<bool> barPosted_{false};
};

class Threaded : public ThreadedContext, public std::enable_shared_from_this<Threaded> {
public:
    Threaded(const std::shared_ptr<CommandThread>& thread, const CommandContext& window)
        : thread_(thread), window_(window), settings_(window.settings),
          prompts_(*thread, window.prompts), desktop_(*thread, window.desktop),
          progress_(window.progress != nullptr ? ProgressThrough(*thread, *window.progress)
                                               : nullptr),
          context_{settings_,
                   prompts_,
                   desktop_,
                   thread->Cancel(),
                   status_,
                   [] {},
                   window.shortPath,
                   [this](std::string_view path) {
                       PostToWindow([path = std::string(path)](const CommandContext& w) {
                           w.removeFromViews(path);
                       });
                   },
                   [] {},
                   {},
                   progress_.get(),
                   window.faults,
                   [this](std::string_view path) { thread_->Working(path); }} {
        if (window.handled) {
            context_.handled = [this](std::string_view path) {
                PostToWindow(
                    [path = std::string(path)](const CommandContext& w) { w.handled(path); });
            };
        }
        status_.SetDisplay(
            [this](StatusPart part, const QString& text) { StatusChanged(part, text); });
    }

    CommandContext& Context() override { return context_; }

private:
    void PostToWindow(std::function<void(const CommandContext&)> call) {
        thread_->Post([self = shared_from_this(), call = std::move(call)] { call(self->window_); });
    }
    // The status texts, in bursts of several per file: the window shows the latest of each.
    void StatusChanged(StatusPart part, const QString& text) {
        bool post = false;
        {
            const std::lock_guard lock(statusMutex_);
            statusTexts_[static_cast<size_t>(part)] = text;
            post = !statusPosted_;
            statusPosted_ = true;
        }
        if (post) {
            PostToWindow([self = shared_from_this()](const CommandContext& w) {
                std::array<std::optional<QString>, StatusLine::kParts> texts;
                {
                    const std::lock_guard lock(self->statusMutex_);
                    texts.swap(self->statusTexts_);
                    self->statusPosted_ = false;
                }
                for (size_t i = 0; i < texts.size(); ++i) {
                    if (texts[i]) {
                        w.status.SetExact(static_cast<StatusPart>(i), *texts[i]);
                    }
                }
            });
        }
    }

    std::shared_ptr<CommandThread> thread_;
    CommandContext window_;
    AppSettings settings_;
    ThreadPrompts prompts_;
    ThreadDesktop desktop_;
    std::shared_ptr<Progress> progress_;
    StatusLine status_;
    CommandContext context_;
    std::mutex statusMutex_;
    std::array<std::optional<QString>, StatusLine::kParts> statusTexts_;
    bool statusPosted_ = false;
};

} // namespace

std::shared_ptr<Progress> ProgressThrough(CommandThread& thread, Progress& window) {
    return std::make_shared<ThreadProgress>(thread, window);
}

std::unique_ptr<Prompts> PromptsThrough(CommandThread& thread, Prompts& window) {
    return std::make_unique<ThreadPrompts>(thread, window);
}

std::shared_ptr<ThreadedContext> ThreadedContext::Make(const std::shared_ptr<CommandThread>& thread,
                                                       const CommandContext& window) {
    return std::make_shared<Threaded>(thread, window);
}
