#pragma once

#include <QDialog>
#include <array>
#include <string>
#include <vector>

class LetterMenu;
class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

// `dlgViewMasks`: picks several of the types the last search found, for a new view holding
// their files ("Filter Current Results", checked at first) or, unchecked, for a new File Mask.
class dlgViewMasks : public QDialog {
    Q_OBJECT
public:
    explicit dlgViewMasks(QWidget* parent = nullptr);

    // The types offered, as bytes, in the order given.
    void SetupMaskArray(const std::vector<std::string>& extensions);
    void SetCurrentObjectMask(const QString& text);
    // The caption names the main window's first tab; the instructions are the program's own.
    void SetupControls(const QString& firstTabCaption);
    // Whether "Filter Current Results" is checked.
    bool CommandFilter() const;
    // The selected types, in list order.
    std::vector<std::string> GetSelectedItemArray() const { return selected_; }
    // The compound mask of the selection ("*.doc; *.txt; ").
    QString Mask() const;
    // 1 accepts, 2 cancels.
    void CommandAction(int index);
    void JumpToLetter(int index);

private:
    void SelectionChanged();

    std::vector<std::string> offered_;
    std::vector<std::string> selected_;
    QLabel* Label1;
    QListWidget* lstExtensions;
    QLineEdit* txtObjMask;
    QCheckBox* Check1;
    std::array<QPushButton*, 3> cmd{};
    LetterMenu* letters_;
};
