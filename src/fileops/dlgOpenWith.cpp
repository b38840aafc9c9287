#include "fileops/dlgOpenWith.h"

#include "platform/Prompts.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

dlgOpenWith::dlgOpenWith(const std::vector<DesktopEntry>& entries, const QStringList& mimeTypes,
                         const std::string& path, QWidget* parent)
    : QDialog(parent), lstApplications(new QListWidget(this)), txtCommand(new QLineEdit(this)) {
    setObjectName("dlgOpenWith");
    setWindowTitle(tr("Open With"));
    const QString name = QFile::decodeName(QByteArray::fromStdString(path)).section('/', -1);
    auto* prompt = new QLabel(tr("Choose the application to open \"%1\" with:").arg(name), this);
    prompt->setWordWrap(true);
    lstApplications->setObjectName("lstApplications");
    txtCommand->setObjectName("txtCommand");
    txtCommand->setPlaceholderText(tr("A command line; %f stands for the file"));

    const auto addHeading = [this](const QString& text) {
        auto* item = new QListWidgetItem(text, lstApplications);
        QFont bold = item->font();
        bold.setBold(true);
        item->setFont(bold);
        item->setFlags(Qt::NoItemFlags);
        entryOfRow_.push_back(-1);
    };
    const auto addEntry = [this](const DesktopEntry& entry) {
        new QListWidgetItem(entry.name, lstApplications);
        entryOfRow_.push_back(static_cast<int>(shown_.size()));
        shown_.push_back(entry);
    };
    std::vector<const DesktopEntry*> others;
    bool headed = false;
    const QString mimeType = mimeTypes.value(0);
    const auto handles = [&mimeTypes](const DesktopEntry& entry) {
        return std::any_of(mimeTypes.begin(), mimeTypes.end(), [&](const QString& type) {
            return type != QLatin1String("application/octet-stream") &&
                   entry.mimeTypes.contains(type);
        });
    };
    for (const DesktopEntry& entry : entries) {
        if (handles(entry)) {
            if (!headed) {
                addHeading(tr("Applications for %1").arg(mimeType));
                headed = true;
            }
            addEntry(entry);
        } else if (!entry.noDisplay) {
            others.push_back(&entry);
        }
    }
    if (!others.empty()) {
        addHeading(tr("Other applications"));
        for (const DesktopEntry* entry : others) {
            addEntry(*entry);
        }
    }

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(lstApplications, &QListWidget::currentRowChanged, this, &dlgOpenWith::UpdateOk);
    connect(lstApplications, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(txtCommand, &QLineEdit::textChanged, this, [this] {
        if (!txtCommand->text().isEmpty()) {
            lstApplications->setCurrentRow(-1);
        }
        UpdateOk();
    });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(prompt);
    layout->addWidget(lstApplications, 1);
    layout->addWidget(new QLabel(tr("Or run a command:"), this));
    layout->addWidget(txtCommand);
    layout->addWidget(buttons);
    resize(420, 480);
    UpdateOk();
}

void dlgOpenWith::UpdateOk() {
    const int row = lstApplications->currentRow();
    const bool entry = row >= 0 && row < static_cast<int>(entryOfRow_.size()) &&
                       entryOfRow_[static_cast<size_t>(row)] >= 0;
    ok_->setEnabled(entry || !txtCommand->text().trimmed().isEmpty());
}

std::optional<DesktopEntry> dlgOpenWith::ChosenApplication() const {
    const int row = lstApplications->currentRow();
    if (row < 0 || row >= static_cast<int>(entryOfRow_.size()) ||
        entryOfRow_[static_cast<size_t>(row)] < 0) {
        return std::nullopt;
    }
    return shown_[static_cast<size_t>(entryOfRow_[static_cast<size_t>(row)])];
}

QString dlgOpenWith::CustomCommand() const {
    return txtCommand->text();
}

QStringList dlgOpenWith::Rows() const {
    QStringList rows;
    for (int i = 0; i < lstApplications->count(); ++i) {
        rows << lstApplications->item(i)->text();
    }
    return rows;
}

void dlgOpenWith::ChooseRow(int row) {
    lstApplications->setCurrentRow(row);
}

void dlgOpenWith::SetCustomCommand(const QString& command) {
    txtCommand->setText(command);
}
