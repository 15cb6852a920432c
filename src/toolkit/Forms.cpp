#include "toolkit/Forms.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <typeinfo>
#include <utility>

#include "base/Guard.h"
#include "toolkit/StdCtrls.h"

namespace {

IModalHost* g_modalHost = nullptr;

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

const char* ModalResultName(TModalResult value) {
    switch (value) {
        case mrOk: return "mrOk";
        case mrCancel: return "mrCancel";
        case mrAbort: return "mrAbort";
        case mrRetry: return "mrRetry";
        case mrIgnore: return "mrIgnore";
        case mrYes: return "mrYes";
        case mrNo: return "mrNo";
        case mrAll: return "mrAll";
        case mrNoToAll: return "mrNoToAll";
        case mrYesToAll: return "mrYesToAll";
        case mrClose: return "mrClose";
        default: return "mrNone";
    }
}

IModalHost* ModalHost() { return g_modalHost; }

IModalHost* SetModalHost(IModalHost* host) {
    IModalHost* previous = g_modalHost;
    g_modalHost = host;
    return previous;
}

// ---- properties ---------------------------------------------------------------------------------

void TPropertyList::Add(std::string name, std::function<Variant()> get) {
    for (auto& item : items_)
        if (SameName(item.first, name)) {
            item.second = std::move(get);
            return;
        }
    items_.emplace_back(std::move(name), std::move(get));
}

const std::function<Variant()>* TPropertyList::Find(std::string_view name) const {
    for (const auto& item : items_)
        if (SameName(item.first, name)) return &item.second;
    return nullptr;
}

std::vector<std::string> TPropertyList::Names() const {
    std::vector<std::string> out;
    for (const auto& item : items_) out.push_back(item.first);
    return out;
}

// ---- components ---------------------------------------------------------------------------------

TComponent::TComponent(TForm* owner, std::string name) : owner_(owner), name_(std::move(name)) {
    if (owner_) owner_->Register(*this);
}

TComponent::~TComponent() {
    if (owner_) owner_->Unregister(*this);
}

void TComponent::SetName(std::string value) {
    if (owner_ && !value.empty()) {
        TComponent* other = owner_->FindComponent(value);
        if (other && other != this) throw EComponentError("A component named " + value + " already exists");
    }
    name_ = std::move(value);
}

std::string TComponent::ClassName() const {
    const char* mangled = typeid(*this).name();
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                     std::free);
    std::string name = status == 0 && demangled ? demangled.get() : mangled;
    size_t colons = name.rfind("::");
    return colons == std::string::npos ? name : name.substr(colons + 2);
}

void TComponent::SetMainValue(const Variant&) { throw EInvalidOperation(name_ + " has no value"); }

void TComponent::SetMainText(const std::string& text) { SetMainValue(Variant(text)); }

std::optional<Variant> TComponent::Property(std::string_view name) const {
    TPropertyList list;
    DescribeProperties(list);
    const std::function<Variant()>* get = list.Find(name);
    if (!get) return std::nullopt;
    return (*get)();
}

std::vector<std::string> TComponent::PropertyNames() const {
    TPropertyList list;
    DescribeProperties(list);
    return list.Names();
}

void TComponent::DescribeProperties(TPropertyList& list) const {
    list.Add("Name", [this] { return Variant(name_); });
    list.Add("ClassName", [this] { return Variant(ClassName()); });
    list.Add("Value", [this] { return MainValue(); });
}

// ---- controls -----------------------------------------------------------------------------------

TControl::TControl(TForm* owner, std::string name, TControl* parent)
    : TComponent(owner, std::move(name)), parent_(parent) {}

TControl::~TControl() {
    if (!Owner()) return;
    for (TComponent* c : Owner()->Components())
        if (auto* child = dynamic_cast<TControl*>(c); child && child->parent_ == this) child->parent_ = nullptr;
}

void TControl::SetBounds(int left, int top, int width, int height) {
    left_ = left;
    top_ = top;
    width_ = width < 0 ? 0 : width;
    height_ = height < 0 ? 0 : height;
}

void TControl::SetParent(TControl* parent) {
    for (TControl* p = parent; p; p = p->parent_)
        if (p == this) throw EInvalidOperation("A control cannot be its own parent");
    parent_ = parent;
    if (Owner()) Owner()->ControlChanged(*this);
}

void TControl::SetEnabled(bool value) {
    enabled_ = value;
    if (!value && Owner()) Owner()->ControlChanged(*this);
}

void TControl::SetVisible(bool value) {
    visible_ = value;
    if (!value && Owner()) Owner()->ControlChanged(*this);
}

bool TControl::Showing() const { return visible_ && (!parent_ || parent_->Showing()); }

bool TControl::Usable() const { return enabled_ && (!parent_ || parent_->Usable()); }

bool TControl::CanFocus() const { return TakesFocus() && Showing() && Usable(); }

bool TControl::Focused() const { return Owner() && Owner()->ActiveControl() == this; }

void TControl::SetFocus() {
    if (!Owner()) throw EInvalidOperation(Name() + " is on no form");
    Owner()->SetActiveControl(this);
}

void TControl::DoEnter() {
    if (OnEnter) OnEnter();
}

void TControl::DoExit() {
    if (OnExit) OnExit();
}

void TControl::DoClick() {
    if (OnClick) OnClick();
}

bool TControl::AcceptsUserText() const { throw EInvalidOperation(Name() + " takes no text"); }

void TControl::UserText(const std::string&) { throw EInvalidOperation(Name() + " takes no text"); }

void TControl::UserItem(int) { throw EInvalidOperation(Name() + " has no items"); }

bool TControl::Reachable() const { return (!Owner() || Owner()->Visible()) && Showing() && Usable(); }

bool TControl::RunUserAction(const std::function<bool()>& action) {
    if (!Owner()) return action();
    bool done = false;
    Owner()->Dispatch([&] { done = action(); });
    return done;
}

bool TControl::TakeUserFocus() {
    if (!TakesFocus() || !Owner() || Focused()) return true;
    Owner()->MoveFocus(this);
    return Focused();
}

void TControl::ShowingChanged() {
    if (Owner()) Owner()->ControlChanged(*this);
}

bool TControl::UserClick() {
    if (!Reachable()) return false;
    return RunUserAction([this] {
        if (!TakeUserFocus()) return false;
        Clicked();
        return true;
    });
}

bool TControl::UserDblClick() {
    if (!Reachable()) return false;
    return RunUserAction([this] {
        if (!TakeUserFocus()) return false;
        Clicked();
        if (OnDblClick) OnDblClick();
        return true;
    });
}

bool TControl::UserFocus() {
    if (!Reachable() || !TakesFocus()) return false;
    return RunUserAction([this] { return TakeUserFocus(); });
}

bool TControl::UserEdit(const std::string& text) {
    if (!AcceptsUserText() || !Reachable()) return false;
    return RunUserAction([&] {
        PrepareUserText(text);
        if (!TakeUserFocus() || !AcceptsUserText()) return false;
        UserText(text);
        return true;
    });
}

bool TControl::UserClickItem(int index) {
    int count = UserItemCount();
    if (count < 0) throw EInvalidOperation(Name() + " has no items");
    if (index < 0 || index >= count)
        throw EListError("List index out of bounds (" + std::to_string(index) + ")");
    if (!Reachable()) return false;
    return RunUserAction([&] {
        if (!TakeUserFocus()) return false;
        UserItem(index);
        return true;
    });
}

void TControl::DescribeProperties(TPropertyList& list) const {
    TComponent::DescribeProperties(list);
    list.Add("Enabled", [this] { return Variant(enabled_); });
    list.Add("Visible", [this] { return Variant(visible_); });
    list.Add("Hint", [this] { return Variant(hint_); });
    list.Add("Showing", [this] { return Variant(Showing()); });
    list.Add("Focused", [this] { return Variant(Focused()); });
    list.Add("Parent", [this] { return Variant(parent_ ? parent_->Name() : std::string()); });
}

// ---- forms --------------------------------------------------------------------------------------

TForm::TForm(std::string name, std::string caption, int width, int height)
    : TComponent(nullptr, std::move(name)), caption_(std::move(caption)), width_(width), height_(height) {}

TForm::~TForm() {
    // Components that outlive the form (none, when they are its members) forget it.
    for (TComponent* c : components_) c->owner_ = nullptr;
}

void TForm::Register(TComponent& component) {
    if (!component.Name().empty() && FindComponent(component.Name()))
        throw EComponentError("A component named " + component.Name() + " already exists");
    components_.push_back(&component);
}

void TForm::Unregister(TComponent& component) {
    if (static_cast<TComponent*>(activeControl_) == &component) activeControl_ = nullptr;
    components_.erase(std::remove(components_.begin(), components_.end(), &component), components_.end());
}

void TForm::AfterConstruction() {
    if (created_) return;
    created_ = true;
    DoCreate();
}

void TForm::SetVisible(bool value) {
    if (value)
        Show();
    else
        Hide();
}

void TForm::Show() {
    AfterConstruction();
    if (visible_) {
        Activate();
        return;
    }
    visible_ = true;
    DoShow();
    if (visible_) Activate();
}

void TForm::Hide() { HideForm(); }

void TForm::HideForm() {
    if (!visible_) return;
    visible_ = false;
    modal_ = false;
    DoHide();
    Deactivate();
}

void TForm::Close() {
    if (!visible_) return;
    if (modal_) {
        if (modalResult_ == mrNone) modalResult_ = mrCancel;
        if (messageDepth_ == 0) CloseModal();
        return;
    }
    TCloseAction action = caHide;
    DoClose(action);
    if (action != caNone) HideForm();
}

void TForm::CloseModal() {
    if (!visible_ || !modal_ || modalResult_ == mrNone) return;
    TCloseAction action = caHide;
    try {
        DoClose(action);
    } catch (...) {
        modalResult_ = mrNone;  // the form stays open
        throw;
    }
    if (action == caNone) {
        modalResult_ = mrNone;
        return;
    }
    HideForm();
}

TModalResult TForm::ShowModal() {
    if (visible_) throw EInvalidOperation("Cannot make a visible window modal");
    modalResult_ = mrNone;
    modal_ = true;
    // The modal loop is a loop of its own: what the form's messages ask for inside it happens
    // when each of them ends, also when this ShowModal came from a handler of the form itself.
    struct DepthScope {
        int& depth;
        int saved;
        ~DepthScope() { depth = saved; }
    } depthScope{messageDepth_, std::exchange(messageDepth_, 0)};
    try {
        Show();
        if (modalResult_ != mrNone) CloseModal();  // the show event has closed it
        if (!visible_) {
            modal_ = false;
            return modalResult_;
        }
        IModalHost* host = ModalHost();
        if (!host) return mrNone;  // no loop: the form stays open as a modal form
        host->RunModal(*this);
        if (visible_) {
            // The loop gave up on the form: it is closed as cancelled, and hidden in any case.
            if (modalResult_ == mrNone) modalResult_ = mrCancel;
            CloseModal();
            HideForm();
        }
    } catch (...) {
        Swallow([this] { HideForm(); });
        modal_ = false;
        throw;
    }
    modal_ = false;
    return modalResult_;
}

void TForm::SetModalResult(TModalResult value) {
    modalResult_ = value;
    if (value != mrNone && messageDepth_ == 0) CloseModal();
}

void TForm::Activate() {
    if (!visible_ || active_) return;
    active_ = true;
    DoActivate();
}

void TForm::Deactivate() {
    if (!active_) return;
    active_ = false;
    DoDeactivate();
}

void TForm::DoCreate() {
    if (OnCreate) OnCreate();
}

void TForm::DoShow() {
    if (OnShow) OnShow();
}

void TForm::DoActivate() {
    if (OnActivate) OnActivate();
}

void TForm::DoDeactivate() {
    if (OnDeactivate) OnDeactivate();
}

void TForm::DoHide() {
    if (OnHide) OnHide();
}

void TForm::DoClose(TCloseAction& action) {
    if (OnClose) OnClose(action);
}

void TForm::Dispatch(const std::function<void()>& message) {
    ++messageDepth_;
    try {
        message();
    } catch (...) {
        // The failure goes on to the caller; a close that was asked for still happens.
        if (--messageDepth_ == 0) Swallow([this] { CloseModal(); });
        throw;
    }
    if (--messageDepth_ == 0) CloseModal();
}

// ---- focus --------------------------------------------------------------------------------------

void TForm::SetActiveControl(TControl* control) {
    if (control) {
        if (control->Owner() != this) throw EInvalidOperation(control->Name() + " is not on " + Name());
        if (!control->CanFocus()) throw EInvalidOperation("Cannot focus a disabled or invisible window");
    }
    MoveFocus(control);
}

void TForm::MoveFocus(TControl* control) {
    if (control == activeControl_) return;
    TControl* from = activeControl_;
    unsigned move = ++focusMoves_;
    activeControl_ = nullptr;  // the old control has lost the focus while it hears of it
    if (from) {
        try {
            from->DoExit();
        } catch (...) {
            if (focusMoves_ == move) activeControl_ = from;
            throw;
        }
        if (focusMoves_ != move) return;  // the exit handler has put the focus somewhere
    }
    activeControl_ = control;
    if (control) control->DoEnter();
}

void TForm::ControlChanged(TControl&) {
    if (activeControl_ && !activeControl_->CanFocus()) activeControl_ = nullptr;
}

// ---- publication --------------------------------------------------------------------------------

TComponent* TForm::FindComponent(std::string_view name) const {
    if (name.empty()) return nullptr;
    for (TComponent* c : components_)
        if (SameName(c->Name(), name)) return c;
    return nullptr;
}

TControl* TForm::FindControl(std::string_view name) const { return dynamic_cast<TControl*>(FindComponent(name)); }

TComponent& TForm::ComponentByName(std::string_view name) const {
    TComponent* c = FindComponent(name);
    if (!c) throw EComponentError(Name() + " has no component named " + std::string(name));
    return *c;
}

TControl& TForm::ControlByName(std::string_view name) const {
    auto* c = dynamic_cast<TControl*>(&ComponentByName(name));
    if (!c) throw EComponentError(Name() + "." + std::string(name) + " is not a control");
    return *c;
}

std::vector<std::string> TForm::ComponentNames() const {
    std::vector<std::string> out;
    for (TComponent* c : components_)
        if (!c->Name().empty()) out.push_back(c->Name());
    return out;
}

void TForm::PublishHandler(std::string name, std::function<void()> handler) {
    if (name.empty()) throw EComponentError("A handler needs a name");
    for (auto& h : handlers_)
        if (SameName(h.first, name)) {
            h.second = std::move(handler);
            return;
        }
    handlers_.emplace_back(std::move(name), std::move(handler));
}

bool TForm::HasHandler(std::string_view name) const {
    for (const auto& h : handlers_)
        if (SameName(h.first, name)) return true;
    return false;
}

std::vector<std::string> TForm::HandlerNames() const {
    std::vector<std::string> out;
    for (const auto& h : handlers_) out.push_back(h.first);
    return out;
}

bool TForm::CallHandler(std::string_view name) {
    for (const auto& h : handlers_)
        if (SameName(h.first, name)) {
            std::function<void()> handler = h.second;  // a handler may publish another under its name
            if (handler) Dispatch(handler);
            return true;
        }
    return false;
}

void TForm::Bind(TNotifyEvent& event, std::string_view handlerName) {
    for (const auto& h : handlers_)
        if (SameName(h.first, handlerName)) {
            event = h.second;
            return;
        }
    throw EComponentError(Name() + " has no handler named " + std::string(handlerName));
}

// ---- the user's actions by name -----------------------------------------------------------------

bool TForm::UserClick(std::string_view control) { return ControlByName(control).UserClick(); }

bool TForm::UserDblClick(std::string_view control) { return ControlByName(control).UserDblClick(); }

bool TForm::UserFocus(std::string_view control) { return ControlByName(control).UserFocus(); }

bool TForm::UserEdit(std::string_view control, const std::string& text) {
    return ControlByName(control).UserEdit(text);
}

bool TForm::UserClickItem(std::string_view control, int index) {
    return ControlByName(control).UserClickItem(index);
}

bool TForm::PressButton(TControl& button) {
    if (!button.Reachable()) return false;
    Dispatch([&button] { button.Clicked(); });
    return true;
}

bool TForm::UserPressEnter() {
    if (!visible_) return false;
    if (auto* focused = dynamic_cast<TButton*>(activeControl_)) return PressButton(*focused);
    for (TComponent* c : components_)
        if (auto* b = dynamic_cast<TButton*>(c); b && b->Default() && b->Reachable()) return PressButton(*b);
    return false;
}

bool TForm::UserPressEscape() {
    if (!visible_) return false;
    for (TComponent* c : components_)
        if (auto* b = dynamic_cast<TButton*>(c); b && b->Cancel() && b->Reachable()) return PressButton(*b);
    return false;
}

void TForm::DescribeProperties(TPropertyList& list) const {
    TComponent::DescribeProperties(list);
    list.Add("Caption", [this] { return Variant(caption_); });
    list.Add("Visible", [this] { return Variant(visible_); });
    list.Add("Left", [this] { return Variant(left_); });
    list.Add("Top", [this] { return Variant(top_); });
    list.Add("Width", [this] { return Variant(width_); });
    list.Add("Height", [this] { return Variant(height_); });
    list.Add("ModalResult", [this] { return Variant(ModalResultName(modalResult_)); });
    list.Add("FormStyle", [this] {
        return Variant(FormStyle == TFormStyle::fsStayOnTop ? "fsStayOnTop" : "fsNormal");
    });
    list.Add("BorderStyle", [this] {
        static const char* const names[] = {"bsNone", "bsSingle", "bsSizeable", "bsDialog", "bsToolWindow"};
        return Variant(names[static_cast<int>(BorderStyle)]);
    });
    list.Add("BorderIcons", [this] {
        std::string out;
        auto add = [&out](bool on, const char* name) {
            if (on) out += (out.empty() ? "" : ",") + std::string(name);
        };
        add(BorderIcons.SystemMenu, "biSystemMenu");
        add(BorderIcons.Minimize, "biMinimize");
        add(BorderIcons.Maximize, "biMaximize");
        return Variant(out);
    });
    list.Add("Modal", [this] { return Variant(modal_); });
    list.Add("Active", [this] { return Variant(active_); });
    list.Add("ActiveControl",
             [this] { return Variant(activeControl_ ? activeControl_->Name() : std::string()); });
}
