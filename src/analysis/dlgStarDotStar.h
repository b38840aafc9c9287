#pragma once

#include "analysis/Census.h"
#include "platform/CancelFlag.h"

#include <QDialog>
#include <array>
#include <set>
#include <string>

class FileDataArray;
class Prompts;
class EventYield;
class Progress;
class modPProfile;
class QAction;
class QLabel;
class QListWidget;
class QPushButton;

// `dlgStarDotStar`: the file-type census of the last search. It lists each type with its count,
// narrows the list to a count range, selects by range or jumps by letter, and ends by viewing
// the selected types as tabs, exporting one type's files or writing the census report. The
// main window keeps it (hidden) after it closes, so reopening it shows the same census.
class dlgStarDotStar : public QDialog {
    Q_OBJECT
public:
    enum Command { Export = 0, View = 1, Close = 2, Report = 3 };
    static constexpr int kMaxViews = 30;

    dlgStarDotStar(FileDataArray& store, modPProfile& profile, Prompts& prompts, Progress& progress,
                   EventYield& yield, QWidget* parent = nullptr);

    // Counts the store (once per dialog) and fills the list for a filter index.
    void CreateMaskArrayCountSR(int filterIndex);
    // The caption, and the instructions naming the number of types.
    void SetupControls(const QString& caption, int types);
    // The search's root path and File Mask text, for the report header.
    void SetSearchData(const std::string& rootPath, const std::string& maskText);
    // The Filter menu: moves its check mark and shows the types within the chosen range.
    void FilterMasks(int filterIndex);
    // The Select menu: the types within a count range (added to the selection in append mode).
    void SelectRange(int index);
    // The letter menu: scrolls the first type beginning with that letter to the top.
    void JumpToLetter(int index);
    void DeselectAll();
    // `SelectedTypeArray` rebuilt from the selection, in list order.
    const SelectedTypeArray& GetSelectedItemArray();
    void CommandAction(int index);

    // The whole census (every type with its count, whatever filter shows), for dialogs that offer
    // the types of the last search without counting again.
    std::vector<CensusType> CloneResultsSR() const;

    // The button that closed the dialog (View or Close); -1 while open.
    int Result() const { return result_; }
    const Census& CensusData() const { return census_; }
    int FilterIndex() const { return census_.FilterIndex(); }
    // Closing while a file is written stops the write.
    void reject() override;

private:
    CancelFlag stop_; // raised by closing: a write that does not answer is left behind
    void BuildMenus(QWidget* bar);
    void BuildHeader();
    class QLayout* Buttons();
    // The list ordered by the header's column `section` (0: the census's order).
    void OrderBy(int section);
    // The census's shown types, in the order the list shows them.
    std::vector<CensusType> ShownTypes() const;
    // The census's shown types, in the order chosen; `selected` types stay selected.
    void FillList(const std::set<std::string>& selected = {});
    void SelectionChanged();
    void ExportSelectedType();
    void SaveCensusReport();
    std::string AskForFile(const std::string& defaultName);
    void ReportError(const std::string& error);

    FileDataArray& store_;
    modPProfile& profile_;
    Prompts& prompts_;
    Progress& progress_;
    EventYield& yield_;
    Census census_;
    bool counted_ = false;
    std::string rootPath_;
    std::string maskText_;
    SelectedTypeArray selected_;
    int result_ = -1;

    QLabel* Label1;
    QListWidget* lstExtensions;
    QListWidget* lstHidden;
    QLabel* lblResultsCount;
    QLabel* lblSelectedCount;
    QLabel* lblTotalFiles;
    QLabel* lblTotalSize;
    class QHeaderView* hdrTypes = nullptr;
    // The header's column the list is ordered by (-1: the census's order), and which way. Kept
    // here: the header flips its own indicator before it tells of a click.
    int orderColumn_ = -1;
    bool largestFirst_ = true;
    std::array<QPushButton*, 4> cmd;
    std::array<QAction*, kCountRanges> mnuFilter{};
    QAction* appendSelection_ = nullptr;
    class LetterMenu* letters_ = nullptr;
};
