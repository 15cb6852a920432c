#include "win/com/TaskPanes.h"

#include <string>

#include "base/Guard.h"
#include "framework/OlFormsManager.h"
#include "host/AddinModule.h"
#include "support/FileLogger.h"
#include "win/bind/OleEvents.h"
#include "win/bind/OleObject.h"
#include "win/com/PaneControl.h"

namespace win {

namespace {

// Outlook's explorer events (ExplorerEvents_10) and the two the panes follow.
constexpr const char* kExplorerEvents = "{0006300F-0000-0000-C000-000000000046}";
constexpr int32_t kFolderSwitch = 0xF002;
constexpr int32_t kClose = 0xF008;

// Office's events of a custom task pane (_CustomTaskPaneEvents): the user hid or showed it.
constexpr const char* kPaneEvents = "{000C033C-0000-0000-C000-000000000046}";
constexpr int32_t kVisibleStateChange = 1;

constexpr const char* kPaneProgId = "Corvelle.Pane";
constexpr const char* kItemPaneTitle = "Corvelle items";
constexpr int kTaskPaneWidth = 320;
constexpr int kItemPaneHeight = 320;  // the timesheet's filters, and a dozen lines of its grid

// Outlook's OlItemType of a folder's DefaultItemType as the forms manager's kinds; -1 for none.
int ItemTypeOf(int outlookType) {
    switch (outlookType) {
        case 0: return static_cast<int>(TadxOlItemType::itMail);
        case 1: return static_cast<int>(TadxOlItemType::itAppointment);
        case 2: return static_cast<int>(TadxOlItemType::itContact);
        case 3: return static_cast<int>(TadxOlItemType::itTask);
        case 4: return static_cast<int>(TadxOlItemType::itJournal);
        case 5: return static_cast<int>(TadxOlItemType::itNote);
        case 6: return static_cast<int>(TadxOlItemType::itPost);
        default: return -1;
    }
}

std::string HresultText(HRESULT hr) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(hr));
    return text;
}

}  // namespace

// The explorer's events, handed to the panes while they follow it.
class TExplorerSink final : public platform::IDispatch {
public:
    explicit TExplorerSink(TTaskPanes* owner) : owner_(owner) {}
    void Invoke(int32_t dispId, const std::vector<Variant>&) override {
        if (!owner_) return;
        if (dispId == kFolderSwitch) owner_->FolderSwitched();
        else if (dispId == kClose) owner_->Stop();
    }
    void Detach() { owner_ = nullptr; }

private:
    TTaskPanes* owner_;
};

// A pane's events: its close box hid it, or it was shown again.
class TPaneSink final : public platform::IDispatch {
public:
    TPaneSink(TTaskPanes* owner, size_t index) : owner_(owner), index_(index) {}
    void Invoke(int32_t dispId, const std::vector<Variant>&) override {
        if (owner_ && dispId == kVisibleStateChange) owner_->PaneVisibilityChanged(index_);
    }
    void Detach() { owner_ = nullptr; }

private:
    TTaskPanes* owner_;
    size_t index_;
};

// One custom task pane: Office's pane and our control inside it.
struct TTaskPanes::TPane {
    TComPtr<_CustomTaskPane> pane;
    TComPtr<IDispatch> control;
    IPaneControl* view = nullptr;
    bool mayHide = true;  // every form in it may be hidden by the user
    std::shared_ptr<TPaneSink> sink;
    std::shared_ptr<platform::IConnectionPoint> events;
    uint32_t cookie = 0;

    void Unadvise() {
        if (sink) sink->Detach();
        if (events) Swallow([this] { events->Unadvise(cookie); });
        events.reset();
        sink.reset();
    }
};

TTaskPanes::TTaskPanes(TAddInModule& module) : module_(module) {}

TTaskPanes::~TTaskPanes() {
    Unadvise();
    for (auto& p : panes_) {
        p->Unadvise();
        if (p->view) p->view->ClearPages();
        Swallow([&] { p->pane->Delete(); });
    }
}

void TTaskPanes::SetFactory(ICTPFactory* factory) { factory_ = TComPtr<ICTPFactory>(factory); }

void TTaskPanes::Start(IDispatch* application) {
    if (!factory_ || started_ || !application) return;
    started_ = true;
    try {
        explorer_ = TOleObject(TComPtr<IDispatch>(application)).GetObject("ActiveExplorer");
    } catch (const std::exception& e) {
        LogError(std::string("The panes are not shown: Outlook has no explorer (") + e.what() + ")");
        return;
    }
    if (!explorer_) return;
    Advise();
    FolderSwitched();
}

void TTaskPanes::FolderSwitched() {
    if (!explorer_ || failed_) return;
    int kind = -1;
    try {
        TComPtr<IDispatch> folder = TOleObject(explorer_).GetObject("CurrentFolder");
        if (folder) kind = ItemTypeOf(TOleObject(folder).GetInt("DefaultItemType"));
    } catch (const std::exception& e) {
        LogError(std::string("The panes cannot tell the explorer's folder: ") + e.what());
    }
    ShowFor(kind);
}

void TTaskPanes::ShowFor(int kind) {
    TadxOlFormsManager& manager = module_.adxOlFormsManager1;
    bool served = false;
    for (int i = 0; i < manager.Count(); ++i)
        if (kind >= 0 && manager.Items(i).ExplorerItemTypes.count(static_cast<TadxOlItemType>(kind))) served = true;
    if (!served) {
        SetVisible(false);
        return;
    }
    formsMade_ = true;
    manager.ExplorerFolderShown(static_cast<TadxOlItemType>(kind));
    if (panes_.empty()) MakePanes();
    SetVisible(true);
}

// The task pane on the right, and the item panes stacked at the bottom, each item of the
// manager placed by its layout, in the manager's order.
void TTaskPanes::MakePanes() {
    TadxOlFormsManager& manager = module_.adxOlFormsManager1;
    std::vector<TPanePage> right, bottom;
    for (int i = 0; i < manager.Count(); ++i) {
        TadxOlFormsManagerItem& item = manager.Items(i);
        TadxOlForm* form = item.CurrentForm();
        if (!form) continue;
        TPanePage page{form->Caption(), form, i};
        if (item.ExplorerLayout == TadxOlExplorerLayout::elFolderView) bottom.push_back(page);
        else right.push_back(page);
    }
    struct TPlace {
        std::vector<TPanePage>* pages;
        MsoCTPDockPosition position;
        MsoCTPDockPositionRestrict restriction;
    };
    // The task pane may be dragged to three regions of the explorer: it may dock on any side.
    // The item panes stay below the folder view.
    const TPlace places[] = {{&right, msoCTPDockPositionRight, msoCTPDockPositionRestrictNone},
                             {&bottom, msoCTPDockPositionBottom, msoCTPDockPositionRestrictNoChange}};
    for (const TPlace& place : places) {
        if (place.pages->empty()) continue;
        std::string title = place.pages->size() == 1 ? place.pages->front().title : kItemPaneTitle;
        auto pane = std::make_unique<TPane>();
        BSTR progId = NewBstr(kPaneProgId);
        BSTR caption = NewBstr(title);
        VARIANT parent;
        VariantInit(&parent);
        V_VT(&parent) = VT_ERROR;
        V_ERROR(&parent) = DISP_E_PARAMNOTFOUND;
        HRESULT hr = factory_->CreateCTP(progId, caption, parent, pane->pane.Out());
        SysFreeString(progId);
        SysFreeString(caption);
        if (FAILED(hr) || !pane->pane) {
            LogError("The pane \"" + title + "\" is not shown: Office's task pane service failed (" +
                     HresultText(hr) + ")");
            failed_ = true;
            continue;
        }
        pane->pane->get_ContentControl(pane->control.Out());
        pane->view = PaneControlOf(pane->control.Get());
        if (!pane->view) {
            LogError("The pane \"" + title + "\" is not shown: it holds no Corvelle pane control");
            Swallow([&] { pane->pane->Delete(); });
            failed_ = true;
            continue;
        }
        for (const TPanePage& page : *place.pages)
            if (!manager.Items(page.paneIndex).IsHiddenStateAllowed) pane->mayHide = false;
        pane->view->SetActivateHandler([this](int index) { module_.adxOlFormsManager1.ActivatePane(index); });
        pane->view->ShowPages(*place.pages);
        pane->pane->put_DockPosition(place.position);
        pane->pane->put_DockPositionRestrict(place.restriction);
        if (place.position == msoCTPDockPositionBottom) pane->pane->put_Height(kItemPaneHeight);
        else pane->pane->put_Width(kTaskPaneWidth);
        try {
            pane->sink = std::make_shared<TPaneSink>(this, panes_.size());
            pane->events = FindOleConnectionPoint(pane->pane.Get(), kPaneEvents);
            pane->cookie = pane->events->Advise(pane->sink);
        } catch (const std::exception& e) {
            LogError("The pane \"" + title + "\" does not hear of its close box: " + e.what());
            pane->events.reset();
        }
        panes_.push_back(std::move(pane));
    }
}

// A pane that holds a form the user may not hide (the task pane) is shown again when its close box
// hid it while its folder shows the panes; the others stay hidden until the next folder switch.
void TTaskPanes::PaneVisibilityChanged(size_t index) {
    if (index >= panes_.size() || !shown_) return;
    TPane& p = *panes_[index];
    if (p.mayHide) return;
    VARIANT_BOOL visible = VARIANT_TRUE;
    if (FAILED(p.pane->get_Visible(&visible)) || visible) return;
    HRESULT hr = p.pane->put_Visible(VARIANT_TRUE);
    if (FAILED(hr)) LogError("The task pane could not be shown again (" + HresultText(hr) + ")");
}

void TTaskPanes::SetVisible(bool visible) {
    shown_ = visible && !panes_.empty();
    for (auto& p : panes_) {
        HRESULT hr = p->pane->put_Visible(visible ? VARIANT_TRUE : VARIANT_FALSE);
        if (FAILED(hr)) LogError("A pane could not be " + std::string(visible ? "shown" : "hidden") + " (" +
                                 HresultText(hr) + ")");
    }
}

void TTaskPanes::Stop() {
    if (!explorer_) return;
    Unadvise();
    explorer_.Reset();
    // The forms close while the module's tables are alive: that saves them.
    if (formsMade_) module_.adxOlFormsManager1.ExplorerClosed();
    formsMade_ = false;
    for (auto& p : panes_) {
        p->Unadvise();
        if (p->view) p->view->ClearPages();
        Swallow([&] { p->pane->Delete(); });
    }
    panes_.clear();
    shown_ = false;
}

void TTaskPanes::Advise() {
    try {
        sink_ = std::make_shared<TExplorerSink>(this);
        events_ = FindOleConnectionPoint(explorer_.Get(), kExplorerEvents);
        cookie_ = events_->Advise(sink_);
    } catch (const std::exception& e) {
        LogError(std::string("The panes do not follow the explorer's folders: ") + e.what());
        events_.reset();
    }
}

void TTaskPanes::Unadvise() {
    if (sink_) sink_->Detach();
    if (events_) Swallow([this] { events_->Unadvise(cookie_); });
    events_.reset();
    sink_.reset();
}

}  // namespace win
