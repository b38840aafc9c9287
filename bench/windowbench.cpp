// Times the window's whole search as a user meets it: from the click on Begin Search to the
// result list painted, on Qt's offscreen platform, with fresh settings.
// Usage: windowbench ROOT MASK [RUNS]    Prints the median seconds and what the list shows.
#include "QuietDesktop.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "settings/SettingsLocation.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTreeView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: windowbench ROOT MASK [RUNS]\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int runs = argc > 3 ? std::atoi(argv[3]) : 5;
    char settings[] = "/tmp/tallymoor-windowbench-XXXXXX";
    const int fd = mkstemp(settings);
    if (fd < 0) {
        return 1;
    }
    close(fd);
    unlink(settings); // a first start: the default settings
    SilentPrompts prompts;
    NoDesktop desktop;
    CancelFlag cancel;
    modPProfile profile(settings, HomeFolder());
    profile.Start();
    frmMain window(profile, prompts, desktop, cancel);
    window.resize(798, 618);
    window.show();
    QApplication::processEvents();
    window.findChild<QLineEdit*>("txtStartPath")->setText(QString::fromLocal8Bit(argv[1]));
    window.findChild<QLineEdit*>("txtObjMask")->setText(QString::fromLocal8Bit(argv[2]));
    auto* button = window.findChild<QPushButton*>("cmdSearch");
    auto* list = window.findChild<QTreeView*>("List1");
    std::vector<double> times;
    for (int r = 0; r < runs; ++r) {
        const auto start = std::chrono::steady_clock::now();
        button->click();
        QApplication::processEvents();
        window.repaint(); // painted, as a user sees it
        times.push_back(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    std::printf("window search of %s for %s: %.3f s median of %d, click to list painted; the "
                "list shows %d rows\n",
                argv[1], argv[2], times[times.size() / 2], runs,
                list->model() ? list->model()->rowCount() : 0);
    unlink(settings);
    return 0;
}
