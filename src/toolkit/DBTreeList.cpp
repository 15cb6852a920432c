#include "toolkit/DBTreeList.h"

#include <algorithm>
#include <unordered_map>

#include "base/Exceptions.h"

// ---- nodes --------------------------------------------------------------------------------------

void TcxTreeListNode::SetExpanded(bool value) {
    expanded_ = value;
    std::string key = key_.AsString();
    if (value) tree_->expandedKeys_.insert(key);
    else tree_->expandedKeys_.erase(key);
}

void TcxTreeListNode::Expand(bool recurse) {
    SetExpanded(true);
    if (recurse)
        for (TcxTreeListNode* c : children_) c->Expand(true);
}

void TcxTreeListNode::Collapse(bool recurse) {
    SetExpanded(false);
    if (recurse)
        for (TcxTreeListNode* c : children_) c->Collapse(true);
}

bool TcxTreeListNode::Focused() const { return tree_->FocusedNode() == this; }

// ---- the tree -----------------------------------------------------------------------------------

TcxDBTreeList::TcxDBTreeList(std::string name) : TControl(nullptr, std::move(name)) {}

TcxDBTreeList::TcxDBTreeList(TForm* owner, std::string name, TControl* parent)
    : TControl(owner, std::move(name), parent) {}

TcxDBTreeList::~TcxDBTreeList() {
    if (DataSet()) DataSet()->RemoveObserver(this);
}

void TcxDBTreeList::SetDataSource(TDataSource* source) {
    if (DataSet()) DataSet()->RemoveObserver(this);
    source_ = source;
    if (DataSet()) DataSet()->AddObserver(this);
    Rebuild();
}

TcxDBTreeListColumn& TcxDBTreeList::CreateColumn(std::string name, std::string fieldName, bool visible) {
    int index = static_cast<int>(columns_.size());
    columns_.push_back(std::unique_ptr<TcxDBTreeListColumn>(
        new TcxDBTreeListColumn(std::move(name), std::move(fieldName), index)));
    columns_.back()->Visible = visible;
    return *columns_.back();
}

TcxDBTreeListColumn* TcxDBTreeList::ColumnByName(const std::string& name) const {
    for (const auto& c : columns_)
        if (c->Name() == name) return c.get();
    return nullptr;
}

TcxDBTreeListColumn* TcxDBTreeList::FirstVisibleColumn() const {
    for (const auto& c : columns_)
        if (c->Visible) return c.get();
    return nullptr;
}

TcxTreeListNode* TcxDBTreeList::FindNodeByKeyValue(const Variant& key) const {
    std::string k = key.AsString();
    for (TcxTreeListNode* n : all_)
        if (!n->key_.IsNull() && n->key_.AsString() == k) return n;
    return nullptr;
}

std::vector<TcxTreeListNode*> TcxDBTreeList::VisibleNodes() const {
    std::vector<TcxTreeListNode*> out;
    std::function<void(const std::vector<TcxTreeListNode*>&)> walk = [&](const std::vector<TcxTreeListNode*>& nodes) {
        for (TcxTreeListNode* n : nodes) {
            out.push_back(n);
            if (n->expanded_) walk(n->children_);
        }
    };
    walk(roots_);
    return out;
}

TcxTreeListNode* TcxDBTreeList::HitTest(int line) const {
    std::vector<TcxTreeListNode*> shown = VisibleNodes();
    if (line < 0 || line >= static_cast<int>(shown.size())) return nullptr;
    return shown[static_cast<size_t>(line)];
}

TcxTreeListNode* TcxDBTreeList::NodeOfRow(int row) const {
    if (row < 0 || row >= static_cast<int>(rowToNode_.size())) return nullptr;
    return rowToNode_[static_cast<size_t>(row)];
}

void TcxDBTreeList::SetFocused(TcxTreeListNode* node) {
    if (node == focused_) return;
    TcxTreeListNode* previous = focused_;
    focused_ = node;
    if (OnFocusedNodeChanged) OnFocusedNodeChanged(*this, previous, node);
}

void TcxDBTreeList::SyncFocusToCursor() {
    TdxMemData* t = DataSet();
    TcxTreeListNode* node = nullptr;
    if (t && t->Active() && t->RecordCount() > 0) node = NodeOfRow(t->CurRec());
    SetFocused(node);
}

void TcxDBTreeList::SetFocusedNode(TcxTreeListNode* node) {
    TdxMemData* t = DataSet();
    if (!node || !t) return;
    int row = t->RowOfBookmark(node->bookmark_);
    if (row < 0) return;
    if (row != t->CurRec() || t->State() != TDataSetState::dsBrowse) t->GotoRow(row);
    // While the table holds its notifications back, the tree focuses the node itself.
    if (focused_ != node) SetFocused(node);
}

void TcxDBTreeList::FullExpand() {
    for (TcxTreeListNode* n : all_) n->SetExpanded(true);
}

void TcxDBTreeList::FullCollapse() {
    for (TcxTreeListNode* n : all_) n->SetExpanded(false);
}

void TcxDBTreeList::DeleteNode(TcxTreeListNode* node) {
    TdxMemData* t = DataSet();
    if (!node || !t) return;
    std::vector<TBookmark> order;  // descendants first, the node itself last
    std::function<void(TcxTreeListNode*)> collect = [&](TcxTreeListNode* n) {
        for (TcxTreeListNode* c : n->children_) collect(c);
        order.push_back(n->bookmark_);
    };
    collect(node);
    t->DisableControls();
    try {
        for (TBookmark b : order) {
            int row = t->RowOfBookmark(b);
            if (row < 0) continue;
            t->GotoRow(row);
            t->Delete();
        }
    } catch (...) {
        t->EnableControls();
        throw;
    }
    t->EnableControls();
}

void TcxDBTreeList::MoveNode(TcxTreeListNode* node, TcxTreeListNode* newParent) {
    TdxMemData* t = DataSet();
    if (!node || !t || node == newParent) return;
    for (TcxTreeListNode* p = newParent; p; p = p->parent_)
        if (p == node) return;  // not under itself
    int row = t->RowOfBookmark(node->bookmark_);
    if (row < 0) return;
    Variant parentKey = newParent ? newParent->key_ : RootValue;
    t->GotoRow(row);
    t->Edit();
    t->FieldByName(ParentField).SetValue(parentKey);
    t->Post();
}

int TcxDBTreeList::NodeImageIndex(TcxTreeListNode* node) {
    if (!node) return -1;
    return OnGetNodeImageIndex ? OnGetNodeImageIndex(*this, node, -1) : -1;
}

TFontStyles TcxDBTreeList::CellStyle(TcxTreeListNode* node, TcxDBTreeListColumn& column) {
    TFontStyles style;
    if (node && OnCustomDrawDataCell) OnCustomDrawDataCell(*this, node, column, style);
    return style;
}

void TcxDBTreeList::DataEvent(TdxMemData&, TDataEvent event, TField*) {
    if (event == TDataEvent::DataSetChange) Rebuild();
    else if (event == TDataEvent::DataSetScroll) SyncFocusToCursor();
}

void TcxDBTreeList::Rebuild() {
    TBookmark focusedBookmark = focused_ ? focused_->bookmark_ : 0;
    focused_ = nullptr;
    for (auto& [bookmark, node] : storage_) {  // every node is detached until placed again
        node->parent_ = nullptr;
        node->children_.clear();
        node->level_ = 0;
        node->index_ = 0;
        node->absoluteIndex_ = -1;
        node->row_ = -1;
    }
    roots_.clear();
    all_.clear();
    rowToNode_.clear();

    TdxMemData* t = DataSet();
    TField* keyField = t ? t->FindField(KeyField) : nullptr;
    TField* parentField = t ? t->FindField(ParentField) : nullptr;
    if (t && t->Active() && keyField && parentField) {
        rowToNode_.assign(static_cast<size_t>(t->RowCount()), nullptr);
        std::vector<TField*> colFields;
        for (const auto& c : columns_) colFields.push_back(t->FindField(c->FieldName()));

        // Rows the table shows, grouped by the text of their parent key.
        std::unordered_map<std::string, std::vector<int>> byParent;
        std::string root = RootValue.AsString();
        std::vector<int> rootRows;
        for (int row : t->VisibleRows()) {
            Variant parent = t->RowValue(row, *parentField);
            if (parent.IsNull()) continue;
            std::string p = parent.AsString();
            if (!RootValue.IsNull() && p == root) rootRows.push_back(row);
            else byParent[p].push_back(row);
        }

        // Children stand in the order of the sorted column, ties in table order.
        TcxDBTreeListColumn* sortColumn = nullptr;
        for (const auto& c : columns_)
            if (c->SortOrder != TcxSortOrder::soNone) {
                sortColumn = c.get();
                break;
            }
        TField* sortField = sortColumn ? t->FindField(sortColumn->FieldName()) : nullptr;
        auto sortRows = [&](std::vector<int>& rows) {
            if (!sortField) return;
            bool desc = sortColumn->SortOrder == TcxSortOrder::soDescending;
            std::stable_sort(rows.begin(), rows.end(), [&](int a, int b) {
                int r = t->CompareRowCells(*sortField, a, b, true);
                return desc ? r > 0 : r < 0;
            });
        };

        std::function<void(std::vector<int>, TcxTreeListNode*, std::vector<TcxTreeListNode*>&)> place =
            [&](std::vector<int> rows, TcxTreeListNode* parent, std::vector<TcxTreeListNode*>& into) {
                sortRows(rows);
                for (int row : rows) {
                    if (rowToNode_[static_cast<size_t>(row)]) continue;  // each row is one node at most
                    auto& slot = storage_[t->RowBookmark(row)];
                    if (!slot) slot = std::make_unique<TcxTreeListNode>();
                    TcxTreeListNode* n = slot.get();
                    n->values_.clear();
                    n->texts_.clear();
                    n->tree_ = this;
                    n->parent_ = parent;
                    n->level_ = parent ? parent->level_ + 1 : 0;
                    n->index_ = static_cast<int>(into.size());
                    n->row_ = row;
                    n->bookmark_ = t->RowBookmark(row);
                    n->key_ = t->RowValue(row, *keyField);
                    n->parentKey_ = t->RowValue(row, *parentField);
                    n->absoluteIndex_ = static_cast<int>(all_.size());
                    n->expanded_ = !n->key_.IsNull() && expandedKeys_.count(n->key_.AsString()) > 0;
                    for (size_t c = 0; c < columns_.size(); ++c) {
                        TField* f = colFields[c];
                        n->values_.push_back(f ? t->RowValue(row, *f) : Variant());
                        n->texts_.push_back(f ? f->CellDisplayText(t->Cell(row, f->Index())) : std::string());
                    }
                    rowToNode_[static_cast<size_t>(row)] = n;
                    into.push_back(n);
                    all_.push_back(n);
                    if (n->key_.IsNull()) continue;
                    auto it = byParent.find(n->key_.AsString());
                    if (it != byParent.end()) {
                        std::vector<int> kids = std::move(it->second);
                        byParent.erase(it);
                        place(std::move(kids), n, n->children_);
                    }
                }
            };
        place(rootRows, nullptr, roots_);
    }

    // The same row keeps its focus quietly; another row focused is a change.
    TcxTreeListNode* now = nullptr;
    if (t && t->Active() && t->RecordCount() > 0) now = NodeOfRow(t->CurRec());
    if (now && now->bookmark_ == focusedBookmark) {
        focused_ = now;
        return;
    }
    focused_ = nullptr;
    if (now || focusedBookmark) {
        if (OnFocusedNodeChanged) {
            focused_ = now;
            OnFocusedNodeChanged(*this, nullptr, now);
        } else {
            focused_ = now;
        }
    }
}

// ---- the user's side ----------------------------------------------------------------------------

Variant TcxDBTreeList::MainValue() const { return focused_ ? focused_->KeyValue() : Variant(); }

void TcxDBTreeList::UserItem(int index) {
    hitNode_ = HitTest(index);
    SetFocusedNode(hitNode_);
    DoClick();
}

bool TcxDBTreeList::UserClickNode(TcxTreeListNode* node) { return UserClickAt(node, false); }

bool TcxDBTreeList::UserDblClickNode(TcxTreeListNode* node) { return UserClickAt(node, true); }

bool TcxDBTreeList::UserClickAt(TcxTreeListNode* node, bool twice) {
    if (!Reachable()) return false;
    return RunUserAction([&] {
        if (!TakeUserFocus()) return false;
        hitNode_ = node;
        if (node) SetFocusedNode(node);
        DoClick();
        if (twice && OnDblClick) OnDblClick();
        return true;
    });
}

bool TcxDBTreeList::UserFocusNode(TcxTreeListNode* node) {
    if (!Reachable()) return false;
    return RunUserAction([&] {
        if (!TakeUserFocus()) return false;
        if (node) SetFocusedNode(node);
        return true;
    });
}

bool TcxDBTreeList::DragOver(int line) {
    bool accept = false;
    if (OnDragOver) OnDragOver(*this, line, accept);
    return accept;
}
