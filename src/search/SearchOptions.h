#pragma once

#include <chrono>
#include <string>

// The options a search reads from the window when it starts. `ShowFolderProgress` may be
// switched while the walk runs, so the walk reads it through a reference on every folder.
struct SearchOptions {
    bool Recurse = true;
    bool FoldersOnly = false;
    bool ShowFolderProgress = true;
    int ExpectedMatch = 1; // 1: list what matches the mask; 0: list every file that matches none
    int Threads = 0; // threads in all, the walking one included (the rest read folders ahead of
                     // it); 0: one per processor
    // false: files are stored without their time and size (a stat each saved)
    bool KeepStatus = true;
    // Every folder entered is kept in the store, also one with nothing stored in it (to watch)
    bool RecordFolders = false;
    // A root whose first read takes this long is read as a share is, whatever its file system
    // (a disk that seeks, a bridge statfs does not tell); tests set 0 to read every root so.
    std::chrono::nanoseconds SlowRoot = std::chrono::milliseconds(30);
    std::string MaskText;
};
