#pragma once

#include <QString>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class FileDataArray;

// One tab of the results: the text on the tab, its tag (what the label above the list names)
// and its rows, records of the store by index.
struct ResultView {
    QString caption;
    QString tag;
    std::vector<int32_t> rows;
    QString mask;        // what its caption names, before the count ("*.txt", "*.doc; *.txt; ")
    bool counted = true; // a type's view gives its count; a compound mask's view the mask alone
};

// The result views of the window: the first over every record of the search, the others over
// the records of one type each. The window shows them; this keeps their captions, tags and rows.
class ResultViews {
public:
    // Hears rows leave a view, so that a list showing it can follow.
    class Observer {
    public:
        virtual ~Observer() = default;
        virtual void RowRemoving(int tab, int row) = 0;
        virtual void RowRemoved(int tab) = 0;
    };

    explicit ResultViews(const FileDataArray& store);

    int Count() const { return static_cast<int>(views_.size()); }
    // A view stays at its address until it is removed, so a list may show its rows.
    const ResultView& operator[](int tab) const { return views_.at(static_cast<size_t>(tab)); }
    // The label's text for a tab: its tag, with " files:" after it beyond the first tab.
    QString LabelText(int tab) const;

    // "No results": the first view alone, empty.
    void Clear();
    // Removes every view but the first.
    void CloseViews();
    // The first view of a search that found `matched` records: caption and tag by the kind of
    // search, and every record as a row unless `listed` is false (over the list limit).
    void ShowSearch(const QString& mask, bool foldersOnly, bool except, int32_t matched,
                    bool listed);

    // The first view whose tag, trimmed, equals `text` trimmed; -1 when none.
    int FindViewByTag(const QString& text) const;
    // The caption: the mask with every ";" as a blank, then the count in brackets.
    void SetViewCaption(int tab, const QString& mask, int count);
    // A view of the records of one type, tagged with the extension and captioned with its
    // pattern ("*.txt (12)"); -1 when the type has a view already. `yield` runs now and then.
    int AddTypeView(const std::string& extension, int32_t expectedCount,
                    const std::function<void()>& yield = {});

    // A view of the records of several types, tagged and captioned with their compound mask
    // ("*.doc; *.txt; "); -1 when that mask has a view already.
    int AddMaskView(const QString& mask, std::vector<int32_t> rows);

    // Takes `path` out of every view (the first row equal to it byte for byte, else ignoring
    // case) and refreshes the counts: the first view's caption and tag name the rows left.
    void RemoveFromViews(std::string_view path, const QString& mask, Observer* observer = nullptr);

private:
    int FindRow(int tab, std::string_view path) const;

    const FileDataArray& store_;
    std::deque<ResultView> views_; // a view stays where it is while others are added
};
