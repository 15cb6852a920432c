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

    // Every shown row without a node gets one when its parent has one or gets one, or when it is
    // a root: the rows come, and rows shown before under a parent that comes now. Which rows, and
    // at what level, is worked out from the per-row lists alone; the nodes are then placed in
    // table order, which is the order they lie in memory, and each parent that gained children
    // lists its children again.
    for (int row : came) shownBits_[static_cast<size_t>(row)] = 1;
    // The row whose key the row's parent names: -1 for a root, -2 for none.
    auto parentRowOf = [&](size_t r) -> int {
        if (rootIsInt && cols->parent[r] == rootInt) return -1;
        const int g = lists.groupOfRow[r];
        const int parentRow = g < 0 ? -2 : lists.keyRow[static_cast<size_t>(g)];
        return parentRow < 0 ? -2 : parentRow;
    };
    constexpr int kUnknown = -1, kVisiting = -2, kNone = -3;
    std::vector<int> levelOf(rowCount, kUnknown);  // by row without a node: its level, or kNone
    std::vector<int> path;
    for (int row : shown) {
        if (rowToNode_[static_cast<size_t>(row)] || levelOf[static_cast<size_t>(row)] != kUnknown) continue;
        // Up the parents until one whose level is known, or one that has a node: the rows on
        // the way are below it, or (a parent not shown, none, or a loop) without a node.
        path.clear();
        int above = kNone;
        for (size_t at = static_cast<size_t>(row);;) {
            if (levelOf[at] != kUnknown) {
                above = levelOf[at] == kVisiting ? kNone : levelOf[at];
                break;
            }
            levelOf[at] = kVisiting;
            path.push_back(static_cast<int>(at));
            if (cols->parentKind[at] != 1) break;
            const int parentRow = parentRowOf(at);
            if (parentRow == -1) {
                above = -1;
                break;
            }
            if (parentRow < 0 || !shownBits_[static_cast<size_t>(parentRow)]) break;
            if (const TcxTreeListNode* p = rowToNode_[static_cast<size_t>(parentRow)]) {
                above = p->level_;
                break;
            }
            at = static_cast<size_t>(parentRow);
        }
        for (size_t i = path.size(); i-- > 0;)
            levelOf[static_cast<size_t>(path[i])] = above == kNone ? kNone : ++above;
    }
    std::vector<int> placed, late;  // rows given a node; those whose parent's node came after
    for (int row : shown) {
        const size_t r = static_cast<size_t>(row);
        if (levelOf[r] < 0) continue;
        const int parentRow = parentRowOf(r);
        TcxTreeListNode* parent = parentRow >= 0 ? rowToNode_[static_cast<size_t>(parentRow)] : nullptr;
        if (parentRow >= 0 && !parent) late.push_back(row);
        PlaceNode(*t, *keyField, *parentField, row, parent, levelOf[r], nullptr);
        placed.push_back(row);
    }
    for (int row : late)
        rowToNode_[static_cast<size_t>(row)]->parent_ =
            rowToNode_[static_cast<size_t>(parentRowOf(static_cast<size_t>(row)))];

    // Each parent that gained children lists the rows under it that have nodes, by place (or in
    // table order); the nodes before the first one that changed keep their index. The parents
    // are taken in table order, as their nodes lie.
    std::vector<uint8_t> gained(rowCount, 0);
    bool rootsGained = false;
    for (int row : placed) {
        const int parentRow = parentRowOf(static_cast<size_t>(row));
        if (parentRow < 0) rootsGained = true;
        else gained[static_cast<size_t>(parentRow)] = 1;
    }
    std::vector<int> rows;
    auto relist = [&](const int* begin, const int* end, std::vector<TcxTreeListNode*>& list) {
        rows.clear();
        for (const int* i = begin; i != end; ++i)
            if (rowToNode_[static_cast<size_t>(*i)]) rows.push_back(*i);
        if (kept) {
            const std::vector<uint32_t>& place = kept->place;
            std::sort(rows.begin(), rows.end(),
                      [&](int a, int b) { return place[static_cast<size_t>(a)] < place[static_cast<size_t>(b)]; });
        }
        size_t i = 0;
        while (i < rows.size() && i < list.size() && list[i] == rowToNode_[static_cast<size_t>(rows[i])]) ++i;
        list.resize(rows.size());
        for (; i < rows.size(); ++i) {
            TcxTreeListNode* n = rowToNode_[static_cast<size_t>(rows[i])];
            list[i] = n;
            n->index_ = static_cast<int>(i);
        }
    };
    for (size_t parentRow = 0; parentRow < rowCount; ++parentRow) {
        if (!gained[parentRow]) continue;
        const size_t g = static_cast<size_t>(lists.groupOfKey[parentRow]);
        relist(lists.rows.data() + lists.start[g], lists.rows.data() + lists.start[g + 1],
               rowToNode_[parentRow]->children_);
    }
    if (rootsGained) relist(lists.roots.data(), lists.roots.data() + lists.roots.size(), roots_);

    absoluteStale_ = true;
    if (builtFrom_.expandedChanges != expandedKeys_.Changes()) ReadExpandedAgain();
    RecordBuiltFrom(shown);
    builtFrom_.followable = true;
    FocusAfterRebuild(focusedBookmark);
    return true;
}
