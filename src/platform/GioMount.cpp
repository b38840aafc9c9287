#include "fileops/CommandThread.h"
#include "platform/CancelFlag.h"
#include "platform/GioDesktop.h"
#include "platform/Prompts.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <QStringList>
#include <gio/gio.h>
#include <memory>

namespace {

template <class T> using GPtr = std::unique_ptr<T, decltype(&g_object_unref)>;

// One mount on its own main context: GIO's questions go to `prompts` (none: each is
// cancelled), and the answer arrives in `Mounted`.
struct MountRun {
    Prompts* prompts = nullptr;
    bool done = false;
    GError* error = nullptr;
};

void AskPassword(GMountOperation* operation, const char* message, const char* user,
                 const char* domain, GAskPasswordFlags flags, gpointer data) {
    Prompts* prompts = static_cast<MountRun*>(data)->prompts;
    const MountLogin request{QString::fromUtf8(message),
                             QString::fromUtf8(user),
                             QString::fromUtf8(domain),
                             (flags & G_ASK_PASSWORD_NEED_USERNAME) != 0,
                             (flags & G_ASK_PASSWORD_NEED_DOMAIN) != 0,
                             (flags & G_ASK_PASSWORD_NEED_PASSWORD) != 0,
                             (flags & G_ASK_PASSWORD_ANONYMOUS_SUPPORTED) != 0};
    const MountLoginAnswer answer = prompts ? prompts->AskMountLogin(request) : MountLoginAnswer{};
    if (answer.cancelled) {
        g_mount_operation_reply(operation, G_MOUNT_OPERATION_ABORTED);
        return;
    }
    g_mount_operation_set_anonymous(operation, answer.anonymous);
    g_mount_operation_set_username(operation, answer.user.toUtf8().constData());
    g_mount_operation_set_domain(operation, answer.domain.toUtf8().constData());
    g_mount_operation_set_password(operation, answer.password.toUtf8().constData());
    g_mount_operation_set_password_save(operation, G_PASSWORD_SAVE_NEVER);
    g_mount_operation_reply(operation, G_MOUNT_OPERATION_HANDLED);
}

void AskQuestion(GMountOperation* operation, const char* message, const char** choices,
                 gpointer data) {
    Prompts* prompts = static_cast<MountRun*>(data)->prompts;
    QStringList texts;
    for (const char** choice = choices; choice != nullptr && *choice != nullptr; ++choice) {
        texts << QString::fromUtf8(*choice);
    }
    const int chosen = prompts ? prompts->AskMountChoice(QString::fromUtf8(message), texts) : -1;
    if (chosen < 0 || chosen >= texts.size()) {
        g_mount_operation_reply(operation, G_MOUNT_OPERATION_ABORTED);
        return;
    }
    g_mount_operation_set_choice(operation, chosen);
    g_mount_operation_reply(operation, G_MOUNT_OPERATION_HANDLED);
}

void Mounted(GObject* file, GAsyncResult* result, gpointer data) {
    auto* run = static_cast<MountRun*>(data);
    g_file_mount_enclosing_volume_finish(G_FILE(file), result, &run->error);
    run->done = true;
}

gboolean Tick(gpointer) {
    return G_SOURCE_CONTINUE; // wakes the loop so that it looks at the cancel flag
}

// Mounts the share of `file` on a main context of this thread's own; "" or why it failed.
std::string Mount(GFile* file, Prompts* prompts, const CancelFlag& cancel) {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    MountRun run{prompts};
    {
        const GPtr<GMountOperation> operation(g_mount_operation_new(), g_object_unref);
        g_signal_connect(operation.get(), "ask-password", G_CALLBACK(AskPassword), &run);
        g_signal_connect(operation.get(), "ask-question", G_CALLBACK(AskQuestion), &run);
        const GPtr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
        GSource* tick = g_timeout_source_new(50);
        g_source_set_callback(tick, Tick, nullptr, nullptr);
        g_source_attach(tick, context);
        g_file_mount_enclosing_volume(file, G_MOUNT_MOUNT_NONE, operation.get(), cancellable.get(),
                                      Mounted, &run);
        while (!run.done) {
            if (cancel.IsRaised()) {
                g_cancellable_cancel(cancellable.get());
            }
            g_main_context_iteration(context, TRUE);
        }
        g_source_destroy(tick);
        g_source_unref(tick);
    }
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    std::string why;
    if (g_error_matches(run.error, G_IO_ERROR, G_IO_ERROR_NOT_SUPPORTED)) {
        // GIO's words ("volume doesn't implement mount") say little to a user.
        std::unique_ptr<char, decltype(&g_free)> scheme(g_file_get_uri_scheme(file), g_free);
        why = FillIn(QCoreApplication::translate(
                         "Remark", "nothing here serves %1: locations (the desktop's gvfs "
                                   "backends are not installed)")
                         .toStdString(),
                     {scheme ? scheme.get() : ""});
    } else if (run.error != nullptr) {
        why = run.error->message;
    }
    if (run.error != nullptr) {
        g_error_free(run.error);
    }
    return why;
}

} // namespace

std::string LocalPathOfUrl(const std::string& url, Prompts* prompts, const CancelFlag& cancel,
                           std::string& why) {
    const GPtr<GFile> file(g_file_new_for_uri(url.c_str()), g_object_unref);
    if (!g_file_is_native(file.get())) {
        // Not mounted (or not known to be): mounting says best why it cannot be had.
        GMount* mount = g_file_find_enclosing_mount(file.get(), nullptr, nullptr);
        if (mount != nullptr) {
            g_object_unref(mount);
        } else if (why = Mount(file.get(), prompts, cancel); !why.empty()) {
            return {};
        }
    }
    std::unique_ptr<char, decltype(&g_free)> path(g_file_get_path(file.get()), g_free);
    if (path == nullptr) {
        why =
            QCoreApplication::translate("Remark", "it has no local path (gvfs-fuse is not running)")
                .toStdString();
        return {};
    }
    return path.get();
}

std::string GioDesktop::LocalPathOf(const std::string& url, const CancelFlag& cancel,
                                    std::string& why) {
    const auto thread = CommandThread::Make(cancel);
    struct Answer {
        std::string path;
        std::string why;
    };
    const auto answer = std::make_shared<Answer>();
    Prompts& window = prompts_;
    if (!thread->Run([self = thread.get(), answer, url, &window] {
            const std::unique_ptr<Prompts> prompts = PromptsThrough(*self, window);
            answer->path = LocalPathOfUrl(url, prompts.get(), self->Cancel(), answer->why);
        })) {
        why = QCoreApplication::translate("Remark", "it did not answer").toStdString();
        return {};
    }
    why = answer->why;
    return answer->path;
}
