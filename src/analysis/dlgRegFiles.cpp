#include "analysis/dlgRegFiles.h"

#include "analysis/CompoundMask.h"
#include "analysis/LetterMenu.h"
#include "analysis/dlgDosLen.h"
#include "platform/WindowPrompts.h"
#include "settings/modPProfile.h"

#include <QActionGroup>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>

namespace {
// The settings key of the DOS length (the dot counted).
constexpr const char* kDosLengthKey = "RegFilesDosLength";
} // namespace

// The Filter menu: all extensions or the short ones only, and the length that counts as short.
QMenuBar* dlgRegFiles::BuildFilterMenu() {
    auto* bar = new QMenuBar(this);
    QMenu* filter = bar->addMenu(tr("&Filter"));
    filter->setObjectName("zmnuFilter");
    auto* modes = new QActionGroup(this);
    const QString captions[] = {
        tr("&All Extensions"), tr("&DOS Extensions Only"), {}, tr("Define DOS &Length...")};
    for (int i = 0; i < 4; ++i) {
        if (i == 2) {
            filter->addSeparator();
            continue;
        }
        mnuFilter[i] = filter->addAction(captions[i], this,
                                         [this, i] { FilterMenu(static_cast<FilterEntry>(i)); });
        mnuFilter[i]->setObjectName(QStringLiteral("mnuFilter_%1").arg(i));
        if (i < 2) {
            mnuFilter[i]->setCheckable(true);
            modes->addAction(mnuFilter[i]);
        }
    }
    mnuFilter[0]->setChecked(true);
    return bar;
}

dlgRegFiles::dlgRegFiles(modPProfile& profile, WindowPrompts& prompts, QWidget* parent)
    : QDialog(parent), profile_(profile), prompts_(prompts) {
    setObjectName("dlgRegFiles");
    setWindowTitle(tr("Registered File Types"));
    dosLength_ = ReadNumber(
        profile_.ProfileGetString("options", kDosLengthKey, std::to_string(kDefaultDosLength)));
    if (dosLength_ < 2 || dosLength_ > 7) {
        dosLength_ = kDefaultDosLength;
    }
    QMenuBar* bar = BuildFilterMenu();

    lstExtensions = new QListWidget(this);
    lstExtensions->setObjectName("lstExtensions");
    lstExtensions->setAccessibleName(tr("Registered file types"));
    lstExtensions->setSelectionMode(QAbstractItemView::MultiSelection);
    letters_ = new LetterMenu(bar, lstExtensions);
    lstSelected = new QListWidget(this);
    lstSelected->setObjectName("lstSelected");
    lstSelected->setAccessibleName(tr("Selected file types"));
    lbExtensionCount = new QLabel(this);
    lbExtensionCount->setObjectName("lbExtensionCount");
    lbExtensionCount->setBuddy(lstExtensions); // its "&R" leads to the list
    txtObjMask = new QLineEdit(this);
    txtObjMask->setObjectName("txtObjMask");
    txtObjMask->setAccessibleName(tr("File Mask"));
    txtObjMask->setReadOnly(true);
    connect(lstExtensions, &QListWidget::itemSelectionChanged, this, &dlgRegFiles::CommandMask);

    auto* layout = new QGridLayout(this);
    layout->setMenuBar(bar);
    layout->addWidget(lbExtensionCount, 0, 0);
    layout->addWidget(lstExtensions, 1, 0);
    layout->addWidget(lstSelected, 1, 1);
    layout->addWidget(txtObjMask, 2, 0, 1, 2);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons, 3, 0, 1, 2);
    layout->setColumnStretch(0, 3);
    layout->setColumnStretch(1, 1);
    resize(640, 480);
}

void dlgRegFiles::PrefillList() {
    const QSignalBlocker quiet(lstExtensions);
    lstExtensions->clear();
    lstSelected->clear();
    for (const RegisteredType& type : RegisteredTypes(dosOnly_ ? dosLength_ : 0)) {
        const QString extension = QString::fromStdString(type.extension);
        auto* row = new QListWidgetItem(extension + QStringLiteral("\t\t") + type.name);
        row->setData(ExtensionRole, extension);
        lstExtensions->addItem(row);
    }
    lbExtensionCount->setText((dosOnly_ ? tr("&Registered File Extensions (dos) : ")
                                        : tr("&Registered File Extensions (all) : ")) +
                              QString::number(lstExtensions->count()));
    letters_->Refresh();
    CommandMask();
}

void dlgRegFiles::SetCurrentObjectMask(const QString& mask) {
    // The mask stays as it was passed in (a pattern the list lacks too) until the user picks.
    txtObjMask->setText(mask);
    Select(MaskExtensions(mask));
    lstExtensions->scrollToTop();
}

void dlgRegFiles::Select(const std::vector<QString>& extensions) {
    {
        const QSignalBlocker quiet(lstExtensions);
        for (const QString& extension : extensions) {
            // The first line that begins with it, as the list is sorted.
            for (int row = 0; row < lstExtensions->count(); ++row) {
                if (Extension(row).startsWith(extension, Qt::CaseInsensitive)) {
                    lstExtensions->item(row)->setSelected(true);
                    break;
                }
            }
        }
    }
    MirrorSelection();
}

void dlgRegFiles::MirrorSelection() {
    lstSelected->clear();
    for (int row = 0; row < lstExtensions->count(); ++row) {
        if (lstExtensions->item(row)->isSelected()) {
            lstSelected->addItem(Extension(row));
        }
    }
}

QString dlgRegFiles::Extension(int row) const {
    return lstExtensions->item(row)->data(ExtensionRole).toString();
}

QString dlgRegFiles::CurrentObjectMask() const {
    return txtObjMask->text();
}

void dlgRegFiles::FilterMenu(FilterEntry entry) {
    if (entry == FilterEntry::DosLength) {
        dlgDosLen dialog(this);
        dialog.InitDialog(dosLength_);
        if (prompts_.ShowModal(&dialog) != QDialog::Accepted) {
            return;
        }
        dosLength_ = dialog.GetDosLen() + 1; // the stored length counts the dot
        if (dialog.KeepLength()) {
            profile_.ProfileSetOptionsKey(kDosLengthKey, std::to_string(dosLength_));
        }
        entry = FilterEntry::DosOnly;
        dosOnly_ = false; // refilled below in DOS-only mode
    }
    if ((entry == FilterEntry::DosOnly) == dosOnly_) {
        return;
    }
    dosOnly_ = entry == FilterEntry::DosOnly;
    mnuFilter[static_cast<size_t>(entry)]->setChecked(true);
    // The mask stays, and what it names is selected again where the other list holds it.
    const QString mask = txtObjMask->text();
    PrefillList();
    SetCurrentObjectMask(mask);
}

void dlgRegFiles::CommandMask() {
    QString mask;
    lstSelected->clear();
    for (int row = 0; row < lstExtensions->count(); ++row) {
        if (lstExtensions->item(row)->isSelected()) {
            mask += QLatin1Char('*') + Extension(row) + QStringLiteral("; ");
            lstSelected->addItem(Extension(row));
        }
    }
    txtObjMask->setText(mask);
}
