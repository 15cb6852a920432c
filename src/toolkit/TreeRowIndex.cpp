#include "toolkit/TreeRowIndex.h"

#include <algorithm>

namespace treerows {

const TKeyColumns::TChildLists& TKeyColumns::ChildLists(bool rootIsInt, int64_t rootInt) const {
    TChildLists& l = lists;
    if (l.valid && l.rootIsInt == rootIsInt && l.rootInt == rootInt) return l;
    const size_t n = key.size();
    std::unordered_map<int64_t, int> groupOf;
    groupOf.reserve(n);
    std::vector<int>& groupOfRow = l.groupOfRow;
    std::vector<int> count;
    groupOfRow.assign(n, -1);
    l.roots.clear();
    for (size_t r = 0; r < n; ++r) {
        if (parentKind[r] != 1) continue;
        const int64_t v = parent[r];
        if (rootIsInt && v == rootInt) {
            l.roots.push_back(static_cast<int>(r));
            continue;
        }
        auto [it, added] = groupOf.emplace(v, static_cast<int>(count.size()));
        if (added) count.push_back(0);
        groupOfRow[r] = it->second;
        ++count[static_cast<size_t>(it->second)];
    }
    l.start.assign(count.size() + 1, 0);
    for (size_t g = 0; g < count.size(); ++g) l.start[g + 1] = l.start[g] + count[g];
    std::vector<int> next(l.start.begin(), l.start.end() - 1);
    l.rows.assign(static_cast<size_t>(l.start.back()), 0);
    for (size_t r = 0; r < n; ++r)
        if (groupOfRow[r] >= 0) l.rows[static_cast<size_t>(next[static_cast<size_t>(groupOfRow[r])]++)] = static_cast<int>(r);
    l.groupOfKey.assign(n, -1);
    l.keyRow.assign(count.size(), -1);
    l.uniqueKeys = true;
    for (size_t r = 0; r < n; ++r) {
        if (keyKind[r] != 1) continue;
        auto it = groupOf.find(key[r]);
        if (it == groupOf.end()) continue;
        l.groupOfKey[r] = it->second;
        int& k = l.keyRow[static_cast<size_t>(it->second)];
        if (k >= 0) l.uniqueKeys = false;
        else k = static_cast<int>(r);
    }
    l.rootIsInt = rootIsInt;
    l.rootInt = rootInt;
    l.valid = true;
    return l;
}

namespace {

uint8_t KindOf(const TCell& c, int64_t& out) {
    if (std::holds_alternative<std::monostate>(c)) return 0;
    if (const auto* i = std::get_if<int64_t>(&c)) {
        out = *i;
        return 1;
    }
    return 2;
}

}  // namespace

std::shared_ptr<const TKeyColumns> KeyColumnsOf(const TdxMemData& t, const TField& key, const TField& parent) {
    // The latest first, a few at most; never destroyed, as trees may still ask at the exit.
    static auto& kept = *new std::vector<std::shared_ptr<TKeyColumns>>;
    for (const auto& k : kept)
        if (k->rowsVersion == t.RowsVersion() && k->fieldCount == t.FieldCount() && k->keyField == key.Index() &&
            k->parentField == parent.Index() && k->key.size() == static_cast<size_t>(t.RowCount()))
            return k;
    auto k = std::make_shared<TKeyColumns>();
    k->rowsVersion = t.RowsVersion();
    k->fieldCount = t.FieldCount();
    k->keyField = key.Index();
    k->parentField = parent.Index();
    const size_t n = static_cast<size_t>(t.RowCount());
    k->key.assign(n, 0);
    k->parent.assign(n, 0);
    k->keyKind.assign(n, 0);
    k->parentKind.assign(n, 0);
    for (size_t r = 0; r < n; ++r) {
        k->keyKind[r] = KindOf(t.Cell(static_cast<int>(r), key.Index()), k->key[r]);
        k->parentKind[r] = KindOf(t.Cell(static_cast<int>(r), parent.Index()), k->parent[r]);
        k->allInts = k->allInts && k->keyKind[r] < 2 && k->parentKind[r] < 2;
    }
    kept.insert(kept.begin(), k);
    if (kept.size() > 4) kept.pop_back();
    return k;
}

bool RootAsInteger(const Variant& rootValue, int64_t& rootInt) {
    if (rootValue.IsNull()) return false;
    try {
        rootInt = rootValue.AsInt64();
        return std::to_string(rootInt) == rootValue.AsString();
    } catch (...) {
        return false;
    }
}

bool ShownAsInteger(const TField& f) {
    return f.DataType() != TFieldType::ftBoolean && f.DataType() != TFieldType::ftCurrency;
}

}  // namespace treerows
