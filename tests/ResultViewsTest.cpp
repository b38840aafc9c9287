#include "app/ResultViews.h"
#include "app/StatusLine.h"

#include "QtPrinters.h"
#include "search/FileDataArray.h"

#include <gtest/gtest.h>

namespace {

// A closed store of files under /r/ with these names.
void Fill(FileDataArray& store, const std::vector<std::string>& names) {
    store.Prepare();
    store.Redim(static_cast<int32_t>(names.size()) - 1);
    for (size_t i = 0; i < names.size(); ++i) {
        const auto dot = names[i].rfind('.');
        store.Store(static_cast<int32_t>(i), "/r/", names[i],
                    dot == std::string::npos ? "" : names[i].substr(dot), 0);
    }
}

TEST(ResultViews, TypeViewsTheirCaptionsAndRemovals) {
    FileDataArray store;
    Fill(store, {"a.htm", "b.html", "c.htm", "README", "d.HTM"});
    store.SetExtension(3, "."); // as the census marks names without an extension
    ResultViews views(store);
    views.ShowSearch("*.*", false, false, 5, true);
    EXPECT_EQ(views.AddTypeView(".htm", 2), 1);
    EXPECT_EQ(views.AddTypeView(".", 1), 2);
    EXPECT_EQ(views.AddTypeView(".htm", 2), -1) << "a type with a view gets no second one";
    EXPECT_EQ(views[1].caption, "*.htm (2)");
    EXPECT_EQ(views[1].rows, (std::vector<int32_t>{0, 2})) << ".html and .HTM are other types";
    EXPECT_EQ(views[2].caption, "*. (1)");
    EXPECT_EQ(views.LabelText(1), ".htm files:");
    EXPECT_EQ(views.FindViewByTag(" .htm "), 1);
    EXPECT_EQ(views.FindViewByTag(".doc"), -1);
    views.SetViewCaption(1, "*.a;*.b", 7);
    EXPECT_EQ(views[1].caption, "*.a *.b (7)");

    struct Removal {
        int tab, row;
        bool done;
    };
    struct Recorder : ResultViews::Observer {
        std::vector<Removal> seen;
        void RowRemoving(int tab, int row) override { seen.push_back({tab, row, false}); }
        void RowRemoved(int) override { seen.back().done = true; }
    } observer;
    views.RemoveFromViews("/R/C.HTM", "*.*", &observer); // no exact match: ignoring case
    ASSERT_EQ(observer.seen.size(), 2u);
    EXPECT_EQ(std::tie(observer.seen[0].tab, observer.seen[0].row), std::make_tuple(0, 2));
    EXPECT_EQ(std::tie(observer.seen[1].tab, observer.seen[1].row), std::make_tuple(1, 1));
    EXPECT_TRUE(observer.seen[1].done);
    EXPECT_EQ(views[0].caption, "All Results (*.*) (4)");
    EXPECT_EQ(views[0].tag, "*.* files (4)") << "after a removal the tag carries the count";
    EXPECT_EQ(views[1].caption, "*.htm (1)");
    views.CloseViews();
    EXPECT_EQ(views.Count(), 1);
    views.Clear();
    EXPECT_EQ(views[0].caption, "No results");
}

TEST(StatusLine, PartsAndTheirModes) {
    StatusLine status;
    std::vector<QString> shown(StatusLine::kParts);
    status.SetDisplay([&](StatusPart part, const QString& text) {
        shown[static_cast<size_t>(part)] = text;
    });
    for (int part = 0; part < StatusLine::kParts; ++part) {
        status.Set(static_cast<StatusPart>(part), QString::number(part));
    }
    EXPECT_EQ(shown, (std::vector<QString>{" 0", " 1", " 2", " 3", " 4"})) << "a blank before";
    struct ModeCase {
        const char* mode;
        std::vector<QString> after;
    };
    const ModeCase modes[] = {
        {"save", {" 0", " 1", " 2", " 3", " 4"}},
        {"clear", {" Ready!", "", "", "", ""}},
        {"restore", {" Ready!", " 1", " 2", " 3", " 4"}}, // the saved message stays away
        {"save&clear", {" Ready!", "", "", "", ""}},
        {"something else", {" Ready!", "", "", "", ""}},
    };
    for (const ModeCase& m : modes) {
        status.State(m.mode);
        EXPECT_EQ(shown, m.after) << m.mode;
    }
    status.Close();
    status.Set(StatusPart::Message, "late");
    EXPECT_EQ(status.Text(StatusPart::Message), " Ready!") << "nothing once closed";
}

} // namespace
