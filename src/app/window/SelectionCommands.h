#pragma once

#include <QCoreApplication>

class ResultPane;
class SearchRequest;
struct WindowContext;

// What is done with the shown list's results outside the store: the desktop's verbs on the
// selection, the double-click, a folder made the start path, list files and the clipboard.
class SelectionCommands {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    SelectionCommands(ResultPane& results, SearchRequest& request, WindowContext& shared)
        : results_(results), request_(request), shared_(shared) {}

    void OpenSelected();
    void OpenSelectedWithNotepad();
    void OpenSelectedWithDialog();
    void ShowSelectedProperties();
    // The folder popup's first entry: the selected folder becomes the root, folders-only off.
    void SetAsNewStartPath();
    // A double-click in a result list, by DblClickAction or, with Shift, DblClickShiftAction.
    void DoubleClicked(bool shiftHeld);

    // "&Save...": the shown list, whole or its selected rows.
    void SaveResultList();
    // "Save &All...": every slot of the store but the last.
    void SaveAllResults();
    // The selected rows of the shown list, one per line (at most 1000).
    void CopySelectionToClipboard();

private:
    void ShowWriteError(const std::string& error);
    ResultPane& results_;
    SearchRequest& request_;
    WindowContext& shared_;
};
