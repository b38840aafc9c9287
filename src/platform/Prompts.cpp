#include "platform/Prompts.h"

#include "fileops/FolderPickerDialog.h"

#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QMessageBox>

MessageAnswer QtPrompts::Message(QWidget* owner, const QString& text, MessageIcon icon,
                                 MessageButtons buttons, const QString& title) {
    QMessageBox box(owner);
    box.setWindowTitle(title.isEmpty() ? kApplicationTitle : title);
    box.setText(text);
    switch (icon) {
    case MessageIcon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case MessageIcon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case MessageIcon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case MessageIcon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case MessageIcon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    }
    switch (buttons) {
    case MessageButtons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case MessageButtons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case MessageButtons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case MessageButtons::YesNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        break;
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

std::string QtPrompts::PickFolder(QWidget* owner, const FolderRequest& request) {
    FolderPickerDialog dialog(request, owner);
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    return dialog.SelectedFolder();
}

SaveAnswer QtPrompts::SaveFile(QWidget* owner, const SaveRequest& request) {
    // Qt's own dialog, so that the check box can join it.
    QFileDialog dialog(owner, request.title);
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
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return {};
    }
    return {QFile::encodeName(dialog.selectedFiles().first()).toStdString(),
            entireList->isChecked()};
}

int QtPrompts::ShowModal(QDialog* dialog) {
    return dialog->exec();
}
