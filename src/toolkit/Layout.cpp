#include "toolkit/Layout.h"

#include <algorithm>

#include "toolkit/ExtCtrls.h"

namespace {
int W(const TRect& r) { return r.Right - r.Left; }
int H(const TRect& r) { return r.Bottom - r.Top; }
}  // namespace

int DesignClientWidth(const TForm& form, bool framed) {
    return framed && form.BorderStyle != TFormBorderStyle::bsNone ? std::max(0, form.Width() - kFrameWidth) : form.Width();
}

int DesignClientHeight(const TForm& form, bool framed) {
    return framed && form.BorderStyle != TFormBorderStyle::bsNone ? std::max(0, form.Height() - kFrameHeight)
                                                                  : form.Height();
}

TFormLayout::TFormLayout(const TForm& form, int width, int height, int designWidth, int designHeight) : form_(form) {
    Arrange(nullptr, designWidth, designHeight, designWidth, designHeight, design_);
    Arrange(nullptr, width, height, designWidth, designHeight, placed_);
}

std::vector<TControl*> TFormLayout::Children(const TControl* parent) const {
    std::vector<TControl*> out;
    for (TComponent* c : form_.Components()) {
        auto* control = dynamic_cast<TControl*>(c);
        if (control && control->Parent() == parent) out.push_back(control);
    }
    return out;
}

TRect TFormLayout::Bounds(const TControl& control) const {
    auto it = placed_.find(&control);
    return it == placed_.end() ? TRect{} : it->second;
}

void TFormLayout::Arrange(const TControl* parent, int width, int height, int designWidth, int designHeight,
                          std::unordered_map<const TControl*, TRect>& out) const {
    // What the docked controls leave, in the order of making.
    TRect rest{0, 0, width, height};
    const bool pages = dynamic_cast<const TPageControl*>(parent) != nullptr;
    if (pages) rest.Top = kPageTabHeight < height ? kPageTabHeight : height;
    std::vector<TControl*> children = Children(parent);
    for (TControl* c : children) {
        TRect r;
        if (auto* sheet = dynamic_cast<TTabSheet*>(c); sheet && pages) {
            r = TRect{0, rest.Top, width, height};
        } else {
            switch (c->Align) {
            case TAlign::alTop:
                r = TRect{rest.Left, rest.Top, rest.Right, std::min(rest.Bottom, rest.Top + c->Height())};
                rest.Top = r.Bottom;
                break;
            case TAlign::alBottom:
                r = TRect{rest.Left, std::max(rest.Top, rest.Bottom - c->Height()), rest.Right, rest.Bottom};
                rest.Bottom = r.Top;
                break;
            case TAlign::alLeft:
                r = TRect{rest.Left, rest.Top, std::min(rest.Right, rest.Left + c->Width()), rest.Bottom};
                rest.Left = r.Right;
                break;
            case TAlign::alRight:
                r = TRect{std::max(rest.Left, rest.Right - c->Width()), rest.Top, rest.Right, rest.Bottom};
                rest.Right = r.Left;
                break;
            case TAlign::alClient:
                continue;  // placed last, in what is left
            case TAlign::alNone: {
                // The anchored edges keep their distance to the parent's edges.
                const int dw = width - designWidth, dh = height - designHeight;
                int left = c->Left(), right = c->Left() + c->Width();
                int top = c->Top(), bottom = c->Top() + c->Height();
                if (c->Anchors.Right) {
                    right += dw;
                    if (!c->Anchors.Left) left += dw;
                }
                if (c->Anchors.Bottom) {
                    bottom += dh;
                    if (!c->Anchors.Top) top += dh;
                }
                r = TRect{left, top, std::max(left, right), std::max(top, bottom)};
                break;
            }
            }
        }
        out[c] = r;
    }
    for (TControl* c : children)
        if (c->Align == TAlign::alClient && !(pages && dynamic_cast<TTabSheet*>(c))) out[c] = rest;
    for (TControl* c : children) {
        const TRect r = out[c];
        auto d = design_.find(c);
        // A docked control's design size is what the form's own size gave it.
        const TRect dr = (&out == &design_ || d == design_.end()) ? r : d->second;
        Arrange(c, W(r), H(r), W(dr), H(dr), out);
    }
}
