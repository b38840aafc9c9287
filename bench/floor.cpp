// The machine's floor for a walk: the least a program must do to list a tree as tallymoor
// does (open each folder, read its entries with getdents64, skip dot-folders, print each kept
// path, optionally stat each kept file), on N threads sharing a stack of folders, with no order
// kept and nothing stored. Usage: floor [-j N] [--stat] [--suffix .EXT] ROOT
// A kept file is any non-folder, or one whose name ends with .EXT (ASCII case ignored).

#include <condition_variable>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::mutex lock;
std::condition_variable wake;
std::vector<std::string> folders; // to read
int busy = 0;                     // threads reading a folder
bool statKept = false;
std::string suffix;

void Flush(std::string& out) {
    const std::lock_guard<std::mutex> guard(lock);
    for (size_t done = 0; done < out.size();) {
        const ssize_t n = write(STDOUT_FILENO, out.data() + done, out.size() - done);
        if (n <= 0) {
            _exit(1);
        }
        done += static_cast<size_t>(n);
    }
    out.clear();
}

bool Kept(const char* name) {
    const size_t length = std::strlen(name);
    return suffix.empty() || (length >= suffix.size() &&
                              strcasecmp(name + length - suffix.size(), suffix.c_str()) == 0);
}

void Read(const std::string& path, std::vector<char>& buffer, std::string& out,
          std::vector<std::string>& found) {
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    for (;;) {
        const long n = syscall(SYS_getdents64, fd, buffer.data(), buffer.size());
        if (n <= 0) {
            break;
        }
        for (long pos = 0; pos < n;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + pos);
            pos += entry->d_reclen;
            const char* name = entry->d_name;
            bool folder = entry->d_type == DT_DIR;
            struct stat st {};
            if (entry->d_type == DT_UNKNOWN) {
                folder = fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
            }
            if (folder) {
                if (name[0] != '.') {
                    found.push_back(path + name + "/");
                }
            } else if (Kept(name)) {
                if (statKept) {
                    fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW);
                }
                out.append(path).append(name).push_back('\n');
            }
        }
    }
    close(fd);
}

void Work() {
    std::vector<char> buffer(64 * 1024);
    std::string out;
    std::vector<std::string> found;
    for (;;) {
        std::string path;
        {
            std::unique_lock<std::mutex> guard(lock);
            wake.wait(guard, [] { return !folders.empty() || busy == 0; });
            if (folders.empty()) {
                break;
            }
            path = std::move(folders.back());
            folders.pop_back();
            ++busy;
        }
        Read(path, buffer, out, found);
        if (out.size() > 60 * 1024) {
            Flush(out);
        }
        {
            const std::lock_guard<std::mutex> guard(lock);
            for (auto& f : found) {
                folders.push_back(std::move(f));
            }
            --busy;
        }
        found.clear();
        wake.notify_all();
    }
    Flush(out);
}

} // namespace

int main(int argc, char** argv) {
    int threads = 1;
    std::string root;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "-j" && i + 1 < argc) {
            threads = std::max(1, std::atoi(argv[++i]));
        } else if (a == "--stat") {
            statKept = true;
        } else if (a == "--suffix" && i + 1 < argc) {
            suffix = argv[++i];
        } else {
            root = a;
        }
    }
    if (root.empty()) {
        return 2;
    }
    folders.push_back(root.back() == '/' ? root : root + "/");
    std::vector<std::thread> pool;
    for (int i = 1; i < threads; ++i) {
        pool.emplace_back(Work);
    }
    Work();
    for (auto& t : pool) {
        t.join();
    }
    return 0;
}
