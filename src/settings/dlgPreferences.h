#pragma once

#include <QDialog>
#include <array>
#include <functional>
#include <string>
#include <vector>

class Prompts;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QTableWidget;
class modPProfile;

// The tabs, in the order they stand.
enum class PreferencesTab { General = 1, Warnings = 2, Folders = 3, Masks = 4, View = 5 };

// `dlgPreferences`: the options of the settings file on five tabs. Every option is written the
// moment it changes (so Cancel undoes none), a folder path when its entry is accepted, the mask
// list when OK confirms it; the main window reloads the settings when the dialog has closed.
class dlgPreferences : public QDialog {
    Q_OBJECT
public:
    // `masksCommitted` runs after the mask list was rewritten, so the Masks menu can reload.
    dlgPreferences(modPProfile& profile, Prompts& prompts, std::function<void()> masksCommitted,
                   QWidget* parent = nullptr);

    // The tab shown first ("Edit Favorite Masks List..." opens at the masks).
    void SetStartupTab(PreferencesTab tab);
    // The mask editor starts from the favourites the menu shows (those added by searches since
    // start-up too), not only from the file's; `loaded`: the file's list they were made from.
    void SetFavorites(const std::vector<std::string>& favorites,
                      const std::vector<std::string>& loaded);
    // A `txtFolders` entry accepted: asks when its folder does not exist, then stores it.
    void AcceptFolder(int index);
    // A `Label3` clicked: the folder picker for that entry.
    void PickFolder(int index);
    // The `cmdMasks` buttons, by their numbers.
    enum class MaskButton { Delete = 0, Add = 1, Select = 2, Reload = 3, Sort = 4 };
    void MaskCommand(MaskButton button);
    // `cmdViews`: the sorted column's colour through the colour picker.
    void ChooseSortColor();

private:
    QWidget* GeneralTab();
    QLayout* MaximumItemsRow(QWidget* tab);
    void AddDoubleClickChoices(QWidget* tab, QLayout* layout);
    QWidget* WarningsTab();
    QWidget* FoldersTab();
    QWidget* MasksTab();
    QWidget* ViewTab();
    void AddViewChoices(QWidget* tab, QGridLayout* layout);
    void AddViewSamples(QWidget* tab, QGridLayout* layout);
    void Load();
    void LoadFolders();
    void LoadMasks();
    void DeleteMask();
    void AddMask();
    void ReloadMasks();
    void SortMasks();
    void CommitMasks();
    void GeneralClicked(int index);
    void WarningClicked(int index);
    void ApplyViewSample();
    bool eventFilter(QObject* watched, QEvent* event) override;

    modPProfile& profile_;
    Prompts& prompts_;
    std::function<void()> masksCommitted_;
    bool loading_ = false;
    bool masksChanged_ = false;
    std::vector<std::string> masksLoaded_; // the file's list the shown one was made from
    int editedMask_ = -1;                  // the row "&Select" took into the entry box

    QTabWidget* tsPrefs;
    std::array<QCheckBox*, 8> chkGeneral{};
    QComboBox* cboMaxItems;
    QLabel* lblItems;
    QComboBox* cboDC;
    QComboBox* cboDCS;
    std::array<QCheckBox*, 7> chkWarnings{};
    std::array<QLineEdit*, 8> txtFolders{};
    std::array<QLabel*, 8> Label3{};
    QListWidget* lstMasks;
    QLineEdit* txtMask;
    std::array<QPushButton*, 5> cmdMasks{};
    QCheckBox* chkMaskAppend;
    std::array<QRadioButton*, 2> optView{};
    std::array<QCheckBox*, 2> chkViews{};
    QPushButton* cmdViews;
    QLabel* lblSort;
    std::array<QRadioButton*, 2> optStyle{};
    QProgressBar* sampleBar_;
    QTableWidget* ListView1;
};
