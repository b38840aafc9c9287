#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;

// `dlgDosLen`: the longest extension, in characters after the dot, that the registered file
// types list shows with "DOS Extensions Only".
class dlgDosLen : public QDialog {
    Q_OBJECT
public:
    explicit dlgDosLen(QWidget* parent = nullptr);

    // Selects the entry for a stored length (which counts the dot: 4 shows "3").
    void InitDialog(int dosLength);
    // The characters chosen after the dot.
    int GetDosLen() const;
    // Whether the length is to be kept for later runs (`chkReload`, cleared by InitDialog).
    bool KeepLength() const;

private:
    QComboBox* Combo1;
    QCheckBox* chkReload;
};
