#pragma once
// What owner drawing needs, headless: an image list (a named, numbered set of pictures) and the
// canvas a draw handler paints a cell on. The canvas keeps the picture drawn on it rather than
// pixels, so that a test or a host can read what a handler drew.
#include <string>

#include "toolkit/Forms.h"

// A list of pictures, numbered from 0. Only the count matters here; the pictures themselves
// belong to the host that draws them.
class TcxImageList : public TComponent {
public:
    TcxImageList(TForm* owner, std::string name, int count = 0)
        : TComponent(owner, std::move(name)), count_(count < 0 ? 0 : count) {}

    int Count() const { return count_; }
    void SetCount(int value) { count_ = value < 0 ? 0 : value; }
    bool HasImage(int index) const { return index >= 0 && index < count_; }

    Variant MainValue() const override { return Variant(count_); }

protected:
    void DescribeProperties(TPropertyList& list) const override {
        TComponent::DescribeProperties(list);
        list.Add("Count", [this] { return Variant(count_); });
    }

private:
    int count_;
};

struct TRect {
    int Left = 0;
    int Top = 0;
    int Right = 0;
    int Bottom = 0;
};

// The surface of one drawn cell. Drawing a picture that the list doesn't hold (index -1, or
// beyond its end) draws nothing, as the image list's own drawing does.
class TcxCanvas {
public:
    void DrawImage(const TcxImageList& images, int left, int top, int index) {
        (void)left;
        (void)top;
        if (images.HasImage(index)) image_ = index;
    }
    // The picture drawn last; -1 when none was.
    int DrawnImageIndex() const { return image_; }

private:
    int image_ = -1;
};
