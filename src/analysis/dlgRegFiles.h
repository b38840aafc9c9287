#pragma once

#include <QDialog>
#include <vector>

class LetterMenu;
class WindowPrompts;
class QAction;
class QLabel;
class QLineEdit;
class QListWidget;
class modPProfile;

// `dlgRegFiles`: the file types this desktop knows, each extension with its type's name; the
// selection becomes a File Mask. "DOS Extensions Only" lists the short extensions alone (their
// length is set with dlgDosLen and kept in the settings file).
class dlgRegFiles : public QDialog {
    Q_OBJECT
public:
    dlgRegFiles(modPProfile& profile, WindowPrompts& prompts, QWidget* parent = nullptr);

    // Fills the list in the current mode and sets the count label.
    void PrefillList();
    // Shows the main window's mask and selects the types it names ("*.*" selects none).
    void SetCurrentObjectMask(const QString& mask);
    // The mask built from the selection.
    QString CurrentObjectMask() const;
    // The Filter menu's entries, by their numbers (2 is the line between them).
    enum class FilterEntry { AllExtensions = 0, DosOnly = 1, DosLength = 3 };
    void FilterMenu(FilterEntry entry);
    // A row's extension, as the desktop names it (".txt").
    static constexpr int ExtensionRole = Qt::UserRole + 1;
    bool DosOnly() const { return dosOnly_; }
    int DosLength() const { return dosLength_; }

private:
    class QMenuBar* BuildFilterMenu();
    void CommandMask();
    QString Extension(int row) const;
    // Selects the first line beginning with each text, without building the mask from them.
    void Select(const std::vector<QString>& extensions);
    // Shows the picked extensions in the second list.
    void MirrorSelection();

    modPProfile& profile_;
    WindowPrompts& prompts_;
    bool dosOnly_ = false;
    int dosLength_;
    QListWidget* lstExtensions;
    QListWidget* lstSelected;
    QLabel* lbExtensionCount;
    QLineEdit* txtObjMask;
    QAction* mnuFilter[4] = {};
    LetterMenu* letters_;
};
