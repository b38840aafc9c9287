#pragma once

#include <cassert>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// One found object. Compact on purpose (32 bytes): a search may store millions of them. The
// path bytes live in the store's arena and the extension is shared by every record of its
// type; `Remark` and `RemarkDate`, written by few file commands, are kept beside the store.
struct FileDataEntry {
    int32_t ItemIndex = 0;
    uint32_t pathSize = 0;
    const char* pathData = nullptr;
    const std::string* extension = nullptr;
    int64_t LastWriteTime = 0; // 100-ns ticks since 1601-01-01 UTC; 0 for folders

    // Folder path plus name, exactly the bytes the file system gave.
    std::string_view FullPath() const { return {pathData, pathSize}; }
    // Lower-cased, dot included; empty for folders and names without a dot.
    std::string_view Extension() const {
        return extension ? std::string_view(*extension) : std::string_view{};
    }
};

// `FileDataArray`: the result store of the last search, indexed from 0 with an explicit upper
// bound, as the search prepares, grows and closes it. Slots past the last stored record are
// empty records. Storage grows in blocks, so growing never copies what is stored.
class FileDataArray {
public:
    FileDataArray();
    ~FileDataArray();
    FileDataArray(const FileDataArray&) = delete;
    FileDataArray& operator=(const FileDataArray&) = delete;

    // No slots at all (upper bound -1).
    void Erase();
    // Bounds 0 to 500, every slot empty: the store a search starts with.
    void Prepare();
    // Bounds 0 to `upper`, keeping the records below; new slots are empty.
    void Redim(int32_t upper);

    int32_t UBound() const { return upper_; }
    // Number of slots (UBound() + 1).
    int32_t Size() const { return upper_ + 1; }

    const FileDataEntry& operator[](int32_t index) const { return Slot(index); }

    // Stores a record at `index` with `ItemIndex` = index and `FullPath` = folder + name.
    void Store(int32_t index, std::string_view folder, std::string_view name,
               std::string_view extension, int64_t lastWriteTime);
    // Replaces a record's extension (the census marks files without one as ".").
    void SetExtension(int32_t index, std::string_view extension);

    std::string_view Remark(int32_t index) const;
    std::string_view RemarkDate(int32_t index) const;
    void SetRemark(int32_t index, std::string_view remark, std::string_view remarkDate = {});

    // Bytes held for paths (for the benchmark's memory accounting).
    size_t PathBytes() const { return pathBytes_; }

private:
    static constexpr int kBlockShift = 12;
    static constexpr int32_t kBlockSize = 1 << kBlockShift;

    FileDataEntry& Slot(int32_t index) const {
        // Storing or reading past the bounds is a fault of the caller; debug builds stop there.
        assert(index >= 0 && index <= upper_);
        return blocks_[index >> kBlockShift][index & (kBlockSize - 1)];
    }
    const char* CopyPath(std::string_view folder, std::string_view name);
    const std::string* Intern(std::string_view extension);

    int32_t upper_ = -1;
    std::vector<std::unique_ptr<FileDataEntry[]>> blocks_;

    std::vector<std::unique_ptr<char[]>> arena_;
    char* arenaNext_ = nullptr;
    size_t arenaLeft_ = 0;
    size_t pathBytes_ = 0;

    std::unordered_map<std::string_view, std::unique_ptr<std::string>> extensions_;
    const std::string* lastExtension_ = nullptr;

    struct Remarks {
        std::string remark;
        std::string date;
    };
    std::unordered_map<int32_t, Remarks> remarks_;
};

// The records whose extension is exactly `extension` (byte for byte), in store order: what a
// view of one type holds and an export of one type writes. `yield` runs every 1000 records;
// `expected` reserves room when the count is known to be large.
std::vector<int32_t> RecordsOfExtension(const FileDataArray& store, std::string_view extension,
                                        const std::function<void()>& yield = {},
                                        int32_t expected = 0);
