#pragma once

#include <QString>
#include <functional>
#include <string>
#include <vector>

// Copying selected items to the clipboard as text, one item per line. The number of items is
// capped, so that no huge text is built on the window's thread.

constexpr int kClipboardLimit = 1000;

// Every item followed by CR LF. After the item at every position i with i mod 10 = 1, `status`
// hears "Creating clipboard image" and one dot more (up to twenty, then from none again).
std::string ClipboardText(const std::vector<std::string>& items,
                          const std::function<void(const QString&)>& status);
