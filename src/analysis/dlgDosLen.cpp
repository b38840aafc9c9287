#include "analysis/dlgDosLen.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

dlgDosLen::dlgDosLen(QWidget* parent) : QDialog(parent) {
    setObjectName("dlgDosLen");
    setWindowTitle(tr("Define DOS Length"));
    auto* label = new QLabel(tr("Select the number of characters that the Registered File Types "
                                "dialog will list when 'DOS Extensions Only' is selected."),
                             this);
    label->setObjectName("Label1");
    label->setWordWrap(true);
    Combo1 = new QComboBox(this);
    Combo1->setObjectName("Combo1");
    for (int i = 1; i <= 6; ++i) {
        Combo1->addItem(QString::number(i));
    }
    label->setBuddy(Combo1);
    // The list is refilled with the length on OK in any case; the box keeps it for later runs.
    chkReload = new QCheckBox(tr("&Keep this length for the next time"), this);
    chkReload->setObjectName("chkReload");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(Combo1);
    layout->addWidget(chkReload);
    layout->addWidget(buttons);
}

void dlgDosLen::InitDialog(int dosLength) {
    const int index = Combo1->findText(QString::number(dosLength - 1), Qt::MatchExactly);
    if (index >= 0) {
        Combo1->setCurrentIndex(index);
    }
    chkReload->setChecked(false);
}

int dlgDosLen::GetDosLen() const {
    return Combo1->currentText().toInt();
}

bool dlgDosLen::KeepLength() const {
    return chkReload->isChecked();
}
