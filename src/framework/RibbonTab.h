#pragma once
// TadxRibbonTab: one tab of the host's ribbon, with its groups of buttons in order. Hidden groups
// keep their buttons; nothing shows them. A host finds a button by its caption and clicks it.
#include <deque>
#include <functional>
#include <string>

enum class TadxRibbonContext { msrOutlookExplorer, msrOutlookExplorer2010, msrOutlookInspector };
enum class TadxRibbonControlSize { csRegular, csLarge };

struct TadxRibbonButton {
    std::string Id;
    std::string Caption;
    std::string ScreenTip;
    TadxRibbonControlSize Size = TadxRibbonControlSize::csLarge;
    std::function<void()> OnClick;
};

struct TadxRibbonGroup {
    std::string Id;
    std::string Caption;
    bool Visible = true;
    std::deque<TadxRibbonButton> Controls;

    TadxRibbonButton& AddButton(std::string id, std::string caption, std::function<void()> onClick) {
        Controls.push_back({std::move(id), std::move(caption), {}, TadxRibbonControlSize::csLarge, std::move(onClick)});
        return Controls.back();
    }
};

class TadxRibbonTab {
public:
    std::string Caption;
    std::string Id;
    std::deque<TadxRibbonContext> Ribbons{TadxRibbonContext::msrOutlookExplorer,
                                          TadxRibbonContext::msrOutlookExplorer2010};
    std::deque<TadxRibbonGroup> Controls;

    TadxRibbonGroup& AddGroup(std::string id, std::string caption, bool visible) {
        Controls.push_back({std::move(id), std::move(caption), visible, {}});
        return Controls.back();
    }

    // The button of that caption in a shown group; nullptr when the user can't see one.
    TadxRibbonButton* FindShownButton(const std::string& caption) {
        for (TadxRibbonGroup& g : Controls)
            if (g.Visible)
                for (TadxRibbonButton& b : g.Controls)
                    if (b.Caption == caption) return &b;
        return nullptr;
    }

    // The user's click on a shown button; false when no shown button has that caption.
    bool Click(const std::string& caption) {
        TadxRibbonButton* b = FindShownButton(caption);
        if (!b) return false;
        if (b->OnClick) b->OnClick();
        return true;
    }
};
