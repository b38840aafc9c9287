#include "output/ListSaving.h"

#include "output/TextFile.h"
#include "platform/CancelFlag.h"
#include "platform/FileReplacement.h"
#include "search/FileDataArray.h"
#include "search/SortStrings.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <string_view>

namespace {

template <class Text>
std::string Write(const std::string& path, const std::vector<Text>& lines,
                  const WriteProgress* progress) {
    TextFile file;
    if (!file.Open(path, TextFile::Mode::Replace)) {
        return file.Error();
    }
    for (size_t i = 0; i < lines.size(); ++i) {
        file.WriteLine(lines[i]);
        if (progress && i % 20 == 1) {
            progress->step();
        }
    }
    file.Close();
    return file.Error();
}

std::string WriteStore(const FileDataArray& store, const std::string& path,
                       const WriteProgress& progress, bool sorted) {
    const int32_t upper = store.UBound();
    if (upper < 1) {
        return {};
    }
    // The last slot is never written: kept as the program always did.
    progress.start(upper);
    std::string error;
    if (sorted) {
        std::vector<std::string> paths;
        paths.reserve(static_cast<size_t>(upper));
        for (int32_t i = 0; i < upper; ++i) {
            paths.push_back(store[i].FullPath());
        }
        progress.message(SortingMessage(upper));
        SortStrings(paths, 0, static_cast<int>(paths.size()) - 1);
        progress.message(WritingMessage(upper));
        error = Write(path, paths, &progress);
    } else {
        progress.message(WritingMessage(upper));
        TextFile file;
        if (!file.Open(path, TextFile::Mode::Replace)) {
            error = file.Error();
        } else {
            PathComposer composer(store);
            int32_t i = 0;
            for (; i < upper && !(progress.stop && progress.stop->IsRaised()); ++i) {
                file.WriteLine(composer.FullPath(i));
                if (i % 20 == 1) {
                    progress.step();
                }
            }
            if (i < upper) { // stopped: the unfinished file goes with `file`
                error = FillIn(
                    QCoreApplication::translate("TextFile", "Cannot write %1: %2").toStdString(),
                    {path, SystemReason(ECANCELED)});
            } else {
                file.Close();
                error = file.Error();
            }
        }
    }
    progress.finish();
    return error;
}

} // namespace

QString WritingMessage(int64_t files) {
    return QCoreApplication::translate("ListSaving", "Writing %1 files...").arg(FormatCount(files));
}

QString SortingMessage(int64_t files) {
    return QCoreApplication::translate("ListSaving", "Sorting %1 files...").arg(FormatCount(files));
}

std::string WriteResultsUnsorted(const FileDataArray& store, const std::string& path,
                                 const WriteProgress& progress) {
    return WriteStore(store, path, progress, false);
}

std::string WriteResultsSorted(const FileDataArray& store, const std::string& path,
                               const WriteProgress& progress) {
    return WriteStore(store, path, progress, true);
}

std::string WriteLines(const std::string& path, std::vector<std::string> lines, bool sorted) {
    if (sorted && !lines.empty()) {
        SortStrings(lines, 0, static_cast<int>(lines.size()) - 1);
    }
    return Write(path, lines, nullptr);
}
