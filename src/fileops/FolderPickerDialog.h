#pragma once

#include "platform/CancelFlag.h"
#include "platform/Prompts.h"

#include <QDialog>
#include <cstdint>
#include <future>
#include <string>

class QDialogButtonBox;
class QFileSystemModel;
class QListWidget;
class QLineEdit;
class QTreeView;
class QPushButton;

// The folder picker: a caption, a prompt, a tree of folders below the purpose's root with the
// start folder selected, the places beside it, and the chosen folder's path in a field where a
// path can also be typed or pasted ("~" is the home folder). OK is enabled only while the
// selection or the typed path is a folder.
class FolderPickerDialog : public QDialog {
    Q_OBJECT
public:
    // `prompts` asks for a new folder's name and says why one could not be made.
    FolderPickerDialog(const FolderRequest& request, Prompts& prompts, QWidget* parent = nullptr);

    // The selected folder as bytes; empty when none is selected.
    std::string SelectedFolder() const;
    // Whether the selected folder's row is in sight.
    bool SelectedFolderInView() const;
    // Closing stops the wait for a new folder on a file system that does not answer.
    void reject() override;
    // Waits until the typed path has been looked at (tests).
    void WaitForPathCheck();

private:
    void SetUpTree(const FolderRequest& request);
    QListWidget* PlacesList(const FolderRequest& request);
    QDialogButtonBox* Buttons();
    void CheckTypedPath();
    // Asks for a name and makes that folder in the selected one.
    void MakeFolder();
    // Selects a folder and keeps it in sight while the tree fills.
    void Show(const QString& folder);
    bool eventFilter(QObject* watched, QEvent* event) override;

    Prompts& prompts_;
    CancelFlag stop_;
    QFileSystemModel* model_;
    bool userMoved_ = false;
    QString following_;
    QTreeView* tree_;
    QPushButton* ok_;
    QLineEdit* path_;      // the folder chosen, as a path to read, type or paste
    bool typed_ = false;   // the path was typed rather than picked in the tree
    std::string verified_; // the typed path, once found to be a folder
    uint64_t checks_ = 0;  // the typed texts looked at; only the last one's answer counts
    std::shared_future<void> checked_;
};
