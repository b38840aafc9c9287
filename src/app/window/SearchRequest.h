#pragma once

#include "search/SearchSession.h"

#include <QCoreApplication>
#include <QString>
#include <array>
#include <functional>
#include <string>

class QCheckBox;
class QEvent;
class QLayout;
class QLineEdit;
class QObject;
class QPushButton;
class QRadioButton;
class QToolButton;
class QWidget;
class QWidget;
namespace modBrowse {
enum class PickPurpose;
}
struct WindowContext;

// The option boxes, in the order they stand.
enum class OptionBox { Subfolders = 0, FoldersOnly = 1, SuppressUpdates = 2 };

// The search request: the root path and File Mask fields, the option boxes, the search and
// census buttons, and what they mean as search options.
class SearchRequest {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // What the fields ask of the window: Begin Search (or its Cancel) clicked, whether a search
    // runs, and the census.
    struct Hooks {
        std::function<void()> searchClicked;
        std::function<bool()> searching;
        std::function<void()> fileTypesClicked;
    };
    // Connections and event filters belong to `owner`.
    SearchRequest(QWidget& owner, WindowContext& shared, Hooks hooks)
        : owner_(owner), hooks_(std::move(hooks)), shared_(shared) {}

    // The controls, on `parent`, as two rows.
    QLayout* Build(QWidget* parent);

    SearchOptions Options() const;
    QString Mask() const;
    void SetMask(const QString& mask);
    // Checks the File Mask field; on a refusal says why and returns false.
    bool ValidateMask();
    bool FoldersOnly() const;
    // Folders only off again, as a click on its box would.
    void ClearFoldersOnly();
    void ListMatches();

    // The root path field: a folder's bytes shown as text. While the text is unchanged the
    // bytes stand (a name that is not UTF-8 survives); typed text is taken as typed, with "~"
    // for the home folder.
    void SetStartPath(const std::string& bytes);
    std::string StartPath() const;
    void PathBackClicked();
    // Puts a folder picked for the Select menu's purpose into the root path field.
    void SelectSearchRoot(modBrowse::PickPurpose purpose);

    void ChooseMaskFavorite(size_t index, bool append);
    void ChooseStarDotStar();

    // The search button reads "Cancel" while a search or command runs.
    void ShowRunning(bool running);
    void SetBusy(bool busy);
    void EnableCensus(bool enabled);
    // Enter on an option box searches, as it does in the fields.
    bool EnterPressed(QObject* watched, QEvent* event);

private:
    QLayout* BuildFields(QWidget* parent);
    QLayout* BuildOptions(QWidget* parent);
    void Connect();
    void OptionClicked(OptionBox box);
    QCheckBox* Box(OptionBox box) const { return chkOpts[static_cast<size_t>(box)]; }

    QWidget& owner_;
    Hooks hooks_;
    WindowContext& shared_;
    std::string startPathBytes_;
    QString startPathShown_;
    QLineEdit* txtStartPath = nullptr;
    QToolButton* cmdPathBack = nullptr;
    QLineEdit* txtObjMask = nullptr;
    std::array<QCheckBox*, 3> chkOpts{};
    std::array<QRadioButton*, 2> optListTypes{};
    QPushButton* cmdSearch = nullptr;
    QPushButton* cmdFileTypes = nullptr;
};
