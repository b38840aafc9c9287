// Writes a deterministic folder tree of N entries for the benchmark: a long tail of about 60
// extensions, names without one, upper-case extensions, dot-folders, dot-files, depth up to 8.
// Usage: gentree DIR N [SEED]
// Or a tree of one shape: gentree --wide DIR N (one folder of N files), gentree --deep DIR
// LEVELS FILES (a chain of LEVELS folders with FILES files in each; deeper than PATH_MAX allows,
// so it is made relative to descriptors).

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct SplitMix {
    uint64_t state;
    uint64_t Next() {
        uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    double Unit() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }
    int Between(int low, int high) { return low + static_cast<int>(Next() % (high - low + 1)); }
};

constexpr std::array kExtensions = {
    "c",   "h",    "txt", "jpg", "png", "js",  "py",   "html", "json", "o",   "md",  "cpp",
    "xml", "log",  "css", "gz",  "pdf", "svg", "java", "rs",   "go",   "sh",  "yml", "mp3",
    "zip", "doc",  "xls", "csv", "ini", "cfg", "so",   "a",    "ts",   "tsx", "rb",  "pl",
    "php", "mk",   "in",  "am",  "po",  "mo",  "ttf",  "woff", "ico",  "gif", "bmp", "tiff",
    "wav", "flac", "mp4", "mkv", "avi", "iso", "deb",  "rpm",  "tar",  "bz2", "xz",  "lock"};
constexpr std::array kWords = {"report", "data",  "image", "main",  "test",  "index", "util",
                               "notes",  "photo", "build", "cache", "draft", "final", "old"};

double ZipfTotal() {
    double total = 0;
    for (size_t i = 0; i < kExtensions.size(); ++i) {
        total += 1.0 / std::pow(i + 1, 1.1);
    }
    return total;
}

std::string PickExtension(SplitMix& rng) {
    static const double total = ZipfTotal();
    double x = rng.Unit() * total;
    for (size_t i = 0; i < kExtensions.size(); ++i) {
        x -= 1.0 / std::pow(i + 1, 1.1);
        if (x <= 0) {
            return kExtensions[i];
        }
    }
    return kExtensions.back();
}

std::string Upper(std::string s) {
    for (auto& c : s) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return s;
}

// `count` files named f<i>.<extension>, with the bench tree's extension mix, in `dirFd`.
bool MakeFiles(int dirFd, long count, SplitMix& rng) {
    for (long i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i) + "." + PickExtension(rng);
        const int fd = openat(dirFd, name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) {
            std::perror(name.c_str());
            return false;
        }
        close(fd);
    }
    return true;
}

int MakeShape(const std::string& shape, char** args, SplitMix& rng) {
    const std::string root = args[0];
    mkdir(root.c_str(), 0755);
    int dirFd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (shape == "--wide") {
        return dirFd >= 0 && MakeFiles(dirFd, std::atol(args[1]), rng) ? 0 : 1;
    }
    const long levels = std::atol(args[1]);
    const long files = std::atol(args[2]);
    for (long level = 0; level < levels && dirFd >= 0; ++level) {
        if (!MakeFiles(dirFd, files, rng)) {
            return 1;
        }
        mkdirat(dirFd, "level", 0755);
        const int next = openat(dirFd, "level", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(dirFd);
        dirFd = next;
    }
    return dirFd >= 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    SplitMix shapes{20261124ULL};
    if (argc >= 4 && std::string(argv[1]) == "--wide") {
        return MakeShape(argv[1], argv + 2, shapes);
    }
    if (argc >= 5 && std::string(argv[1]) == "--deep") {
        return MakeShape(argv[1], argv + 2, shapes);
    }
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: gentree DIR N [SEED] | --wide DIR N | --deep DIR LEVELS FILES\n");
        return 2;
    }
    const std::string root = argv[1];
    const long total = std::atol(argv[2]);
    SplitMix rng{argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 20261121ULL};
    mkdir(root.c_str(), 0755);

    struct Pending {
        std::string path;
        int depth;
    };
    std::deque<Pending> queue{{root, 0}};
    long made = 0, serial = 0;
    while (made < total && !queue.empty()) {
        const Pending folder = queue.front();
        queue.pop_front();
        const int dirFd = open(folder.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dirFd < 0) {
            std::perror(folder.path.c_str());
            return 1;
        }
        const int entries = rng.Between(10, 60);
        for (int i = 0; i < entries && made < total; ++i, ++made, ++serial) {
            const std::string word = kWords[rng.Next() % kWords.size()];
            const bool makeFolder = folder.depth < 8 && rng.Unit() < 0.12;
            if (makeFolder) {
                const bool dotted = rng.Unit() < 0.03;
                const std::string name = (dotted ? "." : "") + word + "_" + std::to_string(serial);
                mkdirat(dirFd, name.c_str(), 0755);
                queue.push_back({folder.path + "/" + name, folder.depth + 1});
                continue;
            }
            std::string name = word + "_" + std::to_string(serial);
            if (rng.Unit() < 0.03) {
                name = "." + name;
            }
            const double kind = rng.Unit();
            if (kind >= 0.08) {
                const std::string ext = PickExtension(rng);
                name += "." + (kind < 0.13 ? Upper(ext) : ext);
            }
            const int fd = openat(dirFd, name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            if (fd < 0) {
                std::perror(name.c_str());
                return 1;
            }
            close(fd);
        }
        close(dirFd);
    }
    std::printf("%ld entries under %s\n", made, root.c_str());
    return made == total ? 0 : 1;
}
