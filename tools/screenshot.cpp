// Grabs the main window after a real search to a PNG, for the README and for looking at.
// Usage: screenshot OUT.png ROOT MASK [SETTINGS.ini] [WIDTHxHEIGHT]
// Runs on any Qt platform; QT_QPA_PLATFORM=offscreen needs no display.

#include "app/MainStartup.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"
#include "settings/SettingsLocation.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QLineEdit>
#include <QTreeView>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>
#include <cstdio>

namespace {
// Answers every question with its first button, so nothing waits on a person.
class SilentPrompts : public Prompts {
public:
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        std::fprintf(stderr, "message: %s\n", text.toUtf8().constData());
        return buttons == MessageButtons::Ok || buttons == MessageButtons::OkCancel
                   ? MessageAnswer::Ok
                   : MessageAnswer::Yes;
    }
    std::string PickFolder(const FolderRequest&) override { return {}; }
    SaveAnswer SaveFile(const SaveRequest&) override { return {}; }
    OpenWithAnswer ChooseApplication(const OpenWithRequest&) override { return {}; }
    void ShowFileProperties(const std::string&) override {}
    ConflictAnswer AskConflict(const QString&) override { return {ConflictChoice::Skip, true}; }
    std::optional<int32_t> ChooseColor(int32_t, std::array<int32_t, 16>&) override { return {}; }
    int ShowModal(QDialog*) override { return 0; }
};

// Launches nothing.
class NoDesktop : public Desktop {
public:
    bool OpenUrl(const std::string&) override { return false; }
    bool Open(const std::string&) override { return false; }
    bool Explore(const std::string&) override { return false; }
    bool ShowProperties(const std::string&) override { return false; }
    bool OpenInTextEditor(const std::string&) override { return false; }
    bool OpenWith(const std::string&) override { return false; }
    std::string MoveToTrash(const std::string&) override { return "Operation not supported"; }
};
} // namespace

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
