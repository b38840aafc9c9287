#include "fileops/dlgProperties.h"

#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QVBoxLayout>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

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

dlgProperties::dlgProperties(const std::string& path, QWidget* parent)
    : QDialog(parent), form_(new QFormLayout) {
    setObjectName("dlgProperties");
    const PathParts parts = SplitPath(path);
    const std::string name(parts.name);
    const std::string folder = WithTrailingSlash(parts.folder);
    setWindowTitle(tr("Properties of %1").arg(Bytes(name)));
    const auto add = [this](const QString& label, const QString& value) {
        auto* field = new QLabel(value, this);
        field->setObjectName(label);
        field->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form_->addRow(label + QLatin1Char(':'), field);
    };
    add(tr("Name"), Bytes(name));
    add(tr("Folder"), Bytes(folder));
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0) {
        add(tr("Type"), tr("(cannot be read: it may have been moved or deleted)"));
    } else {
        QString type;
        if (S_ISDIR(st.st_mode)) {
            type = tr("Folder");
        } else if (S_ISLNK(st.st_mode)) {
            char target[4096];
            const ssize_t n = readlink(path.c_str(), target, sizeof target - 1);
            type = tr("Link to %1")
                       .arg(n > 0 ? Bytes(std::string(target, static_cast<size_t>(n))) : QString());
        } else {
            type = QMimeDatabase().mimeTypeForFile(Bytes(path)).comment();
        }
        add(tr("Type"), type);
        add(tr("Size"), ExactSizeText(st.st_size));
        add(tr("Modified"), TimeText(st.st_mtim));
        add(tr("Accessed"), TimeText(st.st_atim));
        add(tr("Owner"), OwnerText(st.st_uid, st.st_gid));
        add(tr("Permissions"), PermissionsText(st.st_mode));
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form_);
    layout->addWidget(buttons);
}

QString dlgProperties::Field(const QString& label) const {
    const auto* field = findChild<QLabel*>(label);
    return field ? field->text() : QString();
}
