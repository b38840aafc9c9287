// The trash and copy commands: every result through the window's engine.
#include "cli/CliParts.h"
#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"
#include "settings/AppSettings.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <set>

namespace cli {

namespace {

// Nobody to ask: a message goes to standard error, every question is declined.
class Unattended : public NobodyToAsk<> {
public:
    explicit Unattended(std::FILE* err) : err_(err) {}
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        PrintLine(err_, text);
        return buttons == MessageButtons::Ok ? MessageAnswer::Ok : MessageAnswer::Cancel;
    }

private:
    std::FILE* err_;
};

// A desktop that only has a trash: what the trash command reaches.
class TrashOnly : public NoDesktop {
public:
    explicit TrashOnly(const CliSystem& system) : system_(system) {}
    FileOutcome MoveToTrash(const std::string& path) override {
        return system_.moveToTrash
                   ? system_.moveToTrash(path)
                   : FileOutcome::Refusal(path, QT_TRANSLATE_NOOP("Remark", "no trash"));
    }

private:
    const CliSystem& system_;
};

// The trash's selection: every result, reversed (the engine walks from the last item to the
// first, so they go in the order found), without the results inside a listed folder, which
// go with it.
std::vector<SelectedItem> TrashSelection(const FileDataArray& store) {
    std::set<std::string, std::less<>> listed;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        listed.insert(store[i].FullPath());
    }
    const auto insideListed = [&listed](std::string_view path) {
        for (size_t slash = path.rfind('/'); slash != 0 && slash != std::string_view::npos;
             slash = path.rfind('/', slash - 1)) {
            if (listed.count(path.substr(0, slash)) != 0) {
                return true;
            }
        }
        return false;
    };
    std::vector<SelectedItem> selection;
    for (int32_t i = store.UBound(); i >= 0; --i) {
        if (!insideListed(store[i].FullPath())) {
            selection.push_back({std::string(store[i].FullPath()), store[i].LastWriteTime});
        }
    }
    return selection;
}

// The trash and copy commands: every result through the window's engine. What was handled
// goes to standard output (a trashed path, a new copy's path), what was not to standard error
// as its path, a TAB and its remark.
std::vector<SelectedItem> EverySlot(const FileDataArray& store) {
    std::vector<SelectedItem> selection;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        selection.push_back({std::string(store[i].FullPath()), store[i].LastWriteTime});
    }
    return selection;
}

// The trash question on the terminal: 0 when the answer is yes, else the exit status.
int AskToTrash(size_t count, const CliSystem& system, std::FILE* err) {
    const auto answer =
        system.askTerminal
            ? system.askTerminal(
                  Text::tr("Send %1 items to the trash? [y/N] ").arg(count).toStdString())
            : std::nullopt;
    if (!answer) {
        Say(err,
            Text::tr("tallymoor: %1 items found; without a terminal to ask on, nothing goes to "
                     "the trash unless --yes is given"),
            {std::to_string(count)});
        return kExitUsage;
    }
    return *answer == "y" || *answer == "Y" || *answer == "yes" ? 0 : kExitDeclined;
}

// One line each: the path, a tab, the remark and its reason.
void SayNotProcessed(const std::vector<SkippedItem>& items, std::FILE* err) {
    for (const SkippedItem& item : items) {
        const std::string remark = RemarkText(item.remark).toStdString();
        Say(err, QStringLiteral("%1\t%2"),
            {item.path, item.reason.empty()
                            ? remark
                            : FillIn(QCoreApplication::translate("dlgCopyErr", "%1 (%2)",
                                                                 "a remark and its reason")
                                         .toStdString(),
                                     {remark, RemarkText(item.reason).toStdString()})});
    }
}

} // namespace

int RunFileCommand(const Request& request, const SearchSession& session, CancelFlag& cancel,
                   const ReadProblems& read, const CliSystem& system, std::FILE* stdOut,
                   std::FILE* err) {
    const bool trash = request.Is(Command::Trash);
    PrintCounts(request, session, err);
    if (!session.ResultsAvailable()) {
        return ExitStatus(session, cancel, read);
    }
    const std::vector<SelectedItem> selection =
        trash ? TrashSelection(session.Store()) : EverySlot(session.Store());
    if (trash && !request.yes) {
        if (const int declined = AskToTrash(selection.size(), system, err)) {
            return declined;
        }
    }
    AppSettings batch;
    batch.ConfirmOnEachFileDelete = false;
    TrashOnly desktop(system);
    Unattended prompts(err);
    StatusLine status;
    CheckedOutput out(stdOut, request.print0);
    const char end = request.print0 ? '\0' : '\n';
    CommandContext context{batch,
                           prompts,
                           desktop,
                           cancel,
                           status,
                           [] {},
                           [](std::string_view path) { return DisplayPath(path); },
                           [](std::string_view) {},
                           [] {},
                           [&](std::string_view path) {
                               out.WriteName(path);
                               out.Put(end);
                           },
                           nullptr,
                           nullptr,
                           {}};
    std::vector<SkippedItem> notProcessed;
    {
        InterruptCancels interrupts(cancel);
        notProcessed =
            trash ? DeleteSelectedFiles(selection, context).notProcessed
                  : CopySelectedFiles(selection, request.destination, context).notProcessed;
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    SayNotProcessed(notProcessed, err);
    if (cancel.IsRaised()) {
        return kExitInterrupted;
    }
    return notProcessed.empty() ? ExitStatus(session, cancel, read) : kExitNotProcessed;
}

} // namespace cli
