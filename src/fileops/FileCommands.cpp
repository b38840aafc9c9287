#include "fileops/FileCommands.h"

#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"
#include "search/SearchStatus.h"
#include "settings/AppSettings.h"

#include <algorithm>
#include <sys/stat.h>

namespace {

bool Exists(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
}

bool IsFolder(const std::string& path) {
    struct stat st {};
    return !path.empty() && lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
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
        return n == 1   ? "Are you sure you want to copy ' " + one + " '?"
               : n == 2 ? QStringLiteral("Are you sure you want to copy both selected files?")
                        : "Are you sure you want to copy all " + many + " selected files?";
    case PendingAction::CopyFolder:
        return s.ConfirmOnCopy && n == 1 ? "Are you sure you want to copy ' " + one +
                                               "/ ' and all its contents to another location?"
                                         : QString();
    case PendingAction::CopyFolderContents:
        return s.ConfirmOnCopy && n == 1
                   ? "Copy all files and folders under ' " + one + "/ ' to another location?"
                   : QString();
    case PendingAction::MoveFolder:
        return s.ConfirmOnMove && n == 1 ? "Are you sure you want to move ' " + one +
                                               "/ ' and all its contents to another location?"
                                         : QString();
    case PendingAction::DeleteFiles:
        if (!s.ConfirmOnFileDelete) {
            return {};
        }
        // With every file asked for, one file needs no question beforehand.
        return n == 1   ? (s.ConfirmOnEachFileDelete
                               ? QString()
                               : "Are you sure you want to delete ' " + one + " '?")
               : n == 2 ? QStringLiteral("Are you sure you want to delete both selected files?")
                        : "Are you sure you want to delete all " + many + " selected files?";
    case PendingAction::DeleteFolder:
        return s.ConfirmOnFolderDelete && n == 1
                   ? "Send ' " + one + " '\r\nand all its contents to the recycle bin?"
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
                           kApplicationTitle + QStringLiteral(" Confirmation")) ==
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

DeleteOutcome DeleteSelectedFiles(const std::vector<SelectedItem>& selection,
                                  CommandContext& context) {
    DeleteOutcome outcome;
    const size_t n = selection.size();
    const QString total = QString::number(n);
    const bool eachFile = context.settings.ConfirmOnEachFileDelete;
    StatusLine& status = context.status;
    const auto skip = [&](size_t slot, const char* remark, const std::string& reason = {}) {
        ++outcome.skipped;
        outcome.notProcessed.push_back(
            {slot, selection[slot].path, selection[slot].lastWriteTime, remark, {}, reason});
    };
    std::vector<size_t> batch;
    bool cancelled = false;
    for (size_t position = n; position-- > 0;) {
        if (position % 20 == 1) {
            context.yield();
        }
        const std::string& path = selection[position].path;
        if (!Exists(path)) {
            skip(position, "file doesn't exist");
        } else if (!eachFile) {
            ++outcome.processed;
            status.Set(StatusPart::Message, "Adding " + context.shortPath(path));
            status.Set(StatusPart::Objects, "File: " + QString::number(outcome.processed) +
                                                " of " + total);
            batch.push_back(position);
        } else {
            ++outcome.processed;
            status.Set(StatusPart::Message, "Deleting " + context.shortPath(path));
            status.Set(StatusPart::Objects, "File: " + QString::number(outcome.processed) +
                                                " of " + total);
            status.Set(StatusPart::Matched, "Deleted: " + QString::number(outcome.deleted));
            status.Set(StatusPart::Elapsed, "Skipped: " + QString::number(outcome.skipped));
            const MessageAnswer answer =
                context.prompts.Message("Are you sure you want to delete ' " + Shown(path) + " '?",
                                        MessageIcon::Warning, MessageButtons::YesNoCancel);
            if (answer == MessageAnswer::Cancel) {
                skip(position, "delete cancelled by user");
                cancelled = true;
                break;
            }
            if (answer == MessageAnswer::No) {
                skip(position, "file deletion skipped by user");
            } else if (const std::string reason = context.desktop.MoveToTrash(path);
                       reason.empty() && !Exists(path)) {
                ++outcome.deleted;
                context.removeFromViews(path);
                if (context.trashed) {
                    context.trashed(path);
                }
            } else {
                // The wording stands although the file does exist: it is the program's own.
                skip(position, "error: file doesn't exist", reason);
            }
        }
        if (context.cancel.IsRaised()) {
            cancelled = true;
            break;
        }
    }
    // Gathered files go now, unless the walk was cancelled; each one the trash refuses is
    // listed with its reason.
    if (!batch.empty() && !cancelled) {
        status.Set(StatusPart::Message, QStringLiteral("Deleting"));
        for (const size_t position : batch) {
            const std::string& path = selection[position].path;
            if (const std::string reason = context.desktop.MoveToTrash(path); reason.empty()) {
                ++outcome.deleted;
                if (context.trashed) {
                    context.trashed(path);
                }
            } else {
                skip(position, "error: file doesn't exist", reason);
            }
        }
    }
    outcome.changed = outcome.deleted > 0;
    std::sort(outcome.notProcessed.begin(), outcome.notProcessed.end(),
              [](const SkippedItem& a, const SkippedItem& b) { return a.slot < b.slot; });
    return outcome;
}

bool DeleteFolder(const std::string& folder, CommandContext& context) {
    std::string reason;
    if (!IsFolder(folder)) {
        reason = "it is not a folder any more";
    } else {
        reason = context.desktop.MoveToTrash(folder);
    }
    if (!reason.empty()) {
        context.prompts.Message("Could not send ' " + Shown(folder) + " ' to the trash: " +
                                    QString::fromStdString(reason),
                                MessageIcon::Critical, MessageButtons::Ok);
    } else if (context.trashed) {
        context.trashed(folder);
    }
    context.status.Set(StatusPart::Message,
                       reason.empty() ? QStringLiteral("Folder deleted")
                                      : QStringLiteral("Folder not deleted"));
    return reason.empty();
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
        return QStringLiteral("Ready! (Drive contents changed - rescan recommended.)");
    case Rescan::AdviseTooLarge:
        return QStringLiteral("Ready! (Rescan size exceeded - rescan recommended.)");
    case Rescan::Now:
        break;
    }
    return QStringLiteral("Ready!");
}

QString ChangedListText() {
    return QStringLiteral("Ready! (The list has changed - rescan recommended.)");
}
