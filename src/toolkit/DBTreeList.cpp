#include "toolkit/DBTreeList.h"

#include <algorithm>
#include <unordered_map>

#include "base/Exceptions.h"
#include "toolkit/TreeRowIndex.h"

// ---- nodes --------------------------------------------------------------------------------------

void TcxTreeListNode::SetExpanded(bool value) {
    if (row_ >= 0 && expanded_ != value) tree_->collapsed_ += value ? -1 : 1;  // a placed node
    expanded_ = value;
    tree_->expandedKeys_.Set(key_, value);
    expandedRead_ = tree_->expandedKeys_.Changes();  // the keys now hold value for key_
}

int TcxTreeListNode::AbsoluteIndex() const {
    if (tree_ && row_ >= 0) tree_->EnsureAbsolute();
    return absoluteIndex_;
}

void TcxTreeListNode::FreshMade() const {
    if (tree_ && textsEpoch_ != tree_->textsEpoch_) {
        made_.assign(cells_.size(), 0);
        textsEpoch_ = tree_->textsEpoch_;
    }
    if (made_.size() != cells_.size()) made_.assign(cells_.size(), 0);
}

// ---- expanded keys ------------------------------------------------------------------------------

namespace {

// The integer a key's text spells exactly ("12", "-1"; not "012" or "1.0"), if any.
bool TextIsInteger(const std::string& text, int64_t& out) {
    if (text.empty() || text.size() > 20) return false;
    try {
        size_t used = 0;
        long long v = std::stoll(text, &used);
        if (used != text.size() || std::to_string(v) != text) return false;
        out = v;
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

void TExpandedKeys::Set(const Variant& key, bool expanded) {
    int64_t i = 0;
    bool changed = false;
    if (key.type() == Variant::Type::Integer) {
        changed = expanded ? ints_.insert(key.AsInt64()).second : ints_.erase(key.AsInt64()) > 0;
    } else {
        std::string text = key.AsString();
        if (TextIsInteger(text, i)) changed = expanded ? ints_.insert(i).second : ints_.erase(i) > 0;
        else changed = expanded ? texts_.insert(text).second : texts_.erase(text) > 0;
    }
    if (!changed) return;
    static uint64_t lastChange = 0;
    changes_ = ++lastChange;
    if (!expanded) ++erases_;
}

bool TExpandedKeys::Has(const Variant& key) const {
    if (key.type() == Variant::Type::Integer) return ints_.count(key.AsInt64()) > 0;
    std::string text = key.AsString();
    int64_t i = 0;
    if (TextIsInteger(text, i)) return ints_.count(i) > 0;
    return texts_.count(text) > 0;
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

const std::string& TcxTreeListNode::Texts(int columnIndex) const {
    size_t c = static_cast<size_t>(columnIndex);
    if (c >= cells_.size()) return texts_.at(c);  // raises as an index out of range does
    FreshMade();
    if (texts_.size() < cells_.size()) texts_.resize(cells_.size());
    if (!(made_[c] & 1)) {
        const TField* f = tree_->ColumnField(columnIndex);
        texts_[c] = f ? f->CellDisplayText(cells_[c]) : std::string();
        made_[c] |= 1;
    }
    return texts_[c];
}

const Variant& TcxTreeListNode::Values(int columnIndex) const {
    size_t c = static_cast<size_t>(columnIndex);
    if (c >= cells_.size()) return values_.at(c);
    FreshMade();
    if (values_.size() < cells_.size()) values_.resize(cells_.size());
    if (!(made_[c] & 2)) {
        const TField* f = tree_->ColumnField(columnIndex);
        values_[c] = f ? f->CellToVariant(cells_[c]) : Variant();
        made_[c] |= 2;
    }
    return values_[c];
}

// ---- the tree -----------------------------------------------------------------------------------

TcxDBTreeList::TcxDBTreeList(std::string name) : TControl(nullptr, std::move(name)) {}

TcxDBTreeList::TcxDBTreeList(TForm* owner, std::string name, TControl* parent)
    : TControl(owner, std::move(name), parent) {}

TcxDBTreeList::~TcxDBTreeList() {
    if (DataSet()) DataSet()->RemoveObserver(this);
    LeaveNodes();
}

namespace {

uint64_t NextBindingEpoch() {
    static uint64_t last = 0;
    return ++last;
}


// The node objects of trees gone, by table and binding, the latest first; a few at most.
struct TLeftNodes {
    const TdxMemData* table = nullptr;
    std::vector<int> binding;
    uint64_t epoch = 0;
    std::vector<std::unique_ptr<TcxTreeListNode[]>> blocks;
    std::unordered_map<TBookmark, std::unique_ptr<TcxTreeListNode>> others;
};
std::vector<TLeftNodes>& LeftNodes() {
    // Never destroyed: a tree that goes away at the program's exit, after this list would have,
    // still leaves its nodes here.
    static auto* left = new std::vector<TLeftNodes>;
    return *left;
}
constexpr size_t kLeftNodes = 3;

}  // namespace

uint64_t TcxDBTreeList::NextTextsEpoch() {
    static uint64_t last = 0;
    return ++last;
}

template <class F>
void TcxDBTreeList::ForEachNodeObject(F&& f) {
    for (auto& block : nodeBlocks_)
        if (block)
            for (int i = 0; i < kNodeBlock; ++i) f(&block[static_cast<size_t>(i)]);
    for (auto& [b, n] : storage_) f(n.get());
}

void TcxDBTreeList::LeaveNodes() {
    const TdxMemData* t = DataSet();
    if (!t || placedBinding_.empty() || (nodeBlocks_.empty() && storage_.empty())) return;
    // Nodes detached: each is placed again by the tree that takes it.
    auto detach = [](TcxTreeListNode* n) {
        n->tree_ = nullptr;
        n->parent_ = nullptr;
        n->children_.clear();
        n->row_ = -1;
        n->absoluteIndex_ = -1;
    };
    ForEachNodeObject(detach);
    auto& left = LeftNodes();
    left.erase(std::remove_if(left.begin(), left.end(),
                              [&](const TLeftNodes& l) { return l.table == t && l.binding == placedBinding_; }),
               left.end());
    TLeftNodes mine;
    mine.table = t;
    mine.binding = placedBinding_;
    mine.epoch = bindingEpoch_;
    mine.blocks = std::move(nodeBlocks_);
    mine.others = std::move(storage_);
    left.insert(left.begin(), std::move(mine));
    if (left.size() > kLeftNodes) left.pop_back();
    roots_.clear();
    all_.clear();
    absoluteStale_ = false;
    collapsed_ = 0;
    rowToNode_.clear();
    rowNodes_.clear();
    rowNodesVersion_ = 0;
    shownBits_.clear();
    builtFrom_.followable = false;
    focused_ = nullptr;
}

bool TcxDBTreeList::TakeLeftNodes(const std::vector<int>& binding) {
    if (!nodeBlocks_.empty() || !storage_.empty()) return false;
    auto& left = LeftNodes();
    const TdxMemData* t = DataSet();
    for (auto it = left.begin(); it != left.end(); ++it) {
        if (it->table != t || it->binding != binding) continue;
        nodeBlocks_ = std::move(it->blocks);
        storage_ = std::move(it->others);
        bindingEpoch_ = it->epoch;
        left.erase(it);
        ForEachNodeObject([this](TcxTreeListNode* n) { n->tree_ = this; });
        return true;
    }
    return false;
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

TcxDBTreeListColumn* TcxDBTreeList::SortedColumn() const {
    for (const auto& c : columns_)
        if (c->SortOrder != TcxSortOrder::soNone) return c.get();
    return nullptr;
}

template <class Visit>
void TcxDBTreeList::WalkDepthFirst(bool expandedOnly, Visit&& visit) const {
    // Each level's place is kept on a stack.
    std::vector<std::pair<const std::vector<TcxTreeListNode*>*, size_t>> stack{{&roots_, 0}};
    while (!stack.empty()) {
        auto& [nodes, next] = stack.back();
        if (next >= nodes->size()) {
            stack.pop_back();
            continue;
        }
        TcxTreeListNode* n = (*nodes)[next++];
        if (!visit(n)) return;
        if ((!expandedOnly || n->expanded_) && !n->children_.empty()) stack.push_back({&n->children_, 0});
    }
}

TcxTreeListNode* TcxDBTreeList::FindNodeByKeyValue(const Variant& key) const {
    EnsureAbsolute();
    std::string k = key.AsString();
    for (TcxTreeListNode* n : all_)
        if (!n->key_.IsNull() && n->key_.AsString() == k) return n;
    return nullptr;
}

std::vector<TcxTreeListNode*> TcxDBTreeList::VisibleNodes() const { return VisibleNodes(0, -1); }

std::vector<TcxTreeListNode*> TcxDBTreeList::VisibleNodes(int firstLine, int count) const {
    std::vector<TcxTreeListNode*> out;
    if (count == 0) return out;
    int line = 0;
    WalkDepthFirst(true, [&](TcxTreeListNode* n) {
        if (line++ < firstLine) return true;
        out.push_back(n);
        return count < 0 || out.size() < static_cast<size_t>(count);
    });
    return out;
}

TcxTreeListNode* TcxDBTreeList::HitTest(int line) const {
    if (line < 0) return nullptr;
    std::vector<TcxTreeListNode*> shown = VisibleNodes(line, 1);
    return shown.empty() ? nullptr : shown[0];
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
    // Every node expanded with its key kept already: the walk would change nothing.
    if (collapsed_ == 0 && erasesSeen_ == expandedKeys_.Erases()) return;
    EnsureAbsolute();
    for (TcxTreeListNode* n : all_) n->SetExpanded(true);
    erasesSeen_ = expandedKeys_.Erases();
}

void TcxDBTreeList::FullCollapse() {
    EnsureAbsolute();
    for (TcxTreeListNode* n : all_) n->SetExpanded(false);
    erasesSeen_ = expandedKeys_.Erases();
}

void TcxDBTreeList::EnsureAbsolute() const {
    if (!absoluteStale_) return;
    absoluteStale_ = false;
    all_.clear();
    // Each node before its children, as a rebuild places them.
    WalkDepthFirst(false, [&](TcxTreeListNode* n) {
        n->absoluteIndex_ = static_cast<int>(all_.size());
        all_.push_back(n);
        return true;
    });
}

void TcxDBTreeList::ReadExpandedAgain() {
    EnsureAbsolute();
    collapsed_ = 0;
    for (TcxTreeListNode* n : all_) {
        n->expanded_ = !n->key_.IsNull() && expandedKeys_.Has(n->key_);
        n->expandedRead_ = expandedKeys_.Changes();
        if (!n->expanded_) ++collapsed_;
    }
    erasesSeen_ = expandedKeys_.Erases();
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
    if (event == TDataEvent::DataSetChange) {
        TdxMemData* t = DataSet();
        std::vector<int> shown;
        if (t && t->Active()) shown = t->VisibleRows();
        if (!BuiltFromMatches(shown)) {
            if (!SameSourceAsBuilt() || !FollowShown(shown)) Rebuild();
            return;
        }
        // The same rows in the same order: the nodes stand. What a rebuild would still do is
        // done here: texts made again when read, expanded states read again, the focus.
        TBookmark focusedBookmark = focused_ ? focused_->bookmark_ : 0;
        focused_ = nullptr;
        textsEpoch_ = NextTextsEpoch();
        if (builtFrom_.expandedChanges != expandedKeys_.Changes()) ReadExpandedAgain();
        builtFrom_.expandedChanges = expandedKeys_.Changes();
        FocusAfterRebuild(focusedBookmark);
    } else if (event == TDataEvent::DataSetScroll) {
        SyncFocusToCursor();
    }
}

void TcxDBTreeList::RecordBuiltFrom(std::vector<int> shown) {
    TdxMemData* t = DataSet();
    builtFrom_.valid = true;
    builtFrom_.table = t;
    builtFrom_.rowsVersion = t ? t->RowsVersion() : 0;
    builtFrom_.fieldCount = t ? t->FieldCount() : 0;
    builtFrom_.shown = std::move(shown);
    builtFrom_.keyField = KeyField;
    builtFrom_.parentField = ParentField;
    builtFrom_.rootValue = RootValue;
    builtFrom_.columns.clear();
    for (const auto& c : columns_) builtFrom_.columns.emplace_back(c->FieldName(), c->SortOrder);
    builtFrom_.expandedChanges = expandedKeys_.Changes();
}

bool TcxDBTreeList::BuiltFromMatches(const std::vector<int>& shown) const {
    return SameSourceAsBuilt() && builtFrom_.shown == shown;
}

bool TcxDBTreeList::SameSourceAsBuilt() const {
    TdxMemData* t = DataSet();
    // Only a tree built over an open table keeps its nodes: a closed one is rebuilt each time.
    if (!builtFrom_.valid || !t || !t->Active() || builtFrom_.table != t) return false;
    if (builtFrom_.rowsVersion != t->RowsVersion() || builtFrom_.fieldCount != t->FieldCount()) return false;
    if (builtFrom_.keyField != KeyField || builtFrom_.parentField != ParentField ||
        !(builtFrom_.rootValue == RootValue) || builtFrom_.columns.size() != columns_.size())
        return false;
    for (size_t i = 0; i < columns_.size(); ++i)
        if (builtFrom_.columns[i].first != columns_[i]->FieldName() ||
            builtFrom_.columns[i].second != columns_[i]->SortOrder)
            return false;
    return true;
}

TcxTreeListNode& TcxDBTreeList::NodeOfBookmark(TBookmark bookmark) {
    // Bookmarks are given out counting up from 1: most find their node by index.
    constexpr TBookmark kIndexed = 1 << 24;
    if (bookmark > 0 && bookmark < kIndexed) {
        const size_t b = static_cast<size_t>(bookmark) >> kNodeBlockBits;
        if (b >= nodeBlocks_.size()) nodeBlocks_.resize(b * 2 + 1);
        if (!nodeBlocks_[b]) nodeBlocks_[b] = std::make_unique<TcxTreeListNode[]>(kNodeBlock);
        return nodeBlocks_[b][static_cast<size_t>(bookmark) & (kNodeBlock - 1)];
    }
    std::unique_ptr<TcxTreeListNode>& slot = storage_[bookmark];
    if (!slot) slot = std::make_unique<TcxTreeListNode>();
    return *slot;
}

const TField* TcxDBTreeList::ColumnField(int column) const {
    TdxMemData* t = DataSet();
    if (!t || column < 0 || column >= static_cast<int>(columnFields_.size())) return nullptr;
    int f = columnFields_[static_cast<size_t>(column)];
    return f >= 0 && f < t->FieldCount() ? &t->Fields(f) : nullptr;
}

using treerows::KeyColumnsOf;
using treerows::RootAsInteger;
using treerows::ShownAsInteger;
using treerows::TKeyColumns;
using treerows::TParentIndex;

TcxTreeListNode* TcxDBTreeList::PlaceNode(const TdxMemData& t, const TField& keyField, const TField& parentField,
                                          int row, TcxTreeListNode* parent, int level, TcxTreeListNode* hint) {
    const size_t columnCount = columns_.size();
    const uint64_t rowsVersion = t.RowsVersion();
    if (rowNodesVersion_ != rowsVersion || rowNodes_.size() != static_cast<size_t>(t.RowCount())) {
        rowNodes_.assign(static_cast<size_t>(t.RowCount()), nullptr);
        rowNodesVersion_ = rowsVersion;
    }
    TcxTreeListNode*& ofRow = rowNodes_[static_cast<size_t>(row)];
    TcxTreeListNode* n = ofRow;
    if (!n) {
        const TBookmark bookmark = t.RowBookmark(row);
        n = hint && hint->bookmark_ == bookmark ? hint : &NodeOfBookmark(bookmark);
        n->bookmark_ = bookmark;
        ofRow = n;
    }
    n->tree_ = this;
    n->parent_ = parent;
    n->level_ = level;
    n->row_ = row;
    // A node placed over the same version of the rows holds their values already.
    const bool current =
        n->rowsVersion_ == rowsVersion && n->bindingEpoch_ == bindingEpoch_ && n->cells_.size() == columnCount;
    if (!current) {
        n->key_ = t.RowValue(row, keyField);
        n->parentKey_ = t.RowValue(row, parentField);
        // The cells as they stand now; texts and values are made again when read. Room for
        // texts and values is made when the first is read: most nodes of a large tree are never
        // drawn.
        n->cells_.resize(columnCount);
        if (n->texts_.size() > columnCount) n->texts_.resize(columnCount);
        if (n->values_.size() > columnCount) n->values_.resize(columnCount);
        for (size_t c = 0; c < columnCount; ++c) {
            int f = columnFields_[c];
            if (f < 0) {
                n->cells_[c] = TCell{};
                continue;
            }
            if (!t.SameCell(row, f, n->cells_[c])) n->cells_[c] = t.Cell(row, f);
        }
        n->rowsVersion_ = rowsVersion;
        n->bindingEpoch_ = bindingEpoch_;
    }
    // Its state read under the same keys, for the same key, stands.
    if (!current || n->expandedRead_ != expandedKeys_.Changes()) {
        n->expanded_ = !n->key_.IsNull() && expandedKeys_.Has(n->key_);
        n->expandedRead_ = expandedKeys_.Changes();
    }
    if (!n->expanded_) ++collapsed_;
    rowToNode_[static_cast<size_t>(row)] = n;
    return n;
}

void TcxDBTreeList::DetachNode(TcxTreeListNode* node) {
    if (node->row_ >= 0 && static_cast<size_t>(node->row_) < rowToNode_.size() &&
        rowToNode_[static_cast<size_t>(node->row_)] == node)
        rowToNode_[static_cast<size_t>(node->row_)] = nullptr;
    if (node->row_ >= 0 && !node->expanded_) --collapsed_;
    node->parent_ = nullptr;
    node->children_.clear();
    node->level_ = 0;
    node->index_ = 0;
    node->absoluteIndex_ = -1;
    node->row_ = -1;
}

void TcxDBTreeList::Rebuild() {
    TBookmark focusedBookmark = focused_ ? focused_->bookmark_ : 0;
    focused_ = nullptr;
    builtFrom_.valid = false;
    builtFrom_.followable = false;
    textsEpoch_ = NextTextsEpoch();
    // Every node is detached until placed again; those not placed last time are detached already.
    for (TcxTreeListNode* node : rowToNode_)
        if (node) DetachNode(node);
    roots_.clear();
    all_.clear();
    absoluteStale_ = false;
    collapsed_ = 0;
    shownBits_.clear();
    // The node of each row last time: a row that kept its place finds its node without a search.
    std::vector<TcxTreeListNode*> previousNodes;
    previousNodes.swap(rowToNode_);

    TdxMemData* t = DataSet();
    TField* keyField = t ? t->FindField(KeyField) : nullptr;
    TField* parentField = t ? t->FindField(ParentField) : nullptr;
    columnFields_.clear();
    if (t && t->Active() && keyField && parentField) {
        rowToNode_.assign(static_cast<size_t>(t->RowCount()), nullptr);
        for (const auto& c : columns_) {
            TField* f = t->FindField(c->FieldName());
            columnFields_.push_back(f ? f->Index() : -1);
        }
        // Columns, key or parent bound anew: every node reads its cells again.
        std::vector<int> binding = columnFields_;
        binding.push_back(keyField->Index());
        binding.push_back(parentField->Index());
        if (binding != placedBinding_) {
            if (!TakeLeftNodes(binding)) bindingEpoch_ = NextBindingEpoch();
            placedBinding_ = std::move(binding);
        }

        // Rows the table shows, grouped by their parent key.
        std::vector<int> shown = t->VisibleRows();
        all_.reserve(shown.size());
        TParentIndex byParent(*t, *keyField, *parentField, shown);
        std::vector<int> rootRows;
        byParent.Add(shown, RootValue, rootRows);

        // Children stand in the order of the sorted column, ties in table order.
        TcxDBTreeListColumn* sortColumn = SortedColumn();
        TField* sortField = sortColumn ? t->FindField(sortColumn->FieldName()) : nullptr;
        const bool desc = sortColumn && sortColumn->SortOrder == TcxSortOrder::soDescending;
        // Rows shown in table order are ordered among their siblings by the places all rows of
        // the table take among theirs, kept while the rows don't change: a new filter over the
        // same rows compares no texts. The places are worked out when none are kept and the
        // tree shows half the table or more, so that a narrow tree never pays for the whole.
        const TSiblingPlaces* kept = nullptr;
        if (sortField && std::adjacent_find(shown.begin(), shown.end(), std::greater_equal<int>()) == shown.end()) {
            kept = FindSiblingPlaces(*keyField, *parentField, *sortField, desc, byParent.Ints());
            if (!kept && shown.size() * 2 >= static_cast<size_t>(t->RowCount())) {
                MakeSiblingPlaces(*keyField, *parentField, *sortField, desc);
                kept = FindSiblingPlaces(*keyField, *parentField, *sortField, desc, byParent.Ints());
            }
        }
        auto sortRows = [&](std::vector<int>& rows) {
            if (!sortField || rows.size() < 2) return;
            if (kept) {
                const std::vector<uint32_t>& places = kept->place;
                std::sort(rows.begin(), rows.end(), [&](int a, int b) {
                    return places[static_cast<size_t>(a)] < places[static_cast<size_t>(b)];
                });
                return;
            }
            std::stable_sort(rows.begin(), rows.end(), [&](int a, int b) {
                int r = t->CompareRowCells(*sortField, a, b, true);
                return desc ? r > 0 : r < 0;
            });
        };

        // Depth first: each node, then its children; a level's rows wait on a stack.
        struct TLevel {
            std::vector<int> rows;
            size_t next = 0;
            TcxTreeListNode* parent = nullptr;
        };
        std::vector<TLevel> stack(1);
        stack[0].rows = std::move(rootRows);
        sortRows(stack[0].rows);
        std::vector<int> kids;
        while (!stack.empty()) {
            TLevel& level = stack.back();
            if (level.next >= level.rows.size()) {
                stack.pop_back();
                continue;
            }
            const int row = level.rows[level.next++];
            if (rowToNode_[static_cast<size_t>(row)]) continue;  // each row is one node at most
            TcxTreeListNode* parent = level.parent;
            std::vector<TcxTreeListNode*>& into = parent ? parent->children_ : roots_;
            TcxTreeListNode* hint =
                static_cast<size_t>(row) < previousNodes.size() ? previousNodes[static_cast<size_t>(row)] : nullptr;
            TcxTreeListNode* n = PlaceNode(*t, *keyField, *parentField, row, parent, parent ? parent->level_ + 1 : 0, hint);
            n->index_ = static_cast<int>(into.size());
            n->absoluteIndex_ = static_cast<int>(all_.size());
            into.push_back(n);
            all_.push_back(n);
            if (byParent.Take(row, kids)) {
                TLevel below;
                below.rows.swap(kids);
                below.parent = n;
                sortRows(below.rows);
                stack.push_back(std::move(below));  // level is not used past here
            }
        }
        // Built from the kept lists over unique parent keys and ordered by kept places (or not
        // sorted): the next filter over these rows can be followed node by node.
        const TKeyColumns::TChildLists* lists = byParent.Lists();
        const bool followable = lists && lists->uniqueKeys && (!sortField || kept);
        RecordBuiltFrom(std::move(shown));
        builtFrom_.followable = followable;
        if (followable) shownBits_ = byParent.TakeShown();
    }
    erasesSeen_ = expandedKeys_.Erases();
    FocusAfterRebuild(focusedBookmark);
}

namespace {

// The places last made, by any tree: a tree made anew over rows that another tree has ordered
// (the chooser's, or the pane's before the explorer closed) takes them as they are.
std::vector<std::shared_ptr<const TcxDBTreeList::TSiblingPlaces>>& SharedSiblingPlaces() {
    static auto* kept = new std::vector<std::shared_ptr<const TcxDBTreeList::TSiblingPlaces>>;  // never destroyed
    return *kept;
}
constexpr size_t kSharedSiblingPlaces = 4;

}  // namespace

bool TcxDBTreeList::SiblingPlacesFit(const TSiblingPlaces* p, const TField& key, const TField& parent,
                                     const TField& sort, bool desc, bool ints) const {
    const TdxMemData* t = DataSet();
    return p && p->valid && p->rowsVersion == t->RowsVersion() && p->fieldCount == t->FieldCount() &&
           p->keyField == key.Index() && p->parentField == parent.Index() && p->sortField == sort.Index() &&
           p->desc == desc && p->ints == ints && p->rootValue == RootValue &&
           p->place.size() == static_cast<size_t>(t->RowCount());
}

const TcxDBTreeList::TSiblingPlaces* TcxDBTreeList::FindSiblingPlaces(const TField& key, const TField& parent,
                                                                      const TField& sort, bool desc, bool ints) {
    if (SiblingPlacesFit(siblingPlaces_.get(), key, parent, sort, desc, ints)) return siblingPlaces_.get();
    for (const auto& p : SharedSiblingPlaces())
        if (SiblingPlacesFit(p.get(), key, parent, sort, desc, ints)) {
            siblingPlaces_ = p;
            return p.get();
        }
    return nullptr;
}

void TcxDBTreeList::MakeSiblingPlaces(const TField& key, const TField& parent, const TField& sort, bool desc) {
    TdxMemData* t = DataSet();
    auto p = std::make_shared<TSiblingPlaces>();
    std::vector<int> all(static_cast<size_t>(t->RowCount()));
    for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
    TParentIndex byParent(*t, key, parent, all);
    std::vector<int> roots;
    byParent.Add(all, RootValue, roots);
    p->place.assign(all.size(), 0);
    auto order = [&](std::vector<int>& rows) {
        // As a rebuild orders the siblings it shows: by the column, ties in table order.
        std::stable_sort(rows.begin(), rows.end(), [&](int a, int b) {
            int r = t->CompareRowCells(sort, a, b, true);
            return desc ? r > 0 : r < 0;
        });
        for (size_t i = 0; i < rows.size(); ++i) p->place[static_cast<size_t>(rows[i])] = static_cast<uint32_t>(i);
    };
    order(roots);
    byParent.ForEachGroup(order);
    p->valid = true;
    p->rowsVersion = t->RowsVersion();
    p->fieldCount = t->FieldCount();
    p->keyField = key.Index();
    p->parentField = parent.Index();
    p->sortField = sort.Index();
    p->desc = desc;
    p->ints = byParent.Ints();
    p->rootValue = RootValue;
    siblingPlaces_ = p;
    auto& shared = SharedSiblingPlaces();
    shared.insert(shared.begin(), siblingPlaces_);
    if (shared.size() > kSharedSiblingPlaces) shared.pop_back();
}

void TcxDBTreeList::FocusAfterRebuild(TBookmark focusedBookmark) {
    TdxMemData* t = DataSet();
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
