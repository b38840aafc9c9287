#include "fileops/SkippedItem.h"

#include "platform/FileReplacement.h"

SkippedItem SkippedItem::Refused(size_t slot, std::string path, std::string remark,
                                 std::string reason) {
    SkippedItem item;
    item.slot = slot;
    item.path = std::move(path);
    item.remark = std::move(remark);
    item.reason = std::move(reason);
    return item;
}

SkippedItem SkippedItem::Failure(size_t slot, std::string path, int error, std::string target) {
    SkippedItem item = Refused(slot, std::move(path), std::to_string(error), SystemReason(error));
    item.target = std::move(target);
    item.error = error;
    return item;
}
