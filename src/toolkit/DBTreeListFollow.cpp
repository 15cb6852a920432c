// How a tree follows a filter that shows other rows of the same version: the nodes of the rows
// that went are dropped with all below them, those of the rows that came are placed with their
// shown rows below, and every other node stands, in the order, with the expanded state and the
// focus a rebuild would give.
#include <algorithm>

#include "toolkit/DBTreeList.h"
#include "toolkit/TreeRowIndex.h"

using treerows::KeyColumnsOf;
using treerows::RootAsInteger;
using treerows::TKeyColumns;

bool TcxDBTreeList::FollowShown(const std::vector<int>& shown) {
    TdxMemData* t = DataSet();
    if (!builtFrom_.followable || !t || !t->Active()) return false;
    const size_t rowCount = static_cast<size_t>(t->RowCount());
    if (rowToNode_.size() != rowCount || shownBits_.size() != rowCount) return false;
    // The rows listed in table order, each once.
    if (std::adjacent_find(shown.begin(), shown.end(), std::greater_equal<int>()) != shown.end()) return false;
    if (!shown.empty() && (shown.front() < 0 || static_cast<size_t>(shown.back()) >= rowCount)) return false;
    TField* keyField = t->FindField(KeyField);
    TField* parentField = t->FindField(ParentField);
    if (!keyField || !parentField) return false;
    std::vector<int> binding;
    for (const auto& c : columns_) {
        TField* f = t->FindField(c->FieldName());
        binding.push_back(f ? f->Index() : -1);
    }
    binding.push_back(keyField->Index());
    binding.push_back(parentField->Index());
    if (binding != placedBinding_) return false;
    if (!treerows::ShownAsInteger(*keyField) || !treerows::ShownAsInteger(*parentField)) return false;
    const std::shared_ptr<const TKeyColumns> cols = KeyColumnsOf(*t, *keyField, *parentField);
    if (!cols->allInts || cols->key.size() != rowCount) return false;
    int64_t rootInt = 0;
    const bool rootIsInt = RootAsInteger(RootValue, rootInt);
    const TKeyColumns::TChildLists& lists = cols->ChildLists(rootIsInt, rootInt);
    if (!lists.uniqueKeys) return false;

    // Siblings stand by their kept places (as a rebuild of rows in table order takes them), or in
    // table order when nothing is sorted.
    TcxDBTreeListColumn* sortColumn = SortedColumn();
    TField* sortField = sortColumn ? t->FindField(sortColumn->FieldName()) : nullptr;
    const TSiblingPlaces* kept = nullptr;
    if (sortField) {
        const bool desc = sortColumn->SortOrder == TcxSortOrder::soDescending;
        kept = FindSiblingPlaces(*keyField, *parentField, *sortField, desc, true);
        if (!kept && shown.size() * 2 >= rowCount) {
            MakeSiblingPlaces(*keyField, *parentField, *sortField, desc);
            kept = FindSiblingPlaces(*keyField, *parentField, *sortField, desc, true);
        }
        if (!kept) return false;
    }
    auto placeOf = [&](int row) -> int64_t { return kept ? kept->place[static_cast<size_t>(row)] : row; };
    auto byPlace = [&](TcxTreeListNode* a, TcxTreeListNode* b) { return placeOf(a->row_) < placeOf(b->row_); };

    TBookmark focusedBookmark = focused_ ? focused_->bookmark_ : 0;
    focused_ = nullptr;
    textsEpoch_ = NextTextsEpoch();

    // The rows gone and come, both lists being in table order.
    std::vector<int> gone, came;
    {
        const std::vector<int>& before = builtFrom_.shown;
        size_t i = 0, j = 0;
        while (i < before.size() || j < shown.size()) {
            if (j >= shown.size() || (i < before.size() && before[i] < shown[j])) gone.push_back(before[i++]);
            else if (i >= before.size() || shown[j] < before[i]) came.push_back(shown[j++]);
            else ++i, ++j;
        }
    }

    // The nodes of the rows gone leave with all below them; their parents' lists are closed up.
    std::vector<TcxTreeListNode*> closeUp;
    bool rootsChanged = false;
    std::vector<TcxTreeListNode*> below;
    for (int row : gone) {
        shownBits_[static_cast<size_t>(row)] = 0;
        TcxTreeListNode* n = rowToNode_[static_cast<size_t>(row)];
        if (!n) continue;
        if (n->parent_) closeUp.push_back(n->parent_);
        else rootsChanged = true;
        below.assign(1, n);
        while (!below.empty()) {
            TcxTreeListNode* m = below.back();
            below.pop_back();
            below.insert(below.end(), m->children_.begin(), m->children_.end());
            DetachNode(m);
        }
    }
    auto renumber = [](std::vector<TcxTreeListNode*>& list) {
        for (size_t i = 0; i < list.size(); ++i) list[i]->index_ = static_cast<int>(i);
    };
    auto closeUpList = [&](std::vector<TcxTreeListNode*>& list) {
        list.erase(std::remove_if(list.begin(), list.end(), [](TcxTreeListNode* m) { return m->row_ < 0; }),
                   list.end());
        renumber(list);
    };
    std::sort(closeUp.begin(), closeUp.end());
    closeUp.erase(std::unique(closeUp.begin(), closeUp.end()), closeUp.end());
    for (TcxTreeListNode* p : closeUp)
        if (p->row_ >= 0) closeUpList(p->children_);
    if (rootsChanged) closeUpList(roots_);

    // The rows come whose parent stands (or that are roots) are placed with their shown rows
    // below; a row whose parent comes too is placed with it.
    for (int row : came) shownBits_[static_cast<size_t>(row)] = 1;
    std::vector<std::pair<TcxTreeListNode*, TcxTreeListNode*>> added;  // (parent, node); nullptr: a root
    std::vector<int> rows;
    for (int row : came) {
        const size_t r = static_cast<size_t>(row);
        if (rowToNode_[r] || cols->parentKind[r] != 1) continue;
        TcxTreeListNode* parent = nullptr;
        if (!(rootIsInt && cols->parent[r] == rootInt)) {
            const int g = lists.groupOfRow[r];
            const int parentRow = g < 0 ? -1 : lists.keyRow[static_cast<size_t>(g)];
            if (parentRow < 0) continue;
            parent = rowToNode_[static_cast<size_t>(parentRow)];
            if (!parent) continue;  // not shown, or under a row not shown: no node to hang it on
        }
        TcxTreeListNode* n = PlaceNode(*t, *keyField, *parentField, row, parent, nullptr);
        added.emplace_back(parent, n);
        below.assign(1, n);
        while (!below.empty()) {
            TcxTreeListNode* m = below.back();
            below.pop_back();
            const int g = lists.groupOfKey[static_cast<size_t>(m->row_)];
            if (g < 0) continue;
            rows.clear();
            for (int i = lists.start[static_cast<size_t>(g)]; i < lists.start[static_cast<size_t>(g) + 1]; ++i) {
                const int child = lists.rows[static_cast<size_t>(i)];
                if (shownBits_[static_cast<size_t>(child)] && !rowToNode_[static_cast<size_t>(child)])
                    rows.push_back(child);
            }
            if (rows.empty()) continue;
            if (kept)
                std::sort(rows.begin(), rows.end(), [&](int a, int b) { return placeOf(a) < placeOf(b); });
            m->children_.reserve(rows.size());
            for (int child : rows) {
                TcxTreeListNode* c = PlaceNode(*t, *keyField, *parentField, child, m, nullptr);
                c->index_ = static_cast<int>(m->children_.size());
                m->children_.push_back(c);
                below.push_back(c);
            }
        }
    }
    // Each parent's new children merged into the ones it kept, by place.
    std::stable_sort(added.begin(), added.end(),
                     [](const auto& a, const auto& b) { return std::less<TcxTreeListNode*>()(a.first, b.first); });
    std::vector<TcxTreeListNode*> merged, fresh;
    for (size_t i = 0; i < added.size();) {
        TcxTreeListNode* parent = added[i].first;
        fresh.clear();
        for (; i < added.size() && added[i].first == parent; ++i) fresh.push_back(added[i].second);
        std::sort(fresh.begin(), fresh.end(), byPlace);
        std::vector<TcxTreeListNode*>& list = parent ? parent->children_ : roots_;
        merged.clear();
        merged.reserve(list.size() + fresh.size());
        std::merge(list.begin(), list.end(), fresh.begin(), fresh.end(), std::back_inserter(merged), byPlace);
        list.swap(merged);
        renumber(list);
    }

    absoluteStale_ = true;
    if (builtFrom_.expandedChanges != expandedKeys_.Changes()) ReadExpandedAgain();
    RecordBuiltFrom(shown);
    builtFrom_.followable = true;
    FocusAfterRebuild(focusedBookmark);
    return true;
}
