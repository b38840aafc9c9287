// Times the File Types dialog's Select by count range over a census of many types: "All
// results" (every type) and the appended "Types with less than 5 files", each from an empty
// selection, on Qt's offscreen platform. Usage: censusselectbench [TYPES] [RUNS]
#include "QuietDesktop.h"
#include "analysis/dlgStarDotStar.h"
#include "platform/EventYield.h"
#include "platform/Progress.h"
#include "search/FileDataArray.h"
#include "settings/modPProfile.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

namespace {

class NoProgress : public Progress {
public:
    void Create(int, int, bool) override {}
    void Destroy() override {}
    void Reset() override {}
    void SetMessage(const QString&) override {}
    void Setup(int, int, int) override {}
    void Update(int) override {}
    void UpdateDirect(int) override {}
};

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int types = argc > 1 ? std::atoi(argv[1]) : 20000;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    // Each type i has 1 + i % 7 files: some in every count range below 10.
    FileDataArray store;
    store.Prepare();
    std::vector<std::string> extensions;
    int32_t records = 0;
    for (int t = 0; t < types; ++t) {
        records += 1 + t % 7;
    }
    store.Redim(records - 1);
    const uint32_t folder = store.AddFolder(FileDataArray::kNoFolder, "/bench/");
    int32_t index = 0;
    for (int t = 0; t < types; ++t) {
        const std::string extension = ".t" + std::to_string(t);
        for (int f = 0; f <= t % 7; ++f) {
            store.Store(index++, folder, "f" + std::to_string(f) + extension, extension, 0, 1);
        }
    }
    char settings[] = "/tmp/tallymoor-censusbench-XXXXXX";
    const int fd = mkstemp(settings);
    if (fd < 0) {
        return 1;
    }
    close(fd);
    modPProfile profile(settings, "/tmp");
    SilentPrompts prompts;
    NoProgress progress;
    EventYield yield;
    dlgStarDotStar dialog(store, profile, prompts, progress, yield);
    dialog.CreateMaskArrayCountSR(0);
    dialog.show();
    QApplication::processEvents();
    const auto time = [&](const char* range, bool append) {
        std::vector<double> times;
        QString selected;
        for (int r = 0; r < runs; ++r) {
            dialog.DeselectAll();
            dialog.findChild<QAction*>("mnuSelect_12")->setChecked(append);
            const auto start = std::chrono::steady_clock::now();
            dialog.findChild<QAction*>(range)->trigger();
            times.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
            selected = dialog.findChild<QLabel*>("lblSelectedCount")->text();
        }
        std::sort(times.begin(), times.end());
        std::printf("| %s%s | %d | %s | %.4f |\n", range, append ? " (appended)" : "", types,
                    selected.toUtf8().constData(), times[times.size() / 2]);
    };
    std::printf(
        "| census Select | types | selected | seconds (median of %d) |\n|---|---|---|---|\n", runs);
    time("mnuSelect_0", false);
    time("mnuSelect_2", true);
    unlink(settings);
    return 0;
}
