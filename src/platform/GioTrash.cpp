// GIO first: Qt's keyword macros would clash with its headers.
#include <gio/gio.h>

#include "platform/FileReplacement.h"
#include "platform/GioDesktop.h"

#include <cerrno>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kInfoSuffix = ".trashinfo";
// Room left in a name for a counter (".999") once the suffix is added.
constexpr size_t kLongestTrashName = NAME_MAX - 10 - 4;

// The freedesktop trash by hand, for what GIO cannot do: a name so long that its info file
// ("name.trashinfo") would be too long. The item goes to the home trash under a shortened
// name; the info file, reserved exclusively first, keeps its whole original path. Nothing when
// the home trash is on another file system (the caller then tells GIO's reason).
std::optional<std::string> TrashUnderShortName(const std::string& path) {
    const std::string trash = std::string(g_get_user_data_dir()) + "/Trash";
    const std::string files = trash + "/files";
    const std::string info = trash + "/info";
    g_mkdir_with_parents(files.c_str(), 0700);
    g_mkdir_with_parents(info.c_str(), 0700);
    struct stat item {};
    struct stat into {};
    if (lstat(path.c_str(), &item) != 0) {
        return SystemReason(errno);
    }
    if (stat(files.c_str(), &into) != 0 || item.st_dev != into.st_dev) {
        return std::nullopt;
    }
    const size_t slash = path.rfind('/');
    const std::string base = path.substr(slash + 1).substr(0, kLongestTrashName);
    std::unique_ptr<char, decltype(&g_free)> escaped(g_uri_escape_string(path.c_str(), "/", FALSE),
                                                     g_free);
    char when[32];
    const time_t now = time(nullptr);
    tm local{};
    strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%S", localtime_r(&now, &local));
    const std::string content = std::string("[Trash Info]\nPath=") + escaped.get() +
                                "\nDeletionDate=" + when + "\n";
    for (int n = 1; n < 1000; ++n) {
        const std::string name = n == 1 ? base : base + "." + std::to_string(n);
        const std::string infoFile = info + "/" + name + kInfoSuffix;
        UniqueFd fd(open(infoFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!fd) {
            if (errno == EEXIST) {
                continue;
            }
            return SystemReason(errno);
        }
        struct stat taken {};
        if (lstat((files + "/" + name).c_str(), &taken) == 0) {
            fd.Close();
            unlink(infoFile.c_str());
            continue;
        }
        const bool written = write(fd.Get(), content.data(), content.size()) ==
                                 static_cast<ssize_t>(content.size()) &&
                             fsync(fd.Get()) == 0;
        if (!fd.Close() || !written || rename(path.c_str(), (files + "/" + name).c_str()) != 0) {
            const int error = errno;
            unlink(infoFile.c_str());
            return SystemReason(error);
        }
        return std::string();
    }
    return SystemReason(EEXIST);
}

} // namespace

std::string MoveToTrash(const std::string& path) {
    std::unique_ptr<GFile, decltype(&g_object_unref)> file(g_file_new_for_path(path.c_str()),
                                                            g_object_unref);
    GError* failure = nullptr;
    if (g_file_trash(file.get(), nullptr, &failure)) {
        return {};
    }
    std::unique_ptr<GError, decltype(&g_error_free)> error(failure, g_error_free);
    if (g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_FILENAME_TOO_LONG)) {
        if (const auto outcome = TrashUnderShortName(path)) {
            return *outcome;
        }
    }
    // GIO names the file in its message ("Error trashing file PATH: reason"); the caller
    // names it already, so only the reason is kept.
    const std::string message = error->message;
    const size_t named = message.find(path + ": ");
    return named == std::string::npos ? message : message.substr(named + path.size() + 2);
}

std::string GioDesktop::MoveToTrash(const std::string& path) {
    return ::MoveToTrash(path);
}
