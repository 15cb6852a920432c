#pragma once
// TForm: the base of the system's forms. A form is a plain object: it has a name, a caption,
// a position and a size in screen pixels, and is shown or hidden. Forms are created once and
// reused: closing one hides it.
#include <string>

class TForm {
public:
    TForm(std::string name, std::string caption, int width, int height);
    virtual ~TForm() = default;
    TForm(const TForm&) = delete;
    TForm& operator=(const TForm&) = delete;

    const std::string& Name() const { return name_; }
    void SetName(std::string value) { name_ = std::move(value); }
    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string value) { caption_ = std::move(value); }

    int Left() const { return left_; }
    void SetLeft(int value) { left_ = value; }
    int Top() const { return top_; }
    void SetTop(int value) { top_ = value; }
    int Width() const { return width_; }
    void SetWidth(int value) { width_ = value; }
    int Height() const { return height_; }
    void SetHeight(int value) { height_ = value; }

    bool Visible() const { return visible_; }
    void SetVisible(bool value);
    // Shows the form; DoShow runs when it was hidden.
    void Show();
    // Hides the form; DoHide runs when it was shown.
    void Hide();

protected:
    // The form's show and hide events.
    virtual void DoShow() {}
    virtual void DoHide() {}

private:
    std::string name_;
    std::string caption_;
    int left_ = 0;
    int top_ = 0;
    int width_;
    int height_;
    bool visible_ = false;
};
