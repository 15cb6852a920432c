#pragma once
// Where a form's controls stand when its client area has a given size: each control's bounds
// within its parent, from the bounds, Align and Anchors its form gave it. A host that draws the
// form places its windows by this; at the design size every control stands where the form put it.
// Pages of a page control stand below its tab strip.
//
// A form's Width and Height are its window's outer size. A form shown as a window of its own lays
// its controls out for the client area that a Windows frame with a caption leaves of it
// (DesignClientWidth, DesignClientHeight: the largest frame Windows draws); a form shown inside
// another window (a pane, a borderless form) for the whole of it.
#include <unordered_map>
#include <vector>

#include "toolkit/Forms.h"
#include "toolkit/Graphics.h"

// The height a page control's tabs take above its pages.
constexpr int kPageTabHeight = 24;
// What a window's frame and caption take of its outer size, at most.
constexpr int kFrameWidth = 16;
constexpr int kFrameHeight = 39;
// The client size a form's controls are laid out for: framed (a window of its own, with a
// border), or not.
int DesignClientWidth(const TForm& form, bool framed);
int DesignClientHeight(const TForm& form, bool framed);

class TFormLayout {
public:
    // Lays out the whole form for a client area of width x height, its controls having been
    // placed for a client area of designWidth x designHeight.
    TFormLayout(const TForm& form, int width, int height, int designWidth, int designHeight);
    // Designed for the form's whole size.
    TFormLayout(const TForm& form, int width, int height)
        : TFormLayout(form, width, height, form.Width(), form.Height()) {}

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
