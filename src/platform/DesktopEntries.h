#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

// Applications as freedesktop.org's desktop-entry and MIME-applications standards describe
// them: .desktop files under each data folder's applications/, and the default application of a
// MIME type from mimeapps.list.

struct DesktopEntry {
    std::string id;   // "org.gnome.gedit.desktop"; subfolders joined with "-"
    std::string file; // the .desktop file's path
    QString name;
    QString exec;
    QString icon;
    QStringList mimeTypes;
    bool terminal = false;
    bool noDisplay = false;
};

struct XdgFolders {
    std::vector<std::string> data;   // $XDG_DATA_HOME, then $XDG_DATA_DIRS
    std::vector<std::string> config; // $XDG_CONFIG_HOME, then $XDG_CONFIG_DIRS

    // From the environment, with the standard defaults.
    static XdgFolders FromEnvironment();
};

// Parses one .desktop file; nothing when it is not an application to launch (no [Desktop
// Entry], Type not Application, Hidden, no Exec).
std::optional<DesktopEntry> ReadDesktopEntry(const std::string& file, const std::string& id);

// Every application of the data folders, an id found in an earlier folder hiding later ones;
// sorted by name.
std::vector<DesktopEntry> LoadDesktopEntries(const XdgFolders& folders);

// The ids of the default applications for `mimeType`, most preferred first, from the
// [Default Applications] groups of mimeapps.list (desktop-specific lists first).
std::vector<std::string> DefaultApplicationIds(const QString& mimeType, const XdgFolders& folders,
                                               const QStringList& desktops);

// The default application for `mimeType`: the first default that is installed, else the first
// installed application that declares the type.
std::optional<DesktopEntry> DefaultApplication(const QString& mimeType,
                                               const std::vector<DesktopEntry>& entries,
                                               const XdgFolders& folders,
                                               const QStringList& desktops);

// The command line of an Exec value for one file, as bytes: quoting and escapes undone, field
// codes expanded (%f %F the path, %u %U its file URI, %c the name, %k the .desktop file, %i the
// icon option, %% a percent sign). Without a file field code the path is added at the end. A
// path is never passed so that it could read as an option. Nothing when the line is malformed.
std::optional<std::vector<std::string>> ExpandExec(const QString& exec, const std::string& path,
                                                   const DesktopEntry& entry);

// A local path as a file URI, every byte outside the unreserved set percent-encoded.
std::string FileUri(const std::string& path);
