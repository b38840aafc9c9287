// Times what the window does with a large search: the census, 30 per-type views, and Select
// All on a result list of 500 000 rows (list and report view), after a "*.*" search of ROOT.
// Runs on Qt's offscreen platform. Usage: viewbench ROOT [RUNS]
#include "analysis/Census.h"
#include "analysis/ResultViews.h"
#include "app/ResultListModel.h"
#include "platform/CancelFlag.h"
#include "search/SearchSession.h"

#include <QApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTreeView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double MedianMilliseconds(int runs, const std::function<void()>& run) {
    std::vector<double> times;
    for (int r = 0; r < runs; ++r) {
        const auto start = Clock::now();
        run();
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: viewbench ROOT [RUNS]\n");
        return 2;
    }
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    SearchSession session;
    SearchOptions options;
    options.MaskText = "*.*";
    options.ShowFolderProgress = false;
    session.Prepare(argv[1], options);
    CancelFlag cancel;
    session.Run(cancel, nullptr);
    session.CloseStore();
    FileDataArray& store = session.Store();

    Census census;
    const double censusTime = MedianMilliseconds(runs, [&] {
        census.Build(
            store, 0, [](const QString&) {}, [] {});
    });

    std::vector<CensusType> types = census.Shown();
    std::sort(types.begin(), types.end(),
              [](const CensusType& a, const CensusType& b) { return a.Count > b.Count; });
    types.resize(std::min<size_t>(types.size(), 30));
    const double viewsTime = MedianMilliseconds(runs, [&] {
        ResultViews views(store);
        for (const CensusType& type : types) {
            views.AddTypeView(type.Extension, static_cast<int32_t>(type.Count));
        }
    });

    std::vector<int32_t> rows(std::min<size_t>(500000, static_cast<size_t>(store.Size())));
    std::iota(rows.begin(), rows.end(), 0);
    ResultListModel model(store);
    model.ShowRows(&rows);
    QTreeView view;
    view.setUniformRowHeights(true);
    view.setRootIsDecorated(false);
    view.setSelectionMode(QAbstractItemView::ExtendedSelection);
    view.setModel(&model);
    view.resize(1000, 700);
    view.show();
    QApplication::processEvents();
    double selectTimes[2] = {};
    for (const bool report : {false, true}) {
        model.SetReport(report);
        selectTimes[report] = MedianMilliseconds(runs, [&] {
            view.clearSelection();
            view.selectAll();
            view.repaint();
            QApplication::processEvents();
        });
    }
    const double sortTime =
        MedianMilliseconds(1, [&] { model.sort(ResultListModel::Folder, Qt::AscendingOrder); });
    std::printf("window over %d records (%d types): census %.1f ms, %zu type views %.1f ms, "
                "Select All on %zu rows %.1f ms (list) %.1f ms (report), report sorted by "
                "folder %.0f ms\n",
                store.Size(), static_cast<int>(census.Shown().size()), censusTime, types.size(),
                viewsTime, rows.size(), selectTimes[0], selectTimes[1], sortTime);
    return 0;
}
