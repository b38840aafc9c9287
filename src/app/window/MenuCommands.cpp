#include "app/window/MenuCommands.h"

#include "app/window/CommandRunner.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchRequest.h"
#include "app/window/SelectionCommands.h"
#include "app/window/TypeCommands.h"
#include "fileops/modShell.h"

void WindowMenuCommands::CloseViews() {
    results_.CloseViews();
}
void WindowMenuCommands::OpenSelected() {
    selection_.OpenSelected();
}
void WindowMenuCommands::OpenSelectedWithNotepad() {
    selection_.OpenSelectedWithNotepad();
}
void WindowMenuCommands::OpenSelectedWithDialog() {
    selection_.OpenSelectedWithDialog();
}
void WindowMenuCommands::SaveResultList() {
    selection_.SaveResultList();
}
void WindowMenuCommands::SaveAllResults() {
    selection_.SaveAllResults();
}
void WindowMenuCommands::Request(PendingAction action) {
    commands_.Request(action);
}
void WindowMenuCommands::ShowSelectedProperties() {
    selection_.ShowSelectedProperties();
}
void WindowMenuCommands::SelectAll() {
    results_.SelectAll();
}
void WindowMenuCommands::SelectNone() {
    results_.SelectNone();
}
void WindowMenuCommands::InvertSelection() {
    results_.InvertSelection();
}
void WindowMenuCommands::CopySelectionToClipboard() {
    selection_.CopySelectionToClipboard();
}
void WindowMenuCommands::SelectSearchRoot(modBrowse::PickPurpose purpose) {
    request_.SelectSearchRoot(purpose);
}
void WindowMenuCommands::ShowRegisteredTypes() {
    types_.ShowRegisteredTypes();
}
void WindowMenuCommands::FilterOnCurrentType() {
    types_.FilterOnCurrentType();
}
void WindowMenuCommands::FilterOnMultipleTypes(bool asViews) {
    types_.FilterOnMultipleTypes(asViews);
}
void WindowMenuCommands::ChooseStarDotStar() {
    request_.ChooseStarDotStar();
}
void WindowMenuCommands::ChooseMaskFavorite(size_t index, bool append) {
    request_.ChooseMaskFavorite(index, append);
}
void WindowMenuCommands::OpenLink(const char* link) {
    modShell::ShellOpenDocument(link, desktop_);
}
void WindowMenuCommands::SetAsNewStartPath() {
    selection_.SetAsNewStartPath();
}
bool WindowMenuCommands::FolderResults() const {
    return results_.FolderResults();
}
int WindowMenuCommands::ViewCount() const {
    return results_.Views().Count();
}
void WindowMenuCommands::EnableCensus(bool enabled) {
    request_.EnableCensus(enabled);
}
