#pragma once

#include <QDialog>
#include <string>

class QFormLayout;

// The program's own Properties dialog, for desktops without a file manager that shows them:
// name, folder, type, size, times, owner and permissions of one file or folder.
class dlgProperties : public QDialog {
    Q_OBJECT
public:
    dlgProperties(const std::string& path, QWidget* parent = nullptr);

    // The value shown for a field ("Name", "Size", ...); empty when there is none.
    QString Field(const QString& label) const;

    // "rw-r--r-- (644)" for a mode; links, folders and special files get their type letter.
    static QString PermissionsText(unsigned mode);

private:
    QFormLayout* form_;
};
