#pragma once
// TadxOlFormsManager: docks the add-in's panes in regions of Outlook's explorer window. Its items
// stand in a fixed order, and the panes reach each other by that position. For each item the
// manager makes one form for all folders of an explorer (csOneInstanceForAllFolders) the first
// time the explorer shows a folder of a matching kind, then gives it its events in the order the
// panes rely on: create, then show, before the first activate; activate each time it gets the
// focus; close when the explorer closes. Its errors go to OnError; an error left unhandled goes
// on to the module's error handler.
#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Exceptions.h"
#include "framework/OlForm.h"

class TadxCOMAddInModule;

enum class TadxOlExplorerLayout { elFolderView, elReadingPane, elBottomNavigationPane };
enum class TadxOlExplorerRegion { erBottomNavigationPane, erReadingPane, erFolderView };
enum class TadxOlItemType { itMail, itAppointment, itContact, itPost, itTask, itNote, itJournal };
enum class TadxOlCached { csOneInstanceForAllFolders, csOneInstanceForEachFolder };

class TadxOlFormsManagerItem {
public:
    std::string FormClassName;
    TadxOlExplorerLayout ExplorerLayout = TadxOlExplorerLayout::elFolderView;
    std::set<TadxOlExplorerRegion> ExplorerAllowedDropRegions;
    std::set<TadxOlItemType> ExplorerItemTypes{TadxOlItemType::itMail, TadxOlItemType::itAppointment,
                                               TadxOlItemType::itContact, TadxOlItemType::itPost};
    TadxOlCached Cached = TadxOlCached::csOneInstanceForAllFolders;
    bool AlwaysShowHeader = true;
    bool UseOfficeThemeForBackground = true;
    bool IsHiddenStateAllowed = true;
    bool IsMinimizedStateAllowed = true;
    bool IsDragDropAllowed = false;
    // Makes the item's form; the form's create event runs in it.
    std::function<std::unique_ptr<TadxOlForm>()> CreateForm;

    // The form of this item for the current explorer; nullptr until it is made.
    TadxOlForm* CurrentForm() const { return form_.get(); }

private:
    friend class TadxOlFormsManager;
    std::unique_ptr<TadxOlForm> form_;
    bool shown_ = false;
};

class TadxOlFormsManager {
public:
    explicit TadxOlFormsManager(TadxCOMAddInModule& owner) : owner_(owner) {}

    std::function<void(const ExceptionInfo& E, bool& Handled)> OnError;

    TadxOlFormsManagerItem& AddItem();
    int Count() const { return static_cast<int>(items_.size()); }
    TadxOlFormsManagerItem& Items(int index) const { return *items_.at(static_cast<size_t>(index)); }

    // The host's side. An explorer shows a folder of the given kind: each item that serves the
    // kind and has no form yet gets one, in the order of the items (create, then show); the first
    // pane made is then activated. A kind no item serves (a tasks or notes folder) shows no panes.
    void ExplorerFolderShown(TadxOlItemType kind);
    // A pane gets the focus.
    void ActivatePane(int index);
    // The explorer closes: every pane that was made closes, in the order of the items.
    void ExplorerClosed();
    // Frees the forms (the module's end).
    void FreeForms();

    // The manager's side: reports an error that arose while it worked.
    void RaiseError(std::exception_ptr e) noexcept;

private:
    TadxCOMAddInModule& owner_;
    std::vector<std::unique_ptr<TadxOlFormsManagerItem>> items_;
};
