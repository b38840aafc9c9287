#include "analysis/ResultViews.h"

#include "search/FileDataArray.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <numeric>

namespace {

QString Spaced(const QString& mask) {
    return QString(mask).replace(QLatin1Char(';'), QLatin1Char(' '));
}

} // namespace

ResultViews::ResultViews(const FileDataArray& store) : store_(store) {
    Clear();
}

QString ResultViews::LabelText(int tab) const {
    const QString& tag = (*this)[tab].tag;
    return tab == 0 ? tag : QCoreApplication::translate("ResultViews", "%1 files:").arg(tag);
}

void ResultViews::Clear() {
    views_.assign(1,
                  ResultView{QCoreApplication::translate("ResultViews", "No results"), {}, {}, {}});
}

void ResultViews::CloseViews() {
    views_.resize(1);
}

void ResultViews::ShowSearch(const QString& mask, bool foldersOnly, bool except, int32_t matched,
                             bool listed) {
    CloseViews();
    ResultView& first = views_[0];
    const QString count = QString::number(matched);
    if (foldersOnly) {
        first.caption =
            QCoreApplication::translate("ResultViews", "All Results (folders only) (%1)")
                .arg(count);
        first.tag = QCoreApplication::translate("ResultViews", "Folders (%1)").arg(count);
    } else if (!except) {
        first.caption =
            QCoreApplication::translate("ResultViews", "All Results (%1) (%2)").arg(mask, count);
        first.tag = QCoreApplication::translate("ResultViews", "%1 files ").arg(Spaced(mask));
    } else {
        first.caption = QCoreApplication::translate("ResultViews", "All Results except (%1) (%2)")
                            .arg(mask, count);
        first.tag = QCoreApplication::translate("ResultViews", "! %1 files ").arg(Spaced(mask));
    }
    first.rows.clear();
    if (listed) {
        first.rows.resize(static_cast<size_t>(matched));
        std::iota(first.rows.begin(), first.rows.end(), 0);
    }
}

int ResultViews::FindViewByTag(const QString& text) const {
    const QString wanted = text.trimmed();
    for (int tab = 0; tab < Count(); ++tab) {
        if (views_[static_cast<size_t>(tab)].tag.trimmed() == wanted) {
            return tab;
        }
    }
    return -1;
}

void ResultViews::SetViewCaption(int tab, const QString& mask, int count) {
    if (tab >= 0 && tab < Count()) {
        views_[static_cast<size_t>(tab)].caption =
            QCoreApplication::translate("ResultViews", "%1 (%2)")
                .arg(Spaced(mask), QString::number(count));
    }
}

int ResultViews::AddTypeView(const std::string& extension, int32_t expectedCount,
                             const std::function<void()>& yield) {
    const QString tag = QString::fromStdString(extension);
    if (FindViewByTag(tag) >= 0) {
        return -1;
    }
    // "*." for the type without an extension, "." itself.
    views_.push_back({tag, tag, RecordsOfExtension(store_, extension, yield, expectedCount),
                      QLatin1Char('*') + tag});
    const int tab = Count() - 1;
    SetViewCaption(tab, views_.back().mask, static_cast<int>(views_.back().rows.size()));
    return tab;
}

int ResultViews::AddMaskView(const QString& mask, std::vector<int32_t> rows) {
    if (FindViewByTag(mask) >= 0) {
        return -1;
    }
    views_.push_back({Spaced(mask), mask, std::move(rows), mask, false});
    return Count() - 1;
}

int ResultViews::FindRow(int tab, std::string_view path) const {
    const std::vector<int32_t>& rows = views_[static_cast<size_t>(tab)].rows;
    PathComposer composer(store_);
    for (size_t row = 0; row < rows.size(); ++row) {
        if (composer.FullPath(rows[row]) == path) {
            return static_cast<int>(row);
        }
    }
    const std::string lowered = LowerCaseName(path);
    for (size_t row = 0; row < rows.size(); ++row) {
        if (LowerCaseName(composer.FullPath(rows[row])) == lowered) {
            return static_cast<int>(row);
        }
    }
    return -1;
}

void ResultViews::RemoveFromViews(std::string_view path, const QString& mask, Observer* observer) {
    for (int tab = 0; tab < Count(); ++tab) {
        const int row = FindRow(tab, path);
        if (row < 0) {
            continue;
        }
        if (observer) {
            observer->RowRemoving(tab, row);
        }
        auto& rows = views_[static_cast<size_t>(tab)].rows;
        rows.erase(rows.begin() + row);
        if (observer) {
            observer->RowRemoved(tab);
        }
    }
    // After a search the tag ends in " files "; after a removal it carries the count.
    ResultView& first = views_[0];
    const QString left = QString::number(first.rows.size());
    first.caption =
        QCoreApplication::translate("ResultViews", "All Results (%1) (%2)").arg(mask, left);
    first.tag = QCoreApplication::translate("ResultViews", "%1 files (%2)").arg(Spaced(mask), left);
    for (int tab = 1; tab < Count(); ++tab) {
        const ResultView& view = views_[static_cast<size_t>(tab)];
        if (view.counted) {
            SetViewCaption(tab, view.mask, static_cast<int>(view.rows.size()));
        }
    }
}
