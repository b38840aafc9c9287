#pragma once

#include <QObject>
#include <array>

class QAction;
class QListWidget;
class QMenuBar;

// The "&Letter" menu of the type lists: "A" to "Z", each scrolling the first type that begins
// with "." and that letter to the top of the list. A letter no type begins with is disabled.
class LetterMenu : public QObject {
    Q_OBJECT
public:
    LetterMenu(QMenuBar* bar, QListWidget* list);

    // Enables the letters that follow the first "." of the list's items (the type "." enables
    // none).
    void Refresh();
    // Index 0 is "A". A letter that finds no type is disabled.
    void Jump(int index);

private:
    QListWidget* list_;
    std::array<QAction*, 26> mnuAlpha_{};
};
