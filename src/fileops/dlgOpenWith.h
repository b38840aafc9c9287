#pragma once

#include "platform/DesktopEntries.h"

#include <QDialog>
#include <optional>

class QLineEdit;
class QListWidget;
class QPushButton;

// The Open With dialog: the applications that declare the file's type (or one it derives from)
// first, then all others,
// and a command line of the user's own (with %f for the file, else it is added at the end).
class dlgOpenWith : public QDialog {
    Q_OBJECT
public:
    // `mimeTypes`: the file's type first, then the types it derives from.
    dlgOpenWith(const std::vector<DesktopEntry>& entries, const QStringList& mimeTypes,
                const std::string& path, QWidget* parent = nullptr);

    // The application chosen; nothing when a custom command was typed instead.
    std::optional<DesktopEntry> ChosenApplication() const;
    QString CustomCommand() const;
    // The list as shown: application names, with the heading rows.
    QStringList Rows() const;
    void ChooseRow(int row);
    void SetCustomCommand(const QString& command);

private:
    void UpdateOk();

    std::vector<DesktopEntry> shown_; // in row order; rows without an entry are headings
    std::vector<int> entryOfRow_;
    QListWidget* lstApplications;
    QLineEdit* txtCommand;
    QPushButton* ok_;
};
