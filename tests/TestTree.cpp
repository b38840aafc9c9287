#include "TestTree.h"

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void RemoveAllAt(int parentFd, const char* name) {
    const int fd = openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0) {
        DIR* dir = fdopendir(fd);
        std::vector<std::string> children;
        while (const dirent* e = readdir(dir)) {
            if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) {
                children.emplace_back(e->d_name);
            }
        }
        for (const auto& child : children) {
            fchmodat(dirfd(dir), child.c_str(), 0700, 0);
            RemoveAllAt(dirfd(dir), child.c_str());
        }
        closedir(dir);
        unlinkat(parentFd, name, AT_REMOVEDIR);
    } else {
        unlinkat(parentFd, name, 0);
    }
}

void MakeParents(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        mkdir(path.substr(0, slash).c_str(), 0755);
    }
}

void ReaddirInto(int fd, const std::string& prefix, std::vector<std::string>& out) {
    DIR* dir = fdopendir(fd);
    if (dir == nullptr) {
        return;
    }
    while (const dirent* e = readdir(dir)) {
        const std::string name = e->d_name;
        struct stat st {};
        fstatat(dirfd(dir), e->d_name, &st, AT_SYMLINK_NOFOLLOW);
        if (S_ISDIR(st.st_mode)) {
            if (name[0] == '.') {
                continue;
            }
            out.push_back(prefix + name + "/");
            const int child =
                openat(dirfd(dir), e->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (child >= 0) {
                ReaddirInto(child, prefix + name + "/", out);
            }
        } else {
            out.push_back(prefix + name);
        }
    }
    closedir(dir);
}

} // namespace

TestTree::TestTree() {
    char pattern[] = "/tmp/tallymoor-test-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    root_ = std::string(pattern) + "/";
}

TestTree::~TestTree() {
    const std::string path = root_.substr(0, root_.size() - 1);
    RemoveAllAt(AT_FDCWD, path.c_str());
}

void TestTree::Folder(const std::string& relative) const {
    const std::string path = Path(relative);
    MakeParents(path);
    mkdir(path.c_str(), 0755);
}

void TestTree::File(const std::string& relative) const {
    const std::string path = Path(relative);
    MakeParents(path);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        throw std::runtime_error("cannot create " + path);
    }
    close(fd);
}

void TestTree::Link(const std::string& relative, const std::string& target) const {
    const std::string path = Path(relative);
    MakeParents(path);
    if (symlink(target.c_str(), path.c_str()) != 0) {
        throw std::runtime_error("cannot link " + path);
    }
}

void TestTree::SetTime(const std::string& relative, long seconds, long nanoseconds) const {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    utimensat(AT_FDCWD, Path(relative).c_str(), times, AT_SYMLINK_NOFOLLOW);
}

std::vector<std::string> TestTree::DeepChain(const std::string& relative, int levels,
                                             const std::string& name) const {
    Folder(relative);
    std::vector<std::string> files;
    std::string path = Path(relative);
    if (path.back() != '/') {
        path += '/';
    }
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < levels && fd >= 0; ++i) {
        mkdirat(fd, name.c_str(), 0755);
        const int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        fd = next;
        path += name + "/";
        close(openat(fd, "f.txt", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        files.push_back(path + "f.txt");
    }
    if (fd >= 0) {
        close(fd);
    }
    return files;
}

std::vector<std::string> ReaddirOrder(const std::string& root) {
    std::vector<std::string> out;
    const int fd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ReaddirInto(fd, root, out);
    }
    return out;
}

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

bool Exists(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
}

bool EndsWith(const std::string& s, const std::string& end) {
    return s.size() >= end.size() &&
           strcasecmp(s.c_str() + s.size() - end.size(), end.c_str()) == 0;
}

void TestTree::Folder(std::initializer_list<std::string> relatives) const {
    for (const std::string& relative : relatives) {
        Folder(relative);
    }
}

void TestTree::File(std::initializer_list<std::string> relatives) const {
    for (const std::string& relative : relatives) {
        File(relative);
    }
}
