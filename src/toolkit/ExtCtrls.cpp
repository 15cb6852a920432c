#include "toolkit/ExtCtrls.h"

#include <climits>
#include <cmath>
#include <cstdio>

#include "base/Clock.h"
#include "base/FormatSettings.h"
#include "toolkit/ControlText.h"

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    if (prefix.size() > text.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (Lower(text[i]) != Lower(prefix[i])) return false;
    return true;
}

}  // namespace

// ---- spin edit ----------------------------------------------------------------------------------

TSpinEdit::TSpinEdit(TForm* owner, std::string name, TControl* parent)
    : TCustomEdit(owner, std::move(name), parent) {
    SetText("0");
}

int TSpinEdit::Value() const {
    std::optional<int64_t> v = toolkit::ReadInteger(Text(), INT_MIN, INT_MAX);
    return v ? static_cast<int>(*v) : minValue_;
}

int TSpinEdit::CheckValue(int value) const {
    if (minValue_ == 0 && maxValue_ == 0) return value;
    if (value < minValue_) return minValue_;
    if (value > maxValue_) return maxValue_;
    return value;
}

void TSpinEdit::SetValue(int value) { SetText(std::to_string(CheckValue(value))); }

void TSpinEdit::SetMainText(const std::string& text) {
    std::optional<int64_t> v = toolkit::ReadInteger(text, INT_MIN, INT_MAX);
    if (!v) throw EConvertError("'" + text + "' is not a valid integer value");
    SetValue(static_cast<int>(*v));
}

void TSpinEdit::DoExit() {
    int value = Value();
    if (CheckValue(value) != value) SetValue(value);
    TCustomEdit::DoExit();
}

bool TSpinEdit::UserStep(int direction) {
    if (!Reachable() || ReadOnly()) return false;
    return RunUserAction([this, direction] {
        if (!TakeUserFocus()) return false;
        int64_t next = static_cast<int64_t>(Value()) + static_cast<int64_t>(direction) * increment_;
        if (next > INT_MAX) next = INT_MAX;
        if (next < INT_MIN) next = INT_MIN;
        SetValue(static_cast<int>(next));
        return true;
    });
}

void TSpinEdit::DescribeProperties(TPropertyList& list) const {
    TCustomEdit::DescribeProperties(list);
    list.Add("Value", [this] { return Variant(Value()); });
    list.Add("MinValue", [this] { return Variant(minValue_); });
    list.Add("MaxValue", [this] { return Variant(maxValue_); });
    list.Add("Increment", [this] { return Variant(increment_); });
}

// ---- numeric field ------------------------------------------------------------------------------

TNumericField::TNumericField(TForm* owner, std::string name, TControl* parent, int maxDigits)
    : TControl(owner, std::move(name), parent), maxDigits_(maxDigits < 1 ? 1 : (maxDigits > 18 ? 18 : maxDigits)) {}

int64_t TNumericField::Limit() const {
    int64_t limit = 1;
    for (int i = 0; i < maxDigits_; ++i) limit *= 10;
    return limit - 1;
}

void TNumericField::SetMaxDigits(int value) { maxDigits_ = value < 1 ? 1 : (value > 18 ? 18 : value); }

void TNumericField::Assign(int64_t value) {
    if (value == value_) return;
    value_ = value;
    if (OnChange) OnChange();
}

void TNumericField::SetValue(int64_t value) {
    if (value > Limit() || value < -Limit())
        throw EConvertError(std::to_string(value) + " has more than " + std::to_string(maxDigits_) + " digits");
    Assign(value);
}

std::string TNumericField::Text() const { return value_ == 0 ? std::string() : std::to_string(value_); }

void TNumericField::SetText(const std::string& text) {
    if (toolkit::Trimmed(text).empty()) {
        Assign(0);
        return;
    }
    std::optional<int64_t> v = toolkit::ReadInteger(text, -Limit(), Limit());
    if (!v) throw EConvertError("'" + text + "' is not a number of up to " + std::to_string(maxDigits_) + " digits");
    Assign(*v);
}

void TNumericField::UserText(const std::string& text) {
    // Keys other than digits and a leading minus are refused, as are digits beyond the width.
    bool negative = false;
    int64_t value = 0;
    int digits = 0;
    for (char c : text) {
        if (c == '-' && digits == 0 && !negative) {
            negative = true;
        } else if (c >= '0' && c <= '9' && digits < maxDigits_) {
            value = value * 10 + (c - '0');
            if (value != 0 || c != '0') ++digits;
        }
    }
    Assign(negative ? -value : value);
}

void TNumericField::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Value", [this] { return Variant(value_); });
    list.Add("Text", [this] { return Variant(Text()); });
    list.Add("MaxDigits", [this] { return Variant(maxDigits_); });
}

// ---- date picker --------------------------------------------------------------------------------

TDateTimePicker::TDateTimePicker(TForm* owner, std::string name, TControl* parent)
    : TControl(owner, std::move(name), parent), date_(::Date()) {}

void TDateTimePicker::SetDate(TDateTime value) { date_ = DateOf(value); }

Variant TDateTimePicker::MainValue() const { return checked_ ? Variant::FromDate(date_) : Variant(); }

void TDateTimePicker::SetMainValue(const Variant& value) {
    if (value.IsNull()) {
        if (!showCheckbox_) throw EConvertError(Name() + " must hold a date");
        checked_ = false;
        return;
    }
    SetDate(value.AsDateTime());
    checked_ = true;
}

std::string TDateTimePicker::MainText() const { return checked_ ? DateToStr(date_) : std::string(); }

void TDateTimePicker::SetMainText(const std::string& text) {
    if (toolkit::Trimmed(text).empty()) {
        SetMainValue(Variant());
        return;
    }
    std::optional<TDateTime> d = toolkit::ReadDate(text);
    if (!d) throw EConvertError("'" + text + "' is not a valid date");
    SetMainValue(Variant::FromDate(*d));
}

void TDateTimePicker::PrepareUserText(const std::string& text) {
    if (toolkit::Trimmed(text).empty()) {
        if (!showCheckbox_) throw EConvertError(Name() + " must hold a date");
    } else if (!toolkit::ReadDate(text)) {
        throw EConvertError("'" + text + "' is not a valid date");
    }
    if (OnMouseEnter) OnMouseEnter();
}

void TDateTimePicker::UserText(const std::string& text) {
    if (toolkit::Trimmed(text).empty()) {
        // The user unticks the picker's box.
        DoClick();
        checked_ = false;
        if (OnChange) OnChange();
        return;
    }
    DoClick();
    if (OnDropDown) OnDropDown();
    date_ = *toolkit::ReadDate(text);
    checked_ = true;
    if (OnChange) OnChange();
    if (OnCloseUp) OnCloseUp();
}

void TDateTimePicker::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Date", [this] { return Variant::FromDate(date_); });
    list.Add("Checked", [this] { return Variant(checked_); });
    list.Add("ShowCheckbox", [this] { return Variant(showCheckbox_); });
    list.Add("Text", [this] { return Variant(MainText()); });
}

// ---- decimal edit -------------------------------------------------------------------------------

void TCurrencyEdit::SetValue(double value) {
    if (value == value_) return;
    value_ = value;
    if (OnChange) OnChange();
}

std::string TCurrencyEdit::Text() const {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimalPlaces_, value_ + 0.0);
    std::string text = buf;
    if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-') text.erase(0, 1);  // no "-0.00"
    char sep = FormatSettings().DecimalSeparator;
    for (char& c : text)
        if (c == '.') c = sep;
    return text;
}

void TCurrencyEdit::SetMainText(const std::string& text) {
    std::optional<double> v = toolkit::ReadDecimal(text);
    if (!v) throw EConvertError("'" + text + "' is not a valid number");
    SetValue(*v);
}

void TCurrencyEdit::PrepareUserText(const std::string& text) {
    if (!toolkit::Trimmed(text).empty() && !toolkit::ReadDecimal(text))
        throw EConvertError("'" + text + "' is not a valid number");
}

void TCurrencyEdit::UserText(const std::string& text) {
    if (OnEditing) OnEditing();
    std::optional<double> v = toolkit::ReadDecimal(text);
    SetValue(v ? *v : 0.0);  // an emptied edit reads 0
}

void TCurrencyEdit::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Value", [this] { return Variant(value_); });
    list.Add("Text", [this] { return Variant(Text()); });
    list.Add("DecimalPlaces", [this] { return Variant(decimalPlaces_); });
    list.Add("ReadOnly", [this] { return Variant(readOnly_); });
}

// ---- duration edit ------------------------------------------------------------------------------

TDateTime TTimeEdit::Value() const { return seconds_ / 86400.0; }

void TTimeEdit::SetValue(TDateTime value) {
    double seconds = std::floor(value * 86400.0 + 1e-6);  // whole seconds; a float's dust is kept
    if (!std::isfinite(seconds)) throw EConvertError("Invalid duration");
    double day = std::fmod(seconds, 86400.0);
    if (day < 0) day += 86400.0;
    Assign(static_cast<int>(day));
}

void TTimeEdit::Assign(int seconds) {
    if (seconds == seconds_) return;
    seconds_ = seconds;
    if (OnChange) OnChange();
}

std::string TTimeEdit::Text() const {
    return std::to_string(seconds_ / 3600) + " hou " + std::to_string(seconds_ / 60 % 60) + " min " +
           std::to_string(seconds_ % 60) + " sec";
}

std::optional<int> TTimeEdit::ReadDuration(std::string_view text) {
    text = toolkit::Trimmed(text);
    if (text.empty()) return 0;
    if (text.find(':') != std::string_view::npos) {
        int parts[3] = {0, 0, 0};
        int count = 0;
        size_t start = 0;
        while (true) {
            size_t colon = text.find(':', start);
            std::string_view part = text.substr(start, colon == std::string_view::npos ? colon : colon - start);
            std::optional<int64_t> v = toolkit::ReadInteger(part, 0, 99);
            if (!v || count == 3 || part.find_first_of("+-") != std::string_view::npos) return std::nullopt;
            parts[count++] = static_cast<int>(*v);
            if (colon == std::string_view::npos) break;
            start = colon + 1;
        }
        if (count < 2 || parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return std::nullopt;
        return parts[0] * 3600 + parts[1] * 60 + parts[2];
    }
    int64_t total = 0;
    size_t i = 0;
    auto skipBlanks = [&] {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    };
    while (true) {
        skipBlanks();
        if (i == text.size()) break;
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        int64_t number = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            number = number * 10 + (text[i] - '0');
            if (number > 86400) return std::nullopt;
            ++i;
        }
        skipBlanks();
        size_t wordStart = i;
        while (i < text.size() && Lower(text[i]) >= 'a' && Lower(text[i]) <= 'z') ++i;
        std::string_view word = text.substr(wordStart, i - wordStart);
        int64_t unit = 60;  // a number without its unit counts minutes
        if (!word.empty()) {
            if (StartsWithNoCase("hours", word)) unit = 3600;
            else if (StartsWithNoCase("minutes", word)) unit = 60;
            else if (StartsWithNoCase("seconds", word)) unit = 1;
            else return std::nullopt;
        }
        total += number * unit;
        if (total > 86399) return std::nullopt;
    }
    return static_cast<int>(total);
}

void TTimeEdit::SetMainText(const std::string& text) {
    std::optional<int> v = ReadDuration(text);
    if (!v) throw EConvertError("'" + text + "' is not a valid duration");
    Assign(*v);
}

void TTimeEdit::PrepareUserText(const std::string& text) {
    if (!ReadDuration(text)) throw EConvertError("'" + text + "' is not a valid duration");
}

void TTimeEdit::UserText(const std::string& text) { Assign(*ReadDuration(text)); }

void TTimeEdit::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Value", [this] { return Variant::FromDate(Value()); });
    list.Add("Text", [this] { return Variant(Text()); });
    list.Add("ReadOnly", [this] { return Variant(readOnly_); });
}

// ---- search list --------------------------------------------------------------------------------

void TSearchList::SetText(std::string value) {
    if (value == text_) return;
    text_ = std::move(value);
    if (OnChange) OnChange();
}

void TSearchList::Clear() {
    items_.clear();
    itemIndex_ = -1;
}

void TSearchList::SetItemIndex(int value) {
    if (value < -1 || value >= Count()) throw EListError("List index out of bounds (" + std::to_string(value) + ")");
    itemIndex_ = value;
}

std::string TSearchList::SelectedText() const {
    return itemIndex_ >= 0 ? items_[static_cast<size_t>(itemIndex_)] : std::string();
}

int TSearchList::FindPrefix(std::string_view text) const {
    for (size_t i = 0; i < items_.size(); ++i)
        if (StartsWithNoCase(items_[i], text)) return static_cast<int>(i);
    return -1;
}

void TSearchList::UserText(const std::string& text) {
    int found = text.empty() ? (items_.empty() ? -1 : 0) : FindPrefix(text);
    if (found >= 0) itemIndex_ = found;
    SetText(autoComplete_ && found >= 0 && !text.empty() ? items_[static_cast<size_t>(found)] : text);
}

void TSearchList::UserItem(int index) {
    itemIndex_ = index;
    SetText(items_[static_cast<size_t>(index)]);
    DoClick();
}

void TSearchList::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Text", [this] { return Variant(text_); });
    list.Add("ItemIndex", [this] { return Variant(itemIndex_); });
    list.Add("Count", [this] { return Variant(Count()); });
    list.Add("SelectedText", [this] { return Variant(SelectedText()); });
    list.Add("KeyDelay", [this] { return Variant(keyDelay_); });
    list.Add("AutoComplete", [this] { return Variant(autoComplete_); });
}

// ---- button group -------------------------------------------------------------------------------

TGrpButtonItem& TButtonGroup::Add(std::string hint, int imageIndex, std::string caption) {
    items_.push_back(TGrpButtonItem{std::move(caption), std::move(hint), imageIndex, nullptr});
    return items_.back();
}

TGrpButtonItem& TButtonGroup::Items(int index) {
    if (index < 0 || index >= Count()) throw EListError("List index out of bounds (" + std::to_string(index) + ")");
    return items_[static_cast<size_t>(index)];
}

const TGrpButtonItem& TButtonGroup::Items(int index) const { return const_cast<TButtonGroup*>(this)->Items(index); }

void TButtonGroup::UserItem(int index) {
    TNotifyEvent handler = items_[static_cast<size_t>(index)].OnClick;
    if (handler)
        handler();
    else if (OnButtonClicked)
        OnButtonClicked(index);
}

void TButtonGroup::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Count", [this] { return Variant(Count()); });
}

// ---- pages --------------------------------------------------------------------------------------

TPageControl::~TPageControl() {
    for (TTabSheet* page : pages_) page->pageControl_ = nullptr;
}

TTabSheet& TPageControl::Pages(int index) const {
    if (index < 0 || index >= PageCount()) throw EListError("List index out of bounds (" + std::to_string(index) + ")");
    return *pages_[static_cast<size_t>(index)];
}

TTabSheet* TPageControl::ActivePage() const { return active_ >= 0 ? pages_[static_cast<size_t>(active_)] : nullptr; }

void TPageControl::SetActivePageIndex(int value) {
    if (value < -1 || value >= PageCount())
        throw EListError("List index out of bounds (" + std::to_string(value) + ")");
    if (value == active_) return;
    active_ = value;
    ShowingChanged();
}

void TPageControl::AddPage(TTabSheet& page) {
    pages_.push_back(&page);
    if (active_ < 0) active_ = 0;
}

void TPageControl::RemovePage(TTabSheet& page) {
    for (size_t i = 0; i < pages_.size(); ++i)
        if (pages_[i] == &page) {
            pages_.erase(pages_.begin() + static_cast<std::ptrdiff_t>(i));
            int index = static_cast<int>(i);
            if (active_ > index || active_ >= PageCount()) --active_;
            if (active_ < 0 && !pages_.empty()) active_ = 0;
            ShowingChanged();
            return;
        }
}

void TPageControl::UserItem(int index) {
    if (index == active_ || !pages_[static_cast<size_t>(index)]->Visible()) return;
    bool allow = true;
    if (OnChanging) OnChanging(allow);
    if (!allow) return;
    active_ = index;
    ShowingChanged();
    if (OnChange) OnChange();
}

void TPageControl::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("ActivePageIndex", [this] { return Variant(active_); });
    list.Add("PageCount", [this] { return Variant(PageCount()); });
    list.Add("ActivePage", [this] { return Variant(ActivePage() ? ActivePage()->Name() : std::string()); });
}

TTabSheet::TTabSheet(TForm* owner, std::string name, TPageControl& pageControl)
    : TCaptionControl(owner, std::move(name), &pageControl), pageControl_(&pageControl) {
    pageControl.AddPage(*this);
}

TTabSheet::~TTabSheet() {
    if (pageControl_) pageControl_->RemovePage(*this);
}

int TTabSheet::PageIndex() const {
    if (!pageControl_) return -1;
    for (int i = 0; i < pageControl_->PageCount(); ++i)
        if (&pageControl_->Pages(i) == this) return i;
    return -1;
}

bool TTabSheet::Showing() const {
    return Visible() && pageControl_ && pageControl_->ActivePage() == this && pageControl_->Showing();
}

// ---- timer --------------------------------------------------------------------------------------

bool TTimer::Tick() {
    if (!enabled_ || !OnTimer) return false;
    TNotifyEvent handler = OnTimer;
    if (Owner())
        Owner()->Dispatch(handler);
    else
        handler();
    return true;
}

void TTimer::DescribeProperties(TPropertyList& list) const {
    TComponent::DescribeProperties(list);
    list.Add("Enabled", [this] { return Variant(enabled_); });
    list.Add("Interval", [this] { return Variant(interval_); });
}
