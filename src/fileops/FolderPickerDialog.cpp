#include "fileops/FolderPickerDialog.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QFile>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

FolderPickerDialog::FolderPickerDialog(const FolderRequest& request, QWidget* parent)
    : QDialog(parent), model_(new QFileSystemModel(this)), tree_(new QTreeView(this)) {
    setObjectName("FolderPicker");
    setWindowTitle(request.caption);
    auto* prompt = new QLabel(request.prompt, this);
    prompt->setObjectName("lblPrompt");
    prompt->setWordWrap(true);

    model_->setFilter(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Drives);
    const QString root = QFile::decodeName(QByteArray::fromStdString(request.root));
    model_->setRootPath(root);
    tree_->setModel(model_);
    tree_->setRootIndex(model_->index(root));
    for (int column = 1; column < model_->columnCount(); ++column) {
        tree_->hideColumn(column);
    }
    tree_->header()->hide();
    if (!request.start.empty()) {
        const QString start = QFile::decodeName(QByteArray::fromStdString(request.start));
        const QModelIndex index = model_->index(start);
        if (index.isValid()) {
            tree_->setCurrentIndex(index);
            tree_->scrollTo(index, QAbstractItemView::PositionAtCenter);
            // The model reads folders in the background: rows arriving or being sorted above the
            // start folder would push it out of sight, so it is brought back each time, until
            // the user moves in the tree.
            const auto keepInSight = [this, start] {
                if (!userMoved_) {
                    tree_->scrollTo(model_->index(start), QAbstractItemView::PositionAtCenter);
                }
            };
            connect(model_, &QAbstractItemModel::rowsInserted, this, keepInSight);
            connect(model_, &QAbstractItemModel::layoutChanged, this, keepInSight);
            connect(model_, &QFileSystemModel::directoryLoaded, this, keepInSight);
            tree_->viewport()->installEventFilter(this);
            tree_->installEventFilter(this);
        }
    }

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    ok_->setEnabled(tree_->currentIndex().isValid());
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { ok_->setEnabled(current.isValid()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(prompt);
    layout->addWidget(tree_, 1);
    layout->addWidget(buttons);
    resize(420, 480);
}

bool FolderPickerDialog::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::MouseButtonPress || type == QEvent::KeyPress || type == QEvent::Wheel) {
        userMoved_ = true;
    }
    return QDialog::eventFilter(watched, event);
}

std::string FolderPickerDialog::SelectedFolder() const {
    const QModelIndex current = tree_->currentIndex();
    if (!current.isValid()) {
        return {};
    }
    return QFile::encodeName(model_->filePath(current)).toStdString();
}

bool FolderPickerDialog::SelectedFolderInView() const {
    const QRect row = tree_->visualRect(tree_->currentIndex());
    return row.isValid() && tree_->viewport()->rect().contains(row);
}
