#pragma once

#include "platform/DesktopEntries.h"

#include <QUrl>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class Prompts;
class QWidget;

// Every request to the desktop goes through here, so tests record what would be launched.
// Paths are bytes, as the file system gave them.
class Desktop {
public:
    virtual ~Desktop() = default;
    // Opens a web page or a mail address.
    virtual bool OpenUrl(const QUrl& url) = 0;
    // "open": the file or folder with the application associated with its type.
    virtual bool Open(const std::string& path) = 0;
    // "explore": the folder in the file manager.
    virtual bool Explore(const std::string& path) = 0;
    // "properties": the file manager's properties, or the program's own.
    virtual bool ShowProperties(const std::string& path) = 0;
    // The desktop's text editor (the default application for plain text).
    virtual bool OpenInTextEditor(const std::string& path) = 0;
    // The Open With dialog for a file.
    virtual bool OpenWith(const std::string& path) = 0;
};

// The Linux desktop: XDG applications, the FileManager1 D-Bus interface, the program's own
// Properties and Open With dialogs.
class LinuxDesktop : public Desktop {
public:
    using Spawner =
        std::function<bool(const std::vector<std::string>& argv, const std::string& workingFolder)>;
    // Asks the file manager over D-Bus: method ("ShowFolders", "ShowItems",
    // "ShowItemProperties") and a file URI; false when no file manager answers.
    using FileManager = std::function<bool(const QString& method, const std::string& uri)>;

    LinuxDesktop(Prompts& prompts, XdgFolders folders, Spawner spawn, FileManager fileManager,
                 QWidget* owner = nullptr);
    // The real thing: folders from the environment, real processes, the session bus.
    static std::unique_ptr<LinuxDesktop> ForThisSession(Prompts& prompts);

    void SetOwner(QWidget* owner) { owner_ = owner; }

    bool OpenUrl(const QUrl& url) override;
    bool Open(const std::string& path) override;
    bool Explore(const std::string& path) override;
    bool ShowProperties(const std::string& path) override;
    bool OpenInTextEditor(const std::string& path) override;
    bool OpenWith(const std::string& path) override;

    // The MIME type the desktop sees for a path ("inode/directory" for a folder).
    static QString MimeTypeOf(const std::string& path);
    // The type and the types it derives from ("text/markdown", then "text/plain").
    static QStringList TypeAndAncestors(const QString& mimeType);
    const std::vector<DesktopEntry>& Entries();

private:
    bool Launch(const DesktopEntry& entry, const std::string& path);
    std::optional<DesktopEntry> DefaultFor(const QString& mimeType);

    Prompts& prompts_;
    XdgFolders folders_;
    Spawner spawn_;
    FileManager fileManager_;
    QWidget* owner_;
    std::vector<DesktopEntry> entries_;
    bool loaded_ = false;
};

// Asks the session's file manager over D-Bus (org.freedesktop.FileManager1).
bool AskFileManager(const QString& method, const std::string& uri);
