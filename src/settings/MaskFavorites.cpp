#include "settings/MaskFavorites.h"

#include "search/PathText.h"
#include "settings/modPProfile.h"

MaskFavorites::MaskFavorites() : entries_{kPlaceholder} {
}

void MaskFavorites::Load(const modPProfile& profile) {
    const auto keys = profile.File().KeyNames("masks");
    if (keys.empty()) {
        return;
    }
    entries_.clear();
    for (const auto& key : keys) {
        entries_.push_back(profile.ProfileGetString("masks", key, ""));
    }
}

void MaskFavorites::Clear() {
    entries_.assign(1, kPlaceholder);
}

void MaskFavorites::Save(modPProfile& profile) const {
    if (entries_[0] == kPlaceholder) {
        return;
    }
    IniFile::Batch batch(profile.File());
    profile.ProfileDeleteSection("masks");
    for (size_t i = 0; i < entries_.size(); ++i) {
        profile.ProfileSetMasksKey("mask" + std::to_string(i + 1), entries_[i]);
    }
}

void MaskFavorites::Add(std::string_view maskText) {
    const std::string mask(TrimBlanks(maskText));
    if (mask == "*.*;" || mask == "*.*") {
        return;
    }
    const std::string lowered = LowerCaseName(mask);
    if (!ShowsPlaceholder()) {
        for (const auto& entry : entries_) {
            if (LowerCaseName(TrimBlanks(entry)) == lowered) {
                return;
            }
        }
    }
    if (entries_.size() > 1) {
        entries_.push_back(mask);
        return;
    }
    // One entry: a real favourite moves to a new second entry; the new mask takes entry 0.
    if (!ShowsPlaceholder()) {
        entries_.push_back(entries_[0]);
    }
    entries_[0] = mask;
}

std::string MaskFavorites::Choose(size_t index, std::string_view currentMask,
                                  bool appendMode) const {
    const std::string& favorite = entries_.at(index);
    return appendMode ? std::string(currentMask) + favorite : favorite;
}
