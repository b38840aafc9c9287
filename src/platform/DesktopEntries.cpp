#include "platform/DesktopEntries.h"

#include <QFile>
#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <map>
#include <sys/stat.h>

namespace {

std::vector<std::string> SplitColon(const char* value, std::vector<std::string> fallback) {
    if (value == nullptr || *value == '\0') {
        return fallback;
    }
    std::vector<std::string> parts;
    std::string text(value);
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(':', start), text.size());
        if (end > start && text[start] == '/') {
            parts.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts.empty() ? fallback : parts;
}

// The value escapes of desktop files: \s \n \t \r \\.
QString Unescape(const QString& value) {
    QString out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] == QLatin1Char('\\') && i + 1 < value.size()) {
            const QChar next = value[++i];
            switch (next.unicode()) {
            case 's':
                out += QLatin1Char(' ');
                break;
            case 'n':
                out += QLatin1Char('\n');
                break;
            case 't':
                out += QLatin1Char('\t');
                break;
            case 'r':
                out += QLatin1Char('\r');
                break;
            default:
                out += next;
                break;
            }
        } else {
            out += value[i];
        }
    }
    return out;
}

// The groups of an INI-like freedesktop file: group name -> key -> value (first key wins).
std::map<QString, std::map<QString, QString>> ReadGroups(const std::string& file) {
    std::map<QString, std::map<QString, QString>> groups;
    QFile in(QFile::decodeName(QByteArray::fromStdString(file)));
    if (!in.open(QIODevice::ReadOnly)) {
        return groups;
    }
    QString group;
    for (const QByteArray& raw : in.readAll().split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) {
            continue;
        }
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = line.mid(1, line.size() - 2);
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0 && !group.isEmpty()) {
            groups[group].try_emplace(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
        }
    }
    return groups;
}

QStringList SplitList(const QString& value) {
    QStringList items;
    for (const QString& item : value.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        items << item.trimmed();
    }
    return items;
}

bool IsFolder(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void CollectDesktopFiles(const std::string& folder, const std::string& prefix,
                         std::vector<std::pair<std::string, std::string>>& found) {
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        return;
    }
    std::vector<std::string> names;
    while (const dirent* e = readdir(dir)) {
        if (e->d_name[0] != '.') {
            names.emplace_back(e->d_name);
        }
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    for (const auto& name : names) {
        const std::string path = folder + "/" + name;
        if (IsFolder(path)) {
            CollectDesktopFiles(path, prefix + name + "-", found);
        } else if (name.size() > 8 && name.compare(name.size() - 8, 8, ".desktop") == 0) {
            found.emplace_back(prefix + name, path);
        }
    }
}

// A path that does not begin with "/" could read as an option ("-rf"); "./" keeps it a path.
std::string SafePath(const std::string& path) {
    return !path.empty() && path.front() == '/' ? path : "./" + path;
}

// Splits an Exec value into arguments: blanks separate, double quotes group, and inside quotes
// a backslash escapes '"', '`', '$' and '\'. Nothing for an unterminated quote.
std::optional<QStringList> SplitExec(const QString& exec) {
    QStringList args;
    QString current;
    bool inQuotes = false;
    bool hasArgument = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (inQuotes) {
            if (c == QLatin1Char('\\') && i + 1 < exec.size() &&
                QStringLiteral("\"`$\\").contains(exec[i + 1])) {
                current += exec[++i];
            } else if (c == QLatin1Char('"')) {
                inQuotes = false;
            } else {
                current += c;
            }
        } else if (c == QLatin1Char('"')) {
            inQuotes = true;
            hasArgument = true;
        } else if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (hasArgument || !current.isEmpty()) {
                args << current;
                current.clear();
                hasArgument = false;
            }
        } else {
            current += c;
        }
    }
    if (inQuotes) {
        return std::nullopt;
    }
    if (hasArgument || !current.isEmpty()) {
        args << current;
    }
    return args;
}

} // namespace

XdgFolders XdgFolders::FromEnvironment() {
    std::string home = std::getenv("HOME") ? std::getenv("HOME") : "/";
    XdgFolders folders;
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    folders.data.push_back(dataHome && dataHome[0] == '/' ? dataHome : home + "/.local/share");
    for (auto& d : SplitColon(std::getenv("XDG_DATA_DIRS"), {"/usr/local/share", "/usr/share"})) {
        folders.data.push_back(d);
    }
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    folders.config.push_back(configHome && configHome[0] == '/' ? configHome : home + "/.config");
    for (auto& d : SplitColon(std::getenv("XDG_CONFIG_DIRS"), {"/etc/xdg"})) {
        folders.config.push_back(d);
    }
    return folders;
}

std::optional<DesktopEntry> ReadDesktopEntry(const std::string& file, const std::string& id) {
    const auto groups = ReadGroups(file);
    const auto group = groups.find(QStringLiteral("Desktop Entry"));
    if (group == groups.end()) {
        return std::nullopt;
    }
    const auto& keys = group->second;
    const auto value = [&keys](const char* key) {
        const auto it = keys.find(QString::fromLatin1(key));
        return it == keys.end() ? QString() : it->second;
    };
    if (value("Type") != QLatin1String("Application") || value("Hidden") == QLatin1String("true") ||
        value("Exec").isEmpty()) {
        return std::nullopt;
    }
    DesktopEntry entry;
    entry.id = id;
    entry.file = file;
    entry.name = Unescape(value("Name"));
    if (entry.name.isEmpty()) {
        entry.name = QString::fromStdString(id);
    }
    entry.exec = Unescape(value("Exec"));
    entry.icon = Unescape(value("Icon"));
    entry.mimeTypes = SplitList(value("MimeType"));
    entry.terminal = value("Terminal") == QLatin1String("true");
    entry.noDisplay = value("NoDisplay") == QLatin1String("true");
    return entry;
}

std::vector<DesktopEntry> LoadDesktopEntries(const XdgFolders& folders) {
    std::vector<DesktopEntry> entries;
    std::vector<std::string> seen;
    for (const auto& data : folders.data) {
        std::vector<std::pair<std::string, std::string>> files;
        CollectDesktopFiles(data + "/applications", "", files);
        for (const auto& [id, path] : files) {
            if (std::find(seen.begin(), seen.end(), id) != seen.end()) {
                continue;
            }
            seen.push_back(id);
            if (auto entry = ReadDesktopEntry(path, id)) {
                entries.push_back(std::move(*entry));
            }
        }
    }
    std::sort(entries.begin(), entries.end(), [](const DesktopEntry& a, const DesktopEntry& b) {
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    return entries;
}

std::vector<std::string> DefaultApplicationIds(const QString& mimeType, const XdgFolders& folders,
                                               const QStringList& desktops) {
    std::vector<std::string> files;
    for (const auto& config : folders.config) {
        for (const QString& desktop : desktops) {
            files.push_back(config + "/" + desktop.toLower().toStdString() + "-mimeapps.list");
        }
        files.push_back(config + "/mimeapps.list");
    }
    for (const auto& data : folders.data) {
        for (const QString& desktop : desktops) {
            files.push_back(data + "/applications/" + desktop.toLower().toStdString() +
                            "-mimeapps.list");
        }
        files.push_back(data + "/applications/mimeapps.list");
    }
    std::vector<std::string> ids;
    for (const auto& file : files) {
        const auto groups = ReadGroups(file);
        const auto group = groups.find(QStringLiteral("Default Applications"));
        if (group == groups.end()) {
            continue;
        }
        const auto it = group->second.find(mimeType);
        if (it == group->second.end()) {
            continue;
        }
        for (const QString& id : SplitList(it->second)) {
            if (std::find(ids.begin(), ids.end(), id.toStdString()) == ids.end()) {
                ids.push_back(id.toStdString());
            }
        }
    }
    return ids;
}

std::optional<DesktopEntry> DefaultApplication(const QString& mimeType,
                                               const std::vector<DesktopEntry>& entries,
                                               const XdgFolders& folders,
                                               const QStringList& desktops) {
    for (const auto& id : DefaultApplicationIds(mimeType, folders, desktops)) {
        for (const auto& entry : entries) {
            if (entry.id == id) {
                return entry;
            }
        }
    }
    for (const auto& entry : entries) {
        if (entry.mimeTypes.contains(mimeType)) {
            return entry;
        }
    }
    return std::nullopt;
}

std::string FileUri(const std::string& path) {
    static const char* hex = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const unsigned char c : path) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
            c == '-' || c == '.' || c == '_' || c == '~' || c == '/') {
            uri += static_cast<char>(c);
        } else {
            uri += '%';
            uri += hex[c >> 4];
            uri += hex[c & 15];
        }
    }
    return uri;
}

std::optional<std::vector<std::string>> ExpandExec(const QString& exec, const std::string& path,
                                                   const DesktopEntry& entry) {
    const auto split = SplitExec(exec);
    if (!split || split->isEmpty()) {
        return std::nullopt;
    }
    std::vector<std::string> argv;
    bool fileGiven = false;
    for (const QString& arg : *split) {
        // A lone field code stands for whole arguments (a path is never re-split).
        if (arg == QLatin1String("%f") || arg == QLatin1String("%F")) {
            argv.push_back(SafePath(path));
            fileGiven = true;
            continue;
        }
        if (arg == QLatin1String("%u") || arg == QLatin1String("%U")) {
            argv.push_back(FileUri(path));
            fileGiven = true;
            continue;
        }
        if (arg == QLatin1String("%i")) {
            if (!entry.icon.isEmpty()) {
                argv.push_back("--icon");
                argv.push_back(entry.icon.toStdString());
            }
            continue;
        }
        std::string out;
        bool literal = arg.isEmpty(); // a quoted "" is an argument of its own
        for (qsizetype i = 0; i < arg.size(); ++i) {
            if (arg[i] != QLatin1Char('%') || i + 1 >= arg.size()) {
                out += QString(arg[i]).toStdString();
                literal = true;
                continue;
            }
            switch (arg[++i].unicode()) {
            case '%':
                out += '%';
                literal = true;
                break;
            case 'f':
            case 'F':
                out += SafePath(path);
                fileGiven = true;
                break;
            case 'u':
            case 'U':
                out += FileUri(path);
                fileGiven = true;
                break;
            case 'c':
                out += entry.name.toStdString();
                break;
            case 'k':
                out += entry.file;
                break;
            default: // deprecated and unknown codes are dropped
                break;
            }
        }
        // An argument made only of dropped codes goes altogether.
        if (!out.empty() || literal) {
            argv.push_back(out);
        }
    }
    if (!fileGiven) {
        argv.push_back(SafePath(path));
    }
    return argv;
}
