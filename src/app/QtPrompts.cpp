#include "app/QtPrompts.h"

#include "app/MainStartup.h"
#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgOpenWith.h"
#include "fileops/dlgProperties.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTreeView>
#include <algorithm>

// A message's text laid out so that a path it quotes stays whole: its blanks do not break, it
// goes to a line of its own when the line is too narrow for it, and only a path wider than the
// box is broken, after a "/". A path begins at a "/" at the start of a line or after a blank,
// and ends at the line's end or at the " '" that closes a quote. `widest` receives the width of
// the longest line.
QString KeepPathsWhole(const QString& text, const QFontMetrics& metrics, int room, int& widest) {
    QStringList lines;
    for (const QString& line : text.split(QRegularExpression(QStringLiteral("\\r?\\n")))) {
        int start = line.startsWith(QLatin1Char('/')) ? 0 : line.indexOf(QStringLiteral(" /")) + 1;
        if (start <= 0 && !line.startsWith(QLatin1Char('/'))) {
            lines << line;
            continue;
        }
        int end = line.indexOf(QStringLiteral(" '"), start);
        end = end < 0 ? line.size() : end;
        const QString prefix = line.left(start);
        const QString path = line.mid(start, end - start).replace(QLatin1Char(' '), QChar(0xA0));
        const QString suffix = line.mid(end);
        if (metrics.horizontalAdvance(prefix + path + suffix) <= room) {
            lines << prefix + path + suffix;
            continue;
        }
        if (!prefix.trimmed().isEmpty()) {
            lines << prefix.trimmed();
        }
        const QStringList parts = path.split(QLatin1Char('/'));
        QString piece = parts.front(); // empty for a path that begins at "/"
        for (qsizetype i = 1; i < parts.size(); ++i) {
            const QString next = piece + QLatin1Char('/') + parts[i];
            if (!piece.isEmpty() && metrics.horizontalAdvance(next + QLatin1Char('/')) > room) {
                lines << piece + QLatin1Char('/');
                piece = parts[i];
            } else {
                piece = next;
            }
        }
        lines << piece;
        if (!suffix.trimmed().isEmpty()) {
            lines << suffix.trimmed();
        }
    }
    widest = 0;
    for (const QString& line : lines) {
        widest = std::max(widest, std::min(metrics.horizontalAdvance(line), room));
    }
    return lines.join(QLatin1Char('\n'));
}

namespace {

// Every dialog opens no larger than the screen it is on.
int ShowWhole(QDialog& dialog) {
    KeepDialogWhole(dialog);
    return dialog.exec();
}

} // namespace

namespace {

QMessageBox::Icon BoxIcon(MessageIcon icon) {
    switch (icon) {
    case MessageIcon::Information:
        return QMessageBox::Information;
    case MessageIcon::Warning:
        return QMessageBox::Warning;
    case MessageIcon::Critical:
        return QMessageBox::Critical;
    case MessageIcon::Question:
        return QMessageBox::Question;
    case MessageIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons BoxButtons(MessageButtons buttons) {
    switch (buttons) {
    case MessageButtons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case MessageButtons::YesNo:
    case MessageButtons::YesNoDefaultNo:
        return QMessageBox::Yes | QMessageBox::No;
    case MessageButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MessageButtons::Ok:
        break;
    }
    return QMessageBox::Ok;
}

} // namespace

QWidget* QtPrompts::Owner() const {
    if (QWidget* modal = QApplication::activeModalWidget()) {
        return modal;
    }
    return owner_;
}

MessageAnswer QtPrompts::Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                                 const QString& title) {
    QMessageBox box(Owner());
    box.setWindowTitle(title.isEmpty() ? kApplicationTitle : title);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setIcon(BoxIcon(icon));
    box.setStandardButtons(BoxButtons(buttons));
    if (buttons == MessageButtons::YesNoDefaultNo) {
        box.setDefaultButton(QMessageBox::No);
    }
    if (auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
        // The widest text a box takes on this screen (as QMessageBox limits itself).
        const QScreen* screen = box.screen();
        const int screenWidth = screen ? screen->availableGeometry().width() : 1280;
        const int room =
            (screenWidth <= 1024 ? screenWidth : std::min(screenWidth - 480, 1000)) - 120;
        int widest = 0;
        box.setText(KeepPathsWhole(text, label->fontMetrics(), room, widest));
        // A space's slack: a line exactly as wide as the label may still wrap its last word.
        label->setMinimumWidth(widest + label->fontMetrics().horizontalAdvance(QLatin1Char(' ')));
    }
    switch (ShowWhole(box)) {
    case QMessageBox::Yes:
        return MessageAnswer::Yes;
    case QMessageBox::No:
        return MessageAnswer::No;
    case QMessageBox::Ok:
        return MessageAnswer::Ok;
    default:
        return MessageAnswer::Cancel;
    }
}

std::string QtPrompts::PickFolder(const FolderRequest& request) {
    FolderPickerDialog dialog(request, *this, Owner());
    if (ShowWhole(dialog) != QDialog::Accepted) {
        return {};
    }
    return dialog.SelectedFolder();
}

SaveAnswer QtPrompts::SaveFile(const SaveRequest& request) {
    // Qt's own dialog, so that the check box can join it.
    QFileDialog dialog(Owner(), request.title);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilters(request.filters);
    dialog.setDefaultSuffix(request.defaultSuffix);
    dialog.setDirectory(QFile::decodeName(QByteArray::fromStdString(request.folder)));
    dialog.selectFile(QFile::decodeName(QByteArray::fromStdString(request.name)));
    auto* entireList = new QCheckBox(tr("Save Entire List"), &dialog);
    entireList->setObjectName("chkEntireList");
    entireList->setChecked(request.entireListChecked);
    entireList->setEnabled(request.entireListEnabled);
    if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout())) {
        grid->addWidget(entireList, grid->rowCount(), 0, 1, grid->columnCount());
    }
    // Large enough to read the names and dates in its list.
    dialog.resize(dialog.sizeHint().expandedTo(QSize(820, 540)));
    if (auto* details = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        details->header()->setStretchLastSection(true);
        details->header()->resizeSection(0, 330);
    }
    if (ShowWhole(dialog) != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return {};
    }
    return {QFile::encodeName(dialog.selectedFiles().first()).toStdString(),
            entireList->isChecked()};
}

OpenWithAnswer QtPrompts::ChooseApplication(const OpenWithRequest& request) {
    dlgOpenWith dialog(request, Owner());
    if (ShowWhole(dialog) != QDialog::Accepted) {
        return {};
    }
    return dialog.Answer();
}

void QtPrompts::ShowFileProperties(const std::string& path) {
    dlgProperties dialog(path, Owner());
    ShowWhole(dialog);
}

ConflictAnswer QtPrompts::AskConflict(const QString& text) {
    QMessageBox box(Owner());
    box.setWindowTitle(tr("Name Already There"));
    box.setIcon(QMessageBox::Warning);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    QPushButton* skip = box.addButton(tr("&Skip"), QMessageBox::RejectRole);
    QPushButton* replace = box.addButton(tr("&Replace"), QMessageBox::AcceptRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(skip);
    box.setEscapeButton(QMessageBox::Cancel);
    auto* forAll = new QCheckBox(tr("Do the same for &every other name already there"));
    box.setCheckBox(forAll);
    ShowWhole(box);
    const ConflictChoice choice = box.clickedButton() == skip      ? ConflictChoice::Skip
                                  : box.clickedButton() == replace ? ConflictChoice::Replace
                                                                   : ConflictChoice::Cancel;
    return {choice, forAll->isChecked()};
}

std::optional<QString> QtPrompts::AskText(const QString& title, const QString& label,
                                          const QString& text) {
    bool ok = false;
    const QString answer =
        QInputDialog::getText(Owner(), title, label, QLineEdit::Normal, text, &ok);
    return ok ? std::optional<QString>(answer) : std::nullopt;
}

// GIO's own words for the share, then a field for each thing it needs; a share that takes
// guests offers to connect as one.
MountLoginAnswer QtPrompts::AskMountLogin(const MountLogin& request) {
    QDialog dialog(Owner());
    dialog.setWindowTitle(tr("Connect to Share"));
    auto* form = new QFormLayout(&dialog);
    auto* message = new QLabel(request.message);
    message->setWordWrap(true);
    form->addRow(message);
    QCheckBox* anonymous = nullptr;
    if (request.anonymousAllowed) {
        anonymous = new QCheckBox(tr("Connect &anonymously"));
        form->addRow(anonymous);
    }
    const auto field = [&](bool needed, const QString& label, const QString& text,
                           const char* name) -> QLineEdit* {
        if (!needed) {
            return nullptr;
        }
        auto* edit = new QLineEdit(text);
        edit->setObjectName(name);
        form->addRow(label, edit); // the label names the field for screen readers too
        if (anonymous) {
            QObject::connect(anonymous, &QCheckBox::toggled, edit, &QWidget::setDisabled);
        }
        return edit;
    };
    QLineEdit* user = field(request.needUser, tr("&User name:"), request.user, "txtUser");
    QLineEdit* domain = field(request.needDomain, tr("&Domain:"), request.domain, "txtDomain");
    QLineEdit* password = field(request.needPassword, tr("&Password:"), {}, "txtPassword");
    if (password) {
        password->setEchoMode(QLineEdit::Password);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    form->addRow(buttons);
    if (ShowWhole(dialog) != QDialog::Accepted) {
        return {};
    }
    const auto text = [](const QLineEdit* edit) { return edit ? edit->text() : QString(); };
    return {false, anonymous && anonymous->isChecked(), text(user), text(domain), text(password)};
}

int QtPrompts::AskMountChoice(const QString& message, const QStringList& choices) {
    QMessageBox box(Owner());
    box.setWindowTitle(tr("Connect to Share"));
    box.setIcon(QMessageBox::Question);
    box.setTextFormat(Qt::PlainText);
    box.setText(message);
    std::vector<QAbstractButton*> buttons;
    for (const QString& choice : choices) {
        buttons.push_back(box.addButton(choice, QMessageBox::AcceptRole));
    }
    box.addButton(QMessageBox::Cancel);
    box.setEscapeButton(QMessageBox::Cancel);
    ShowWhole(box);
    const auto chosen = std::find(buttons.begin(), buttons.end(), box.clickedButton());
    return chosen == buttons.end() ? -1 : static_cast<int>(chosen - buttons.begin());
}

std::optional<int32_t> QtPrompts::ChooseColor(int32_t bgr, std::array<int32_t, 16>& custom) {
    const auto rgb = [](int32_t value) {
        const auto v = static_cast<uint32_t>(value);
        return QColor(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
    };
    const auto toBgr = [](const QColor& c) {
        return static_cast<int32_t>(c.red() | (c.green() << 8) | (c.blue() << 16));
    };
    for (int i = 0; i < 16; ++i) {
        QColorDialog::setCustomColor(i, rgb(custom[static_cast<size_t>(i)]));
    }
    const QColor chosen =
        QColorDialog::getColor(rgb(bgr), Owner(), tr("Color"), QColorDialog::DontUseNativeDialog);
    // A slot the user left as it was keeps its value: a system colour (0x80000005) has no RGB
    // of its own and would come back as another colour.
    for (int i = 0; i < 16; ++i) {
        int32_t& slot = custom[static_cast<size_t>(i)];
        if (QColorDialog::customColor(i) != rgb(slot)) {
            slot = toBgr(QColorDialog::customColor(i));
        }
    }
    return chosen.isValid() ? std::optional<int32_t>(toBgr(chosen)) : std::nullopt;
}

int QtPrompts::ShowModal(QDialog* dialog) {
    return ShowWhole(*dialog);
}
