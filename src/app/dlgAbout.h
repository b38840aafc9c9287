#pragma once

#include "app/ProjectLinks.h"

#include <QDialog>

class Desktop;

// The about box: the program's version, the machine's memory and a link to the project's page.
// Also shown, without its OK button, as the splash while the program starts.
class dlgAbout : public QDialog {
    Q_OBJECT
public:
    dlgAbout(Desktop& desktop, QWidget* parent = nullptr);

    // Shows the box centred and modeless, as a splash.
    void ShowAsSplash();

    // "Physical memory: 23.4 GiB, of which 20.1 GiB available" from /proc/meminfo.
    static QString MemoryText(const QString& meminfoPath = QStringLiteral("/proc/meminfo"));
};
