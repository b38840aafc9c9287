#pragma once

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class CancelFlag;

// `dlgProgress`: the shared modeless progress window of long tasks: a message line, a bar and
// an optional Cancel that raises the program-wide cancel flag (the task notices and stops).
class dlgProgress : public QDialog {
    Q_OBJECT
public:
    explicit dlgProgress(CancelFlag& cancel, QWidget* parent = nullptr);

    // The one instance the program shares.
    static dlgProgress& Shared();

    // Shows the window over `owner` with the bar at 0 of `maximum`.
    void Create(QWidget* owner, int stepSize, int maximum, bool cancelAllowed, int scrollStyle = 0);
    void Destroy();
    void Reset();
    // "Processing..." when `text` is empty.
    void SetMessage(const QString& text);
    void Setup(int stepSize, int maximum, int value);
    // Advances one call: the bar moves to calls x `units`, never past its maximum.
    void Update(int units);
    // Sets the bar directly (when within its maximum) and lets the window repaint.
    void UpdateDirect(int value);

    QString Message() const;
    int Value() const;
    int Maximum() const;
    bool CancelShown() const;

private:
    void CancelClicked();

    CancelFlag& cancel_;
    QLabel* Label1;
    QProgressBar* ProgressBar1;
    QPushButton* cmdCancel;
    int stepSize_ = 1;
    int maximum_ = 100;
    int counter_ = 0;
};
