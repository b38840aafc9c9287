#pragma once

#include "platform/Progress.h"
#include "widgets/ScrollStyle.h"

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class CancelFlag;
class EventYield;
struct AppSettings;

// `dlgProgress`: the modeless progress window of the window that owns it, transient for it, so
// that it stays above it. Its bar follows the PBScrollStyle setting (0 blocks, 1 smooth).
class dlgProgress : public QDialog, public Progress {
    Q_OBJECT
public:
    dlgProgress(CancelFlag& cancel, const AppSettings& settings, EventYield& yield, QWidget* owner);

    void Create(int stepSize, int maximum, bool cancelAllowed) override;
    void Destroy() override;
    void Reset() override;
    void SetMessage(const QString& text) override;
    void Setup(int stepSize, int maximum, int value) override;
    void Update(int units) override;
    void UpdateDirect(int value) override;
    void reject() override;

    QString Message() const;
    int Value() const;
    int Maximum() const;
    bool CancelShown() const;

private:
    void CancelClicked();
    void closeEvent(QCloseEvent* event) override;

    CancelFlag& cancel_;
    const AppSettings& settings_;
    EventYield& yield_;
    QLabel* Label1;
    QProgressBar* ProgressBar1;
    QPushButton* cmdCancel;
    int stepSize_ = 1;
    int maximum_ = 100;
    int counter_ = 0;
};
