#include "fileops/FileCommands.h"

#include "fileops/FileCopy.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/FileReplacement.h"
#include "platform/PathAccess.h"
#include "platform/Progress.h"
#include "platform/Prompts.h"
#include "settings/AppSettings.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

// The command texts, for translators.
struct Text {
    Q_DECLARE_TR_FUNCTIONS(FileCommands)
};

// Items are reached at any depth: results may lie deeper than a path can name in one call.
bool Exists(const std::string& path) {
    struct stat st {};
    return StatItem(path, st);
}

bool IsFolder(const std::string& path) {
    struct stat st {};
    return !path.empty() && StatItem(path, st) && S_ISDIR(st.st_mode);
}

bool SameFile(const std::string& a, const std::string& b) {
    struct stat x {};
    struct stat y {};
    return StatItem(a, x) && StatItem(b, y) && x.st_dev == y.st_dev && x.st_ino == y.st_ino;
}

void Working(const CommandContext& context, const std::string& path) {
    if (context.working) {
        context.working(path);
    }
}

// A folder copy's or move's reach: the prompts for names already there, the trash for what a
// Replace takes away.
TreeCopyContext TreeContext(CommandContext& context) {
    TreeCopyContext tree{context.cancel, context.progress, context.yield, {}, {},
                         context.faults, context.working};
    tree.conflict = [&context](const std::string& existing, const std::string& source) {
        return context.prompts.AskConflict(ConflictQuestion(existing, source));
    };
    tree.trash = [&context](const std::string& path) { return context.desktop.MoveToTrash(path); };
    return tree;
}

// The progress window over a folder copy or move, open while it lives.
class FolderProgress {
public:
    explicit FolderProgress(Progress* progress) : progress_(progress) {
        if (progress_) {
            progress_->Create(0, 0, true);
        }
    }
    ~FolderProgress() {
        if (progress_) {
            progress_->Destroy();
        }
    }
    FolderProgress(const FolderProgress&) = delete;
    FolderProgress& operator=(const FolderProgress&) = delete;

private:
    Progress* progress_;
};

QString FileOf(size_t processed, size_t total) {
    return Text::tr("File: %1 of %2").arg(processed).arg(total);
}

QString Shown(const std::string& path) {
    return DisplayPath(path);
}

// The question of a command for `selected`; empty when it asks none.
QString ConfirmationQuestion(PendingAction command, const std::vector<std::string>& selected,
                             const AppSettings& s) {
    const size_t n = selected.size();
    const QString one = n == 1 ? Shown(selected.front()) : QString();
    const QString many = FormatCount(static_cast<int64_t>(n));
    switch (command) {
    case PendingAction::CopyFiles:
        if (!s.ConfirmOnCopy) {
            return {};
        }
        return n == 1 ? Text::tr("Are you sure you want to copy ' %1 '?").arg(one)
               : n == 2
                   ? Text::tr("Are you sure you want to copy both selected files?")
                   : Text::tr("Are you sure you want to copy all %1 selected files?").arg(many);
    case PendingAction::CopyFolder:
        return s.ConfirmOnCopy && n == 1
                   ? Text::tr(
                         "Are you sure you want to copy ' %1/ ' and all its contents to another "
                         "location?")
                         .arg(one)
                   : QString();
    case PendingAction::CopyFolderContents:
        return s.ConfirmOnCopy && n == 1
                   ? Text::tr("Copy all files and folders under ' %1/ ' to another location?")
                         .arg(one)
                   : QString();
    case PendingAction::MoveFolder:
        return s.ConfirmOnMove && n == 1
                   ? Text::tr(
                         "Are you sure you want to move ' %1/ ' and all its contents to another "
                         "location?")
                         .arg(one)
                   : QString();
    case PendingAction::DeleteFiles:
        if (!s.ConfirmOnFileDelete) {
            return {};
        }
        // With every file asked for, one file needs no question beforehand.
        return n == 1 ? (s.ConfirmOnEachFileDelete
                             ? QString()
                             : Text::tr("Are you sure you want to delete ' %1 '?").arg(one))
               : n == 2
                   ? Text::tr("Are you sure you want to delete both selected files?")
                   : Text::tr("Are you sure you want to delete all %1 selected files?").arg(many);
    case PendingAction::DeleteFolder:
        return s.ConfirmOnFolderDelete && n == 1
                   ? Text::tr("Send ' %1 '\r\nand all its contents to the recycle bin?").arg(one)
                   : QString();
    case PendingAction::MoveFiles:
    case PendingAction::None:
        break;
    }
    return {};
}

} // namespace

bool ConfirmAction(PendingAction command, const std::vector<std::string>& selected,
                   const AppSettings& settings, Prompts& prompts) {
    const QString question = ConfirmationQuestion(command, selected, settings);
    return question.isEmpty() ||
           prompts.Message(question, MessageIcon::Question, MessageButtons::YesNo,
                           Text::tr("%1 Confirmation").arg(kApplicationTitle)) ==
               MessageAnswer::Yes;
}

bool PrepareDelete(PendingAction command, const std::vector<std::string>& selected,
                   CommandContext& context) {
    if (selected.empty() || !ConfirmAction(command, selected, context.settings, context.prompts)) {
        return false;
    }
    context.prepareWindow();
    return true;
}

namespace {

// One delete of selected files: what it has done so far, and the steps it takes.
struct DeleteRun {
    const std::vector<SelectedItem>& selection;
    CommandContext& context;
    DeleteOutcome& outcome;

    void Skip(size_t slot, const char* remark, const std::string& reason = {}) {
        ++outcome.skipped;
        outcome.notProcessed.push_back(
            SkippedItem::Refused(slot, selection[slot].path, remark, reason)
                .At(selection[slot].lastWriteTime));
    }

    // Asks about one file, then sends it to the trash; false when the user cancels.
    bool AskAndTrash(size_t position) {
        const std::string& path = selection[position].path;
        StatusLine& status = context.status;
        status.Set(StatusPart::Matched, Text::tr("Deleted: %1").arg(outcome.deleted));
        status.Set(StatusPart::Elapsed, Text::tr("Skipped: %1").arg(outcome.skipped));
        status.Set(StatusPart::Message, Text::tr("Deleting %1").arg(context.shortPath(path)));
        const MessageAnswer answer = context.prompts.Message(
            Text::tr("Are you sure you want to delete ' %1 '?").arg(Shown(path)),
            MessageIcon::Warning, MessageButtons::YesNoCancel);
        if (answer == MessageAnswer::Cancel) {
            Skip(position, QT_TRANSLATE_NOOP("Remark", "delete cancelled by user"));
            return false;
        }
        if (answer == MessageAnswer::No) {
            Skip(position, QT_TRANSLATE_NOOP("Remark", "file deletion skipped by user"));
        } else if (const FileOutcome trashed = context.desktop.MoveToTrash(path);
                   trashed.Done() && !Exists(path)) {
            ++outcome.deleted;
            context.removeFromViews(path);
            if (context.handled) {
                context.handled(path);
            }
        } else {
            StillThere(position, trashed);
        }
        return true;
    }

    // The remark's wording stands although the file does exist: it is the program's own. The
    // reason says the file is still there, and why.
    void StillThere(size_t position, const FileOutcome& trashed) {
        const std::string& refusal = trashed.reason;
        const std::string reason =
            trashed.Done()
                ? QCoreApplication::translate("Remark", "it is still there").toStdString()
                : FillIn(
                      QCoreApplication::translate("Remark", "it is still there: %1").toStdString(),
                      {RemarkText(refusal).toStdString()});
        Skip(position, QT_TRANSLATE_NOOP("Remark", "error: file doesn't exist"), reason);
        outcome.notProcessed.back().error = trashed.error;
    }

    // The gathered files; each one the trash refuses is listed with its reason.
    void TrashBatch(const std::vector<size_t>& batch) {
        context.status.Set(StatusPart::Message, Text::tr("Deleting"));
        for (const size_t position : batch) {
            const std::string& path = selection[position].path;
            if (const FileOutcome trashed = context.desktop.MoveToTrash(path); trashed.Done()) {
                ++outcome.deleted;
                if (context.handled) {
                    context.handled(path);
                }
            } else {
                StillThere(position, trashed);
            }
        }
    }
};

} // namespace

DeleteOutcome DeleteSelectedFiles(const std::vector<SelectedItem>& selection,
                                  CommandContext& context) {
    DeleteOutcome outcome;
    DeleteRun run{selection, context, outcome};
    const size_t n = selection.size();
    const bool eachFile = context.settings.ConfirmOnEachFileDelete;
    StatusLine& status = context.status;
    std::vector<size_t> batch;
    bool cancelled = false;
    for (size_t position = n; position-- > 0 && !cancelled;) {
        if (position % 20 == 1) {
            context.yield();
        }
        const std::string& path = selection[position].path;
        Working(context, path);
        if (!Exists(path)) {
            run.Skip(position, QT_TRANSLATE_NOOP("Remark", "file doesn't exist"));
        } else {
            ++outcome.processed;
            // The counts first: the path is shortened to the room they leave.
            status.Set(StatusPart::Objects, FileOf(outcome.processed, n));
            if (eachFile) {
                if (!run.AskAndTrash(position)) {
                    cancelled = true;
                    break;
                }
            } else {
                status.Set(StatusPart::Message, Text::tr("Adding %1").arg(context.shortPath(path)));
                batch.push_back(position);
            }
        }
        cancelled = context.cancel.IsRaised();
    }
    // Gathered files go now, unless the walk was cancelled.
    if (!batch.empty() && !cancelled) {
        run.TrashBatch(batch);
    }
    if (eachFile) { // the counts shown with each question, after the last answer
        status.Set(StatusPart::Matched, Text::tr("Deleted: %1").arg(outcome.deleted));
        status.Set(StatusPart::Elapsed, Text::tr("Skipped: %1").arg(outcome.skipped));
    }
    outcome.changed = outcome.deleted > 0;
    std::sort(outcome.notProcessed.begin(), outcome.notProcessed.end(),
              [](const SkippedItem& a, const SkippedItem& b) { return a.slot < b.slot; });
    return outcome;
}

bool DeleteFolder(const std::string& folder, CommandContext& context) {
    Working(context, folder);
    const FileOutcome trashed =
        IsFolder(folder) ? context.desktop.MoveToTrash(folder)
                         : FileOutcome::Refusal(
                               folder, QT_TRANSLATE_NOOP("Remark", "it is not a folder any more"));
    if (!trashed.Done()) {
        context.prompts.Message(Text::tr("Could not send ' %1 ' to the trash: %2")
                                    .arg(Shown(folder), RemarkText(trashed.reason)),
                                MessageIcon::Critical, MessageButtons::Ok);
    } else if (context.handled) {
        context.handled(folder);
    }
    context.status.Set(StatusPart::Message, trashed.Done() ? Text::tr("Folder deleted")
                                                           : Text::tr("Folder not deleted"));
    return trashed.Done();
}

// A copy or move picks its folder for the purpose of the same number.
static_assert(static_cast<int>(modBrowse::PickPurpose::CopyFiles) ==
                  static_cast<int>(PendingAction::CopyFiles) &&
              static_cast<int>(modBrowse::PickPurpose::CopyFolder) ==
                  static_cast<int>(PendingAction::CopyFolder) &&
              static_cast<int>(modBrowse::PickPurpose::CopyFolderContents) ==
                  static_cast<int>(PendingAction::CopyFolderContents) &&
              static_cast<int>(modBrowse::PickPurpose::MoveFolder) ==
                  static_cast<int>(PendingAction::MoveFolder));

std::optional<std::string>
PrepareCopy(PendingAction command, const std::vector<std::string>& selected,
            CommandContext& context, const std::function<std::string(modBrowse::PickPurpose)>& pick,
            const std::function<bool(const std::string&)>& isFolder) {
    if (selected.empty() || !ConfirmAction(command, selected, context.settings, context.prompts)) {
        return std::nullopt;
    }
    std::string destination = pick(static_cast<modBrowse::PickPurpose>(command));
    if (destination.empty() || !isFolder(destination)) {
        return std::nullopt;
    }
    while (destination.size() > 1 && destination.back() == '/') {
        destination.pop_back();
    }
    context.prepareWindow();
    return destination;
}

namespace {

// The bar follows the bytes of the file being copied, in larger units for files past 2 GiB.
CopyProgress BytesOnBar(Progress* progress, int& shift) {
    return {[progress, &shift](int64_t size) {
                for (shift = 0; (size >> shift) > INT_MAX; ++shift) {
                }
                if (progress && size > 0) {
                    progress->Setup(0, static_cast<int>(size >> shift), 0);
                }
            },
            [progress, &shift](int64_t done) {
                if (progress) {
                    progress->UpdateDirect(static_cast<int>(done >> shift));
                }
            }};
}

// The destination opened once for every file copied into it.
struct CopyTarget {
    const std::string& path;
    const UniqueFd& fd;
    int error; // why it could not be opened
    const CopyProgress& bytes;
};

// One selected file (slot `slot`) copied into `into`, counted in `outcome`.
void CopyItem(size_t slot, const SelectedItem& item, const CopyTarget& into,
              CommandContext& context, CopyFilesOutcome& outcome) {
    Working(context, item.path);
    const ItemAt source = OpenItem(item.path);
    struct stat st {};
    if (!source ||
        fstatat(source.folder.Get(), source.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        ++outcome.skipped;
        outcome.notProcessed.push_back(
            SkippedItem::Of(slot,
                            {Outcome::SourceMissing, source ? errno : source.error, item.path, {}},
                            QT_TRANSLATE_NOOP("Remark", "source file not found"))
                .At(item.lastWriteTime));
        return;
    }
    const std::string target = JoinPath(into.path, source.name);
    if (context.progress) {
        context.progress->SetMessage(Shown(item.path));
    }
    ++outcome.processed;
    const CopyOutcome copy =
        into.fd ? CopyOneFile(source.folder.Get(), source.name, into.fd.Get(), source.name,
                              context.cancel, into.bytes, context.faults)
                : CopyOutcome{FileOutcome::Failure(item.path, into.error), {}};
    if (copy.Done()) {
        ++outcome.copied;
        if (context.handled) {
            context.handled(target);
        }
        return;
    }
    ++outcome.skipped;
    outcome.notProcessed.push_back(NotCopied(slot, copy, item.path, target));
    outcome.notProcessed.back().lastWriteTime = item.lastWriteTime;
}

} // namespace

CopyFilesOutcome CopySelectedFiles(const std::vector<SelectedItem>& selection,
                                   const std::string& destination, CommandContext& context) {
    CopyFilesOutcome outcome;
    const size_t n = selection.size();
    Progress* progress = context.progress;
    if (n == 0) {
        return outcome;
    }
    if (progress) {
        progress->Create(1, static_cast<int>(std::min<size_t>(n, INT_MAX)), true);
    }
    StatusLine& status = context.status;
    int shift = 0;
    const CopyProgress bytes = BytesOnBar(progress, shift);
    const UniqueFd into(OpenFolder(destination));
    const CopyTarget target{destination, into, into ? 0 : errno, bytes};
    if (into) {
        // a killed copy's leftovers
        RemoveStaleTemporaries(into.Get(), FolderNames(into.Get()), CleanerClock(context.faults));
    }
    for (size_t i = 0; i < n; ++i) {
        if (i % 20 == 1) {
            context.yield();
        }
        CopyItem(i, selection[i], target, context, outcome);
        status.Set(StatusPart::Objects, FileOf(outcome.processed, n));
        status.Set(StatusPart::Matched, Text::tr("Copied: %1").arg(outcome.copied));
        status.Set(StatusPart::Elapsed, Text::tr("Skipped: %1").arg(outcome.skipped));
        status.Set(StatusPart::Message,
                   Text::tr("Copying %1").arg(context.shortPath(selection[i].path)));
        if (context.cancel.IsRaised()) {
            break;
        }
    }
    if (progress) {
        progress->Destroy();
    }
    outcome.changed = outcome.copied > 0;
    return outcome;
}

bool CopyFolder(const std::string& folder, const std::string& destination, PendingAction mode,
                CommandContext& context, std::vector<SkippedItem>& notProcessed) {
    const bool contents = mode == PendingAction::CopyFolderContents;
    const std::string target = contents ? destination : JoinPath(destination, BaseName(folder));
    const auto finish = [&](bool copied) {
        context.status.Set(
            StatusPart::Message,
            copied ? (contents ? Text::tr("Contents copied") : Text::tr("Folder copied"))
                   : (contents ? Text::tr("Contents not copied") : Text::tr("Folder not copied")));
    };
    Working(context, folder);
    if (!IsFolder(folder)) {
        finish(false);
        return false;
    }
    if (IsSameOrInside(destination, folder) || (!contents && SameFile(target, folder))) {
        context.prompts.Message(Text::tr("' %1 ' cannot be copied into ' %2 ': that is the folder "
                                         "itself or lies inside it.")
                                    .arg(Shown(folder), Shown(destination)),
                                MessageIcon::Critical, MessageButtons::Ok);
        finish(false);
        return false;
    }
    TreeCopyContext tree = TreeContext(context);
    TreeOutcome outcome;
    {
        const FolderProgress window(context.progress);
        outcome = CopyTree(folder, target, contents, tree);
    }
    notProcessed = outcome.problems;
    finish(outcome.Complete());
    return outcome.files > 0;
}

bool MoveFolder(const std::string& folder, const std::string& destination, CommandContext& context,
                std::vector<SkippedItem>& notProcessed) {
    MoveOutcome outcome{
        FileOutcome::Refusal(folder, QT_TRANSLATE_NOOP("Remark", "it is not a folder any more")),
        {}};
    Working(context, folder);
    if (IsFolder(folder)) {
        TreeCopyContext tree = TreeContext(context);
        const FolderProgress window(context.progress);
        outcome = MoveTree(folder, JoinPath(destination, BaseName(folder)), tree);
    }
    notProcessed = outcome.problems;
    const bool moved = outcome.what == Outcome::Done;
    if (!moved && outcome.what != Outcome::Cancelled && outcome.problems.empty()) {
        context.prompts.Message(
            Text::tr("Could not move ' %1 ' to ' %2 ': %3")
                .arg(Shown(folder), Shown(destination), RemarkText(outcome.reason)),
            MessageIcon::Critical, MessageButtons::Ok);
    }
    context.status.Set(StatusPart::Message,
                       moved ? Text::tr("Folder moved") : Text::tr("Folder not moved"));
    return moved;
}

// A destination may be a link to a folder.
bool LeadsToFolder(const std::string& path) {
    return !path.empty() && OpenFolder(path, O_PATH | O_CLOEXEC).Valid();
}

QString RemarkText(const std::string& words) {
    return QCoreApplication::translate("Remark", words.c_str());
}

QString ConflictQuestion(const std::string& existing, const std::string& source) {
    return Text::tr("' %1 ' is already there.\n\nReplace it with ' %2 '? What is there now goes to "
                    "the trash, from where it can be restored.")
        .arg(Shown(existing), Shown(source));
}

Rescan RescanOrAdvise(const AppSettings& s, int listRows) {
    if (!s.AutoRescanAfterAction) {
        return Rescan::AdviseChanged;
    }
    if (s.AutoRescanUseMaximum && s.AutoRescanMaximum != -1 && listRows > s.AutoRescanMaximum) {
        return Rescan::AdviseTooLarge;
    }
    return Rescan::Now;
}

QString RescanAdviceText(Rescan advice) {
    switch (advice) {
    case Rescan::AdviseChanged:
        return Text::tr("Ready! (Drive contents changed - rescan recommended.)");
    case Rescan::AdviseTooLarge:
        return Text::tr("Ready! (Rescan size exceeded - rescan recommended.)");
    case Rescan::Now:
        break;
    }
    return Text::tr("Ready!");
}

QString ChangedListText() {
    return Text::tr("Ready! (The list has changed - rescan recommended.)");
}
