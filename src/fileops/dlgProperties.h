#pragma once

#include <QDialog>
#include <QString>
#include <future>
#include <string>
#include <sys/stat.h>

class QFormLayout;

// The program's own Properties dialog, for desktops without a file manager that shows them:
// name, folder, type, size, times, owner and permissions of one file or folder. It opens at
// once; what the file system says is read on a thread of its own (a share may not answer) and
// shown when it arrives.
class dlgProperties : public QDialog {
    Q_OBJECT
public:
    dlgProperties(const std::string& path, QWidget* parent = nullptr);

    // What was read of the item.
    struct Facts {
        bool read = false; // false: it cannot be read
        QString type;
        struct stat status {};
    };
    static Facts Read(const std::string& path);
    // Waits for the facts and shows them (tests).
    void WaitForFacts();

    // The value shown for a field ("Name", "Size", ...); empty when there is none.
    QString Field(const QString& label) const;

    // "rw-r--r-- (644)" for a mode; links, folders and special files get their type letter.
    static QString PermissionsText(unsigned mode);

private:
    void Add(const QString& label, const QString& value);
    void Show(const Facts& facts);

    QFormLayout* form_;
    class QLabel* type_ = nullptr;
    std::shared_future<Facts> facts_;
    bool shown_ = false;
};
