#pragma once

#include "analysis/Census.h"

#include <QCoreApplication>
#include <memory>

class dlgStarDotStar;
class QWidget;
class ResultPane;
class SearchRequest;
struct WindowContext;

// Views and masks made of file types: the census of the last search (counted once per search,
// then shown again), the Masks menu's filters, and the desktop's registered types.
class TypeCommands {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // Its dialogs belong to `owner`.
    TypeCommands(QWidget& owner, ResultPane& results, SearchRequest& request,
                 WindowContext& shared);
    ~TypeCommands();

    // Opens the census of the last search.
    void ShowFileTypes();
    bool CensusReady() const { return census_ != nullptr; }
    // The census counted a store or a disk that is no longer so.
    void UnloadCensus();
    // One view per type the census hands over (a type with a view already is skipped).
    void CreateTypeViews(const SelectedTypeArray& types);

    // "Registered File Types...": the File Mask built from the desktop's types.
    void ShowRegisteredTypes();
    // "Filter": a view of the type of the shown list's current item.
    void FilterOnCurrentType();
    // "Filter on Multiple Types..." (one view of all the types picked) and "Filter with
    // Multiple Views..." (one view each); unchecked, the picks become the File Mask.
    void FilterOnMultipleTypes(bool viewEach);

private:
    bool CountTypes();

    QWidget& owner_;
    ResultPane& results_;
    SearchRequest& request_;
    WindowContext& shared_;
    std::unique_ptr<dlgStarDotStar> census_;
};
