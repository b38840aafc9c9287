#pragma once

#include <string>
#include <string_view>
#include <vector>

class modPProfile;

// The mask favourites the Masks menu shows as its last entries. Entry 0 always exists: with no
// favourites it is the disabled placeholder "(no favorites)".
class MaskFavorites {
public:
    static constexpr const char* kPlaceholder = "(no favorites)";

    MaskFavorites();

    // Captions in menu order (the placeholder included when it shows).
    const std::vector<std::string>& Captions() const { return entries_; }
    bool ShowsPlaceholder() const { return entries_.size() == 1 && entries_[0] == kPlaceholder; }
    // Whether entry `index` can be chosen (the placeholder cannot).
    bool IsEnabled(size_t index) const { return !(index == 0 && ShowsPlaceholder()); }

    // `ProfileLoadMaskFavorites`: every key of [masks] in file order, whatever its name. An
    // empty section leaves the list as it is.
    void Load(const modPProfile& profile);
    // `ProfileClearMaskFavorites`: back to the placeholder alone.
    void Clear();
    // `ProfileSaveMaskFavorites`: rewrites [masks] as mask1, mask2, ... in menu order; nothing
    // is written while the placeholder shows. Other windows and copies of the program share the
    // file: what is written is the list on disk by then with this list's changes since it was
    // loaded applied to it (the masks it gained added as a search adds them, those it lost
    // taken out), so that no one's masks are lost.
    void Save(modPProfile& profile);
    // The favourites as they were last read from the file (none when it had none).
    const std::vector<std::string>& Loaded() const { return loaded_; }

    // Whose order the merge of two edited lists keeps.
    enum class Order {
        Disk, // the list on disk, with the masks gained appended (a window closing)
        Mine  // the list as the user arranged it, with the masks others gained appended
    };
    // The list `mine`, edited from `base`, merged with `disk`, which others may have edited from
    // the same `base` meanwhile: what each removed stays removed, what each gained is kept.
    static std::vector<std::string> Merge(const std::vector<std::string>& disk,
                                          const std::vector<std::string>& base,
                                          const std::vector<std::string>& mine, Order order);
    // Writes [masks] as that merge with the list on disk when it is written (under the lock);
    // a merge that changes nothing writes nothing, nor does an empty one in the disk's order.
    static void WriteMerged(modPProfile& profile, std::vector<std::string> base,
                            std::vector<std::string> mine, Order order);

    // `AddMaskFavorite`, after every search: the trimmed mask joins the list unless it is
    // "*.*" or "*.*;" or already there (compared trimmed and lower-cased).
    void Add(std::string_view maskText);

    // The File Mask text after choosing entry `index`: the favourite alone, or in append mode
    // the current text followed directly by it.
    std::string Choose(size_t index, std::string_view currentMask, bool appendMode) const;

private:
    std::vector<std::string> entries_;
    std::vector<std::string> loaded_;
};
