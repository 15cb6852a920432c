#include "toolkit/StdCtrls.h"

#include "toolkit/ControlText.h"

// ---- edits --------------------------------------------------------------------------------------

void TCustomEdit::SetText(std::string value) {
    if (value == text_) return;
    text_ = std::move(value);
    DoChange();
}

void TCustomEdit::DoChange() {
    if (OnChange) OnChange();
}

void TCustomEdit::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Text", [this] { return Variant(text_); });
    list.Add("ReadOnly", [this] { return Variant(readOnly_); });
}

std::vector<std::string> TMemo::Lines() const {
    std::vector<std::string> lines;
    const std::string& t = Text();
    if (t.empty()) return lines;
    std::string line;
    for (size_t i = 0; i < t.size(); ++i) {
        char c = t[i];
        if (c == '\r' || c == '\n') {
            lines.push_back(line);
            line.clear();
            if (c == '\r' && i + 1 < t.size() && t[i + 1] == '\n') ++i;
        } else {
            line += c;
        }
    }
    if (!line.empty()) lines.push_back(line);
    return lines;
}

void TMemo::SetLines(const std::vector<std::string>& lines) {
    std::string text;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i) text += "\r\n";
        text += lines[i];
    }
    SetText(std::move(text));
}

void TMemo::DescribeProperties(TPropertyList& list) const {
    TCustomEdit::DescribeProperties(list);
    list.Add("LineCount", [this] { return Variant(static_cast<int>(Lines().size())); });
}

// ---- captions -----------------------------------------------------------------------------------

void TCaptionControl::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Caption", [this] { return Variant(caption_); });
}

// ---- buttons ------------------------------------------------------------------------------------

void TCustomButton::Click() {
    if (Owner())
        Owner()->Dispatch([this] { Clicked(); });
    else
        Clicked();
}

void TCustomButton::Clicked() {
    if (Owner() && modalResult_ != mrNone) Owner()->SetModalResult(modalResult_);
    DoClick();
}

void TCustomButton::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Caption", [this] { return Variant(caption_); });
    list.Add("ImageIndex", [this] { return Variant(imageIndex_); });
    list.Add("ModalResult", [this] { return Variant(ModalResultName(modalResult_)); });
}

void TButton::DescribeProperties(TPropertyList& list) const {
    TCustomButton::DescribeProperties(list);
    list.Add("Default", [this] { return Variant(default_); });
    list.Add("Cancel", [this] { return Variant(cancel_); });
}

void TBitBtn::SetKind(TBitBtnKind value) {
    kind_ = value;
    switch (value) {
        case bkOK:
            SetCaption("OK");
            SetModalResult(mrOk);
            SetDefault(true);
            break;
        case bkCancel:
            SetCaption("Cancel");
            SetModalResult(mrCancel);
            SetCancel(true);
            break;
        case bkYes:
            SetCaption("&Yes");
            SetModalResult(mrYes);
            SetDefault(true);
            break;
        case bkNo:
            SetCaption("&No");
            SetModalResult(mrNo);
            SetCancel(true);
            break;
        case bkClose:
            SetCaption("&Close");
            SetModalResult(mrNone);
            break;
        case bkCustom:
            break;
    }
}

void TBitBtn::Clicked() {
    TButton::Clicked();
    if (kind_ == bkClose && Owner()) Owner()->Close();
}

// ---- check box ----------------------------------------------------------------------------------

void TCheckBox::SetChecked(bool value) {
    if (value == checked_) return;
    checked_ = value;
    DoClick();
}

void TCheckBox::SetMainText(const std::string& text) {
    std::optional<bool> value = toolkit::ReadBoolean(text);
    if (!value) throw EConvertError("'" + text + "' is not a valid boolean value");
    SetChecked(*value);
}

void TCheckBox::PrepareUserText(const std::string& text) {
    if (!toolkit::ReadBoolean(text)) throw EConvertError("'" + text + "' is not a valid boolean value");
}

void TCheckBox::UserText(const std::string& text) {
    if (*toolkit::ReadBoolean(text) != checked_) Clicked();
}

void TCheckBox::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Checked", [this] { return Variant(checked_); });
    list.Add("Caption", [this] { return Variant(caption_); });
}

// ---- list box -----------------------------------------------------------------------------------

void TListBox::SetItems(std::vector<std::string> items) {
    items_ = std::move(items);
    itemIndex_ = -1;
}

void TListBox::Clear() {
    items_.clear();
    itemIndex_ = -1;
}

void TListBox::SetItemIndex(int value) {
    if (value < -1 || value >= Count()) throw EListError("List index out of bounds (" + std::to_string(value) + ")");
    itemIndex_ = value;
}

std::string TListBox::SelectedText() const {
    return itemIndex_ >= 0 ? items_[static_cast<size_t>(itemIndex_)] : std::string();
}

int TListBox::IndexOf(std::string_view text) const {
    for (size_t i = 0; i < items_.size(); ++i)
        if (items_[i] == text) return static_cast<int>(i);
    return -1;
}

void TListBox::UserItem(int index) {
    itemIndex_ = index;
    DoClick();
}

void TListBox::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("ItemIndex", [this] { return Variant(itemIndex_); });
    list.Add("Count", [this] { return Variant(Count()); });
    list.Add("Text", [this] { return Variant(SelectedText()); });
}
