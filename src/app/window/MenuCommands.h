#pragma once

#include <cstddef>
#include <functional>

enum class PendingAction;
enum class PreferencesTab;
class CommandRunner;
class ResultPane;
class SearchRequest;
class SelectionCommands;
class TypeCommands;
class Desktop;
namespace modBrowse {
enum class PickPurpose;
}

// What the menus' entries start, one call a command, and what they ask of the list shown. The
// window answers from its parts; a test records which command each entry started.
class MenuCommands {
public:
    virtual ~MenuCommands() = default;
    virtual void NewResults() = 0;
    virtual void CloseViews() = 0;
    virtual void OpenSelected() = 0;
    virtual void OpenSelectedWithNotepad() = 0;
    virtual void OpenSelectedWithDialog() = 0;
    virtual void SaveResultList() = 0;
    virtual void SaveAllResults() = 0;
    // A copy, move or delete, started once the menu has closed.
    virtual void Request(PendingAction action) = 0;
    virtual void ShowSelectedProperties() = 0;
    virtual void Exit() = 0;
    virtual void SelectAll() = 0;
    virtual void SelectNone() = 0;
    virtual void InvertSelection() = 0;
    virtual void CopySelectionToClipboard() = 0;
    virtual void ShowPreferences(PreferencesTab tab) = 0;
    virtual void SelectSearchRoot(modBrowse::PickPurpose purpose) = 0;
    virtual void ShowRegisteredTypes() = 0;
    virtual void FilterOnCurrentType() = 0;
    virtual void FilterOnMultipleTypes(bool asViews) = 0;
    virtual void ChooseStarDotStar() = 0;
    virtual void ChooseMaskFavorite(size_t index, bool append) = 0;
    virtual void OpenLink(const char* link) = 0;
    virtual void ShowAbout() = 0;
    virtual void SetAsNewStartPath() = 0;

    virtual bool FolderResults() const = 0; // the shown list holds folders
    virtual int ViewCount() const = 0;
    virtual void EnableCensus(bool enabled) = 0;
};

// The window's answers: its parts, and what only the window does (a new store, closing, the
// preferences, the About box).
class WindowMenuCommands : public MenuCommands {
public:
    struct Window {
        std::function<void()> newResults;
        std::function<void()> close;
        std::function<void(PreferencesTab)> showPreferences;
        std::function<void()> showAbout;
    };
    WindowMenuCommands(ResultPane& results, SearchRequest& request, SelectionCommands& selection,
                       TypeCommands& types, CommandRunner& commands, Desktop& desktop,
                       Window window)
        : results_(results), request_(request), selection_(selection), types_(types),
          commands_(commands), desktop_(desktop), window_(std::move(window)) {}

    void NewResults() override { window_.newResults(); }
    void CloseViews() override;
    void OpenSelected() override;
    void OpenSelectedWithNotepad() override;
    void OpenSelectedWithDialog() override;
    void SaveResultList() override;
    void SaveAllResults() override;
    void Request(PendingAction action) override;
    void ShowSelectedProperties() override;
    void Exit() override { window_.close(); }
    void SelectAll() override;
    void SelectNone() override;
    void InvertSelection() override;
    void CopySelectionToClipboard() override;
    void ShowPreferences(PreferencesTab tab) override { window_.showPreferences(tab); }
    void SelectSearchRoot(modBrowse::PickPurpose purpose) override;
    void ShowRegisteredTypes() override;
    void FilterOnCurrentType() override;
    void FilterOnMultipleTypes(bool asViews) override;
    void ChooseStarDotStar() override;
    void ChooseMaskFavorite(size_t index, bool append) override;
    void OpenLink(const char* link) override;
    void ShowAbout() override { window_.showAbout(); }
    void SetAsNewStartPath() override;
    bool FolderResults() const override;
    int ViewCount() const override;
    void EnableCensus(bool enabled) override;

private:
    ResultPane& results_;
    SearchRequest& request_;
    SelectionCommands& selection_;
    TypeCommands& types_;
    CommandRunner& commands_;
    Desktop& desktop_;
    Window window_;
};
