#pragma once

// Masks of several types: the types a search found, the compound mask built from a selection
// of them ("*.doc; *.txt; "), the records such a mask holds, and the file types this desktop
// knows (the shared MIME database) with which a mask can be built before any search.

#include <QString>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class FileDataArray;

// The distinct extensions of the store, lower-cased and sorted by their bytes; a record without
// an extension offers none, unless the census has marked it ".".
std::vector<std::string> OfferedExtensions(const FileDataArray& store);

// "*" + each extension + "; ", run together, the last "; " kept.
std::string CompoundMaskText(const std::vector<std::string>& extensions);

// The records whose extension is one of `extensions` as a whole (a .htm record is not among
// .html), in store order. `yield` runs now and then.
std::vector<int32_t> RecordsOfExtensions(const FileDataArray& store,
                                         const std::vector<std::string>& extensions,
                                         const std::function<void()>& yield = {});

// The extension of a path's name (".TXT"), empty when the name has no dot after its first
// character.
std::string ExtensionOfPath(const std::string& path);

// A file type this desktop knows: a suffix of a MIME type as ".suffix", lower-cased, and the
// type's name.
struct RegisteredType {
    std::string extension;
    QString name;
};
// Every registered suffix once, sorted; with `dosLength` above 0 only those whose length, the
// dot included, is at most that.
std::vector<RegisteredType> RegisteredTypes(int dosLength = 0);

// The extensions a File Mask names, to select them in a list: "*" removed, split at "; ",
// trimmed; nothing for an empty mask or "*.*".
std::vector<QString> MaskExtensions(const QString& mask);

// The DOS length when the settings hold none: ".txt" and its like.
constexpr int kDefaultDosLength = 4;
