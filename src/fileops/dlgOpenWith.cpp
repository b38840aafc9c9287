#include "fileops/dlgOpenWith.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

dlgOpenWith::dlgOpenWith(const OpenWithRequest& request, QWidget* parent)
    : QDialog(parent), lstApplications(new QListWidget(this)), txtCommand(new QLineEdit(this)) {
    setObjectName("dlgOpenWith");
    setWindowTitle(tr("Open With"));
    const QString name =
        QFile::decodeName(QByteArray::fromStdString(request.path)).section('/', -1);
    auto* prompt = new QLabel(tr("Choose the application to open \"%1\" with:").arg(name), this);
    prompt->setWordWrap(true);
    lstApplications->setObjectName("lstApplications");
    lstApplications->setAccessibleName(tr("Applications"));
    txtCommand->setObjectName("txtCommand");
    txtCommand->setAccessibleName(tr("Command"));
    txtCommand->setPlaceholderText(tr("A command line; %f stands for the file"));

    const auto addHeading = [this](const QString& text) {
        auto* item = new QListWidgetItem(text, lstApplications);
        QFont bold = item->font();
        bold.setBold(true);
        item->setFont(bold);
        item->setFlags(Qt::NoItemFlags);
        entryOfRow_.push_back(-1);
    };
    const auto addEntries = [&](const QString& heading,
                                const std::vector<ApplicationChoice>& choices) {
        if (choices.empty()) {
            return;
        }
        addHeading(heading);
        for (const ApplicationChoice& choice : choices) {
            new QListWidgetItem(QIcon::fromTheme(choice.iconName), choice.name, lstApplications);
            entryOfRow_.push_back(static_cast<int>(shown_.size()));
            shown_.push_back(choice);
        }
    };
    addEntries(tr("Applications for %1").arg(request.contentType), request.forType);
    addEntries(tr("Other applications"), request.others);

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

const ApplicationChoice* dlgOpenWith::ChosenApplication() const {
    const int row = lstApplications->currentRow();
    if (row < 0 || row >= static_cast<int>(entryOfRow_.size()) ||
        entryOfRow_[static_cast<size_t>(row)] < 0) {
        return nullptr;
    }
    return &shown_[static_cast<size_t>(entryOfRow_[static_cast<size_t>(row)])];
}

void dlgOpenWith::UpdateOk() {
    ok_->setEnabled(ChosenApplication() != nullptr || !txtCommand->text().trimmed().isEmpty());
}

OpenWithAnswer dlgOpenWith::Answer() const {
    if (const ApplicationChoice* chosen = ChosenApplication()) {
        return {chosen->id, {}};
    }
    return {{}, txtCommand->text().trimmed()};
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
