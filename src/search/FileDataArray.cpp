#include "search/FileDataArray.h"

#include <cstring>

namespace {
constexpr size_t kArenaBlock = 1 << 20;
constexpr int32_t kPreparedUpper = 500;
} // namespace

FileDataArray::FileDataArray() = default;
FileDataArray::~FileDataArray() = default;

void FileDataArray::Erase() {
    upper_ = -1;
    blocks_.clear();
    arena_.clear();
    arenaNext_ = nullptr;
    arenaLeft_ = 0;
    pathBytes_ = 0;
    extensions_.clear();
    lastExtension_ = nullptr;
    remarks_.clear();
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
        Slot(i) = FileDataEntry{};
    }
    blocks_.resize(std::min(blocks_.size(), blocksNeeded));
    while (blocks_.size() < blocksNeeded) {
        blocks_.push_back(std::make_unique<FileDataEntry[]>(kBlockSize));
    }
    for (auto it = remarks_.begin(); it != remarks_.end();) {
        it = it->first > upper ? remarks_.erase(it) : std::next(it);
    }
    upper_ = upper;
}

const char* FileDataArray::CopyPath(std::string_view folder, std::string_view name) {
    const size_t size = folder.size() + name.size();
    if (size > arenaLeft_) {
        const size_t blockSize = std::max(kArenaBlock, size);
        arena_.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
        arenaNext_ = arena_.back().get();
        arenaLeft_ = blockSize;
    }
    char* out = arenaNext_;
    std::memcpy(out, folder.data(), folder.size());
    std::memcpy(out + folder.size(), name.data(), name.size());
    arenaNext_ += size;
    arenaLeft_ -= size;
    pathBytes_ += size;
    return out;
}

const std::string* FileDataArray::Intern(std::string_view extension) {
    if (extension.empty()) {
        return nullptr;
    }
    if (lastExtension_ != nullptr && *lastExtension_ == extension) {
        return lastExtension_;
    }
    auto it = extensions_.find(extension);
    if (it == extensions_.end()) {
        auto owned = std::make_unique<std::string>(extension);
        const std::string_view key = *owned;
        it = extensions_.emplace(key, std::move(owned)).first;
    }
    lastExtension_ = it->second.get();
    return lastExtension_;
}

void FileDataArray::Store(int32_t index, std::string_view folder, std::string_view name,
                          std::string_view extension, int64_t lastWriteTime) {
    FileDataEntry& e = Slot(index);
    e.ItemIndex = index;
    e.pathData = CopyPath(folder, name);
    e.pathSize = static_cast<uint32_t>(folder.size() + name.size());
    e.extension = Intern(extension);
    e.LastWriteTime = lastWriteTime;
}

void FileDataArray::SetExtension(int32_t index, std::string_view extension) {
    Slot(index).extension = Intern(extension);
}

std::string_view FileDataArray::Remark(int32_t index) const {
    const auto it = remarks_.find(index);
    return it == remarks_.end() ? std::string_view{} : std::string_view(it->second.remark);
}

std::string_view FileDataArray::RemarkDate(int32_t index) const {
    const auto it = remarks_.find(index);
    return it == remarks_.end() ? std::string_view{} : std::string_view(it->second.date);
}

std::vector<int32_t> RecordsOfExtension(const FileDataArray& store, std::string_view extension,
                                        const std::function<void()>& yield, int32_t expected) {
    std::vector<int32_t> records;
    if (expected > 10000) {
        records.reserve(static_cast<size_t>(expected));
    }
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        if (store[i].Extension() == extension) {
            records.push_back(i);
        }
        if (yield && i % 1000 == 1) {
            yield();
        }
    }
    return records;
}

void FileDataArray::SetRemark(int32_t index, std::string_view remark, std::string_view remarkDate) {
    auto& r = remarks_[index];
    r.remark = remark;
    r.date = remarkDate;
}
