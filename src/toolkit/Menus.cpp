#include "toolkit/Menus.h"

#include <algorithm>

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

TMenuItem::TMenuItem(TForm* owner, std::string name, std::string caption, int imageIndex)
    : TControl(owner, std::move(name)), caption_(std::move(caption)), imageIndex_(imageIndex) {}

TMenuItem::~TMenuItem() {
    for (TMenuItem* item : items_) item->parentItem_ = nullptr;
    items_.clear();
    if (parentItem_) {
        auto& siblings = parentItem_->items_;
        siblings.erase(std::remove(siblings.begin(), siblings.end(), this), siblings.end());
    }
}

char TMenuItem::AccessKey() const {
    for (size_t i = 0; i + 1 < caption_.size(); ++i)
        if (caption_[i] == '&') {
            if (caption_[i + 1] != '&') return Lower(caption_[i + 1]);
            ++i;  // "&&" is an ampersand
        }
    return 0;
}

std::string TMenuItem::DisplayCaption() const {
    std::string out;
    for (size_t i = 0; i < caption_.size(); ++i) {
        if (caption_[i] == '&') {
            if (i + 1 < caption_.size() && caption_[i + 1] == '&') {
                out += '&';
                ++i;
            }
            continue;  // a single "&" only marks the key
        }
        out += caption_[i];
    }
    return out;
}

TMenuItem& TMenuItem::Items(int index) const {
    if (index < 0 || index >= Count()) throw EListError("List index out of bounds (" + std::to_string(index) + ")");
    return *items_[static_cast<size_t>(index)];
}

TMenuItem& TMenuItem::Add(TMenuItem& item) {
    for (TMenuItem* p = this; p; p = p->parentItem_)
        if (p == &item) throw EInvalidOperation("A menu item cannot hold itself");
    if (item.parentItem_) throw EInvalidOperation(item.Name() + " is in a menu already");
    item.parentItem_ = this;
    items_.push_back(&item);
    return item;
}

TMenuItem& TMenuItem::Add(std::string name, std::string caption, int imageIndex) {
    owned_.push_back(std::make_unique<TMenuItem>(Owner(), std::move(name), std::move(caption), imageIndex));
    return Add(*owned_.back());
}

TMenuItem& TMenuItem::AddSeparator() { return Add(std::string(), "-"); }

TMenuItem* TMenuItem::FindByAccessKey(char key) const {
    key = Lower(key);
    if (key == 0) return nullptr;
    for (TMenuItem* item : items_)
        if (item->AccessKey() == key && item->Showing() && item->Usable()) return item;
    return nullptr;
}

void TMenuItem::Click() {
    if (Owner())
        Owner()->Dispatch([this] { DoClick(); });
    else
        DoClick();
}

bool TMenuItem::UserPressKey(char key) {
    if (!Reachable()) return false;
    TMenuItem* item = FindByAccessKey(key);
    return item && item->UserClick();
}

bool TMenuItem::Showing() const { return Visible() && (!parentItem_ || parentItem_->Showing()); }

bool TMenuItem::Usable() const { return !IsSeparator() && Enabled() && (!parentItem_ || parentItem_->Usable()); }

void TMenuItem::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("Caption", [this] { return Variant(caption_); });
    list.Add("ImageIndex", [this] { return Variant(imageIndex_); });
    list.Add("Checked", [this] { return Variant(checked_); });
    list.Add("Count", [this] { return Variant(Count()); });
    list.Add("AccessKey", [this] {
        char key = AccessKey();
        return Variant(key ? std::string(1, key) : std::string());
    });
}

TPopupMenu::TPopupMenu(TForm* owner, std::string name) : TComponent(owner, std::move(name)), items_(owner, "") {}

void TPopupMenu::Popup() {
    if (!OnPopup) return;
    if (Owner())
        Owner()->Dispatch(OnPopup);
    else
        OnPopup();
}

namespace {
IPopupHost* gPopupHost = nullptr;
}

IPopupHost* PopupHost() { return gPopupHost; }

IPopupHost* SetPopupHost(IPopupHost* host) {
    IPopupHost* previous = gPopupHost;
    gPopupHost = host;
    return previous;
}

void TPopupMenu::PopupAt(int x, int y) {
    Popup();
    if (gPopupHost) gPopupHost->ShowPopup(*this, x, y);
}

void TPopupMenu::DescribeProperties(TPropertyList& list) const {
    TComponent::DescribeProperties(list);
    list.Add("Count", [this] { return Variant(items_.Count()); });
}
