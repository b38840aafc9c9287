// The settings reader on any file: every key it lists reads back, and writing one key changes no
// other, on disk as in memory.
#include "settings/IniFile.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <unistd.h>

namespace {

using Values = std::map<std::pair<std::string, std::string>, std::string>;

// Names compare as the reader compares them: ASCII letters without regard to case.
std::string Folded(std::string name) {
    for (char& c : name) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return name;
}

// Every key of the program's sections and of the first ones the file names, with its value,
// under the names as the reader folds them.
Values Read(const IniFile& file, const std::string& bytes) {
    std::vector<std::string> sections = {"windows", "paths", "options", "masks", "custom"};
    for (size_t open = bytes.find('['); open != bytes.npos && sections.size() < 9;
         open = bytes.find('[', open + 1)) {
        sections.push_back(bytes.substr(open + 1, bytes.find(']', open) - open - 1));
    }
    Values values;
    for (const std::string& section : sections) {
        for (const std::string& key : file.KeyNames(section)) {
            values[{Folded(section), Folded(key)}] =
                file.GetString(section, key, "\n"); // no value holds a line end
        }
    }
    values.erase({"fuzz", "written"});
    return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = [] {
        std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/tallymoor-fuzz-XXXXXX"
                                                           : "/tmp/tallymoor-fuzz-XXXXXX";
        return std::string(mkdtemp(folder.data())) + "/tallymoor.ini";
    }();
    const std::string bytes(reinterpret_cast<const char*>(data), std::min<size_t>(size, 4096));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    IniFile file(path);
    const Values before = Read(file, bytes);
    file.WriteString("fuzz", "written", "value");
    IniFile again(path);
    const Values after = Read(again, bytes);
    if (std::any_of(before.begin(), before.end(), [](const auto& v) { return v.second == "\n"; }) ||
        after != before || again.GetString("fuzz", "written", "") != "value" ||
        Read(file, bytes) != after) {
        std::abort();
    }
    return 0;
}
