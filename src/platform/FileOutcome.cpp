#include "platform/FileOutcome.h"

#include "platform/FileReplacement.h"

FileOutcome FileOutcome::Failure(std::string path, int error, std::string reason) {
    if (reason.empty()) {
        reason = SystemReason(error);
    }
    return {Outcome::Failed, error, std::move(path), std::move(reason)};
}

FileOutcome FileOutcome::Of(Outcome what, std::string path, int error) {
    return {what, error, std::move(path), error != 0 ? SystemReason(error) : std::string()};
}
