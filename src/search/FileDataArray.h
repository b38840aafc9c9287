#pragma once

#include <cassert>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class FileDataArray;

// One found object, as read from the store: a small view made on access. The store keeps each
// record in 24 bytes (its time, its size, its name, its folder and its extension by number) and
// each folder once, as its parent and its own name, so millions of records stay small.
struct FileDataEntry {
    int32_t ItemIndex = 0;
    int64_t LastWriteTime = 0; // 100-ns ticks since 1601-01-01 UTC; 0 for folders
    int64_t Size = -1;         // bytes, as the file system says; -1 for folders and unknown

    // Folder path plus name, exactly the bytes the file system gave.
    std::string FullPath() const;
    // The name in its folder.
    std::string_view Name() const { return name; }
    // Lower-cased, dot included; empty for folders and names without a dot.
    std::string_view Extension() const { return extension; }

    const FileDataArray* store = nullptr;
    uint32_t folder = 0;
    std::string_view name;
    std::string_view extension;
};

// `FileDataArray`: the result store of the last search, indexed from 0 with an explicit upper
// bound, as the search prepares, grows and closes it. Slots past the last stored record are
// empty records. Storage grows in blocks, so growing never copies what is stored.
class FileDataArray {
public:
    static constexpr uint32_t kNoFolder = 0xFFFFFFFFu;

    FileDataArray();
    ~FileDataArray();
    FileDataArray(const FileDataArray&) = delete;
    FileDataArray& operator=(const FileDataArray&) = delete;
    // Takes another's records (a walk's, when it ends); the other is left empty.
    FileDataArray& operator=(FileDataArray&& other) noexcept;

    // No slots at all (upper bound -1).
    void Erase();
    // Bounds 0 to 500, every slot empty: the store a search starts with.
    void Prepare();
    // Bounds 0 to `upper`, keeping the records below; new slots are empty.
    void Redim(int32_t upper);

    int32_t UBound() const { return upper_; }
    // Number of slots (UBound() + 1).
    int32_t Size() const { return upper_ + 1; }

    FileDataEntry operator[](int32_t index) const;

    // A folder for records to name: `segment` is the text that follows its parent's path, its
    // name and "/" (for a top folder, with kNoFolder as parent, its whole path).
    uint32_t AddFolder(uint32_t parent, std::string_view segment);
    // The folder's path, ending in "/", written over `out`.
    void FolderPath(uint32_t folder, std::string& out) const;
    // Folders are numbered from 0 to FolderCount() - 1.
    uint32_t FolderCount() const { return static_cast<uint32_t>(folders_.size()); }

    // Stores a record at `index` with `ItemIndex` = index and `FullPath` = folder path + name;
    // `size` -1 when there is none.
    void Store(int32_t index, uint32_t folder, std::string_view name, std::string_view extension,
               int64_t lastWriteTime, int64_t size = -1);
    // The same, for a folder given by its path.
    void Store(int32_t index, std::string_view folderPath, std::string_view name,
               std::string_view extension, int64_t lastWriteTime);
    // Replaces a record's extension (the census marks files without one as ".").
    void SetExtension(int32_t index, std::string_view extension);
    // The number the store gives an extension, -1 when no record has it; records compare fast.
    int64_t ExtensionNumber(std::string_view extension) const;
    uint32_t ExtensionNumberOf(int32_t index) const {
        return Slot(index).extension & kExtensionMask;
    }
    // A record's size, without making the rest of its view; -1 when it has none.
    int64_t SizeOf(int32_t index) const {
        const uint32_t size = Slot(index).size;
        return size == kNoSize ? -1 : size == kLargeSize ? largeSizes_.at(index) : size;
    }

    std::string_view Remark(int32_t index) const;
    std::string_view RemarkDate(int32_t index) const;
    void SetRemark(int32_t index, std::string_view remark, std::string_view remarkDate = {});

    // Changes whenever the store is emptied, so a folder number kept from before is known stale.
    uint64_t Generation() const { return generation_; }

private:
    struct Record {
        uint32_t timeLow = 0;
        uint32_t timeHigh = 0;
        uint32_t folder = kNoFolder; // kNoFolder: an empty slot
        uint32_t nameLow = 0;        // where the name is in the text chunks, low 32 bits...
        uint32_t extension = 0;      // ...the high 8 above the extension's 24-bit number
        uint32_t size = kNoSize;     // kLargeSize: in largeSizes_
    };
    static constexpr uint32_t kNoSize = 0xFFFFFFFFu;
    static constexpr uint32_t kLargeSize = 0xFFFFFFFEu;
    struct FolderRecord {
        uint32_t parent;
        uint64_t segment;
    };
    static constexpr int kBlockShift = 12;
    static constexpr int32_t kBlockSize = 1 << kBlockShift;
    static constexpr uint32_t kExtensionMask = 0xFFFFFF;

    Record& Slot(int32_t index) const {
        // Storing or reading past the bounds is a fault of the caller; debug builds stop there.
        assert(index >= 0 && index <= upper_);
        return blocks_[index >> kBlockShift][index & (kBlockSize - 1)];
    }
    uint64_t AddText(std::string_view text);
    std::string_view Text(uint64_t ref) const;
    uint32_t Intern(std::string_view extension);

    int32_t upper_ = -1;
    uint64_t generation_ = 0;
    std::vector<std::unique_ptr<Record[]>> blocks_;

    // Names and folder segments, each after its length; a text never spans two chunks.
    std::vector<std::unique_ptr<char[]>> chunks_;
    size_t chunkUsed_ = 0;
    size_t chunkSize_ = 0;

    std::vector<FolderRecord> folders_;
    std::string lastFolderPath_;
    uint32_t lastFolder_ = kNoFolder;

    // Number 0 is "no extension".
    std::deque<std::string> extensions_;
    std::unordered_map<std::string_view, uint32_t> extensionNumbers_;
    uint32_t lastExtension_ = 0;

    struct Remarks {
        std::string remark;
        std::string date;
    };
    std::unordered_map<int32_t, Remarks> remarks_;
    // Sizes of kLargeSize bytes and more (4 GiB less two), rare enough to keep apart.
    std::unordered_map<int32_t, int64_t> largeSizes_;
};

// Composes full paths one after another without allocating for each: the folder of the last
// path is kept. The view returned lasts until the next call.
class PathComposer {
public:
    explicit PathComposer(const FileDataArray& store) : store_(store) {}
    std::string_view FullPath(int32_t index);
    std::string_view FullPath(const FileDataEntry& entry);

private:
    const FileDataArray& store_;
    uint64_t generation_ = 0;
    uint32_t folder_ = FileDataArray::kNoFolder;
    size_t folderSize_ = 0;
    std::string path_;
};

// The paths of the store's folders, in the order they were added (a walk's, when it keeps
// every folder it enters).
std::vector<std::string> FolderPaths(const FileDataArray& store);

// The records whose extension is exactly `extension` (byte for byte), in store order: what a
// view of one type holds and an export of one type writes. `yield` runs every 1000 records;
// `expected` reserves room when the count is known to be large.
std::vector<int32_t> RecordsOfExtension(const FileDataArray& store, std::string_view extension,
                                        const std::function<void()>& yield = {},
                                        int32_t expected = 0);
