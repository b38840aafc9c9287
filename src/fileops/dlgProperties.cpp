#include "fileops/dlgProperties.h"

#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QPointer>
#include <QVBoxLayout>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

QString Bytes(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

QString TimeText(const timespec& time) {
    return QLocale::system().toString(QDateTime::fromSecsSinceEpoch(time.tv_sec),
                                      QLocale::LongFormat);
}

QString OwnerText(uid_t uid, gid_t gid) {
    const passwd* user = getpwuid(uid);
    const group* grp = getgrgid(gid);
    return (user ? QString::fromLocal8Bit(user->pw_name) : QString::number(uid)) +
           QLatin1Char(':') + (grp ? QString::fromLocal8Bit(grp->gr_name) : QString::number(gid));
}

} // namespace

QString dlgProperties::PermissionsText(unsigned mode) {
    QString text;
    text += S_ISDIR(mode) ? 'd' : S_ISLNK(mode) ? 'l' : S_ISREG(mode) ? '-' : '?';
    const char* letters = "rwxrwxrwx";
    for (int bit = 0; bit < 9; ++bit) {
        text += (mode & (0400u >> bit)) ? QLatin1Char(letters[bit]) : QLatin1Char('-');
    }
    return text + QStringLiteral(" (%1)").arg(mode & 07777, 3, 8, QLatin1Char('0'));
}

dlgProperties::Facts dlgProperties::Read(const std::string& path) {
    Facts facts;
    if (lstat(path.c_str(), &facts.status) != 0) {
        return facts;
    }
    facts.read = true;
    const mode_t mode = facts.status.st_mode;
    if (S_ISDIR(mode)) {
        facts.type = tr("Folder");
    } else if (S_ISLNK(mode)) {
        char target[4096];
        const ssize_t n = readlink(path.c_str(), target, sizeof target - 1);
        facts.type =
            tr("Link to %1")
                .arg(n > 0 ? Bytes(std::string(target, static_cast<size_t>(n))) : QString());
    } else {
        facts.type = QMimeDatabase().mimeTypeForFile(Bytes(path)).comment();
    }
    return facts;
}

dlgProperties::dlgProperties(const std::string& path, QWidget* parent)
    : QDialog(parent), form_(new QFormLayout) {
    setObjectName("dlgProperties");
    const PathParts parts = SplitPath(path);
    const std::string name(parts.name);
    const std::string folder = WithTrailingSlash(parts.folder);
    setWindowTitle(tr("Properties of %1").arg(Bytes(name)));
    Add(tr("Name"), Bytes(name));
    Add(tr("Folder"), Bytes(folder));
    Add(tr("Type"), tr("(reading...)"));
    type_ = findChild<QLabel*>(tr("Type"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form_);
    layout->addWidget(buttons);
    // The thread may outlive the dialog (a share that never answers): it holds nothing of it
    // but a guarded pointer, looked at on the window's thread.
    auto promise = std::make_shared<std::promise<Facts>>();
    facts_ = promise->get_future().share();
    std::thread([path, promise, self = QPointer<dlgProperties>(this)] {
        const Facts facts = Read(path);
        QMetaObject::invokeMethod(
            qApp,
            [self, facts] {
                if (self) {
                    self->Show(facts);
                }
            },
            Qt::QueuedConnection);
        promise->set_value(facts); // after the word to the window: a test waiting sees both
    }).detach();
}

void dlgProperties::WaitForFacts() {
    Show(facts_.get());
}

void dlgProperties::Add(const QString& label, const QString& value) {
    auto* field = new QLabel(value, this);
    field->setObjectName(label);
    field->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form_->addRow(label + QLatin1Char(':'), field);
}

void dlgProperties::Show(const Facts& facts) {
    if (std::exchange(shown_, true)) {
        return;
    }
    if (!facts.read) {
        type_->setText(tr("(cannot be read: it may have been moved or deleted)"));
        return;
    }
    const struct stat& st = facts.status;
    type_->setText(facts.type);
    Add(tr("Size"), ExactSizeText(st.st_size));
    Add(tr("Modified"), TimeText(st.st_mtim));
    Add(tr("Accessed"), TimeText(st.st_atim));
    Add(tr("Owner"), OwnerText(st.st_uid, st.st_gid));
    Add(tr("Permissions"), PermissionsText(st.st_mode));
}

QString dlgProperties::Field(const QString& label) const {
    const auto* field = findChild<QLabel*>(label);
    return field ? field->text() : QString();
}
