#include "output/StatusLine.h"

#include "QtPrinters.h"

#include <gtest/gtest.h>

namespace {

TEST(StatusLine, PartsAndTheirModes) {
    StatusLine status;
    std::vector<QString> shown(StatusLine::kParts);
    status.SetDisplay(
        [&](StatusPart part, const QString& text) { shown[static_cast<size_t>(part)] = text; });
    for (int part = 0; part < StatusLine::kParts; ++part) {
        status.Set(static_cast<StatusPart>(part), QString::number(part));
    }
    EXPECT_EQ(shown, (std::vector<QString>{" 0", " 1", " 2", " 3", " 4"})) << "a blank before";
    // clang-format off
    using Mode = StatusLine::Mode;
    const std::pair<Mode, std::vector<QString>> modes[] = {
        {Mode::Save, {" 0", " 1", " 2", " 3", " 4"}},
        {Mode::Clear, {" Ready!", "", "", "", ""}},
        {Mode::Restore, {" Ready!", " 1", " 2", " 3", " 4"}}, // the saved message stays away
        {Mode::SaveAndClear, {" Ready!", "", "", "", ""}}};
    // clang-format on
    for (const auto& [mode, after] : modes) {
        status.State(mode);
        EXPECT_EQ(shown, after) << static_cast<int>(mode);
    }
    status.Close();
    status.Set(StatusPart::Message, "late");
    EXPECT_EQ(status.Text(StatusPart::Message), " Ready!") << "nothing once closed";
}

} // namespace
