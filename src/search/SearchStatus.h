#pragma once

#include "text/DisplayText.h"

#include <QString>
#include <cstdint>
#include <string_view>

// The texts a search writes to the status line and its closing message. Numbers are grouped
// by the user's locale, without decimals; elapsed time has two.

QString ObjectsText(int64_t objects); // "Objects: 1,234"
QString MatchedText(int64_t matched); // "Matched: 56"
// "Elapsed: 1.25  seconds"; from 59.99 seconds on, the number stands alone (kept so on purpose).
QString ElapsedText(float seconds);
QString OutcomeText(bool cancelled); // "Cancelled" or "Done"

// What the walk shows when it enters a folder: the message, object and match fields, as they stand.
struct FolderMessage {
    QString part0, part1, part2;
};
FolderMessage FolderMessageTexts(std::string_view folderName, int64_t objects, int32_t matched);

// "No files matching ' *.txt ' were found in or under the root path ' /x/ '".
QString NoMatchesMessage(bool foldersOnly, const QString& maskText, const QString& rootPath);
