#include "search/FileDataArray.h"

#include <atomic>
#include <cstring>
#include <utility>

namespace {
constexpr size_t kChunkSize = 1 << 20;
constexpr int kOffsetBits = 24; // a text's place: its chunk above, its offset in the chunk below
constexpr int32_t kPreparedUpper = 500;
constexpr unsigned char kLongText = 0xFF;

// Unique among every store of the process: a store that takes another's records is told apart
// from what it held before by any composer that looked at it.
uint64_t NextGeneration() {
    static std::atomic<uint64_t> generation{0};
    return ++generation;
}
} // namespace

FileDataArray::FileDataArray() {
    Erase();
}
FileDataArray::~FileDataArray() = default;

std::string FileDataEntry::FullPath() const {
    std::string path;
    if (store != nullptr && folder != FileDataArray::kNoFolder) {
        store->FolderPath(folder, path);
    }
    path.append(name);
    return path;
}

FileDataArray& FileDataArray::operator=(FileDataArray&& other) noexcept {
    upper_ = std::exchange(other.upper_, -1);
    generation_ = NextGeneration();
    blocks_ = std::move(other.blocks_);
    chunks_ = std::move(other.chunks_);
    chunkUsed_ = std::exchange(other.chunkUsed_, 0);
    chunkSize_ = std::exchange(other.chunkSize_, 0);
    folders_ = std::move(other.folders_);
    lastFolderPath_ = std::move(other.lastFolderPath_);
    lastFolder_ = std::exchange(other.lastFolder_, kNoFolder);
    // The numbers' keys point into the names, which the moved deque keeps where they are.
    extensions_ = std::move(other.extensions_);
    extensionNumbers_ = std::move(other.extensionNumbers_);
    lastExtension_ = std::exchange(other.lastExtension_, 0);
    remarks_ = std::move(other.remarks_);
    largeSizes_ = std::move(other.largeSizes_);
    other.Erase();
    return *this;
}

void FileDataArray::Erase() {
    upper_ = -1;
    generation_ = NextGeneration();
    blocks_.clear();
    chunks_.clear();
    chunkUsed_ = chunkSize_ = 0;
    folders_.clear();
    lastFolderPath_.clear();
    lastFolder_ = kNoFolder;
    extensions_.assign(1, std::string());
    extensionNumbers_.clear();
    lastExtension_ = 0;
    remarks_.clear();
    largeSizes_.clear();
}

void FileDataArray::Prepare() {
    Erase();
    Redim(kPreparedUpper);
}

void FileDataArray::Redim(int32_t upper) {
    if (upper < -1) {
        upper = -1;
    }
    const size_t blocksNeeded = static_cast<size_t>(upper + kBlockSize) >> kBlockShift;
    // Shrinking: the slots beyond the new bound must read as empty if the store grows again.
    for (int32_t i = upper + 1;
         i <= upper_ && (i >> kBlockShift) < static_cast<int32_t>(blocksNeeded); ++i) {
        Slot(i) = Record{};
    }
    blocks_.resize(std::min(blocks_.size(), blocksNeeded));
    while (blocks_.size() < blocksNeeded) {
        blocks_.push_back(std::make_unique<Record[]>(kBlockSize));
    }
    for (auto it = remarks_.begin(); it != remarks_.end();) {
        it = it->first > upper ? remarks_.erase(it) : std::next(it);
    }
    for (auto it = largeSizes_.begin(); it != largeSizes_.end();) {
        it = it->first > upper ? largeSizes_.erase(it) : std::next(it);
    }
    upper_ = upper;
}

uint64_t FileDataArray::AddText(std::string_view text) {
    const size_t header = text.size() < kLongText ? 1 : 1 + sizeof(uint32_t);
    const size_t size = header + text.size();
    if (chunks_.empty() || chunkSize_ - chunkUsed_ < size) {
        chunkSize_ = std::max(kChunkSize, size);
        assert(chunkSize_ < (size_t{1} << kOffsetBits));
        chunks_.push_back(std::make_unique_for_overwrite<char[]>(chunkSize_));
        chunkUsed_ = 0;
    }
    char* out = chunks_.back().get() + chunkUsed_;
    if (header == 1) {
        *out = static_cast<char>(text.size());
    } else {
        const auto length = static_cast<uint32_t>(text.size());
        *out = static_cast<char>(kLongText);
        std::memcpy(out + 1, &length, sizeof length);
    }
    std::memcpy(out + header, text.data(), text.size());
    const uint64_t ref = (static_cast<uint64_t>(chunks_.size() - 1) << kOffsetBits) | chunkUsed_;
    chunkUsed_ += size;
    return ref;
}

std::string_view FileDataArray::Text(uint64_t ref) const {
    const char* at = chunks_[ref >> kOffsetBits].get() + (ref & ((uint64_t{1} << kOffsetBits) - 1));
    if (static_cast<unsigned char>(*at) != kLongText) {
        return {at + 1, static_cast<unsigned char>(*at)};
    }
    uint32_t length = 0;
    std::memcpy(&length, at + 1, sizeof length);
    return {at + 1 + sizeof length, length};
}

uint32_t FileDataArray::Intern(std::string_view extension) {
    if (extension.empty()) {
        return 0;
    }
    if (extensions_[lastExtension_] == extension) {
        return lastExtension_;
    }
    auto it = extensionNumbers_.find(extension);
    if (it == extensionNumbers_.end()) {
        // More distinct extensions than 24 bits can number cannot come from a store of at most
        // 2^31 records in practice; debug builds say so rather than mix them up.
        assert(extensions_.size() <= kExtensionMask);
        const std::string_view key = extensions_.emplace_back(extension);
        it = extensionNumbers_.emplace(key, static_cast<uint32_t>(extensions_.size() - 1)).first;
    }
    lastExtension_ = it->second;
    return lastExtension_;
}

int64_t FileDataArray::ExtensionNumber(std::string_view extension) const {
    if (extension.empty()) {
        return 0;
    }
    const auto it = extensionNumbers_.find(extension);
    return it == extensionNumbers_.end() ? -1 : it->second;
}

uint32_t FileDataArray::AddFolder(uint32_t parent, std::string_view segment) {
    folders_.push_back({parent, AddText(segment)});
    return static_cast<uint32_t>(folders_.size() - 1);
}

void FileDataArray::FolderPath(uint32_t folder, std::string& out) const {
    out.clear();
    size_t size = 0;
    for (uint32_t f = folder; f != kNoFolder; f = folders_[f].parent) {
        size += Text(folders_[f].segment).size();
    }
    out.resize(size);
    for (uint32_t f = folder; f != kNoFolder; f = folders_[f].parent) {
        const std::string_view segment = Text(folders_[f].segment);
        size -= segment.size();
        std::memcpy(out.data() + size, segment.data(), segment.size());
    }
}

FileDataEntry FileDataArray::operator[](int32_t index) const {
    const Record& r = Slot(index);
    FileDataEntry e;
    e.ItemIndex = index;
    e.store = this;
    e.folder = r.folder;
    if (r.folder != kNoFolder) {
        e.LastWriteTime =
            static_cast<int64_t>((static_cast<uint64_t>(r.timeHigh) << 32) | r.timeLow);
        e.name = Text((static_cast<uint64_t>(r.extension >> 24) << 32) | r.nameLow);
        e.extension = extensions_[r.extension & kExtensionMask];
        e.Size = SizeOf(index);
    }
    return e;
}

void FileDataArray::Store(int32_t index, uint32_t folder, std::string_view name,
                          std::string_view extension, int64_t lastWriteTime, int64_t size) {
    Record& r = Slot(index);
    if (size >= kLargeSize) {
        r.size = kLargeSize;
        largeSizes_[index] = size;
    } else {
        if (r.size == kLargeSize) {
            largeSizes_.erase(index);
        }
        r.size = size < 0 ? kNoSize : static_cast<uint32_t>(size);
    }
    const auto time = static_cast<uint64_t>(lastWriteTime);
    r.timeLow = static_cast<uint32_t>(time);
    r.timeHigh = static_cast<uint32_t>(time >> 32);
    r.folder = folder;
    const uint64_t ref = AddText(name);
    r.nameLow = static_cast<uint32_t>(ref);
    r.extension = Intern(extension) | static_cast<uint32_t>(ref >> 32) << 24;
}

void FileDataArray::Store(int32_t index, std::string_view folderPath, std::string_view name,
                          std::string_view extension, int64_t lastWriteTime) {
    if (lastFolder_ == kNoFolder || folderPath != lastFolderPath_) {
        lastFolder_ = AddFolder(kNoFolder, folderPath);
        lastFolderPath_ = folderPath;
    }
    Store(index, lastFolder_, name, extension, lastWriteTime);
}

void FileDataArray::SetExtension(int32_t index, std::string_view extension) {
    Record& r = Slot(index);
    r.extension = Intern(extension) | (r.extension & ~kExtensionMask);
}

std::string_view FileDataArray::Remark(int32_t index) const {
    const auto it = remarks_.find(index);
    return it == remarks_.end() ? std::string_view{} : std::string_view(it->second.remark);
}

std::string_view FileDataArray::RemarkDate(int32_t index) const {
    const auto it = remarks_.find(index);
    return it == remarks_.end() ? std::string_view{} : std::string_view(it->second.date);
}

void FileDataArray::SetRemark(int32_t index, std::string_view remark, std::string_view remarkDate) {
    auto& r = remarks_[index];
    r.remark = remark;
    r.date = remarkDate;
}

std::string_view PathComposer::FullPath(const FileDataEntry& entry) {
    if (entry.folder != folder_ || store_.Generation() != generation_) {
        folder_ = entry.folder;
        generation_ = store_.Generation();
        if (folder_ == FileDataArray::kNoFolder) {
            path_.clear();
        } else {
            store_.FolderPath(folder_, path_);
        }
        folderSize_ = path_.size();
    }
    path_.resize(folderSize_);
    path_.append(entry.Name());
    return path_;
}

std::string_view PathComposer::FullPath(int32_t index) {
    return FullPath(store_[index]);
}

std::vector<int32_t> RecordsOfExtension(const FileDataArray& store, std::string_view extension,
                                        const std::function<void()>& yield, int32_t expected) {
    std::vector<int32_t> records;
    const int64_t number = store.ExtensionNumber(extension);
    if (number < 0) {
        return records;
    }
    if (expected > 10000) {
        records.reserve(static_cast<size_t>(expected));
    }
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        if (store.ExtensionNumberOf(i) == number) {
            records.push_back(i);
        }
        if (yield && i % 1000 == 1) {
            yield();
        }
    }
    return records;
}

std::vector<std::string> FolderPaths(const FileDataArray& store) {
    std::vector<std::string> paths(store.FolderCount());
    for (uint32_t i = 0; i < store.FolderCount(); ++i) {
        store.FolderPath(i, paths[i]);
    }
    return paths;
}
