#include "fileops/FolderPickerDialog.h"

#include "fileops/CommandThread.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileSystemModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <sys/stat.h>
#include <thread>

FolderPickerDialog::FolderPickerDialog(const FolderRequest& request, Prompts& prompts,
                                       QWidget* parent)
    : QDialog(parent), prompts_(prompts), model_(new QFileSystemModel(this)),
      tree_(new QTreeView(this)) {
    setObjectName("FolderPicker");
    setWindowTitle(request.caption);
    auto* prompt = new QLabel(request.prompt, this);
    prompt->setObjectName("lblPrompt");
    prompt->setWordWrap(true);
    SetUpTree(request);
    QListWidget* places = PlacesList(request);
    path_ = new QLineEdit(this);
    path_->setObjectName("txtPath");
    auto* pathLabel = new QLabel(tr("Fol&der:"), this);
    pathLabel->setBuddy(path_);
    connect(path_, &QLineEdit::textEdited, this, [this] {
        typed_ = true;
        CheckTypedPath();
    });

    QDialogButtonBox* buttons = Buttons();

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(prompt);
    auto* middle = new QHBoxLayout;
    middle->addWidget(places);
    middle->addWidget(tree_, 1);
    layout->addLayout(middle, 1);
    auto* pathRow = new QHBoxLayout;
    pathRow->addWidget(pathLabel);
    pathRow->addWidget(path_, 1);
    layout->addLayout(pathRow);
    layout->addWidget(buttons);
    resize(600, 480); // the same for every purpose
}

void FolderPickerDialog::SetUpTree(const FolderRequest& request) {
    tree_->setObjectName("treeFolders");
    tree_->setAccessibleName(tr("Folders"));
    model_->setFilter(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Drives);
    const QString root = QFile::decodeName(QByteArray::fromStdString(request.root));
    model_->setRootPath(root);
    tree_->setModel(model_);
    tree_->setRootIndex(model_->index(root));
    for (int column = 1; column < model_->columnCount(); ++column) {
        tree_->hideColumn(column);
    }
    tree_->header()->hide();
    // The model reads folders in the background: rows arriving or being sorted above the folder
    // shown (the start, or a place clicked) would push it out of sight, so it is brought back
    // each time, until the user moves in the tree.
    const auto keepInSight = [this] {
        const QModelIndex index = following_.isEmpty() ? QModelIndex() : model_->index(following_);
        if (!userMoved_ && index.isValid()) {
            if (tree_->currentIndex() != index) {
                tree_->setCurrentIndex(index); // a folder just made appears only now
            }
            tree_->scrollTo(index, QAbstractItemView::PositionAtCenter);
        }
    };
    connect(model_, &QAbstractItemModel::rowsInserted, this, keepInSight);
    connect(model_, &QAbstractItemModel::layoutChanged, this, keepInSight);
    connect(model_, &QFileSystemModel::directoryLoaded, this, keepInSight);
    tree_->viewport()->installEventFilter(this);
    tree_->installEventFilter(this);
    if (!request.start.empty()) {
        Show(QFile::decodeName(QByteArray::fromStdString(request.start)));
    }
}

// The places beside the tree: a click shows that folder in the tree and selects it.
QListWidget* FolderPickerDialog::PlacesList(const FolderRequest& request) {
    auto* places = new QListWidget(this);
    places->setObjectName("lstPlaces");
    places->setAccessibleName(tr("Places"));
    for (const FolderPlace& place : request.places) {
        auto* item = new QListWidgetItem(place.label, places);
        item->setData(Qt::UserRole, QFile::decodeName(QByteArray::fromStdString(place.path)));
        item->setToolTip(item->data(Qt::UserRole).toString());
    }
    places->setMaximumWidth(180);
    places->setVisible(!request.places.empty());
    connect(places, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { Show(item->data(Qt::UserRole).toString()); });

    return places;
}

// OK (for the folder picked or typed), Cancel and New Folder.
QDialogButtonBox* FolderPickerDialog::Buttons() {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    auto* newFolder = buttons->addButton(tr("&New Folder..."), QDialogButtonBox::ActionRole);
    newFolder->setObjectName("cmdNewFolder");
    connect(newFolder, &QPushButton::clicked, this, &FolderPickerDialog::MakeFolder);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    const auto picked = [this](const QModelIndex& current) {
        typed_ = false;
        path_->setText(current.isValid() ? model_->filePath(current) : QString());
        ok_->setEnabled(current.isValid());
    };
    picked(tree_->currentIndex());
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this, picked);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    return buttons;
}

void FolderPickerDialog::reject() {
    stop_.Raise();
    QDialog::reject();
}

void FolderPickerDialog::MakeFolder() {
    const std::string parent = SelectedFolder();
    if (parent.empty()) {
        return;
    }
    const QString name =
        prompts_
            .AskText(tr("New Folder"),
                     tr("Name of the new folder in %1:").arg(QFile::decodeName(parent.c_str())),
                     tr("New Folder"))
            .value_or(QString());
    if (name.isEmpty()) {
        return;
    }
    const std::string path =
        parent + (parent == "/" ? "" : "/") + QFile::encodeName(name).toStdString();
    int error = EINVAL;
    if (!name.contains(QLatin1Char('/')) && name != "." && name != "..") {
        // mkdir makes a new folder or fails: nothing that is there is touched. On a thread of
        // its own, for a share that does not answer; closing the picker leaves it behind.
        auto made = std::make_shared<std::atomic<int>>(0);
        stop_.Lower();
        if (!CommandThread::Make(stop_)->Run(
                [path, made] { made->store(mkdir(path.c_str(), 0777) == 0 ? 0 : errno); })) {
            return;
        }
        error = made->load();
    }
    if (error != 0) {
        prompts_.Message(
            tr("Could not make the folder ' %1 ': %2")
                .arg(QFile::decodeName(path.c_str()), QString::fromLocal8Bit(std::strerror(error))),
            MessageIcon::Critical, MessageButtons::Ok, windowTitle());
        return;
    }
    Show(QFile::decodeName(path.c_str()));
}

void FolderPickerDialog::Show(const QString& folder) {
    following_ = folder;
    userMoved_ = false;
    const QModelIndex index = model_->index(folder);
    if (index.isValid()) {
        tree_->setCurrentIndex(index);
        tree_->scrollTo(index, QAbstractItemView::PositionAtCenter);
    }
}

bool FolderPickerDialog::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::MouseButtonPress || type == QEvent::KeyPress || type == QEvent::Wheel) {
        userMoved_ = true;
    }
    return QDialog::eventFilter(watched, event);
}

// Whether a typed path is a folder is asked on a thread of its own (it may be on a share that
// does not answer); OK waits for the answer about the text as it is now.
void FolderPickerDialog::CheckTypedPath() {
    QString text = path_->text().trimmed();
    if (text == QLatin1String("~") || text.startsWith(QLatin1String("~/"))) {
        text.replace(0, 1, QDir::homePath());
    }
    const std::string typed = QFile::encodeName(text).toStdString();
    verified_.clear();
    ok_->setEnabled(false);
    const uint64_t check = ++checks_;
    auto answered = std::make_shared<std::promise<void>>();
    checked_ = answered->get_future().share();
    std::thread([typed, check, answered, self = QPointer<FolderPickerDialog>(this)] {
        struct stat st {};
        const bool folder = !typed.empty() && typed.front() == '/' &&
                            stat(typed.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        QMetaObject::invokeMethod(
            qApp,
            [self, check, folder, typed] {
                if (self && self->typed_ && self->checks_ == check) {
                    self->verified_ = folder ? typed : std::string();
                    self->ok_->setEnabled(folder);
                }
            },
            Qt::QueuedConnection);
        answered->set_value();
    }).detach();
}

void FolderPickerDialog::WaitForPathCheck() {
    if (checked_.valid()) {
        checked_.wait();
    }
    QCoreApplication::sendPostedEvents();
}

std::string FolderPickerDialog::SelectedFolder() const {
    if (typed_) {
        return verified_;
    }
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
