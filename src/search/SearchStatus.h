#pragma once

#include <QString>
#include <cstdint>
#include <string_view>

// The texts a search writes to the status line and its closing message. Numbers are grouped
// by the user's locale, without decimals; elapsed time has two.

QString FormatCount(int64_t value);

QString ObjectsText(int64_t objects); // "Objects: 1,234"
QString MatchedText(int64_t matched); // "Matched: 56"
// "Elapsed: 1.25  seconds"; from 59.99 seconds on, the number stands alone (kept so on purpose).
QString ElapsedText(float seconds);
QString OutcomeText(bool cancelled); // "Cancelled" or "Done"

// A size as the desktop shows one: in bytes, kB, MB, GB... of 1000, one decimal ("1.2 MB").
QString SizeText(int64_t bytes);
// The exact count: "1,234,567 bytes".
QString ExactSizeText(int64_t bytes);

// What the walk shows when it enters a folder: the message, object and match fields, as they stand.
struct FolderMessage {
    QString part0, part1, part2;
};
FolderMessage FolderMessageTexts(std::string_view folderName, int64_t objects, int32_t matched);

// "No files matching ' *.txt ' were found in or under the root path ' /x/ '".
QString NoMatchesMessage(bool foldersOnly, const QString& maskText, const QString& rootPath);

// A path's bytes shown as text; bytes that are not UTF-8 show as replacement characters.
QString DisplayPath(std::string_view bytes);
