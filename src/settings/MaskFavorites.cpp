#include "settings/MaskFavorites.h"

#include "settings/modPProfile.h"
#include "text/PathText.h"

#include <algorithm>

MaskFavorites::MaskFavorites() : entries_{kPlaceholder} {
}

namespace {

// Masks are the same mask when they are after trimming and lower-casing.
std::string MaskKey(std::string_view mask) {
    return LowerCaseName(TrimBlanks(mask));
}

bool Holds(const std::vector<std::string>& list, std::string_view mask) {
    const std::string key = MaskKey(mask);
    return std::any_of(list.begin(), list.end(),
                       [&key](const std::string& entry) { return MaskKey(entry) == key; });
}

} // namespace

void MaskFavorites::Load(const modPProfile& profile) {
    const auto keys = profile.File().KeyNames("masks");
    loaded_.clear();
    for (const auto& key : keys) {
        loaded_.push_back(profile.ProfileGetString("masks", key, ""));
    }
    if (!loaded_.empty()) {
        entries_ = loaded_;
    }
}

void MaskFavorites::Clear() {
    entries_.assign(1, kPlaceholder);
}

std::vector<std::string> MaskFavorites::Merge(const std::vector<std::string>& disk,
                                              const std::vector<std::string>& base,
                                              const std::vector<std::string>& mine, Order order) {
    const std::vector<std::string>& first = order == Order::Disk ? disk : mine;
    const std::vector<std::string>& second = order == Order::Disk ? mine : disk;
    MaskFavorites merged;
    for (const std::string& mask : first) {
        // Kept unless the other side removed it: it was in the base and the other lacks it.
        if (!(Holds(base, mask) && !Holds(second, mask)) && !Holds(merged.entries_, mask)) {
            merged.entries_.push_back(mask);
        }
    }
    if (merged.entries_.empty()) {
        merged.Clear();
    } else if (merged.entries_[0] == kPlaceholder) {
        merged.entries_.erase(merged.entries_.begin()); // the placeholder is no mask
    }
    for (const std::string& mask : second) {
        if (!Holds(base, mask)) {
            merged.Add(mask); // gained there: added as a search adds a mask
        }
    }
    return merged.ShowsPlaceholder() ? std::vector<std::string>() : merged.entries_;
}

void MaskFavorites::WriteMerged(modPProfile& profile, std::vector<std::string> base,
                                std::vector<std::string> mine, Order order) {
    profile.File().RewriteSection(
        "masks",
        [base = std::move(base), mine = std::move(mine),
         order](const IniFile::Entries& now) -> std::optional<IniFile::Entries> {
            std::vector<std::string> disk;
            for (const auto& entry : now) {
                disk.push_back(entry.second);
            }
            const auto merged = Merge(disk, base, mine, order);
            if (merged == disk || (merged.empty() && order == Order::Disk)) {
                return std::nullopt; // what is there stays as it is
            }
            IniFile::Entries entries;
            for (size_t i = 0; i < merged.size(); ++i) {
                entries.emplace_back("mask" + std::to_string(i + 1), merged[i]);
            }
            return entries;
        });
}

void MaskFavorites::Save(modPProfile& profile) {
    if (entries_[0] == kPlaceholder) {
        return;
    }
    WriteMerged(profile, loaded_, entries_, Order::Disk);
    loaded_ = entries_;
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
