// GIO first: Qt's keyword macros would clash with its headers.
#include "platform/GioDesktop.h"

#include "platform/PathAccess.h"
#include "platform/Prompts.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <QString>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Text {
    Q_DECLARE_TR_FUNCTIONS(GioDesktop)
};

struct ObjectUnref {
    void operator()(gpointer object) const {
        if (object != nullptr) {
            g_object_unref(object);
        }
    }
};
template <class T> using GObjectPtr = std::unique_ptr<T, ObjectUnref>;

struct Free {
    void operator()(gpointer memory) const { g_free(memory); }
};
using GText = std::unique_ptr<char, Free>;

struct ErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, ErrorFree>;

// A list of GAppInfo the caller owns.
struct AppList {
    GList* list;
    ~AppList() { g_list_free_full(list, g_object_unref); }
};

QString Utf8(const char* text) {
    return QString::fromUtf8(text != nullptr ? text : "");
}

// The content type of a file as the desktop sees it: by its name and, when that leaves doubt,
// by its first bytes; "inode/directory" for a folder. A vanished file or a dangling link is
// typed by its name alone.
std::string ContentTypeOf(const std::string& path) {
    if (path.size() >= PATH_MAX) {
        // Too deep for GIO to look at: the name and the first bytes, read through the folder.
        const ItemAt item = OpenItem(path);
        struct stat st {};
        if (item && fstatat(item.folder.Get(), item.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISDIR(st.st_mode)) {
            return "inode/directory";
        }
        const UniqueFd fd(item ? openat(item.folder.Get(), item.name.c_str(),
                                        O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                               : -1);
        char head[4096];
        const ssize_t n = fd ? read(fd.Get(), head, sizeof head) : -1;
        GText guess(g_content_type_guess(item.name.c_str(),
                                         n > 0 ? reinterpret_cast<guchar*>(head) : nullptr,
                                         n > 0 ? static_cast<gsize>(n) : 0, nullptr));
        return guess.get();
    }
    GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
    GObjectPtr<GFileInfo> info(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                 G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (info && g_file_info_get_content_type(info.get()) != nullptr) {
        return g_file_info_get_content_type(info.get());
    }
    GText guess(g_content_type_guess(path.c_str(), nullptr, 0, nullptr));
    return guess ? guess.get() : "application/octet-stream";
}

std::string FolderOf(const std::string& path) {
    return std::string(SplitPath(path).folder);
}

// Runs in the launched program's process between fork and exec: only async-signal-safe calls.
// The folder comes as a descriptor, so that it is reached at any depth.
void EnterFolder(gpointer folder) {
    if (fchdir(GPOINTER_TO_INT(folder)) != 0) {
        // it starts where we are
    }
}

void RememberPid(GDesktopAppInfo*, GPid pid, gpointer into) {
    *static_cast<GPid*>(into) = pid;
}

ApplicationChoice ChoiceOf(GAppInfo* app) {
    ApplicationChoice choice{g_app_info_get_id(app), Utf8(g_app_info_get_display_name(app)), {}};
    GIcon* icon = g_app_info_get_icon(app);
    if (icon != nullptr && G_IS_THEMED_ICON(icon)) {
        const gchar* const* names = g_themed_icon_get_names(G_THEMED_ICON(icon));
        if (names != nullptr && names[0] != nullptr) {
            choice.iconName = Utf8(names[0]);
        }
    }
    return choice;
}

constexpr const char* kFolderType = "inode/directory";
constexpr const char* kThisDesktopId = "example.tallymoor.Tallymoor.desktop"; // as installed

// Whether `app` is this program: a folder it is asked to show must go to a file manager.
bool IsThisProgram(GAppInfo* app) {
    const char* id = g_app_info_get_id(app);
    const char* executable = g_app_info_get_executable(app);
    GText name(executable != nullptr ? g_path_get_basename(executable) : nullptr);
    return (id != nullptr && std::strcmp(id, kThisDesktopId) == 0) ||
           (name && std::strcmp(name.get(), "tallymoor") == 0);
}

// The application that shows folders: the desktop's choice, else the first that offers to,
// never this program.
GAppInfo* FileManagerApplication() {
    GAppInfo* chosen = g_app_info_get_default_for_type(kFolderType, FALSE);
    if (chosen != nullptr && !IsThisProgram(chosen)) {
        return chosen;
    }
    if (chosen != nullptr) {
        g_object_unref(chosen);
        chosen = nullptr;
    }
    AppList all{g_app_info_get_all_for_type(kFolderType)};
    for (GList* a = all.list; a != nullptr && chosen == nullptr; a = a->next) {
        auto* app = static_cast<GAppInfo*>(a->data);
        if (!IsThisProgram(app) && g_app_info_should_show(app)) {
            chosen = static_cast<GAppInfo*>(g_object_ref(app));
        }
    }
    return chosen;
}

} // namespace

GioDesktop::GioDesktop(Prompts& prompts, FileManager fileManager)
    : prompts_(prompts), fileManager_(std::move(fileManager)) {
}

bool GioDesktop::Launch(GAppInfo* app, const std::string& target, bool isUri) {
    const auto fail = [&](const QString& reason) {
        const QString what = isUri ? Utf8(target.c_str()) : DisplayPath(target);
        prompts_.Message(Text::tr("Could not open ' %1 ' with %2: %3")
                             .arg(what, Utf8(g_app_info_get_display_name(app)), reason),
                         MessageIcon::Critical, MessageButtons::Ok);
        return false;
    };
    // GIO starts programs through a helper of its own, so one that is missing would "start"
    // without a word: look for it first.
    const char* program = g_app_info_get_executable(app);
    if (GText found(program != nullptr ? g_find_program_in_path(program) : nullptr); !found) {
        return fail(Text::tr("Failed to execute child process \u201c%1\u201d (%2)")
                        .arg(Utf8(program), QString::fromLocal8Bit(std::strerror(ENOENT))));
    }
    GText uri(isUri ? g_strdup(target.c_str()) : nullptr);
    if (!isUri) {
        GObjectPtr<GFile> file(g_file_new_for_path(target.c_str()));
        uri.reset(g_file_get_uri(file.get()));
    }
    GList uris{uri.get(), nullptr, nullptr};
    const UniqueFd folder(isUri ? -1 : OpenFolder(FolderOf(target), O_PATH | O_CLOEXEC).Release());
    GObjectPtr<GAppLaunchContext> context(g_app_launch_context_new());
    GError* failure = nullptr;
    bool launched = false;
    if (G_IS_DESKTOP_APP_INFO(app)) {
        const auto flags = static_cast<GSpawnFlags>(
            G_SPAWN_SEARCH_PATH | (waitForLaunches_ ? G_SPAWN_DO_NOT_REAP_CHILD : 0));
        GPid pid = 0;
        launched = g_desktop_app_info_launch_uris_as_manager(
            G_DESKTOP_APP_INFO(app), &uris, context.get(), flags, folder ? EnterFolder : nullptr,
            GINT_TO_POINTER(folder.Get()), RememberPid, &pid, &failure);
        if (launched && waitForLaunches_ && pid > 0) {
            waitpid(pid, nullptr, 0);
        }
    } else {
        launched = g_app_info_launch_uris(app, &uris, context.get(), &failure);
    }
    if (!launched) {
        const GErrorPtr error(failure);
        return fail(Utf8(error ? error->message : nullptr));
    }
    return true;
}

bool GioDesktop::OpenWithDefaultFor(const std::string& contentType, const std::string& path) {
    GObjectPtr<GAppInfo> app(contentType == kFolderType
                                 ? FileManagerApplication()
                                 : g_app_info_get_default_for_type(contentType.c_str(), FALSE));
    if (!app) {
        // Nothing is associated with the type: let the user choose.
        return OpenWith(path);
    }
    return Launch(app.get(), path);
}

bool GioDesktop::Open(const std::string& path) {
    return OpenWithDefaultFor(ContentTypeOf(path), path);
}

bool GioDesktop::OpenInTextEditor(const std::string& path) {
    return OpenWithDefaultFor("text/plain", path);
}

bool GioDesktop::OpenUrl(const std::string& url) {
    GText scheme(g_uri_parse_scheme(url.c_str()));
    if (scheme) {
        GObjectPtr<GAppInfo> app(g_app_info_get_default_for_uri_scheme(scheme.get()));
        if (app) {
            return Launch(app.get(), url, true);
        }
    }
    // No application claims the scheme; GIO may still know a handler (file: URIs).
    GObjectPtr<GAppLaunchContext> context(g_app_launch_context_new());
    GError* failure = nullptr;
    if (g_app_info_launch_default_for_uri(url.c_str(), context.get(), &failure)) {
        return true;
    }
    const GErrorPtr error(failure);
    QString reason = Utf8(error ? error->message : nullptr);
    if (scheme && error && g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_NOT_SUPPORTED)) {
        reason = Text::tr("no application on this desktop opens %1: links (%2)")
                     .arg(Utf8(scheme.get()), reason);
    }
    prompts_.Message(Text::tr("Could not open %1: %2").arg(Utf8(url.c_str()), reason),
                     MessageIcon::Critical, MessageButtons::Ok);
    return false;
}

bool GioDesktop::Explore(const std::string& path) {
    GText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    if (uri && fileManager_("ShowFolders", uri.get())) {
        return true;
    }
    GObjectPtr<GAppInfo> app(FileManagerApplication());
    if (!app) {
        prompts_.Message(Text::tr("Could not show ' %1 ': no file manager is set up on this "
                                  "desktop.")
                             .arg(DisplayPath(path)),
                         MessageIcon::Critical, MessageButtons::Ok);
        return false;
    }
    return Launch(app.get(), path);
}

bool GioDesktop::ShowProperties(const std::string& path) {
    GText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    if (!uri || !fileManager_("ShowItemProperties", uri.get())) {
        prompts_.ShowFileProperties(path);
    }
    return true;
}

bool GioDesktop::OpenWith(const std::string& path) {
    const std::string contentType = ContentTypeOf(path);
    OpenWithRequest request;
    request.path = path;
    GText mimeType(g_content_type_get_mime_type(contentType.c_str()));
    request.contentType = Utf8(mimeType ? mimeType.get() : contentType.c_str());
    std::set<std::string> listed;
    const auto offer = [&](GList* apps, std::vector<ApplicationChoice>& into) {
        for (GList* a = apps; a != nullptr; a = a->next) {
            auto* app = static_cast<GAppInfo*>(a->data);
            const char* id = g_app_info_get_id(app);
            if (id != nullptr && g_app_info_should_show(app) && listed.insert(id).second) {
                into.push_back(ChoiceOf(app));
            }
        }
    };
    {
        const AppList recommended{g_app_info_get_recommended_for_type(contentType.c_str())};
        const AppList fallback{g_app_info_get_fallback_for_type(contentType.c_str())};
        const AppList all{g_app_info_get_all()};
        offer(recommended.list, request.forType);
        offer(fallback.list, request.forType);
        offer(all.list, request.others);
    }
    std::sort(request.others.begin(), request.others.end(),
              [](const ApplicationChoice& a, const ApplicationChoice& b) {
                  return a.name.localeAwareCompare(b.name) < 0;
              });

    const OpenWithAnswer answer = prompts_.ChooseApplication(request);
    GObjectPtr<GAppInfo> app;
    if (!answer.applicationId.empty()) {
        app.reset(G_APP_INFO(g_desktop_app_info_new(answer.applicationId.c_str())));
    } else if (!answer.commandLine.isEmpty()) {
        GError* failure = nullptr;
        // GIO reads the line as a desktop entry's Exec value and adds the file when it names
        // none; it quotes the file wherever it goes.
        app.reset(g_app_info_create_from_commandline(answer.commandLine.toUtf8().constData(),
                                                     nullptr, G_APP_INFO_CREATE_NONE, &failure));
        if (!app) {
            const GErrorPtr error(failure);
            prompts_.Message(Text::tr("Could not run ' %1 ': %2")
                                 .arg(answer.commandLine, Utf8(error ? error->message : nullptr)),
                             MessageIcon::Critical, MessageButtons::Ok);
            return false;
        }
    } else {
        return false;
    }
    if (!app) {
        prompts_.Message(Text::tr("The application %1 is no longer installed.")
                             .arg(Utf8(answer.applicationId.c_str())),
                         MessageIcon::Critical, MessageButtons::Ok);
        return false;
    }
    return Launch(app.get(), path);
}
