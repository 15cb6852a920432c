#pragma once
// Popup menus and their items. An item's caption marks its access key with "&" ("&&" is an
// ampersand itself); an item with the caption "-" is a separator. Items nest: an item with
// items is a submenu. Items can be members of the form, added with Add(item), or made by the
// menu itself with Add(name, caption, imageIndex), which registers them with the form by name.
#include <memory>
#include <string>
#include <vector>

#include "toolkit/Forms.h"

class TMenuItem : public TControl {
public:
    TMenuItem(TForm* owner, std::string name, std::string caption = std::string(), int imageIndex = -1);
    ~TMenuItem() override;

    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }
    int ImageIndex() const { return imageIndex_; }
    void SetImageIndex(int value) { imageIndex_ = value; }
    bool Checked() const { return checked_; }
    void SetChecked(bool value) { checked_ = value; }

    bool IsSeparator() const { return caption_ == "-"; }
    // The access key in lower case; 0 when the caption marks none.
    char AccessKey() const;
    // The caption as shown: "&" marks removed, "&&" shown as "&".
    std::string DisplayCaption() const;

    // The submenu.
    int Count() const { return static_cast<int>(items_.size()); }
    TMenuItem& Items(int index) const;
    TMenuItem* ParentItem() const { return parentItem_; }
    // Adds an item that lives elsewhere (a member of the form); it leaves the menu when it dies.
    TMenuItem& Add(TMenuItem& item);
    // Makes an item owned by this one and registered with the form under the name.
    TMenuItem& Add(std::string name, std::string caption, int imageIndex = -1);
    TMenuItem& AddSeparator();
    // The first shown, usable item of the submenu whose access key is the key (any case).
    TMenuItem* FindByAccessKey(char key) const;

    // A click made by code: the click handler runs, whatever the item's state.
    void Click();
    // The user presses a key with this item's submenu open: the item with that access key is
    // clicked. False when no shown, usable item has it.
    bool UserPressKey(char key);

    bool TakesFocus() const override { return false; }
    // Shown when it and the items above it are visible.
    bool Showing() const override;
    // Usable when it and the items above it are enabled; a separator never is.
    bool Usable() const override;

    Variant MainValue() const override { return Variant(caption_); }
    void SetMainValue(const Variant& value) override { SetCaption(value.AsString()); }

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    std::string caption_;
    int imageIndex_ = -1;
    bool checked_ = false;
    TMenuItem* parentItem_ = nullptr;
    std::vector<TMenuItem*> items_;
    std::vector<std::unique_ptr<TMenuItem>> owned_;
};

// A popup menu: its items hang under Items(), an unnamed root item.
class TPopupMenu : public TComponent {
public:
    TPopupMenu(TForm* owner, std::string name);

    TMenuItem& Items() { return items_; }
    const TMenuItem& Items() const { return items_; }
    // Shortcuts to the root's.
    TMenuItem& Add(TMenuItem& item) { return items_.Add(item); }
    TMenuItem& Add(std::string name, std::string caption, int imageIndex = -1) {
        return items_.Add(std::move(name), std::move(caption), imageIndex);
    }
    TMenuItem& AddSeparator() { return items_.AddSeparator(); }

    // The menu opens (a right click, or code): the popup event fires.
    void Popup();
    // The menu pops up at a point of the screen: the popup event fires, then the host shows it;
    // what the user picks there is clicked later, by the host, or nothing when the user
    // dismisses it. Without a host nothing is shown.
    void PopupAt(int x, int y);
    // The user presses a key with the menu open.
    bool UserPressKey(char key) { return items_.UserPressKey(key); }

    TNotifyEvent OnPopup;

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    TMenuItem items_;
};

// Where menus popped up at a point are shown: the scripted host prints them and waits for the
// user's pick; a desktop host tracks them at the pointer.
class IPopupHost {
public:
    virtual ~IPopupHost() = default;
    virtual void ShowPopup(TPopupMenu& menu, int x, int y) = 0;
};

// The process's popup host; none at first. Setting one returns the one it replaces.
IPopupHost* PopupHost();
IPopupHost* SetPopupHost(IPopupHost* host);
