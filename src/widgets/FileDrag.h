#pragma once

#include <string>
#include <vector>

class QMimeData;

// What a drag of files carries: text/uri-list with "file://" URIs that name each path's exact
// bytes (a file manager, a mail program), and the paths as plain text, one per line (a
// terminal, an editor).
QMimeData* FileDragData(const std::vector<std::string>& paths);
