#pragma once

#include "platform/Prompts.h"

#include <QDialog>

class QLineEdit;
class QListWidget;
class QPushButton;

// The Open With dialog: the applications for the file's type first, then all the others, and a
// command line of the user's own (%f stands for the file; without it the file goes at the end).
class dlgOpenWith : public QDialog {
    Q_OBJECT
public:
    explicit dlgOpenWith(const OpenWithRequest& request, QWidget* parent = nullptr);

    // The chosen application, or the command typed; empty when neither.
    OpenWithAnswer Answer() const;
    // The list as shown: application names, with the heading rows.
    QStringList Rows() const;
    void ChooseRow(int row);
    void SetCustomCommand(const QString& command);

private:
    const ApplicationChoice* ChosenApplication() const;
    void UpdateOk();

    std::vector<ApplicationChoice> shown_; // in row order; rows without an entry are headings
    std::vector<int> entryOfRow_;
    QListWidget* lstApplications;
    QLineEdit* txtCommand;
    QPushButton* ok_;
};
