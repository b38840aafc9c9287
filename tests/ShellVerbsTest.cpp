#include "ScriptedPrompts.h"
#include "fileops/modShell.h"
#include "settings/AppSettings.h"

#include <gtest/gtest.h>

namespace {

using namespace modShell;

const std::vector<std::string> kNone;
const std::vector<std::string> kOne = {"/home/ann/my file.txt"};
const std::vector<std::string> kThree = {"/a/-one", "/a/two \"2\"",
                                         "/a/thr\xff"
                                         "ee"};

const QString kOpenMany = "More than one file is selected. Are you sure you want to open all "
                          "selected files in the current window?";
const QString kOpenOne = "Confirm opening of /home/ann/my file.txt";
const QString kOpenWithOne = "Show the 'Open With...' dialog for file: \r\n/home/ann/my file.txt";

struct Question {
    QString text;
    MessageIcon icon;
    MessageButtons buttons;
    bool operator==(const Question&) const = default;
};
void PrintTo(const Question& q, std::ostream* os) {
    *os << q.text.toStdString();
}

struct VerbCase {
    const char* what;
    std::function<void(AppSettings&, Prompts&, Desktop&)> run;
    std::vector<MessageAnswer> answers;
    std::vector<Question> questions;
    std::vector<std::string> launched;
};

// Every verb asks once for several items, then each item (when ConfirmOnOpen), and a refused
// question skips that item alone; paths reach the desktop as their bytes.
TEST(ShellVerbs, QuestionsAndLaunches) {
    using A = MessageAnswer;
    const auto yesNo = [](const QString& text) {
        return Question{text, MessageIcon::Question, MessageButtons::YesNo};
    };
    const Question many{kOpenMany, MessageIcon::Warning, MessageButtons::YesNo};
    // clang-format off
    const VerbCase cases[] = {
        {"nothing selected: silence",
         [](AppSettings& s, Prompts& p, Desktop& d) {
             ShellOpenSelected(kNone, false, s, p, d);
             ShellOpenWithNotepad(kNone, s, p, d);
             ShellShowProperties(kNone, p, d);
         }, {}, {}, {}},
        {"nothing selected: Open With says so",
         [](AppSettings& s, Prompts& p, Desktop& d) { ShellOpenWithDialog(kNone, s, p, d); }, {A::Ok},
         {{"Sorry. The 'Open With' dialog may only be invoked when one file is selected.",
           MessageIcon::Information, MessageButtons::Ok}}, {}},
        {"one item: its own question only",
         [](AppSettings& s, Prompts& p, Desktop& d) {
             ShellOpenSelected(kOne, false, s, p, d);
             ShellOpenSelected(kOne, false, s, p, d);
         }, {A::Yes, A::No}, {yesNo(kOpenOne), yesNo(kOpenOne)}, {"open /home/ann/my file.txt"}},
        {"ConfirmOnOpen off: nothing asked",
         [](AppSettings& s, Prompts& p, Desktop& d) {
             s.ConfirmOnOpen = false;
             ShellOpenSelected(kOne, false, s, p, d);
             ShellOpenWithNotepad(kOne, s, p, d);
         }, {}, {}, {"open /home/ann/my file.txt", "editor /home/ann/my file.txt"}},
        {"many: once, then each; No skips one",
         [](AppSettings& s, Prompts& p, Desktop& d) { ShellOpenWithNotepad(kThree, s, p, d); },
         {A::Yes, A::Yes, A::No, A::Yes},
         {many, yesNo("Confirm using Notepad to open: \r\n/a/-one"),
          yesNo("Confirm using Notepad to open: \r\n/a/two \"2\""),
          yesNo(QString::fromUtf8("Confirm using Notepad to open: \r\n/a/thr\xef\xbf\xbd" "ee"))},
         {"editor /a/-one", "editor /a/thr\xff" "ee"}},
        {"many: No to the first question ends it",
         [](AppSettings& s, Prompts& p, Desktop& d) { ShellOpenSelected(kThree, false, s, p, d); },
         {A::No}, {many}, {}},
        {"properties: asked only for many",
         [](AppSettings&, Prompts& p, Desktop& d) {
             ShellShowProperties(kOne, p, d);
             ShellShowProperties(kThree, p, d);
         }, {A::Yes},
         {{"More than one file is selected. Are you sure you want to open property pages for all "
           "selected files?", MessageIcon::Warning, MessageButtons::YesNo}},
         {"properties /home/ann/my file.txt", "properties /a/-one", "properties /a/two \"2\"",
          "properties /a/thr\xff" "ee"}},
        {"folders are explored only when asked to",
         [](AppSettings& s, Prompts& p, Desktop& d) {
             s.ConfirmOnOpen = false;
             ShellOpenSelected({"/srv/data"}, true, s, p, d);
             s.OpenFoldersWithExplore = true;
             ShellOpenSelected({"/srv/data"}, true, s, p, d);
             ShellOpenSelected({"/srv/file"}, false, s, p, d);
         }, {}, {}, {"open /srv/data", "explore /srv/data", "open /srv/file"}},
        {"Open With: nothing for many, asked for one",
         [](AppSettings& s, Prompts& p, Desktop& d) {
             ShellOpenWithDialog(kThree, s, p, d);
             ShellOpenWithDialog(kOne, s, p, d);
             ShellOpenWithDialog(kOne, s, p, d);
             s.AskToOpenWith = false;
             ShellOpenWithDialog(kOne, s, p, d);
         }, {A::No, A::Yes}, {yesNo(kOpenWithOne), yesNo(kOpenWithOne)},
         {"openwith /home/ann/my file.txt", "openwith /home/ann/my file.txt"}},
        {"documents and links",
         [](AppSettings&, Prompts&, Desktop& d) {
             ShellOpenDocument("https://tallymoor.example/", d);
             ShellOpenDocument("/usr/share/doc/README", d);
         }, {}, {}, {"url https://tallymoor.example/", "open /usr/share/doc/README"}},
    };
    // clang-format on
    for (const VerbCase& c : cases) {
        SCOPED_TRACE(c.what);
        AppSettings settings;
        ScriptedPrompts prompts;
        RecordingDesktop desktop;
        prompts.answers.assign(c.answers.begin(), c.answers.end());
        c.run(settings, prompts, desktop);
        std::vector<Question> asked;
        for (const auto& a : prompts.asked) {
            asked.push_back({a.text, a.icon, a.buttons});
        }
        EXPECT_EQ(asked, c.questions);
        EXPECT_EQ(desktop.calls, c.launched);
    }
}

} // namespace
