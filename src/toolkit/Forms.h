#pragma once
// The headless forms: a form is a plain object with named controls as members and its handlers
// as member functions. It is created once and reused: closing it hides it.
//
//   TComponent  a named part of a form (controls, menus, timers): main value and properties
//               readable by name, so that a host can drive any form without knowing its class.
//   TControl    a component the user sees: enabled, visible, hint, parent, focus, and the user's
//               actions on it (click, edit, pick an item) as a user makes them.
//   TForm       caption, position and size, visibility, modal result, the form events, the
//               focused control, and the publication of its components and handlers by name.
//
// A concrete form declares its controls as members (toolkit/Controls.h brings them all) and binds
// its handlers in its constructor:
//
//   class TfmOptions : public TForm {
//   public:
//       TLabel Label1{this, "Label1"};
//       TSpinEdit SpinEdit1{this, "SpinEdit1"};
//       TBitBtn BitBtn1{this, "BitBtn1"};
//       TfmOptions() : TForm("fmOptions", "Completed Tasks", 330, 130) {
//           Bind(OnShow, "FormShow", &TfmOptions::FormShow);
//           Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmOptions::BitBtn1Click);
//           AfterConstruction();  // the create event
//       }
//       void FormShow();
//       void BitBtn1Click();
//   };
//
// Modal forms. ShowModal shows the form and hands it to the host's modal loop (IModalHost),
// which runs the user's actions until the form closes, and returns the form's modal result.
// A modal form closes when its modal result becomes other than mrNone: Close sets mrCancel (when
// no result is set yet), a button with a modal result sets its own before its click handler runs,
// and code may set one. While a user action or a dispatched handler of the form runs, the close
// waits for it to end, as a message loop would: the handler's remaining steps run first, then the
// close event. A handler that sets mrNone again keeps the form open.
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/Exceptions.h"
#include "base/Variant.h"

CORVELLE_EXCEPTION(EInvalidOperation, Exception)
CORVELLE_EXCEPTION(EComponentError, Exception)

class TForm;
class TControl;

using TNotifyEvent = std::function<void()>;

enum TModalResult : int {
    mrNone = 0,
    mrOk = 1,
    mrCancel = 2,
    mrAbort = 3,
    mrRetry = 4,
    mrIgnore = 5,
    mrYes = 6,
    mrNo = 7,
    mrAll = 8,
    mrNoToAll = 9,
    mrYesToAll = 10,
    mrClose = 11,
};
// "mrOk", "mrCancel", ...; "mrNone" for values outside the list.
const char* ModalResultName(TModalResult value);

// How a form's window stands among others and what its frame allows: a host reads these to
// draw it (a stay-on-top strip, a dialog that can't be resized, a panel with no frame).
enum class TFormStyle { fsNormal, fsStayOnTop };
enum class TFormBorderStyle { bsNone, bsSingle, bsSizeable, bsDialog, bsToolWindow };
struct TBorderIcons {
    bool SystemMenu = true;
    bool Minimize = true;
    bool Maximize = true;
};

// What the close event decides: caHide closes the form (the default), caNone keeps it open.
// caFree closes it too: forms belong to the module and are freed only at shutdown.
enum TCloseAction : int { caNone = 0, caHide = 1, caFree = 2 };

// Where a control stands in its parent: alNone keeps its bounds; the others dock it to an edge
// of what its parent has left (in the order the controls were made), alClient takes the rest.
enum class TAlign { alNone, alTop, alBottom, alLeft, alRight, alClient };
// The edges of its parent that an undocked control keeps its distance to when the parent is
// resized: left and top at first; right and left both stretch it.
struct TAnchors {
    bool Left = true;
    bool Top = true;
    bool Right = false;
    bool Bottom = false;
};

// Properties of a component, readable by name.
class TPropertyList {
public:
    void Add(std::string name, std::function<Variant()> get);
    const std::function<Variant()>* Find(std::string_view name) const;
    std::vector<std::string> Names() const;

private:
    std::vector<std::pair<std::string, std::function<Variant()>>> items_;
};

// Names of components, properties and handlers compare without regard to case.
bool SameName(std::string_view a, std::string_view b);

class TComponent {
public:
    // Registers the component with its owner form under its name (an empty name is not
    // published). A second component of the same name in one form is an EComponentError.
    TComponent(TForm* owner, std::string name);
    virtual ~TComponent();
    TComponent(const TComponent&) = delete;
    TComponent& operator=(const TComponent&) = delete;

    const std::string& Name() const { return name_; }
    void SetName(std::string value);
    TForm* Owner() const { return owner_; }
    // The class name, "TEdit", "TfmOptions".
    std::string ClassName() const;

    // The main value: an edit's text, a spin edit's value, a check box's state, a date picker's
    // date, a label's caption. A component with none has a null value. Setting it is a program
    // assignment and fires what such an assignment fires; a component with no value raises
    // EInvalidOperation, a text that does not read as the value raises EConvertError.
    virtual Variant MainValue() const { return Variant(); }
    virtual void SetMainValue(const Variant& value);
    virtual std::string MainText() const { return MainValue().AsString(); }
    virtual void SetMainText(const std::string& text);

    // Properties by name ("Caption", "Enabled", "Checked", ...); nothing for an unknown name.
    // Every component has "Name", "ClassName" and "Value", its main value.
    std::optional<Variant> Property(std::string_view name) const;
    std::vector<std::string> PropertyNames() const;

protected:
    // Adds the component's properties; overrides add theirs after calling the base.
    virtual void DescribeProperties(TPropertyList& list) const;

private:
    friend class TForm;
    TForm* owner_;
    std::string name_;
};

// A control of a form. Its parent (a panel, a group box, a tab sheet) holds it: a control is
// showing when it and all its parents are, and usable when it and all its parents are enabled.
class TControl : public TComponent {
public:
    TControl(TForm* owner, std::string name, TControl* parent = nullptr);
    ~TControl() override;

    TControl* Parent() const { return parent_; }
    void SetParent(TControl* parent);

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value);
    bool Visible() const { return visible_; }
    void SetVisible(bool value);
    const std::string& Hint() const { return hint_; }
    void SetHint(std::string value) { hint_ = std::move(value); }

    // ---- geometry: what a host needs to lay the control out -----------------------------------
    // The bounds within the parent's client area (the form's, for a control without a parent),
    // as the form was designed at its design size.
    int Left() const { return left_; }
    int Top() const { return top_; }
    int Width() const { return width_; }
    int Height() const { return height_; }
    void SetBounds(int left, int top, int width, int height);
    TAlign Align = TAlign::alNone;
    TAnchors Anchors;
    // The place in the Tab key's order among the controls of one parent; lower first, -1 for
    // the order of making.
    int TabOrder = -1;

    // Visible with all its parents.
    virtual bool Showing() const;
    // Enabled with all its parents.
    virtual bool Usable() const;
    // Whether the control can hold the focus now: a kind that takes it, showing and usable.
    bool CanFocus() const;
    bool Focused() const;
    // Gives the control the focus, as code does: the focused control's exit event, then this
    // one's enter event. EInvalidOperation when the control cannot take the focus.
    void SetFocus();

    TNotifyEvent OnEnter;
    TNotifyEvent OnExit;
    TNotifyEvent OnClick;
    TNotifyEvent OnDblClick;

    // The user's actions, as a user makes them. Each returns false when the user could not make
    // it: the control (or its form) is not showing, not usable, or (for an edit) read-only, or the
    // focus could not be moved to it because a handler kept it elsewhere. A control of a kind
    // that has no such action raises EInvalidOperation.
    //
    // A click: controls that take the focus get it first (exit and enter events), then the
    // click happens (a button's modal result goes to its form, then its click handler runs).
    bool UserClick();
    // A double click: focus, click, double click.
    bool UserDblClick();
    // The user moves the focus to the control (a click into it, the Tab key).
    bool UserFocus();
    // The user replaces the control's text: focus first, then the new value with its change
    // events. What the text means is the control's: an edit's text, a date, a number.
    bool UserEdit(const std::string& text);
    // The user clicks the item at index: a button of a button group, an item of a list, a tab.
    bool UserClickItem(int index);

    // Whether a click gives the control the focus (buttons, edits, lists do; labels, panels,
    // speed buttons, tool buttons and menu items don't).
    virtual bool TakesFocus() const { return true; }

protected:
    void DescribeProperties(TPropertyList& list) const override;

    // The control's part of the events; overrides call the base to fire the bound handler.
    virtual void DoEnter();
    virtual void DoExit();
    virtual void DoClick();
    // What a click does, after the focus moved: by default the click event.
    virtual void Clicked() { DoClick(); }
    // Whether the user may type into the control now; EInvalidOperation for kinds with no text.
    virtual bool AcceptsUserText() const;
    // Runs before the focus moves for a user's edit: raises EConvertError for a text that the
    // control cannot take, so that a refused text changes nothing.
    virtual void PrepareUserText(const std::string&) {}
    // The user's new text, once the focus is on the control.
    virtual void UserText(const std::string& text);
    // How many items the user can click; -1 for kinds with no items.
    virtual int UserItemCount() const { return -1; }
    // The user's click on an item (the index is valid), once the focus is on the control.
    virtual void UserItem(int index);

    // Runs an action of the user as one message of the form's loop.
    bool RunUserAction(const std::function<bool()>& action);
    // Whether the user can reach the control: its form showing, the control showing and usable.
    bool Reachable() const;
    // Moves the focus to the control for a user's action; false when a handler kept it elsewhere.
    bool TakeUserFocus();
    // To be called when controls may have stopped showing (a page turned): a focused control
    // that can no longer hold the focus loses it, without events.
    void ShowingChanged();

private:
    friend class TForm;
    TControl* parent_;
    int left_ = 0;
    int top_ = 0;
    int width_ = 0;
    int height_ = 0;
    bool enabled_ = true;
    bool visible_ = true;
    std::string hint_;
};

// The host's modal loop. ShowModal hands the shown form to it; RunModal runs the user's actions
// (and whatever else the host does meanwhile) until the form is no longer visible, then returns.
// It may return earlier: ShowModal then closes the form as Close does. RunModal is re-entered
// when an action opens another modal form.
class IModalHost {
public:
    virtual ~IModalHost() = default;
    virtual void RunModal(TForm& form) = 0;
};

// The process's modal host; none at first. Setting one returns the one it replaces.
IModalHost* ModalHost();
IModalHost* SetModalHost(IModalHost* host);

// Installs a modal host for the life of the scope and puts the previous one back.
class TModalHostScope {
public:
    explicit TModalHostScope(IModalHost& host) : previous_(SetModalHost(&host)) {}
    ~TModalHostScope() { SetModalHost(previous_); }
    TModalHostScope(const TModalHostScope&) = delete;
    TModalHostScope& operator=(const TModalHostScope&) = delete;

private:
    IModalHost* previous_;
};

class TForm : public TComponent {
public:
    TForm(std::string name, std::string caption, int width, int height);
    ~TForm() override;

    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }

    int Left() const { return left_; }
    void SetLeft(int value) { left_ = value; }
    int Top() const { return top_; }
    void SetTop(int value) { top_ = value; }
    int Width() const { return width_; }
    void SetWidth(int value) { width_ = value; }
    int Height() const { return height_; }
    void SetHeight(int value) { height_ = value; }

    // The window's kind, for hosts: fsNormal, bsSizeable and all three icons at first.
    TFormStyle FormStyle = TFormStyle::fsNormal;
    TFormBorderStyle BorderStyle = TFormBorderStyle::bsSizeable;
    TBorderIcons BorderIcons;

    // ---- life ----------------------------------------------------------------------------------
    // Fires the create event, once. A concrete form calls it at the end of its constructor;
    // a form shown without it fires the event at its first showing.
    void AfterConstruction();

    bool Visible() const { return visible_; }
    void SetVisible(bool value);
    // Shows the form: the show event, then the form becomes active (activate event). Showing a
    // visible form only activates it.
    void Show();
    // Hides the form without a close event: the hide event, then the deactivate event.
    void Hide();
    // Closes the form: the close event decides (caNone keeps it open), then it is hidden. Closing
    // a hidden form does nothing. A modal form takes mrCancel as its result when it has none,
    // and closes when the running action or handler ends.
    void Close();
    // Shows the form modally and returns its modal result once it is closed. The modal result
    // starts at mrNone; the show event runs first; a result set by the show event closes the
    // form before the loop runs. With no modal host installed the form is shown as modal and
    // ShowModal returns mrNone at once: the form stays open until an action closes it, as a modal
    // form. EInvalidOperation for a form that is visible already.
    TModalResult ShowModal();
    // Shown by ShowModal and not closed yet.
    bool Modal() const { return modal_; }

    TModalResult ModalResult() const { return modalResult_; }
    // Sets the modal result; on a modal form a result other than mrNone closes it (when the
    // running action or handler ends). On a form that is not modal it is only kept.
    void SetModalResult(TModalResult value);

    // Activation: a shown form becomes active; hosts activate and deactivate forms as the user
    // moves between windows and panes. A hidden form can't be activated.
    bool Active() const { return active_; }
    void Activate();
    void Deactivate();

    // ---- events ------------------------------------------------------------------------------
    TNotifyEvent OnCreate;
    TNotifyEvent OnShow;
    TNotifyEvent OnActivate;
    TNotifyEvent OnDeactivate;
    TNotifyEvent OnHide;
    std::function<void(TCloseAction& Action)> OnClose;

    // ---- focus -------------------------------------------------------------------------------
    // The focused control; nullptr when none. It stays across hiding and showing.
    TControl* ActiveControl() const { return activeControl_; }
    // Moves the focus as code does (nullptr: no control focused). The focused control's exit
    // event, then the new one's enter event. An exit handler that moves the focus elsewhere wins;
    // an exit handler that raises keeps the focus where it was. EInvalidOperation when the
    // control is not of this form or cannot take the focus.
    void SetActiveControl(TControl* control);

    // ---- publication by name -----------------------------------------------------------------
    TComponent* FindComponent(std::string_view name) const;
    // A control by name; nullptr for an unknown name and for components that are no controls.
    TControl* FindControl(std::string_view name) const;
    // FindComponent, raising EComponentError for an unknown name.
    TComponent& ComponentByName(std::string_view name) const;
    // The registered components in the order of their creation.
    const std::vector<TComponent*>& Components() const { return components_; }
    std::vector<std::string> ComponentNames() const;

    // Publishes a handler under a name; a second publication under the same name replaces it.
    void PublishHandler(std::string name, std::function<void()> handler);
    bool HasHandler(std::string_view name) const;
    std::vector<std::string> HandlerNames() const;
    // Runs a published handler as a message of the form; false for an unknown name.
    bool CallHandler(std::string_view name);

    // Binds an event to a member function of the concrete form. A handler without arguments is
    // published under the name too; handlers with arguments or a result (the close event's
    // Action, a tree's nodes and pictures) are only bound.
    template <class F, class R, class... Args>
    void Bind(std::function<R(Args...)>& event, std::string handlerName, R (F::*method)(Args...)) {
        F* self = static_cast<F*>(this);
        event = [self, method](Args... args) -> R { return (self->*method)(std::forward<Args>(args)...); };
        if constexpr (sizeof...(Args) == 0 && std::is_void_v<R>) PublishHandler(std::move(handlerName), event);
    }
    // Binds an event to a handler published before. EComponentError for an unknown name.
    void Bind(TNotifyEvent& event, std::string_view handlerName);

    // ---- the user's actions by name ----------------------------------------------------------
    // As the control's own (TControl::UserClick ...). EComponentError for an unknown name or a
    // component that is no control.
    bool UserClick(std::string_view control);
    bool UserDblClick(std::string_view control);
    bool UserFocus(std::string_view control);
    bool UserEdit(std::string_view control, const std::string& text);
    bool UserClickItem(std::string_view control, int index);
    // The Enter key: the focused button, or else the default button, is clicked without moving
    // the focus. The Escape key: the cancel button is clicked. False when nothing was clicked.
    bool UserPressEnter();
    bool UserPressEscape();

    // Runs code as one message of the form's loop: a modal close requested meanwhile waits until
    // it ends. User actions and CallHandler run this way; hosts use it for what they deliver to
    // a form (a timer's tick, a pane event).
    void Dispatch(const std::function<void()>& message);

protected:
    void DescribeProperties(TPropertyList& list) const override;

    // The form's part of its events; overrides call the base to fire the bound handler.
    virtual void DoCreate();
    virtual void DoShow();
    virtual void DoActivate();
    virtual void DoDeactivate();
    virtual void DoHide();
    virtual void DoClose(TCloseAction& action);

private:
    friend class TComponent;
    friend class TControl;
    void Register(TComponent& component);
    void Unregister(TComponent& component);
    void ControlChanged(TControl& control);  // a control hidden or disabled loses the focus
    void MoveFocus(TControl* control);
    void HideForm();
    void CloseModal();
    bool PressButton(TControl& button);
    TControl& ControlByName(std::string_view name) const;

    std::string caption_;
    int left_ = 0;
    int top_ = 0;
    int width_;
    int height_;
    bool created_ = false;
    bool visible_ = false;
    bool active_ = false;
    bool modal_ = false;
    TModalResult modalResult_ = mrNone;
    int messageDepth_ = 0;
    TControl* activeControl_ = nullptr;
    unsigned focusMoves_ = 0;
    std::vector<TComponent*> components_;
    std::vector<std::pair<std::string, std::function<void()>>> handlers_;
};
