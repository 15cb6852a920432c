#pragma once
// IUserInput: the last step of the script's user actions (click, dblclick, focus, set, tab, the
// grid's records, the drags on the tree), after the script host has checked that the action can
// be made. TDirectInput makes them on the headless controls; a host that draws the controls can
// deliver them as the input of its windows instead, as long as the same user calls reach the
// controls, each exactly once. What a handler throws passes to the caller either way.
#include <string>

#include "toolkit/Controls.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/DragDrop.h"

namespace sim {

class IUserInput {
public:
    virtual ~IUserInput() = default;
    virtual void Click(TControl& control) = 0;
    virtual void DblClick(TControl& control) = 0;
    virtual void Focus(TControl& control) = 0;
    // An item: a button of a button group, an item of a list, a page's tab.
    virtual void ClickItem(TControl& control, int index) = 0;
    // The user types the text into the control (its whole text replaced).
    virtual void Edit(TControl& control, const std::string& text) = 0;
    // nullptr: the empty space.
    virtual void ClickNode(TcxDBTreeList& tree, TcxTreeListNode* node, bool twice) = 0;
    virtual void FocusNode(TcxDBTreeList& tree, TcxTreeListNode* node) = 0;
    // -1: the empty space.
    virtual void ClickRecord(TcxGridDBTableView& view, int index, bool twice) = 0;
    virtual void FocusRecord(TcxGridDBTableView& view, int index) = 0;
    // An Outlook drag passing over a line of the tree, and dropped on one.
    virtual void DragOver(TcxDBTreeList& tree, TDMTextTarget& target, int line) = 0;
    virtual void Drop(TcxDBTreeList& tree, TDMTextTarget& target, int line) = 0;
    // The tree's own drag of a node onto the node shown on a line (onto: nullptr, the empty space).
    virtual void DragNode(TcxDBTreeList& tree, TcxTreeListNode* node, TcxTreeListNode* onto, int line) = 0;
};

// The user's actions made on the headless controls.
class TDirectInput : public IUserInput {
public:
    void Click(TControl& control) override { control.UserClick(); }
    void DblClick(TControl& control) override { control.UserDblClick(); }
    void Focus(TControl& control) override { control.UserFocus(); }
    void ClickItem(TControl& control, int index) override { control.UserClickItem(index); }
    void Edit(TControl& control, const std::string& text) override { control.UserEdit(text); }
    void ClickNode(TcxDBTreeList& tree, TcxTreeListNode* node, bool twice) override {
        if (twice) tree.UserDblClickNode(node);
        else tree.UserClickNode(node);
    }
    void FocusNode(TcxDBTreeList& tree, TcxTreeListNode* node) override { tree.UserFocusNode(node); }
    void ClickRecord(TcxGridDBTableView& view, int index, bool twice) override {
        if (twice) view.UserDblClickRecord(index);
        else view.UserClickRecord(index);
    }
    void FocusRecord(TcxGridDBTableView& view, int index) override { view.UserFocusRecord(index); }
    void DragOver(TcxDBTreeList&, TDMTextTarget& target, int line) override { target.DoDragOver(0, line); }
    void Drop(TcxDBTreeList&, TDMTextTarget& target, int line) override { target.DoDrop(0, line); }
    // The tree asks the form whether the pointer's place takes the drop; a node moves only onto
    // another node.
    void DragNode(TcxDBTreeList& tree, TcxTreeListNode* node, TcxTreeListNode* onto, int line) override {
        if (!tree.DragOver(line) || !onto) return;
        tree.MoveNode(node, onto);
    }
};

}  // namespace sim
