#pragma once
// TWindowInput: the script's user actions delivered to the forms' windows as the messages that a
// user's input makes (a button's click, typing into an edit and leaving it, a date picked, a tab
// chosen, an item of a list picked, a mouse click on a tree's node or a grid's record), so that
// they reach the controls through the views, as a user's do. An action whose control has no
// window shown, or that has no Windows form here, is made on the headless control instead.
// Either way each action reaches its control exactly once: an action that the messages made
// twice is an error of the script's (EScriptError), and what a handler throws passes to the
// caller as it does headless. The windows are brought up to date before and after each action.
#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "sim/UserInput.h"

namespace win::ui {

class TWindowInput : public sim::TDirectInput {
public:
    void Click(TControl& control) override;
    void DblClick(TControl& control) override;
    void Focus(TControl& control) override;
    void ClickItem(TControl& control, int index) override;
    void Edit(TControl& control, const std::string& text) override;
    void ClickNode(TcxDBTreeList& tree, TcxTreeListNode* node, bool twice) override;
    void FocusNode(TcxDBTreeList& tree, TcxTreeListNode* node) override;
    void ClickRecord(TcxGridDBTableView& view, int index, bool twice) override;
    void FocusRecord(TcxGridDBTableView& view, int index) override;
    void DragOver(TcxDBTreeList& tree, TDMTextTarget& target, int line) override;
    void Drop(TcxDBTreeList& tree, TDMTextTarget& target, int line) override;
    void DragNode(TcxDBTreeList& tree, TcxTreeListNode* node, TcxTreeListNode* onto, int line) override;

    // How the actions went so far: as messages to the windows, or on the headless controls.
    int Delivered() const { return delivered_; }
    int Headless() const { return headless_; }
    // The controls whose actions went to the headless controls ("FORM.CONTROL"), with how many.
    const std::map<std::string, int>& HeadlessControls() const { return headlessControls_; }

private:
    // One action: deliver sends the messages (false when the control has no window to take
    // them), main names the view calls that make the action; when none came, headless runs.
    template <class Deliver, class Direct>
    void Act(TControl& control, std::initializer_list<const char*> main, Deliver deliver, Direct direct);

    void Headless(const TControl& control);

    int delivered_ = 0;
    int headless_ = 0;
    std::map<std::string, int> headlessControls_;
};

// The window of a control shown by its form's window, ready for input (visible and enabled);
// nullptr when there is none.
HWND InputWindow(const TControl& control);

}  // namespace win::ui
