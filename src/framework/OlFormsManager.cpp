#include "framework/OlFormsManager.h"

#include "base/Guard.h"
#include "framework/AddInModule.h"

TadxOlFormsManagerItem& TadxOlFormsManager::AddItem() {
    items_.push_back(std::make_unique<TadxOlFormsManagerItem>());
    return *items_.back();
}

void TadxOlFormsManager::ExplorerFolderShown(TadxOlItemType kind) {
    int first = -1;
    for (size_t i = 0; i < items_.size(); ++i) {
        TadxOlFormsManagerItem& item = *items_[i];
        if (!item.ExplorerItemTypes.count(kind)) continue;
        try {
            if (!item.form_ && item.CreateForm) item.form_ = item.CreateForm();
            if (item.form_ && !item.shown_) {
                item.shown_ = true;
                item.form_->Show();
            } else if (item.form_ && !item.form_->Visible()) {
                item.form_->Show();
            }
            if (first < 0 && item.form_) first = static_cast<int>(i);
        } catch (...) {
            RaiseError(std::current_exception());
        }
    }
    if (first >= 0) ActivatePane(first);
}

void TadxOlFormsManager::ActivatePane(int index) {
    if (index < 0 || index >= Count()) return;
    TadxOlFormsManagerItem& item = *items_[static_cast<size_t>(index)];
    if (!item.form_ || !item.form_->Visible()) return;
    try {
        for (auto& other : items_)
            if (other.get() != &item && other->form_ && other->form_->Active()) other->form_->Deactivate();
        if (item.form_->Active()) item.form_->Deactivate();
        item.form_->Activate();
    } catch (...) {
        RaiseError(std::current_exception());
    }
}

void TadxOlFormsManager::ExplorerClosed() {
    for (auto& item : items_) {
        if (!item->form_ || !item->form_->Visible()) continue;
        try {
            item->form_->Close();
        } catch (...) {
            RaiseError(std::current_exception());
        }
    }
}

void TadxOlFormsManager::FreeForms() {
    for (auto& item : items_) item->form_.reset();
}

void TadxOlFormsManager::RaiseError(std::exception_ptr e) noexcept {
    bool handled = false;
    if (OnError) {
        ExceptionInfo info = DescribeException(e);
        Swallow([&] { OnError(info, handled); });
    }
    if (!handled) owner_.HandleError(e);
}
