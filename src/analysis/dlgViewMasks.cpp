#include "analysis/dlgViewMasks.h"

#include "analysis/CompoundMask.h"
#include "analysis/LetterMenu.h"
#include "text/DisplayText.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>

dlgViewMasks::dlgViewMasks(QWidget* parent) : QDialog(parent) {
    setObjectName("dlgViewMasks");
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QMenuBar(this);
    layout->setMenuBar(bar);
    Label1 = new QLabel(this);
    Label1->setObjectName("Label1");
    Label1->setWordWrap(true);
    lstExtensions = new QListWidget(this);
    lstExtensions->setObjectName("lstExtensions");
    lstExtensions->setAccessibleName(tr("File types found"));
    lstExtensions->setSelectionMode(QAbstractItemView::MultiSelection);
    letters_ = new LetterMenu(bar, lstExtensions);
    txtObjMask = new QLineEdit(this);
    txtObjMask->setObjectName("txtObjMask");
    txtObjMask->setAccessibleName(tr("File Mask"));
    txtObjMask->setReadOnly(true);
    Check1 = new QCheckBox(tr("&Filter Current Results"), this);
    Check1->setObjectName("Check1");
    Check1->setChecked(true);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Check1);
    buttons->addStretch(1);
    for (int i : {1, 2}) {
        cmd[i] = new QPushButton(i == 1 ? tr("OK") : tr("Cancel"), this);
        cmd[i]->setObjectName(QStringLiteral("cmd_%1").arg(i));
        connect(cmd[i], &QPushButton::clicked, this, [this, i] { CommandAction(i); });
        buttons->addWidget(cmd[i]);
    }
    cmd[1]->setDefault(true);
    cmd[1]->setEnabled(false);
    layout->addWidget(Label1);
    layout->addWidget(lstExtensions, 1);
    layout->addWidget(txtObjMask);
    layout->addLayout(buttons);
    connect(lstExtensions, &QListWidget::itemSelectionChanged, this,
            &dlgViewMasks::SelectionChanged);
    resize(420, 460);
}

void dlgViewMasks::SetupMaskArray(const std::vector<std::string>& extensions) {
    for (const std::string& extension : extensions) {
        offered_.push_back(extension);
        lstExtensions->addItem(DisplayPath(extension));
    }
    letters_->Refresh();
}

void dlgViewMasks::SetCurrentObjectMask(const QString& text) {
    txtObjMask->setText(text);
}

void dlgViewMasks::SetupControls(const QString& firstTabCaption) {
    setWindowTitle(tr("Existing File Types in %1").arg(firstTabCaption));
    // "compond" is the program's own spelling.
    Label1->setText(tr("Select up to six items to create a compond file mask. A new view will be "
                       "created containing all files matching the selections made. Uncheck "
                       "Filter Current Results to use selection as a new File Mask instead."));
}

bool dlgViewMasks::CommandFilter() const {
    return Check1->isChecked();
}

QString dlgViewMasks::Mask() const {
    return txtObjMask->text();
}

void dlgViewMasks::CommandAction(int index) {
    if (index == 1 && !selected_.empty()) {
        accept();
    } else if (index == 2) {
        reject();
    }
}

void dlgViewMasks::JumpToLetter(int index) {
    letters_->Jump(index);
}

void dlgViewMasks::SelectionChanged() {
    // Every selected type counts, also beyond the six the instructions speak of.
    selected_.clear();
    for (int row = 0; row < lstExtensions->count(); ++row) {
        if (lstExtensions->item(row)->isSelected()) {
            selected_.push_back(offered_[static_cast<size_t>(row)]);
        }
    }
    txtObjMask->setText(DisplayPath(CompoundMaskText(selected_)));
    cmd[1]->setEnabled(!selected_.empty());
}
