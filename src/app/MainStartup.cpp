#include "app/MainStartup.h"

#include "app/AppIcon.h"
#include "app/QtPrompts.h"
#include "app/dlgAbout.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "settings/SettingsLocation.h"
#include "settings/modPProfile.h"
#include "text/PathText.h"

#include <QApplication>
#include <QFile>
#include <QLibraryInfo>
#include <QLocale>
#include <QScreen>
#include <QTimer>
#include <QTranslator>
#include <cstdlib>

namespace {

// Room kept for the window manager's frame and title bar, which are not known before a window
// is shown.
constexpr QSize kDecoration(16, 48);

std::vector<QRect> ScreenRects() {
    std::vector<QRect> rects;
    for (const QScreen* screen : QGuiApplication::screens()) {
        rects.push_back(screen->geometry());
    }
    return rects;
}

} // namespace

void KeepDialogWhole(QWidget& dialog) {
    const QScreen* screen = dialog.screen() ? dialog.screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return;
    }
    // Until it is resized or shown, a dialog takes the size its contents ask for.
    const QRect frame(dialog.pos(),
                      dialog.testAttribute(Qt::WA_Resized) ? dialog.size() : dialog.sizeHint());
    const QRect whole = KeepWhole(frame, screen->availableGeometry(), ScreenRects(), kDecoration);
    if (whole.size() != frame.size()) {
        dialog.resize(whole.size());
    }
}

void PlaceMainWindow(frmMain& window, modPProfile& profile) {
    const QScreen* screen = window.screen() ? window.screen() : QGuiApplication::primaryScreen();
    const TwipScale scale{screen ? screen->logicalDotsPerInch() : 96.0};
    const QSize screenPixels = screen ? screen->size() : QSize(1920, 1080);
    const ScreenTwips screenTwips{scale.ToTwips(screenPixels.width()),
                                  scale.ToTwips(screenPixels.height())};
    Placement placement;
    if (const auto stored = ReadWindowPlacement(profile, screenTwips)) {
        placement = *stored;
        // Placed as large as the window can be made, which may be more than was stored.
        const QSize size = QSize(scale.ToPixels(placement.Width), scale.ToPixels(placement.Height))
                               .expandedTo(window.minimumSizeHint());
        const QRect whole =
            KeepWhole({{scale.ToPixels(placement.Left), scale.ToPixels(placement.Top)}, size},
                      screen ? screen->availableGeometry() : QRect({0, 0}, screenPixels),
                      ScreenRects(), kDecoration);
        window.move(whole.topLeft());
        window.resize(whole.size());
    } else {
        // The window's own size, as whole as a placement from the settings.
        const QRect whole =
            KeepWhole({window.pos(), window.size()},
                      screen ? screen->availableGeometry() : QRect({0, 0}, screenPixels),
                      ScreenRects(), kDecoration);
        window.resize(whole.size());
        placement = {scale.ToTwips(window.x()), scale.ToTwips(window.y()),
                     scale.ToTwips(window.width()), scale.ToTwips(window.height()), '0'};
    }
    window.SetStartupPlacement(placement);
    KeepWindowPlacement(profile.Settings(), placement);
    if (placement.Winstate == '2') {
        window.setWindowState(Qt::WindowMaximized);
    }
    WriteStartupPlacement(profile, placement.Winstate, screenTwips, scale.ToTwips(window.width()),
                          scale.ToTwips(window.height()));
}

void InstallTranslations(QCoreApplication& app) {
    const QLocale locale = QLocale::system();
    const QString here = QCoreApplication::applicationDirPath();
    const std::pair<QString, QString> sources[] = {
        {QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)},
        {QStringLiteral("tallymoor"), here + QStringLiteral("/translations")},
        {QStringLiteral("tallymoor"), here + QStringLiteral("/../share/tallymoor/translations")}};
    bool own = false;
    for (const auto& [name, folder] : sources) {
        auto* translator = new QTranslator(&app);
        if ((name == QLatin1String("qtbase") || !own) &&
            translator->load(locale, name, QStringLiteral("_"), folder)) {
            QCoreApplication::installTranslator(translator);
            own = own || name != QLatin1String("qtbase");
        } else {
            delete translator;
        }
    }
}

int RunWindow(int& argc, char** argv, const std::string& settingsOverride,
              const std::string& startFolder, const DesktopFactory& makeDesktop) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tallymoor"));
    QApplication::setWindowIcon(AppIcon());
    InstallTranslations(app);
    QtPrompts prompts;
    const std::unique_ptr<Desktop> desktop = makeDesktop(prompts);
    CancelFlag cancel;

    dlgAbout splash(*desktop);
    splash.ShowAsSplash();
    QCoreApplication::processEvents();

    const std::string home = HomeFolder();
    const std::string executableFolder =
        QFile::encodeName(QCoreApplication::applicationDirPath()).toStdString();
    modPProfile profile(
        SettingsFilePath(settingsOverride, executableFolder, std::getenv("XDG_CONFIG_HOME"), home),
        home);
    profile.Start();

    frmMain window(profile, prompts, *desktop, cancel);
    prompts.SetOwner(&window);
    QObject::connect(&window, &frmMain::AboutRequested, &window, [&] {
        dlgAbout about(*desktop, &window);
        prompts.ShowModal(&about);
    });
    PlaceMainWindow(window, profile);
    if (!startFolder.empty()) {
        window.Request().SetStartPath(AbsolutePath(startFolder));
    }
    window.show();
    splash.raise();
    // The window answers at once; the splash goes after a second.
    QTimer::singleShot(1000, &splash, &QWidget::close);
    return app.exec();
}
