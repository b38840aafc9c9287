// Grabs the main window after a real search to a PNG, for the README and for looking at.
// Usage: screenshot OUT.png ROOT MASK [SETTINGS.ini] [WIDTHxHEIGHT]
// Runs on any Qt platform; QT_QPA_PLATFORM=offscreen needs no display.

#include "QuietDesktop.h"
#include "app/MainStartup.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "settings/SettingsLocation.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: screenshot OUT.png ROOT MASK [SETTINGS.ini] [WxH]\n");
        return 2;
    }
    QApplication app(argc, argv);
    SilentPrompts prompts;
    NoDesktop desktop;
    CancelFlag cancel;
    const std::string settings = argc > 4 ? argv[4] : "/tmp/tallymoor-screenshot.ini";
    modPProfile profile(settings, HomeFolder());
    profile.Start();
    frmMain window(profile, prompts, desktop, cancel);
    PlaceMainWindow(window, profile);
    int width = 900, height = 620;
    if (argc > 5) {
        std::sscanf(argv[5], "%dx%d", &width, &height);
    }
    window.resize(width, height);
    window.show();
    window.findChild<QLineEdit*>("txtStartPath")->setText(QString::fromLocal8Bit(argv[2]));
    window.findChild<QLineEdit*>("txtObjMask")->setText(QString::fromLocal8Bit(argv[3]));
    QTimer::singleShot(50, &window, [&] {
        window.findChild<QPushButton*>("cmdSearch")->click();
        auto* list = window.findChild<QTreeView*>("List1");
        list->selectionModel()->select(list->model()->index(2, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
        QTimer::singleShot(100, &window, [&] {
            window.grab().save(QString::fromLocal8Bit(argv[1]));
            app.quit();
        });
    });
    return app.exec();
}
