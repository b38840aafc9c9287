#include "fileops/dlgProgress.h"

#include "platform/CancelFlag.h"
#include "platform/EventYield.h"
#include "platform/Prompts.h"
#include "settings/AppSettings.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

dlgProgress::dlgProgress(CancelFlag& cancel, const AppSettings& settings, EventYield& yield,
                         QWidget* owner)
    : QDialog(owner), cancel_(cancel), settings_(settings), yield_(yield), Label1(new QLabel(this)),
      ProgressBar1(new QProgressBar(this)), cmdCancel(new QPushButton(tr("Cancel"), this)) {
    setObjectName("dlgProgress");
    setWindowTitle(kApplicationTitle);
    setModal(false);
    Label1->setObjectName("Label1");
    ProgressBar1->setObjectName("ProgressBar1");
    ProgressBar1->setTextVisible(false);
    cmdCancel->setObjectName("cmdCancel");
    cmdCancel->setAutoDefault(false);
    connect(cmdCancel, &QPushButton::clicked, this, &dlgProgress::CancelClicked);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addWidget(ProgressBar1);
    layout->addLayout(buttons);
    setMinimumWidth(360);
}

void dlgProgress::Create(int stepSize, int maximum, bool cancelAllowed) {
    // Style 1 asks for a smooth bar; the text-less bar is the closest a Qt style offers.
    ApplyScrollStyle(ProgressBar1, settings_.PBScrollStyle);
    Setup(stepSize, maximum, 0);
    cmdCancel->setVisible(cancelAllowed);
    cmdCancel->setEnabled(cancelAllowed);
    adjustSize();
    show();
    raise();
}

void dlgProgress::Destroy() {
    hide();
}

void dlgProgress::Reset() {
    ProgressBar1->setRange(0, maximum_);
    ProgressBar1->setValue(0);
    counter_ = 0;
}

void dlgProgress::SetMessage(const QString& text) {
    Label1->setText(text.isEmpty() ? tr("Processing...") : text);
}

void dlgProgress::Setup(int stepSize, int maximum, int value) {
    stepSize_ = stepSize;
    maximum_ = maximum;
    ProgressBar1->setRange(0, maximum);
    ProgressBar1->setValue(value);
    counter_ = 0;
}

void dlgProgress::Update(int units) {
    ++counter_;
    const long long position = static_cast<long long>(counter_) * units;
    if (position <= ProgressBar1->maximum()) {
        ProgressBar1->setValue(static_cast<int>(position));
    }
}

void dlgProgress::UpdateDirect(int value) {
    if (value <= ProgressBar1->maximum()) {
        ProgressBar1->setValue(value);
    }
    yield_.Now();
}

// Only the task closes the window: Escape and the close box are its Cancel when it has one,
// and nothing otherwise, so the task never runs on unseen.
void dlgProgress::reject() {
    if (cmdCancel->isEnabled() && !cmdCancel->isHidden()) {
        CancelClicked();
    }
}

void dlgProgress::closeEvent(QCloseEvent* event) {
    event->ignore();
    reject();
}

void dlgProgress::CancelClicked() {
    cancel_.Raise();
    yield_.Now();
}

QString dlgProgress::Message() const {
    return Label1->text();
}
int dlgProgress::Value() const {
    return ProgressBar1->value();
}
int dlgProgress::Maximum() const {
    return ProgressBar1->maximum();
}
bool dlgProgress::CancelShown() const {
    return !cmdCancel->isHidden();
}
