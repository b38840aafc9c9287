#include "app/dlgAbout.h"

#include "Version.h"
#include "app/AppIcon.h"
#include "fileops/modShell.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

dlgAbout::dlgAbout(Desktop& desktop, QWidget* parent) : QDialog(parent) {
    setObjectName("dlgAbout");
    setWindowTitle(tr("About %1").arg(kApplicationTitle.trimmed()));
    auto* title = new QLabel(QStringLiteral("<b>Tallymoor</b>"), this);
    title->setObjectName("lblTitle");
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    title->setFont(big);
    auto* version = new QLabel(tr("Version %1").arg(TALLYMOOR_VERSION), this);
    version->setObjectName("lblVersion");
    auto* purpose = new QLabel(tr("Reviews what a folder tree holds, and acts on it."), this);
    auto* memory = new QLabel(MemoryText(), this);
    memory->setObjectName("lblMemory");
    auto* link = new QLabel(QStringLiteral("<a href=\"%1\">%1</a>").arg(kProjectPage), this);
    link->setObjectName("lblLink");
    link->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(link, &QLabel::linkActivated, this, [&desktop](const QString& url) {
        modShell::ShellOpenDocument(url.toStdString(), desktop);
    });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->setObjectName("buttons");
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* icon = new QLabel(this);
    icon->setObjectName("lblIcon");
    icon->setPixmap(AppIconPixmap(64));
    icon->setAlignment(Qt::AlignTop);

    // Framed, so that the splash (a window without decorations) stands apart from what is
    // behind it.
    auto* frame = new QFrame(this);
    frame->setFrameStyle(QFrame::StyledPanel | QFrame::Raised);
    auto* text = new QVBoxLayout;
    text->addWidget(title);
    text->addWidget(version);
    text->addWidget(purpose);
    text->addSpacing(8);
    text->addWidget(memory);
    text->addWidget(link);
    auto* content = new QHBoxLayout(frame);
    content->setContentsMargins(16, 16, 24, 16);
    content->setSpacing(16);
    content->addWidget(icon);
    content->addLayout(text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(frame);
    layout->addWidget(buttons);
    buttons->setContentsMargins(0, 0, 8, 8);
}

void dlgAbout::ShowAsSplash() {
    findChild<QDialogButtonBox*>("buttons")->hide();
    setModal(false);
    // Above the main window, which appears while the splash still shows.
    setWindowFlags(Qt::SplashScreen | Qt::WindowStaysOnTopHint);
    adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        move(screen->geometry().center() - rect().center());
    }
    show();
}

QString dlgAbout::MemoryText(const QString& meminfoPath) {
    QFile file(meminfoPath);
    qint64 totalKiB = -1, availableKiB = -1;
    // /proc files report a size of 0, so read until the end rather than asking atEnd().
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : file.readAll().split('\n')) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            if (fields.size() < 2) {
                continue;
            }
            if (fields[0] == "MemTotal:") {
                totalKiB = fields[1].toLongLong();
            } else if (fields[0] == "MemAvailable:") {
                availableKiB = fields[1].toLongLong();
            }
        }
    }
    if (totalKiB < 0) {
        return tr("Physical memory: unknown");
    }
    const auto gib = [](qint64 kib) { return QString::number(kib / 1048576.0, 'f', 1); };
    return availableKiB < 0 ? tr("Physical memory: %1 GiB").arg(gib(totalKiB))
                            : tr("Physical memory: %1 GiB, of which %2 GiB available")
                                  .arg(gib(totalKiB), gib(availableKiB));
}
