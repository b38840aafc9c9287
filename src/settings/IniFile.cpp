#include "settings/IniFile.h"

#include "search/PathText.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
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

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

void MakeFolders(const std::string& folder) {
    for (size_t slash = folder.find('/', 1); slash != std::string::npos;
         slash = folder.find('/', slash + 1)) {
        mkdir(folder.substr(0, slash).c_str(), 0755);
    }
    mkdir(folder.c_str(), 0755);
}

bool WriteAll(int fd, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

} // namespace

IniFile::IniFile(std::string path) : path_(std::move(path)), rename_(::rename) {
}

bool IniFile::Exists() const {
    struct stat st {};
    return stat(path_.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

void IniFile::LoadIfChanged() const {
    Signature now;
    struct stat st {};
    const int fd = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
        now = {st.st_ino, st.st_size, st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec};
    }
    if (loaded_ && *loaded_ == now) {
        if (fd >= 0) {
            close(fd);
        }
        return;
    }
    std::string bytes;
    if (now.size >= 0) {
        bytes.resize(static_cast<size_t>(now.size));
        size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = read(fd, bytes.data() + done, bytes.size() - done);
            if (n <= 0) {
                break;
            }
            done += static_cast<size_t>(n);
        }
        bytes.resize(done);
    }
    if (fd >= 0) {
        close(fd);
    }
    std::string_view text = bytes;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        text.remove_prefix(3);
    }
    lines_.clear();
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        lines_.emplace_back(line);
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    loaded_ = now;
}

std::optional<size_t> IniFile::FindSection(std::string_view section) const {
    for (size_t i = 0; i < lines_.size(); ++i) {
        if (const auto name = SectionName(lines_[i]); name && SameName(*name, section)) {
            return i;
        }
    }
    return std::nullopt;
}

size_t IniFile::SectionEnd(size_t headerLine) const {
    size_t i = headerLine + 1;
    while (i < lines_.size() && !SectionName(lines_[i])) {
        ++i;
    }
    return i;
}

std::string IniFile::GetString(std::string_view section, std::string_view key,
                               std::string_view fallback) const {
    LoadIfChanged();
    const auto header = FindSection(section);
    if (!header) {
        return std::string(fallback);
    }
    const size_t end = SectionEnd(*header);
    for (size_t i = *header + 1; i < end; ++i) {
        if (const auto name = KeyName(lines_[i]); name && SameName(*name, key)) {
            const std::string_view line = lines_[i];
            return CutToCharacters(TrimSpacesAndTabs(line.substr(line.find('=') + 1)), kValueLimit);
        }
    }
    return std::string(fallback);
}

std::vector<std::string> IniFile::KeyNames(std::string_view section) const {
    LoadIfChanged();
    std::vector<std::string> names;
    if (const auto header = FindSection(section)) {
        const size_t end = SectionEnd(*header);
        for (size_t i = *header + 1; i < end; ++i) {
            if (const auto name = KeyName(lines_[i])) {
                names.emplace_back(*name);
            }
        }
    }
    return names;
}

void IniFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
    LoadIfChanged();
    const std::string cleanValue = OneLine(value);
    const auto header = FindSection(section);
    if (!header) {
        if (!lines_.empty() && !TrimSpacesAndTabs(lines_.back()).empty()) {
            lines_.emplace_back();
        }
        lines_.push_back("[" + std::string(section) + "]");
        lines_.push_back(std::string(key) + "=" + cleanValue);
        Changed();
        return;
    }
    const size_t end = SectionEnd(*header);
    size_t lastContent = *header;
    for (size_t i = *header + 1; i < end; ++i) {
        if (const auto name = KeyName(lines_[i]); name && SameName(*name, key)) {
            lines_[i] = std::string(*name) + "=" + cleanValue;
            Changed();
            return;
        }
        if (!TrimSpacesAndTabs(lines_[i]).empty()) {
            lastContent = i;
        }
    }
    lines_.insert(lines_.begin() + static_cast<ptrdiff_t>(lastContent + 1),
                  std::string(key) + "=" + cleanValue);
    Changed();
}

void IniFile::DeleteSection(std::string_view section) {
    LoadIfChanged();
    if (const auto header = FindSection(section)) {
        lines_.erase(lines_.begin() + static_cast<ptrdiff_t>(*header),
                     lines_.begin() + static_cast<ptrdiff_t>(SectionEnd(*header)));
        Changed();
    }
}

void IniFile::WriteLines(std::vector<std::string> lines) {
    LoadIfChanged();
    lines_ = std::move(lines);
    Changed();
}

void IniFile::Changed() {
    if (batchDepth_ > 0) {
        dirty_ = true;
    } else {
        Flush();
    }
}

std::string IniFile::Serialize() const {
    std::string bytes;
    for (const auto& line : lines_) {
        bytes += line;
        bytes += "\r\n";
    }
    return bytes;
}

void IniFile::Flush() {
    dirty_ = false;
    // Write where a link points, so that the link itself survives.
    std::string target = path_;
    if (char* real = realpath(path_.c_str(), nullptr)) {
        target = real;
        std::free(real);
    }
    const std::string folder = FolderOf(target);
    MakeFolders(folder);
    std::string temporary = folder + "/.tallymoor.ini.XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) {
        lastWriteOk_ = false;
        return;
    }
    struct stat old {};
    const mode_t mode = stat(target.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
    fchmod(fd, mode);
    const bool written = WriteAll(fd, Serialize()) && fdatasync(fd) == 0;
    const bool closed = close(fd) == 0;
    if (!written || !closed || rename_(temporary.c_str(), target.c_str()) != 0) {
        unlink(temporary.c_str());
        lastWriteOk_ = false;
        return;
    }
    lastWriteOk_ = true;
    struct stat st {};
    if (stat(target.c_str(), &st) == 0) {
        loaded_ =
            Signature{st.st_ino, st.st_size, st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec};
    }
}
