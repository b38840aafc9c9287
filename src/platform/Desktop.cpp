#include "platform/Desktop.h"

#include "fileops/dlgOpenWith.h"
#include "fileops/dlgProperties.h"
#include "platform/Prompts.h"
#include "platform/Spawn.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFile>
#include <QMimeDatabase>
#include <cstdlib>
#include <sys/stat.h>

namespace {

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {};
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

QStringList CurrentDesktops() {
    const char* current = std::getenv("XDG_CURRENT_DESKTOP");
    return current ? QString::fromUtf8(current).split(QLatin1Char(':'), Qt::SkipEmptyParts)
                   : QStringList{};
}

} // namespace

bool AskFileManager(const QString& method, const std::string& uri) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || bus.interface() == nullptr) {
        return false;
    }
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    const auto registered = bus.interface()->isServiceRegistered(service);
    const auto activatable = bus.interface()->activatableServiceNames();
    if (!registered.value() && !(activatable.isValid() && activatable.value().contains(service))) {
        return false;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/freedesktop/FileManager1"), service, method);
    call << QStringList{QString::fromLatin1(uri.c_str())} << QString();
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

LinuxDesktop::LinuxDesktop(Prompts& prompts, XdgFolders folders, Spawner spawn,
                           FileManager fileManager, QWidget* owner)
    : prompts_(prompts), folders_(std::move(folders)), spawn_(std::move(spawn)),
      fileManager_(std::move(fileManager)), owner_(owner) {
}

std::unique_ptr<LinuxDesktop> LinuxDesktop::ForThisSession(Prompts& prompts) {
    return std::make_unique<LinuxDesktop>(prompts, XdgFolders::FromEnvironment(), SpawnDetached,
                                          AskFileManager);
}

const std::vector<DesktopEntry>& LinuxDesktop::Entries() {
    if (!loaded_) {
        entries_ = LoadDesktopEntries(folders_);
        loaded_ = true;
    }
    return entries_;
}

QString LinuxDesktop::MimeTypeOf(const std::string& path) {
    struct stat st {};
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        return QStringLiteral("inode/directory");
    }
    const QString file = QFile::decodeName(QByteArray::fromStdString(path));
    const QMimeDatabase types;
    const QString byContent = types.mimeTypeForFile(file).name();
    // An empty file says nothing by its content; its name does.
    if (byContent == QLatin1String("application/x-zerosize")) {
        return types.mimeTypeForFile(file, QMimeDatabase::MatchExtension).name();
    }
    return byContent;
}

QStringList LinuxDesktop::TypeAndAncestors(const QString& mimeType) {
    QStringList types{mimeType};
    const QMimeType type = QMimeDatabase().mimeTypeForName(mimeType);
    if (type.isValid()) {
        for (const QString& ancestor : type.allAncestors()) {
            if (!types.contains(ancestor)) {
                types << ancestor;
            }
        }
    }
    return types;
}

// The default for the type, else for the nearest type it derives from.
std::optional<DesktopEntry> LinuxDesktop::DefaultFor(const QString& mimeType) {
    for (const QString& type : TypeAndAncestors(mimeType)) {
        // Every file derives from application/octet-stream: no default for "anything".
        if (type == QLatin1String("application/octet-stream")) {
            break;
        }
        if (auto app = DefaultApplication(type, Entries(), folders_, CurrentDesktops())) {
            return app;
        }
    }
    return std::nullopt;
}

bool LinuxDesktop::Launch(const DesktopEntry& entry, const std::string& path) {
    auto argv = ExpandExec(entry.exec, path, entry);
    if (!argv) {
        return false;
    }
    if (entry.terminal && ProgramExists("x-terminal-emulator")) {
        argv->insert(argv->begin(), {"x-terminal-emulator", "-e"});
    }
    return spawn_(*argv, FolderOf(path));
}

bool LinuxDesktop::OpenUrl(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}

bool LinuxDesktop::Open(const std::string& path) {
    if (const auto app = DefaultFor(MimeTypeOf(path))) {
        return Launch(*app, path);
    }
    // Nothing is associated with the type: let the user choose.
    return OpenWith(path);
}

bool LinuxDesktop::Explore(const std::string& path) {
    return fileManager_(QStringLiteral("ShowFolders"), FileUri(path)) || Open(path);
}

bool LinuxDesktop::ShowProperties(const std::string& path) {
    if (fileManager_(QStringLiteral("ShowItemProperties"), FileUri(path))) {
        return true;
    }
    dlgProperties dialog(path, owner_);
    prompts_.ShowModal(&dialog);
    return true;
}

bool LinuxDesktop::OpenInTextEditor(const std::string& path) {
    if (const auto editor = DefaultFor(QStringLiteral("text/plain"))) {
        return Launch(*editor, path);
    }
    return OpenWith(path);
}

bool LinuxDesktop::OpenWith(const std::string& path) {
    dlgOpenWith dialog(Entries(), TypeAndAncestors(MimeTypeOf(path)), path, owner_);
    if (prompts_.ShowModal(&dialog) != QDialog::Accepted) {
        return false;
    }
    if (const auto chosen = dialog.ChosenApplication()) {
        return Launch(*chosen, path);
    }
    DesktopEntry custom;
    custom.exec = dialog.CustomCommand();
    custom.name = custom.exec;
    return !custom.exec.trimmed().isEmpty() && Launch(custom, path);
}
