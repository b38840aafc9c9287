#include "platform/QtPrompts.h"

#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgOpenWith.h"
#include "fileops/dlgProperties.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QRegularExpression>
#include <QScreen>

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
    static constexpr QMessageBox::Icon kIcons[] = {QMessageBox::NoIcon, QMessageBox::Information,
                                                   QMessageBox::Warning, QMessageBox::Critical,
                                                   QMessageBox::Question};
    box.setIcon(kIcons[static_cast<int>(icon)]);
    static constexpr QMessageBox::StandardButtons kButtons[] = {
        QMessageBox::Ok, QMessageBox::Ok | QMessageBox::Cancel,
        QMessageBox::Yes | QMessageBox::No,
        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel};
    box.setStandardButtons(kButtons[static_cast<int>(buttons)]);
    // Wide enough that no line holding a path is broken, up to most of the screen.
    if (auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
        int widest = 0;
        for (const QString& line : text.split(QRegularExpression(QStringLiteral("\\r?\\n")))) {
            if (line.contains(QLatin1Char('/'))) {
                widest = std::max(widest, label->fontMetrics().horizontalAdvance(line) + 8);
            }
        }
        const QScreen* screen = box.screen();
        const int room = screen ? screen->availableGeometry().width() * 4 / 5 - 120 : 900;
        label->setMinimumWidth(std::min(widest, room));
    }
    switch (box.exec()) {
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
    FolderPickerDialog dialog(request, Owner());
    if (dialog.exec() != QDialog::Accepted) {
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
    auto* entireList = new QCheckBox(QStringLiteral("Save Entire List"), &dialog);
    entireList->setObjectName("chkEntireList");
    entireList->setChecked(request.entireListChecked);
    entireList->setEnabled(request.entireListEnabled);
    if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout())) {
        grid->addWidget(entireList, grid->rowCount(), 0, 1, grid->columnCount());
    }
    // Large enough to read the names and dates in its list.
    dialog.resize(dialog.sizeHint().expandedTo(QSize(820, 540)));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return {};
    }
    return {QFile::encodeName(dialog.selectedFiles().first()).toStdString(),
            entireList->isChecked()};
}

OpenWithAnswer QtPrompts::ChooseApplication(const OpenWithRequest& request) {
    dlgOpenWith dialog(request, Owner());
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    return dialog.Answer();
}

void QtPrompts::ShowFileProperties(const std::string& path) {
    dlgProperties dialog(path, Owner());
    dialog.exec();
}

int QtPrompts::ShowModal(QDialog* dialog) {
    return dialog->exec();
}
