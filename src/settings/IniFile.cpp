#include "settings/IniFile.h"

#include "text/PathText.h"

#include <QCoreApplication>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; };
        if (lower(a[i]) != lower(b[i])) {
            return false;
        }
    }
    return true;
}

// The name inside "[...]" when the line is a section header.
std::optional<std::string_view> SectionName(std::string_view line) {
    line = TrimSpacesAndTabs(line);
    if (line.empty() || line.front() != '[') {
        return std::nullopt;
    }
    const size_t close = line.find(']');
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    return TrimSpacesAndTabs(line.substr(1, close - 1));
}

// The key of a "key=value" line; nothing for comments and lines without "=".
std::optional<std::string_view> KeyName(std::string_view line) {
    const std::string_view trimmed = TrimSpacesAndTabs(line);
    if (trimmed.empty() || trimmed.front() == ';') {
        return std::nullopt;
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    return TrimSpacesAndTabs(line.substr(0, equals));
}

std::string CutToCharacters(std::string_view value, size_t limit) {
    size_t characters = 0;
    for (size_t i = 0; i < value.size(); ++i) {
        // Count every byte that does not continue a UTF-8 sequence.
        if ((static_cast<unsigned char>(value[i]) & 0xC0) != 0x80) {
            if (characters == limit) {
                return std::string(value.substr(0, i));
            }
            ++characters;
        }
    }
    return std::string(value);
}

std::string OneLine(std::string_view value) {
    std::string out(value);
    for (auto& c : out) {
        if (c == '\r' || c == '\n') {
            c = ' ';
        }
    }
    return out;
}

// Folders the settings file needs, made as the XDG base-directory rules ask (0700).
void MakeFolders(const std::string& folder) {
    for (size_t slash = folder.find('/', 1); slash != std::string::npos;
         slash = folder.find('/', slash + 1)) {
        mkdir(folder.substr(0, slash).c_str(), 0700);
    }
    mkdir(folder.c_str(), 0700);
}

constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";

// Lines end at CR LF, LF or a lone CR.
std::vector<std::string> SplitLines(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(3);
    }
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = text.find_first_of("\r\n");
        lines.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + (text.substr(end, 2) == "\r\n" ? 2 : 1));
    }
    return lines;
}

std::string_view Unquoted(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

std::optional<size_t> FindSection(const std::vector<std::string>& lines, std::string_view section) {
    for (size_t i = 0; i < lines.size(); ++i) {
        if (const auto name = SectionName(lines[i]); name && SameName(*name, section)) {
            return i;
        }
    }
    return std::nullopt;
}

// Appends what `fd` holds to `bytes`; the error number, 0 when read to its end.
int ReadWhole(int fd, std::string& bytes) {
    char chunk[65536];
    for (;;) {
        const ssize_t n = read(fd, chunk, sizeof chunk);
        if (n == 0) {
            return 0;
        }
        if (n < 0 && errno != EINTR) {
            return errno;
        }
        bytes.append(chunk, static_cast<size_t>(std::max<ssize_t>(n, 0)));
    }
}

// Whether the lines are empty or name one of `sections`.
bool HoldsOneOf(const std::vector<std::string>& lines, const std::vector<std::string>& sections) {
    bool empty = true;
    for (const std::string& line : lines) {
        empty = empty && TrimSpacesAndTabs(line).empty();
        if (const auto name = SectionName(line)) {
            for (const std::string& ours : sections) {
                if (SameName(*name, ours)) {
                    return true;
                }
            }
        }
    }
    return empty;
}

size_t SectionEnd(const std::vector<std::string>& lines, size_t headerLine) {
    size_t i = headerLine + 1;
    while (i < lines.size() && !SectionName(lines[i])) {
        ++i;
    }
    return i;
}

void SetKey(std::vector<std::string>& lines, const std::string& section, const std::string& key,
            const std::string& value) {
    const auto header = FindSection(lines, section);
    if (!header) {
        if (!lines.empty() && !TrimSpacesAndTabs(lines.back()).empty()) {
            lines.emplace_back();
        }
        lines.push_back("[" + section + "]");
        lines.push_back(key + "=" + value);
        return;
    }
    const size_t end = SectionEnd(lines, *header);
    size_t lastContent = *header;
    for (size_t i = *header + 1; i < end; ++i) {
        if (const auto name = KeyName(lines[i]); name && SameName(*name, key)) {
            lines[i] = std::string(*name) + "=" + value;
            return;
        }
        if (!TrimSpacesAndTabs(lines[i]).empty()) {
            lastContent = i;
        }
    }
    lines.insert(lines.begin() + static_cast<ptrdiff_t>(lastContent + 1), key + "=" + value);
}

// The value of the first `key` in the section that begins at `headerLine`.
std::optional<std::string> ReadValue(const std::vector<std::string>& lines, size_t headerLine,
                                     std::string_view key) {
    const size_t end = SectionEnd(lines, headerLine);
    for (size_t i = headerLine + 1; i < end; ++i) {
        if (const auto name = KeyName(lines[i]); name && SameName(*name, key)) {
            const std::string_view line = lines[i];
            const std::string_view value = TrimSpacesAndTabs(line.substr(line.find('=') + 1));
            return CutToCharacters(Unquoted(value), IniFile::kValueLimit);
        }
    }
    return std::nullopt;
}

void RemoveSection(std::vector<std::string>& lines, const std::string& section) {
    if (const auto header = FindSection(lines, section)) {
        lines.erase(lines.begin() + static_cast<ptrdiff_t>(*header),
                    lines.begin() + static_cast<ptrdiff_t>(SectionEnd(lines, *header)));
    }
}

// An advisory lock on the settings file's folder, held while the file is read again, changed
// and replaced (the file itself is replaced, so it cannot carry the lock). Another copy holds it
// for milliseconds; it is waited for up to `patience`, and a writer without it writes nothing.
class FolderLock {
public:
    FolderLock(const std::string& folder, std::chrono::milliseconds patience)
        : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (!fd_) {
            error_ = errno;
            return;
        }
        const auto deadline = std::chrono::steady_clock::now() + patience;
        useconds_t pause = 500;
        while (flock(fd_.Get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK && errno != EINTR) {
                error_ = errno;
                return;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                error_ = EWOULDBLOCK;
                return;
            }
            usleep(pause);
            pause = std::min<useconds_t>(pause * 2, 50000);
        }
    }
    // 0 when held, else why not (EWOULDBLOCK: another holds it still).
    int Error() const { return error_; }

private:
    UniqueFd fd_; // closing it releases the lock
    int error_ = 0;
};

// Whether the user left the file writable: a file without any write permission is read-only
// by choice, also for a user the system would let write it.
bool Writable(const ReplaceTarget& target) {
    return (target.mode & 0222) != 0 &&
           faccessat(AT_FDCWD, target.path.c_str(), W_OK, AT_EACCESS) == 0;
}

constexpr const char* kCannotBeUsed = QT_TRANSLATE_NOOP(
    "IniFile", "The settings file ' %1 ' cannot be used (%2). Your settings are kept while the "
               "program runs, but nothing is saved to that file.");
constexpr const char* kCannotBeRead = QT_TRANSLATE_NOOP(
    "IniFile", "The settings file ' %1 ' cannot be read (%2). Your settings are kept while the "
               "program runs, but nothing is saved to that file.");
constexpr const char* kReadOnly = QT_TRANSLATE_NOOP(
    "IniFile", "The settings file ' %1 ' is read-only. Your settings are kept while the program "
               "runs, but nothing is saved to that file.");
constexpr const char* kNotSaved = QT_TRANSLATE_NOOP(
    "IniFile", "The settings file ' %1 ' could not be saved (%2). Changed settings are kept "
               "while the program runs and saved with the next change that can be.");

// A message in the user's words, the file and the reason filled in as their bytes.
std::string Said(const char* words, const std::string& path, const std::string& reason = {}) {
    return FillIn(QCoreApplication::translate("IniFile", words).toStdString(),
                  {path, QCoreApplication::translate("Remark", reason.c_str()).toStdString()});
}

} // namespace

IniFile::IniFile(std::string path, std::vector<std::string> ownSections)
    : path_(std::move(path)), ownSections_(std::move(ownSections)) {
}

void IniFile::Problem(const std::string& text) const {
    if (problem_.empty()) {
        problem_ = text;
    }
    if (!problemTold_ && problemHandler_) {
        problemTold_ = true;
        problemHandler_(problem_);
    }
}

void IniFile::SetProblemHandler(std::function<void(const std::string&)> handler) {
    problemHandler_ = std::move(handler);
    if (!problem_.empty()) {
        Problem(problem_);
    }
}

bool IniFile::Exists() const {
    LoadIfChanged();
    return !memoryOnly_ && loaded_ && loaded_->size >= 0;
}

bool IniFile::InMemoryOnly() const {
    LoadIfChanged();
    return memoryOnly_;
}

// Reads the file again when it is not the one the lines came from, and replays the edits not yet
// written over it. The type is checked before anything is opened, and the open never blocks.
void IniFile::LoadIfChanged() const {
    if (memoryOnly_) {
        return;
    }
    const auto giveUp = [this](const char* words, const std::string& reason) {
        memoryOnly_ = true;
        Problem(Said(words, path_, reason));
    };
    const ReplaceTarget target = ResolveReplaceTarget(path_);
    if (!target.error.empty()) {
        giveUp(kCannotBeUsed, target.error);
        return;
    }
    Signature now;
    std::string bytes;
    if (target.exists) {
        const UniqueFd fd(
            open(target.path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat st {};
        if (!fd || fstat(fd.Get(), &st) != 0) {
            giveUp(kCannotBeRead, SystemReason(errno));
            return;
        }
        if (!S_ISREG(st.st_mode)) {
            giveUp(kCannotBeUsed, "Not a regular file");
            return;
        }
        now = {st.st_dev, st.st_ino, st.st_size,
               st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec};
        if (loaded_ && *loaded_ == now) {
            return;
        }
        if (const int error = ReadWhole(fd.Get(), bytes)) {
            giveUp(kCannotBeRead, SystemReason(error));
            return;
        }
    } else if (loaded_ && *loaded_ == now) {
        return; // still no file: the lines in memory stand
    }
    std::vector<std::string> lines = SplitLines(bytes);
    if (!vetted_ && target.path != path_ && !ownSections_.empty() &&
        !HoldsOneOf(lines, ownSections_)) {
        // A link to a file kept elsewhere (as dotfile managers make them) is written through;
        // one to some other file, not empty and with none of our sections, is not ours to change.
        giveUp(kCannotBeUsed, QT_TRANSLATE_NOOP("Remark", "it links to a file that holds no "
                                                          "settings of this program"));
        return;
    }
    vetted_ = true; // once read, or written by us, what is there is ours
    byteOrderMark_ = bytes.starts_with(kByteOrderMark);
    lines_ = std::move(lines);
    loaded_ = now;
    for (const Edit& edit : pending_) {
        edit(lines_);
    }
}

std::string IniFile::GetString(std::string_view section, std::string_view key,
                               std::string_view fallback) const {
    LoadIfChanged();
    const auto header = FindSection(lines_, section);
    return header ? ReadValue(lines_, *header, key).value_or(std::string(fallback))
                  : std::string(fallback);
}

std::vector<std::string> IniFile::KeyNames(std::string_view section) const {
    LoadIfChanged();
    std::vector<std::string> names;
    if (const auto header = FindSection(lines_, section)) {
        const size_t end = SectionEnd(lines_, *header);
        for (size_t i = *header + 1; i < end; ++i) {
            if (const auto name = KeyName(lines_[i])) {
                names.emplace_back(*name);
            }
        }
    }
    return names;
}

void IniFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
    Apply([section = std::string(section), key = std::string(key), value = OneLine(value)](
              std::vector<std::string>& lines) { SetKey(lines, section, key, value); });
}

void IniFile::DeleteSection(std::string_view section) {
    Apply([section = std::string(section)](std::vector<std::string>& lines) {
        RemoveSection(lines, section);
    });
}

void IniFile::CreateWith(std::vector<std::string> lines) {
    Apply([this, lines = std::move(lines)](std::vector<std::string>& into) {
        if (!loaded_ || loaded_->size < 0) {
            into = lines;
        }
    });
}

void IniFile::RewriteSection(std::string_view section,
                             std::function<std::optional<Entries>(const Entries&)> rewrite) {
    Apply([section = std::string(section),
           rewrite = std::move(rewrite)](std::vector<std::string>& lines) {
        Entries now;
        if (const auto header = FindSection(lines, section)) {
            const size_t end = SectionEnd(lines, *header);
            for (size_t i = *header + 1; i < end; ++i) {
                if (const auto name = KeyName(lines[i])) {
                    now.emplace_back(*name, *ReadValue(lines, *header, *name));
                }
            }
        }
        if (const auto entries = rewrite(now)) {
            RemoveSection(lines, section);
            for (const auto& [key, value] : *entries) {
                SetKey(lines, section, key, OneLine(value));
            }
        }
    });
}

void IniFile::Apply(Edit edit) {
    LoadIfChanged();
    edit(lines_);
    if (memoryOnly_) {
        return;
    }
    pending_.push_back(std::move(edit));
    if (batchDepth_ == 0) {
        Flush();
    }
}

std::string IniFile::Serialize() const {
    // A mark read is written back: what followed it stays what it was.
    std::string bytes = byteOrderMark_ ? kByteOrderMark : "";
    for (const auto& line : lines_) {
        bytes += line;
        bytes += "\r\n";
    }
    return bytes;
}

void IniFile::Flush() {
    const auto notSaved = [this](const std::string& reason) {
        lastWriteOk_ = false;
        Problem(Said(kNotSaved, path_, reason));
    };
    const std::string folder = FolderOfPath(ResolveReplaceTarget(path_).path);
    MakeFolders(folder);
    const FolderLock lock(folder, lockPatience_);
    if (lock.Error() != 0) {
        notSaved(lock.Error() == EWOULDBLOCK
                     ? QT_TRANSLATE_NOOP("Remark", "another program keeps it locked")
                     : SystemReason(lock.Error()));
        return;
    }
    // Under the lock, what is there now counts: the link may lead elsewhere, and the file is
    // read again whatever it looks like, since another copy's write may look the same.
    const ReplaceTarget target = ResolveReplaceTarget(path_);
    if (!leftoversChecked_) {
        // Only now, under the lock: another copy's write in progress is not a leftover.
        RemoveLeftoverTemporaries(target.path);
        leftoversChecked_ = true;
    }
    loaded_.reset();
    LoadIfChanged();
    if (!memoryOnly_ && target.exists && !Writable(target)) {
        memoryOnly_ = true;
        Problem(Said(kReadOnly, path_));
    }
    if (memoryOnly_) {
        pending_.clear();
        return;
    }
    TemporaryBeside temporary;
    const std::string bytes = Serialize();
    if (!temporary.Create(target.path) || !temporary.WriteAll(bytes.data(), bytes.size()) ||
        !temporary.Commit(target, rename_)) {
        notSaved(SystemReason(errno));
        return;
    }
    lastWriteOk_ = true;
    pending_.clear();
    struct stat st {};
    if (stat(target.path.c_str(), &st) == 0) {
        loaded_ = Signature{st.st_dev, st.st_ino, st.st_size,
                            st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec};
    }
}
