#pragma once

#include "platform/Prompts.h"

#include <QDialog>
#include <string>

class QFileSystemModel;
class QTreeView;
class QPushButton;

// The folder picker: a caption, a prompt, and a tree of folders below the purpose's root with
// the start folder selected. OK is enabled only while a folder is selected.
class FolderPickerDialog : public QDialog {
    Q_OBJECT
public:
    FolderPickerDialog(const FolderRequest& request, QWidget* parent = nullptr);

    // The selected folder as bytes; empty when none is selected.
    std::string SelectedFolder() const;
    // Whether the selected folder's row is in sight.
    bool SelectedFolderInView() const;

private:
    // Asks for a name and makes that folder in the selected one.
    void MakeFolder();
    // Selects a folder and keeps it in sight while the tree fills.
    void Show(const QString& folder);
    bool eventFilter(QObject* watched, QEvent* event) override;

    QFileSystemModel* model_;
    bool userMoved_ = false;
    QString following_;
    QTreeView* tree_;
    QPushButton* ok_;
};
