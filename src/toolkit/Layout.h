#pragma once
// Where a form's controls stand when its client area has a given size: each control's bounds
// within its parent, from the bounds, Align and Anchors its form gave it. A host that draws the
// form places its windows by this; at the form's own size every control stands where the form
// put it. Pages of a page control stand below its tab strip.
#include <unordered_map>
#include <vector>

#include "toolkit/Forms.h"
#include "toolkit/Graphics.h"

// The height a page control's tabs take above its pages.
constexpr int kPageTabHeight = 24;

class TFormLayout {
public:
    // Lays out the whole form for a client area of width x height.
    TFormLayout(const TForm& form, int width, int height);

    // The control's bounds within its parent's client area (the form's for a top control).
    TRect Bounds(const TControl& control) const;
    // The controls of a parent (nullptr: the form) in the order of making.
    std::vector<TControl*> Children(const TControl* parent) const;

private:
    void Arrange(const TControl* parent, int width, int height, int designWidth, int designHeight,
                 std::unordered_map<const TControl*, TRect>& out) const;
    const TForm& form_;
    std::unordered_map<const TControl*, TRect> design_;
    std::unordered_map<const TControl*, TRect> placed_;
};
