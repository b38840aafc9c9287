#pragma once

#include "platform/Desktop.h"

#include <functional>

class CancelFlag;
class Prompts;
typedef struct _GAppInfo GAppInfo; // as GIO declares it

// The Linux desktop through GIO: the application of a content type, the Open With lists, the
// launching (GIO expands the Exec line and quotes the file itself: no shell of ours, no command
// line built by hand), and the file manager over D-Bus. Launched programs start in the file's
// folder.
class GioDesktop : public Desktop {
public:
    // Asks the file manager ("ShowFolders", "ShowItemProperties") about a file URI; false when
    // no file manager answers.
    using FileManager = std::function<bool(const char* method, const std::string& uri)>;

    GioDesktop(Prompts& prompts, FileManager fileManager);

    // Tests wait for each launched program to end, so that they can read what it received.
    void SetWaitForLaunches(bool wait) { waitForLaunches_ = wait; }

    bool OpenUrl(const std::string& url) override;
    bool Open(const std::string& path) override;
    bool Explore(const std::string& path) override;
    bool ShowProperties(const std::string& path) override;
    bool OpenInTextEditor(const std::string& path) override;
    bool OpenWith(const std::string& path) override;
    FileOutcome MoveToTrash(const std::string& path) override;
    // Mounts on a thread of its own, the window's event loop running.
    std::string LocalPathOf(const std::string& url, const CancelFlag& cancel,
                            std::string& why) override;

private:
    bool OpenWithDefaultFor(const std::string& contentType, const std::string& path);
    // Starts `app` on `target` (a path, or a URI when `isUri`); says why when it cannot.
    bool Launch(GAppInfo* app, const std::string& target, bool isUri = false);

    Prompts& prompts_;
    FileManager fileManager_;
    bool waitForLaunches_ = false;
};

// Sends a file or folder to the trash through GIO (the freedesktop trash: restorable from the
// file manager). A name too long for GIO's trash info file goes to the home trash under a
// shortened name, its whole original path kept in the info file. "" when it went, else why not.
FileOutcome MoveToTrash(const std::string& path);

// The local path of a location named by a URL: a file: URL's own, or that of a share through
// GIO's FUSE bridge (gvfs-fuse), the share mounted first when it is not; `prompts` answers its
// questions (none: each is declined), `cancel` ends the wait. "" and `why` when it cannot be
// had.
std::string LocalPathOfUrl(const std::string& url, Prompts* prompts, const CancelFlag& cancel,
                           std::string& why);

// Asks the session's file manager over D-Bus (org.freedesktop.FileManager1).
bool AskFileManager(const char* method, const std::string& uri);
