#pragma once
// The standard controls: edits, memo, labels, panels, group boxes, buttons, check box, list box.
//
// Change events fire on program assignments as on the user's edits, and only when the value
// changes. A check box's click event is its change event: it fires whenever the state changes,
// by a click or by code. A list's selection changed by code fires nothing.
#include <string>
#include <vector>

#include "toolkit/Forms.h"

// An edit's text. The user's edit replaces the whole text and fires one change event.
class TCustomEdit : public TControl {
public:
    using TControl::TControl;

    const std::string& Text() const { return text_; }
    void SetText(std::string value);
    void Clear() { SetText(std::string()); }
    // A read-only edit takes the focus but not the user's typing.
    bool ReadOnly() const { return readOnly_; }
    void SetReadOnly(bool value) { readOnly_ = value; }

    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant(text_); }
    void SetMainValue(const Variant& value) override { SetText(value.AsString()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    virtual void DoChange();
    bool AcceptsUserText() const override { return !readOnly_; }
    void UserText(const std::string& text) override { SetText(text); }

private:
    std::string text_;
    bool readOnly_ = false;
};

class TEdit : public TCustomEdit {
public:
    using TCustomEdit::TCustomEdit;
};

// A multi-line edit. Its text keeps the user's line breaks as they are; Lines splits it at
// "\r\n", "\n" or "\r", and SetLines joins lines with "\r\n".
class TMemo : public TCustomEdit {
public:
    using TCustomEdit::TCustomEdit;

    std::vector<std::string> Lines() const;
    void SetLines(const std::vector<std::string>& lines);

protected:
    void DescribeProperties(TPropertyList& list) const override;
};

// A control that shows a caption and takes no focus.
class TCaptionControl : public TControl {
public:
    using TControl::TControl;

    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }

    bool TakesFocus() const override { return false; }
    Variant MainValue() const override { return Variant(caption_); }
    void SetMainValue(const Variant& value) override { SetCaption(value.AsString()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    std::string caption_;
};

class TLabel : public TCaptionControl {
public:
    using TCaptionControl::TCaptionControl;
};

class TPanel : public TCaptionControl {
public:
    using TCaptionControl::TCaptionControl;
};

class TGroupBox : public TCaptionControl {
public:
    using TCaptionControl::TCaptionControl;
};

// The buttons' common part: caption, picture, modal result. A click puts the button's modal
// result (when it has one) on its form, then runs the click handler; a modal form closes once
// the handler has run, unless the handler has set the form's result back to mrNone.
class TCustomButton : public TControl {
public:
    using TControl::TControl;

    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }
    int ImageIndex() const { return imageIndex_; }
    void SetImageIndex(int value) { imageIndex_ = value; }
    TModalResult ModalResult() const { return modalResult_; }
    void SetModalResult(TModalResult value) { modalResult_ = value; }

    // A click made by code: no focus moves, and the button need not be usable.
    void Click();

    Variant MainValue() const override { return Variant(caption_); }
    void SetMainValue(const Variant& value) override { SetCaption(value.AsString()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    void Clicked() override;

private:
    std::string caption_;
    int imageIndex_ = -1;
    TModalResult modalResult_ = mrNone;
};

// A push button: takes the focus when clicked. The default button answers the Enter key, the
// cancel button the Escape key (TForm::UserPressEnter, UserPressEscape).
class TButton : public TCustomButton {
public:
    using TCustomButton::TCustomButton;

    bool Default() const { return default_; }
    void SetDefault(bool value) { default_ = value; }
    bool Cancel() const { return cancel_; }
    void SetCancel(bool value) { cancel_ = value; }

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    bool default_ = false;
    bool cancel_ = false;
};

// The ready-made kinds of a bit button: each sets caption, modal result and default or cancel.
enum TBitBtnKind : int { bkCustom, bkOK, bkCancel, bkYes, bkNo, bkClose };

class TBitBtn : public TButton {
public:
    using TButton::TButton;

    TBitBtnKind Kind() const { return kind_; }
    // bkOK: "OK", mrOk, default. bkCancel: "Cancel", mrCancel, cancel. bkYes: "&Yes", mrYes,
    // default. bkNo: "&No", mrNo, cancel. bkClose: "&Close", closes its form after the click
    // handler. bkCustom leaves the button as it is.
    void SetKind(TBitBtnKind value);

protected:
    void Clicked() override;

private:
    TBitBtnKind kind_ = bkCustom;
};

// A flat button that never takes the focus.
class TSpeedButton : public TCustomButton {
public:
    using TCustomButton::TCustomButton;
    bool TakesFocus() const override { return false; }
};

// A button of a tool bar; never takes the focus.
class TToolButton : public TCustomButton {
public:
    using TCustomButton::TCustomButton;
    bool TakesFocus() const override { return false; }
};

// A check box. The click handler runs whenever the state changes, by the user or by code.
class TCheckBox : public TControl {
public:
    using TControl::TControl;

    bool Checked() const { return checked_; }
    void SetChecked(bool value);
    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }

    Variant MainValue() const override { return Variant(checked_); }
    void SetMainValue(const Variant& value) override { SetChecked(value.AsBoolean()); }
    // "true" or "false" (also "1", "0"); EConvertError for other texts.
    void SetMainText(const std::string& text) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    void Clicked() override { SetChecked(!checked_); }
    bool AcceptsUserText() const override { return true; }
    void PrepareUserText(const std::string& text) override;
    // The user sets the state by a click, when it differs.
    void UserText(const std::string& text) override;

private:
    bool checked_ = false;
    std::string caption_;
};

// A list of texts with one selected item (ItemIndex -1 for none). The user's click on an item
// selects it and fires the click event; selecting by code fires nothing.
class TListBox : public TControl {
public:
    using TControl::TControl;

    const std::vector<std::string>& Items() const { return items_; }
    int Count() const { return static_cast<int>(items_.size()); }
    void SetItems(std::vector<std::string> items);
    void Add(std::string item) { items_.push_back(std::move(item)); }
    void Clear();
    int ItemIndex() const { return itemIndex_; }
    // EListError for an index outside -1 .. Count() - 1.
    void SetItemIndex(int value);
    // The selected item's text; "" when none is selected.
    std::string SelectedText() const;
    // The first item equal to the text; -1 when none is.
    int IndexOf(std::string_view text) const;

    // The main value is the item index; its text the selected item's. Setting the text selects
    // the item equal to it, or none.
    Variant MainValue() const override { return Variant(itemIndex_); }
    void SetMainValue(const Variant& value) override { SetItemIndex(value.AsInteger()); }
    std::string MainText() const override { return SelectedText(); }
    void SetMainText(const std::string& text) override { SetItemIndex(IndexOf(text)); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    int UserItemCount() const override { return Count(); }
    void UserItem(int index) override;

private:
    std::vector<std::string> items_;
    int itemIndex_ = -1;
};
