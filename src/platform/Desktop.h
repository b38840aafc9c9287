#pragma once

#include "platform/FileOutcome.h"

#include <cerrno>
#include <string>

class CancelFlag;

// Every request to the desktop goes through here, so tests record what would be launched.
// Paths are bytes, as the file system gave them. Each call tells the user itself when it fails
// (which application, and why) and returns false then.
class Desktop {
public:
    virtual ~Desktop() = default;
    // A web page or a mail address ("https:", "mailto:").
    virtual bool OpenUrl(const std::string& url) = 0;
    // "open": the file or folder with the application associated with its type; the Open With
    // dialog when none is.
    virtual bool Open(const std::string& path) = 0;
    // "explore": the folder in the file manager.
    virtual bool Explore(const std::string& path) = 0;
    // "properties": the file manager's properties, or the program's own.
    virtual bool ShowProperties(const std::string& path) = 0;
    // The desktop's text editor (the default application for plain text).
    virtual bool OpenInTextEditor(const std::string& path) = 0;
    // The Open With dialog for a file.
    virtual bool OpenWith(const std::string& path) = 0;
    // Sends a file or folder to the desktop's trash, where the user can restore it: Done when
    // it went, else why it did not (the item is then where it was). Says nothing itself.
    virtual FileOutcome MoveToTrash(const std::string& path) = 0;
    // The local path of a location named by a URL ("sftp://host/dir", "smb://server/share"),
    // its share mounted first when it is not, with the share's questions asked. "" and `why`
    // when it cannot be had; `cancel` ends the wait.
    virtual std::string LocalPathOf(const std::string& url, const CancelFlag& cancel,
                                    std::string& why) = 0;
};

// A desktop that launches nothing and has no trash (the command line gives it one).
class NoDesktop : public Desktop {
public:
    bool OpenUrl(const std::string&) override { return false; }
    bool Open(const std::string&) override { return false; }
    bool Explore(const std::string&) override { return false; }
    bool ShowProperties(const std::string&) override { return false; }
    bool OpenInTextEditor(const std::string&) override { return false; }
    bool OpenWith(const std::string&) override { return false; }
    FileOutcome MoveToTrash(const std::string& path) override {
        return FileOutcome::Failure(path, ENOTSUP);
    }
    std::string LocalPathOf(const std::string&, const CancelFlag&, std::string& why) override {
        why = "Operation not supported";
        return {};
    }
};
