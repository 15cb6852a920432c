#pragma once
// TDMTextTarget: a drop target on a control for drags from other programs that offer plain
// text. The text is not read: the events carry the pointer's position only, in the acceptor's
// own terms (for a tree, Y is the line under the pointer: 0 the top line, past the last node
// the empty space).
#include <functional>

#include "toolkit/Forms.h"

class TDMTextTarget : public TComponent {
public:
    TDMTextTarget(TForm* owner, std::string name) : TComponent(owner, std::move(name)) {}

    TControl* AcceptorControl = nullptr;

    std::function<void(TDMTextTarget& sender, int X, int Y)> OnDragOver;
    std::function<void(TDMTextTarget& sender, int X, int Y)> OnDrop;

    // The host's side: a drag passes over the acceptor at the position, or is dropped there.
    void DoDragOver(int X, int Y) {
        if (OnDragOver) OnDragOver(*this, X, Y);
    }
    void DoDrop(int X, int Y) {
        if (OnDrop) OnDrop(*this, X, Y);
    }
};
