#include "fileops/SkippedItem.h"

SkippedItem SkippedItem::Refused(size_t slot, std::string path, std::string remark,
                                 std::string reason) {
    return Of(slot, FileOutcome::Refusal(std::move(path), std::move(reason)), std::move(remark));
}

SkippedItem SkippedItem::Of(size_t slot, FileOutcome outcome, std::string remark) {
    SkippedItem item;
    static_cast<FileOutcome&>(item) = std::move(outcome);
    item.slot = slot;
    item.remark =
        remark.empty() && item.error != 0 ? std::to_string(item.error) : std::move(remark);
    return item;
}
