#pragma once
// The rows of a tree's table filed under their parents: the key and parent columns read once per
// version of the rows as integers, every row filed under its parent per root value, and the index
// a tree builds its nodes from. Kept lists are shared by the trees over the same table.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Variant.h"
#include "store/MemData.h"

namespace treerows {


// The key and parent cells of every row as integers, read once per version of the rows and
// shared by the trees over the table (a version of the rows belongs to one table alone).
struct TKeyColumns {
    uint64_t rowsVersion = 0;
    int fieldCount = 0, keyField = -1, parentField = -1;
    std::vector<int64_t> key, parent;
    std::vector<uint8_t> keyKind, parentKind;  // 0 null, 1 integer, 2 anything else
    bool allInts = true;                        // no cell of either is a 2
    // Every row filed under its parent, in table order, for one root value; made when first
    // asked for.
    struct TChildLists {
        bool valid = false;
        bool rootIsInt = false;
        int64_t rootInt = 0;
        std::vector<int> roots;       // rows whose parent is the root value
        std::vector<int> start, rows; // group g's rows are rows[start[g] .. start[g + 1])
        std::vector<int> groupOfKey;  // by row: the group its key names, -1 for none
        std::vector<int> groupOfRow;  // by row: the group of its parent, -1 for a root or none
        std::vector<int> keyRow;      // by group: the row whose key names it, -1 for none
        bool uniqueKeys = true;       // no group is named by two rows' keys
    };
    mutable TChildLists lists;
    const TChildLists& ChildLists(bool rootIsInt, int64_t rootInt) const;
};

// The kept key and parent columns of a table's rows for its version now.
std::shared_ptr<const TKeyColumns> KeyColumnsOf(const TdxMemData& t, const TField& key, const TField& parent);
// Whether the root value stands for an integer when keys are matched as integers (its text is
// the integer's), and which.
bool RootAsInteger(const Variant& rootValue, int64_t& rootInt);
// Whether a field's values show as the integers they hold.
bool ShownAsInteger(const TField& f);

// The rows of each parent key. A key is matched by its text, as a value shows; when every key
// and parent cell is an integer of a field shown as an integer, the integers stand for the texts.
class TParentIndex {
public:
    TParentIndex(const TdxMemData& t, const TField& key, const TField& parent, const std::vector<int>& rows)
        : t_(t), key_(key), parent_(parent), kept_(KeyColumnsOf(t, key, parent)), cols_(*kept_) {
        ints_ = ShownAsInteger(key) && ShownAsInteger(parent);
        for (size_t i = 0; ints_ && i < rows.size(); ++i) {
            const size_t r = static_cast<size_t>(rows[i]);
            ints_ = cols_.keyKind[r] < 2 && cols_.parentKind[r] < 2;
        }
    }

    // Files the rows under their parents; a row whose parent is the root value goes to roots.
    void Add(const std::vector<int>& rows, const Variant& rootValue, std::vector<int>& roots) {
        std::string root = rootValue.AsString();
        int64_t rootInt = 0;
        const bool rootIsInt = ints_ && RootAsInteger(rootValue, rootInt);
        // Rows in table order over a table of integer keys: the kept lists, less the rows not
        // shown, are what filing them one by one gives.
        if (ints_ && cols_.allInts &&
            std::adjacent_find(rows.begin(), rows.end(), std::greater_equal<int>()) == rows.end()) {
            lists_ = &cols_.ChildLists(rootIsInt, rootInt);
            shown_.assign(cols_.key.size(), 0);
            for (int row : rows) shown_[static_cast<size_t>(row)] = 1;
            taken_.assign(lists_->start.size() - 1, 0);
            for (int row : lists_->roots)
                if (shown_[static_cast<size_t>(row)]) roots.push_back(row);
            return;
        }
        for (int row : rows) {
            if (ints_) {
                const size_t r = static_cast<size_t>(row);
                if (cols_.parentKind[r] == 0) continue;
                int64_t v = cols_.parent[r];
                if (rootIsInt && v == rootInt) roots.push_back(row);
                else byInt_[v].push_back(row);
            } else {
                const TCell p = t_.Cell(row, parent_.Index());
                if (std::holds_alternative<std::monostate>(p)) continue;
                std::string text = parent_.CellToVariant(p).AsString();
                if (!rootValue.IsNull() && text == root) roots.push_back(row);
                else byText_[text].push_back(row);
            }
        }
    }

    // Whether keys are matched as integers (otherwise by their texts).
    bool Ints() const { return ints_; }
    // The kept lists the rows were filed from, nullptr when filed one by one; and by row,
    // whether it is among the rows filed.
    const TKeyColumns::TChildLists* Lists() const { return lists_; }
    std::vector<uint8_t> TakeShown() { return std::move(shown_); }

    // Each parent's rows, as filed.
    template <class F>
    void ForEachGroup(F&& f) {
        if (lists_) {
            std::vector<int> rows;
            for (size_t g = 0; g + 1 < lists_->start.size(); ++g)
                if (!taken_[g] && ShownOfGroup(g, rows)) f(rows);
            return;
        }
        for (auto& [key, rows] : byInt_) f(rows);
        for (auto& [key, rows] : byText_) f(rows);
    }

    // Takes the rows filed under a row's key away (each parent's rows are placed once).
    bool Take(int row, std::vector<int>& out) {
        if (lists_) {
            const int g = lists_->groupOfKey[static_cast<size_t>(row)];
            if (g < 0 || taken_[static_cast<size_t>(g)]) return false;
            taken_[static_cast<size_t>(g)] = 1;
            return ShownOfGroup(static_cast<size_t>(g), out);
        }
        if (ints_) {
            const size_t r = static_cast<size_t>(row);
            if (cols_.keyKind[r] == 0) return false;
            auto it = byInt_.find(cols_.key[r]);
            if (it == byInt_.end()) return false;
            out = std::move(it->second);
            byInt_.erase(it);
            return true;
        }
        const TCell k = t_.Cell(row, key_.Index());
        if (std::holds_alternative<std::monostate>(k)) return false;
        auto it = byText_.find(key_.CellToVariant(k).AsString());
        if (it == byText_.end()) return false;
        out = std::move(it->second);
        byText_.erase(it);
        return true;
    }

private:
    bool ShownOfGroup(size_t g, std::vector<int>& out) const {
        out.clear();
        for (int i = lists_->start[g]; i < lists_->start[g + 1]; ++i) {
            const int row = lists_->rows[static_cast<size_t>(i)];
            if (shown_[static_cast<size_t>(row)]) out.push_back(row);
        }
        return !out.empty();
    }

    const TdxMemData& t_;
    const TField& key_;
    const TField& parent_;
    std::shared_ptr<const TKeyColumns> kept_;  // held while the index lives
    const TKeyColumns& cols_;
    const TKeyColumns::TChildLists* lists_ = nullptr;  // when filed from the kept lists
    std::vector<uint8_t> shown_, taken_;
    bool ints_ = false;
    std::unordered_map<int64_t, std::vector<int>> byInt_;
    std::unordered_map<std::string, std::vector<int>> byText_;
};

}  // namespace treerows
