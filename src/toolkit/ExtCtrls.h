#pragma once
// The other controls the forms use: spin edit, numeric field, date picker, decimal edit,
// duration edit, search list, button group, page control with tab sheets, and the interval timer.
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "base/DateTime.h"
#include "toolkit/StdCtrls.h"

// An integer spin edit. Its text is what the user typed; Value reads it, and text that is no
// number reads as MinValue. The limits apply unless MinValue and MaxValue are both 0: a value
// set by code is brought within them at once, a value typed by the user when the focus leaves
// the edit (before its exit event). The up and down buttons step by Increment.
class TSpinEdit : public TCustomEdit {
public:
    TSpinEdit(TForm* owner, std::string name, TControl* parent = nullptr);

    int Value() const;
    void SetValue(int value);
    int MinValue() const { return minValue_; }
    void SetMinValue(int value) { minValue_ = value; }
    int MaxValue() const { return maxValue_; }
    void SetMaxValue(int value) { maxValue_ = value; }
    int Increment() const { return increment_; }
    void SetIncrement(int value) { increment_ = value; }
    // The value brought within the limits.
    int CheckValue(int value) const;

    // The user's clicks on the up and down buttons: focus first, then Value +/- Increment.
    bool UserStepUp() { return UserStep(1); }
    bool UserStepDown() { return UserStep(-1); }

    Variant MainValue() const override { return Variant(Value()); }
    void SetMainValue(const Variant& value) override { SetValue(value.AsInteger()); }
    std::string MainText() const override { return Text(); }
    // An integer; EConvertError for other texts.
    void SetMainText(const std::string& text) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    void DoExit() override;

private:
    bool UserStep(int direction);
    int minValue_ = 0;
    int maxValue_ = 0;
    int increment_ = 1;
};

// An integer field of up to MaxDigits digits; a zero is shown as empty. The user's typing keeps
// digits and a leading minus, up to MaxDigits digits.
class TNumericField : public TControl {
public:
    TNumericField(TForm* owner, std::string name, TControl* parent = nullptr, int maxDigits = 11);

    int64_t Value() const { return value_; }
    // EConvertError for a value of more than MaxDigits digits.
    void SetValue(int64_t value);
    // The shown text: the number, or "" for zero.
    std::string Text() const;
    // "" clears the field; otherwise an integer. EConvertError for other texts.
    void SetText(const std::string& text);
    bool Empty() const { return value_ == 0; }
    void Clear() { SetValue(0); }
    int MaxDigits() const { return maxDigits_; }
    void SetMaxDigits(int value);

    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant(value_); }
    void SetMainValue(const Variant& value) override { SetValue(value.AsInt64()); }
    std::string MainText() const override { return Text(); }
    void SetMainText(const std::string& text) override { SetText(text); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    bool AcceptsUserText() const override { return true; }
    void UserText(const std::string& text) override;

private:
    void Assign(int64_t value);
    int64_t Limit() const;
    int64_t value_ = 0;
    int maxDigits_;
};

// A date picker holding a date without time of day, today at first. With ShowCheckbox it can
// hold no date: Checked false. Dates set by code fire nothing; the user's pick of a date fires,
// in order: mouse enter, (focus,) click, drop down, change, close up. The change event comes with
// every pick, also of the date shown.
class TDateTimePicker : public TControl {
public:
    TDateTimePicker(TForm* owner, std::string name, TControl* parent = nullptr);

    TDateTime Date() const { return date_; }
    void SetDate(TDateTime value);
    bool ShowCheckbox() const { return showCheckbox_; }
    void SetShowCheckbox(bool value) { showCheckbox_ = value; }
    bool Checked() const { return checked_; }
    void SetChecked(bool value) { checked_ = value; }

    TNotifyEvent OnChange;
    TNotifyEvent OnDropDown;
    TNotifyEvent OnCloseUp;
    TNotifyEvent OnMouseEnter;

    // The date, or null when the picker holds none.
    Variant MainValue() const override;
    void SetMainValue(const Variant& value) override;
    // The date in the short date form; "" when none.
    std::string MainText() const override;
    // "YYYY-MM-DD" or the short date form; "" for none (with ShowCheckbox).
    void SetMainText(const std::string& text) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    bool AcceptsUserText() const override { return true; }
    // The user picks a date ("YYYY-MM-DD" or the short date form), or "" to untick the picker.
    void PrepareUserText(const std::string& text) override;
    void UserText(const std::string& text) override;

private:
    TDateTime date_;
    bool showCheckbox_ = false;
    bool checked_ = true;
};

// A decimal edit: a number shown with DecimalPlaces places ("0.00"). The value keeps what was
// set or typed; only the text is rounded. The editing event fires when the user starts an edit,
// before the value changes.
class TCurrencyEdit : public TControl {
public:
    using TControl::TControl;

    double Value() const { return value_; }
    void SetValue(double value);
    int DecimalPlaces() const { return decimalPlaces_; }
    void SetDecimalPlaces(int value) { decimalPlaces_ = value < 0 ? 0 : (value > 8 ? 8 : value); }
    bool ReadOnly() const { return readOnly_; }
    void SetReadOnly(bool value) { readOnly_ = value; }
    std::string Text() const;

    TNotifyEvent OnEditing;
    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant(value_); }
    void SetMainValue(const Variant& value) override { SetValue(value.AsDouble()); }
    std::string MainText() const override { return Text(); }
    // A decimal number; EConvertError for other texts.
    void SetMainText(const std::string& text) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    bool AcceptsUserText() const override { return !readOnly_; }
    void PrepareUserText(const std::string& text) override;
    void UserText(const std::string& text) override;

private:
    double value_ = 0;
    int decimalPlaces_ = 2;
    bool readOnly_ = false;
};

// A duration of hours, minutes and seconds, from 0 to 23:59:59, shown as "1 hou 5 min 3 sec".
// The value has whole-second grain: a value set with a fraction of a second keeps the whole
// seconds, and a value of a day or more keeps what lies beyond whole days. The user types
// numbers each followed by a unit ("h", "hou", "hours", "m", "min", "s", "sec" ...); a number
// without a unit counts minutes; "h:mm:ss" and "h:mm" are read too. The change event fires on
// every change, by code or by the user.
class TTimeEdit : public TControl {
public:
    using TControl::TControl;

    // The duration as a time of day.
    TDateTime Value() const;
    void SetValue(TDateTime value);
    int TotalSeconds() const { return seconds_; }
    bool ReadOnly() const { return readOnly_; }
    void SetReadOnly(bool value) { readOnly_ = value; }
    std::string Text() const;
    // Reads a duration as the user types it: seconds 0 .. 86399, nothing for other texts.
    static std::optional<int> ReadDuration(std::string_view text);

    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant::FromDate(Value()); }
    void SetMainValue(const Variant& value) override { SetValue(value.AsDateTime()); }
    std::string MainText() const override { return Text(); }
    // A duration as the user types it; EConvertError for other texts.
    void SetMainText(const std::string& text) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    bool AcceptsUserText() const override { return !readOnly_; }
    void PrepareUserText(const std::string& text) override;
    void UserText(const std::string& text) override;

private:
    void Assign(int seconds);
    int seconds_ = 0;
    bool readOnly_ = false;
};

// A list under a search edit. The user's typing goes into the edit and is looked up among the
// items as a prefix, without regard to case: the first match is selected, and with AutoComplete
// the edit is completed to the whole item. An empty edit selects the first item. The lookup
// waits KeyDelay milliseconds after the last key in a real window; here each of the user's edits
// is taken as the text standing after the delay. A click on an item selects it and puts its text
// in the edit. Text set by code is not looked up.
class TSearchList : public TControl {
public:
    using TControl::TControl;

    const std::string& Text() const { return text_; }
    void SetText(std::string value);
    const std::vector<std::string>& Items() const { return items_; }
    int Count() const { return static_cast<int>(items_.size()); }
    void Add(std::string item) { items_.push_back(std::move(item)); }
    void Clear();
    int ItemIndex() const { return itemIndex_; }
    // EListError for an index outside -1 .. Count() - 1.
    void SetItemIndex(int value);
    std::string SelectedText() const;
    int KeyDelay() const { return keyDelay_; }
    void SetKeyDelay(int value) { keyDelay_ = value; }
    bool AutoComplete() const { return autoComplete_; }
    void SetAutoComplete(bool value) { autoComplete_ = value; }
    // The first item that begins with the text, without regard to case; -1 when none does.
    int FindPrefix(std::string_view text) const;

    // Fires when the edit's text changes.
    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant(text_); }
    void SetMainValue(const Variant& value) override { SetText(value.AsString()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    bool AcceptsUserText() const override { return true; }
    void UserText(const std::string& text) override;
    int UserItemCount() const override { return Count(); }
    void UserItem(int index) override;

private:
    std::string text_;
    std::vector<std::string> items_;
    int itemIndex_ = -1;
    int keyDelay_ = 1000;
    bool autoComplete_ = false;
};

// A row of picture buttons (a tool bar). A click on a button runs the button's handler, or, when
// it has none, the group's OnButtonClicked with the button's index.
struct TGrpButtonItem {
    std::string Caption;
    std::string Hint;
    int ImageIndex = -1;
    TNotifyEvent OnClick;
};

class TButtonGroup : public TControl {
public:
    using TControl::TControl;

    TGrpButtonItem& Add(std::string hint, int imageIndex, std::string caption = std::string());
    int Count() const { return static_cast<int>(items_.size()); }
    TGrpButtonItem& Items(int index);
    const TGrpButtonItem& Items(int index) const;

    std::function<void(int index)> OnButtonClicked;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    int UserItemCount() const override { return Count(); }
    void UserItem(int index) override;

private:
    std::deque<TGrpButtonItem> items_;
};

class TTabSheet;

// Pages on tabs; the controls of a page show only while it is the active page. The first page
// added becomes active. A page chosen by code fires nothing; the user's click on a tab fires
// OnChanging (which can refuse) and then OnChange.
class TPageControl : public TControl {
public:
    using TControl::TControl;
    ~TPageControl() override;

    int PageCount() const { return static_cast<int>(pages_.size()); }
    TTabSheet& Pages(int index) const;
    int ActivePageIndex() const { return active_; }
    // EListError for an index outside -1 .. PageCount() - 1.
    void SetActivePageIndex(int value);
    TTabSheet* ActivePage() const;

    std::function<void(bool& AllowChange)> OnChanging;
    TNotifyEvent OnChange;

    Variant MainValue() const override { return Variant(active_); }
    void SetMainValue(const Variant& value) override { SetActivePageIndex(value.AsInteger()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;
    int UserItemCount() const override { return PageCount(); }
    void UserItem(int index) override;

private:
    friend class TTabSheet;
    void AddPage(TTabSheet& page);
    void RemovePage(TTabSheet& page);
    std::vector<TTabSheet*> pages_;
    int active_ = -1;
};

class TTabSheet : public TCaptionControl {
public:
    TTabSheet(TForm* owner, std::string name, TPageControl& pageControl);
    ~TTabSheet() override;

    TPageControl* PageControl() const { return pageControl_; }
    int PageIndex() const;
    // Showing when visible, the active page, and its page control showing.
    bool Showing() const override;

private:
    friend class TPageControl;
    TPageControl* pageControl_;
};

// An interval timer. The host's message loop delivers its ticks: Tick fires OnTimer when the
// timer is enabled, as one message of its form.
class TTimer : public TComponent {
public:
    using TComponent::TComponent;

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { enabled_ = value; }
    int Interval() const { return interval_; }
    void SetInterval(int value) { interval_ = value; }
    // Fires OnTimer when enabled; false when it didn't.
    bool Tick();

    TNotifyEvent OnTimer;

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    bool enabled_ = true;
    int interval_ = 1000;
};
