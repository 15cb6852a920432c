#pragma once
// TcxDBTreeList: a tree of the rows a table shows, built by key field, parent field and root
// value. The tree follows the table: its nodes are rebuilt when the rows, the filter or the sort
// change, and its focused node follows the table's one cursor. Focusing a node moves the cursor.
// Per-node pictures and cell font styles come from the form's handlers, so that they can be read
// without pixels. A rebuild reads each shown row's key, parent and column cells once; texts are
// made only for the nodes whose texts are read.
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_set>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Variant.h"
#include "store/MemData.h"
#include "toolkit/DataSource.h"
#include "toolkit/Forms.h"

class TcxDBTreeList;
class TPopupMenu;

// Which keys stand expanded, by their text: a key whose text spells an integer is held as the
// integer, so that a rebuild asks without making texts.
class TExpandedKeys {
public:
    void Set(const Variant& key, bool expanded);
    bool Has(const Variant& key) const;
    // Drawn anew (from one count for all sets) at every Set that adds or drops a key: a state
    // read under the same value is still the state; 0 only while nothing was ever set.
    uint64_t Changes() const { return changes_; }
    uint64_t Erases() const { return erases_; }    // grows at every Set that drops a key

private:
    uint64_t changes_ = 0;
    uint64_t erases_ = 0;
    std::unordered_set<int64_t> ints_;
    std::unordered_set<std::string> texts_;
};

enum class TcxSortOrder { soNone, soAscending, soDescending };

class TcxDBTreeListColumn {
public:
    const std::string& Name() const { return name_; }
    const std::string& FieldName() const { return fieldName_; }
    int ItemIndex() const { return index_; }  // data order among the columns
    bool Visible = true;
    std::string Caption;
    TcxSortOrder SortOrder = TcxSortOrder::soNone;
    bool Focusing = true;  // whether the column's cells can take the focus
    // A column that shows a picture by its integer value instead of a text: each listed value
    // with its index in the tree's images; other values and null show none.
    std::vector<std::pair<int64_t, int>> ValueImages;
    bool ShowsPictures() const { return !ValueImages.empty(); }
    int ImageIndexOfValue(const Variant& value) const {
        if (value.type() != Variant::Type::Integer) return -1;
        for (const auto& [v, image] : ValueImages)
            if (v == value.AsInt64()) return image;
        return -1;
    }

private:
    friend class TcxDBTreeList;
    TcxDBTreeListColumn(std::string name, std::string fieldName, int index)
        : name_(std::move(name)), fieldName_(std::move(fieldName)), index_(index) {}
    std::string name_;
    std::string fieldName_;
    int index_;
};

// Held in blocks by its row's bookmark and aligned to a cache line: what placing a node reads and
// writes stands in its first two lines.
class alignas(64) TcxTreeListNode {
public:
    int Level() const { return level_; }
    TcxTreeListNode* Parent() const { return parent_; }
    int Count() const { return static_cast<int>(children_.size()); }
    bool HasChildren() const { return !children_.empty(); }
    TcxTreeListNode* Items(int i) const { return children_.at(static_cast<size_t>(i)); }
    const std::vector<TcxTreeListNode*>& Children() const { return children_; }
    int Index() const { return index_; }                  // among its siblings
    int AbsoluteIndex() const;  // in the whole tree, expanded or not
    const Variant& KeyValue() const { return key_; }
    const Variant& ParentKeyValue() const { return parentKey_; }
    TBookmark RecordBookmark() const { return bookmark_; }
    bool Expanded() const { return expanded_; }
    void SetExpanded(bool value);
    void Expand(bool recurse);
    void Collapse(bool recurse);
    bool Focused() const;
    // Display text of a column for this node (hidden columns too), as the row stood when the tree
    // last followed the table.
    const std::string& Texts(int columnIndex) const;
    // Value of a column for this node, likewise.
    const Variant& Values(int columnIndex) const;
    TcxDBTreeList& TreeList() const { return *tree_; }

private:
    friend class TcxDBTreeList;
    // What placing a node reads and writes comes first, in as few cache lines as can hold it: a
    // large tree places tens of thousands of nodes at a filter change.
    TcxDBTreeList* tree_ = nullptr;
    TcxTreeListNode* parent_ = nullptr;
    int level_ = 0;
    int index_ = 0;
    int absoluteIndex_ = 0;
    int row_ = -1;
    TBookmark bookmark_ = 0;
    bool expanded_ = false;
    // The version of the rows and the tree's binding when the cells and keys were last read.
    uint64_t rowsVersion_ = 0;
    uint64_t bindingEpoch_ = 0;
    uint64_t expandedRead_ = 0;  // the expanded keys' Changes() when expanded_ was read
    std::vector<TcxTreeListNode*> children_;
    // The row's cells of the columns when the tree last followed the table; the texts and values
    // are made from them when first asked for after that.
    std::vector<TCell> cells_;
    Variant key_;
    Variant parentKey_;
    mutable std::vector<std::string> texts_;
    mutable std::vector<Variant> values_;
    mutable std::vector<uint8_t> made_;  // per column: 1 text made, 2 value made
    mutable uint64_t textsEpoch_ = 0;    // the tree's texts epoch made_ belongs to
    // made_ cleared when the tree has followed the table since it was filled.
    void FreshMade() const;
};

// Font style of a drawn cell.
struct TFontStyles {
    bool Bold = false;
    bool StrikeOut = false;
    friend bool operator==(TFontStyles, TFontStyles) = default;
};

class TcxDBTreeList : public TControl, public IDataObserver {
public:
    explicit TcxDBTreeList(std::string name);
    TcxDBTreeList(TForm* owner, std::string name, TControl* parent = nullptr);
    ~TcxDBTreeList() override;

    // Binding.
    void SetDataSource(TDataSource* source);
    TDataSource* DataSource() const { return source_; }
    TdxMemData* DataSet() const { return source_ ? source_->DataSet : nullptr; }
    std::string KeyField = "ID";
    std::string ParentField = "Parent_ID";
    Variant RootValue = Variant(-1);
    bool ReadOnly = true;
    // The menu a right click on the tree opens; none at first.
    TPopupMenu* PopupMenu = nullptr;

    // Columns.
    TcxDBTreeListColumn& CreateColumn(std::string name, std::string fieldName, bool visible = true);
    int ColumnCount() const { return static_cast<int>(columns_.size()); }
    TcxDBTreeListColumn& Columns(int i) const { return *columns_.at(static_cast<size_t>(i)); }
    TcxDBTreeListColumn* ColumnByName(const std::string& name) const;
    // The first column shown, in data order; nullptr when none is.
    TcxDBTreeListColumn* FirstVisibleColumn() const;

    // Nodes.
    int Count() const { return static_cast<int>(roots_.size()); }  // root nodes
    TcxTreeListNode* Items(int i) const { return roots_.at(static_cast<size_t>(i)); }
    int AbsoluteCount() const {
        EnsureAbsolute();
        return static_cast<int>(all_.size());
    }
    TcxTreeListNode* AbsoluteItems(int i) const {
        EnsureAbsolute();
        return all_.at(static_cast<size_t>(i));
    }
    TcxTreeListNode* FindNodeByKeyValue(const Variant& key) const;
    // The nodes a user sees, in order: those whose ancestors are all expanded.
    std::vector<TcxTreeListNode*> VisibleNodes() const;
    // Those shown on count lines from a line (0 = top line), as a view paints them.
    std::vector<TcxTreeListNode*> VisibleNodes(int firstLine, int count) const;
    // The node shown on a line of the tree (0 = top line); nullptr for the empty space below.
    TcxTreeListNode* HitTest(int line) const;

    // The user's click and double click on a node, or on the empty space (nullptr): the tree takes
    // the focus, a node clicked is focused (the table's cursor moves), then the click events fire.
    bool UserClickNode(TcxTreeListNode* node);
    bool UserDblClickNode(TcxTreeListNode* node);
    // The user focuses a node without clicking (the keyboard, a drag passing over it).
    bool UserFocusNode(TcxTreeListNode* node);
    // Where the click being handled fell: the node, or nullptr for the empty space.
    TcxTreeListNode* HitNode() const { return hitNode_; }
    // A drag passing over a line of the tree: OnDragOver decides whether a drop is accepted.
    std::function<void(TcxDBTreeList& sender, int line, bool& accept)> OnDragOver;
    bool DragOver(int line);

    // The key of the focused node; null when none.
    Variant MainValue() const override;

    // Focus.
    TcxTreeListNode* FocusedNode() const { return focused_; }
    // Focuses a node as a user does: the table's cursor moves to its row.
    void SetFocusedNode(TcxTreeListNode* node);

    void FullExpand();
    void FullCollapse();

    // Deletes the rows of a node's descendants and its own, one by one, under DisableControls.
    void DeleteNode(TcxTreeListNode* node);
    // Moves a node under another (nullptr: to the root) by writing its parent field.
    void MoveNode(TcxTreeListNode* node, TcxTreeListNode* newParent);

    // Events and hooks of the form.
    std::function<void(TcxDBTreeList& sender, TcxTreeListNode* previous, TcxTreeListNode* focused)>
        OnFocusedNodeChanged;
    // Given the node and the index the tree offers (-1, no picture), gives the picture to show.
    std::function<int(TcxDBTreeList& sender, TcxTreeListNode* node, int offered)> OnGetNodeImageIndex;
    std::function<void(TcxDBTreeList& sender, TcxTreeListNode* node, TcxDBTreeListColumn& column,
                       TFontStyles& style)>
        OnCustomDrawDataCell;
    int NodeImageIndex(TcxTreeListNode* node);
    TFontStyles CellStyle(TcxTreeListNode* node, TcxDBTreeListColumn& column);

    // Rebuilds the nodes from the table now (the table tells the tree when it must). When the
    // table tells of a change that leaves the rows shown, their values and their order as the
    // tree last built them, the nodes stay as they are: only their texts are made again when
    // read, their expanded state is read again, and the focus follows the cursor as after a
    // rebuild. When only the rows the filter shows changed, the tree adds and drops the nodes
    // of the rows that came and went and leaves the others standing; what it then shows is
    // what a rebuild gives.
    void Rebuild();

    void DataEvent(TdxMemData& table, TDataEvent event, TField* field) override;

protected:
    // A click on line i of the tree (0 = top line) clicks the node shown there.
    int UserItemCount() const override { return static_cast<int>(VisibleNodes().size()); }
    void UserItem(int index) override;

private:
    bool UserClickAt(TcxTreeListNode* node, bool twice);
    void SyncFocusToCursor();
    void SetFocused(TcxTreeListNode* node);
    TcxTreeListNode* NodeOfRow(int row) const;
    // What the nodes were last built from; Matches tells whether the table and the tree's
    // settings still give the same nodes.
    struct TBuiltFrom {
        bool valid = false;
        // The nodes stand as filed from the kept lists of each parent's rows, ordered by the kept
        // sibling places (or in table order when nothing is sorted), over unique parent keys:
        // a new filter over the same rows can be followed node by node.
        bool followable = false;
        const TdxMemData* table = nullptr;
        uint64_t rowsVersion = 0;
        int fieldCount = 0;
        std::vector<int> shown;
        std::string keyField, parentField;
        Variant rootValue;
        std::vector<std::pair<std::string, TcxSortOrder>> columns;
        uint64_t expandedChanges = 0;
    };
    void RecordBuiltFrom(std::vector<int> shown);
    bool BuiltFromMatches(const std::vector<int>& shown) const;
    // Everything but the rows shown is as the nodes were built from.
    bool SameSourceAsBuilt() const;
    // Follows a filter that shows other rows of the same version: drops the nodes of the rows
    // gone (with all below them), places those of the rows come (with their shown rows below),
    // and leaves the rest. False when the nodes were not built in a way it can follow; the
    // caller then rebuilds.
    bool FollowShown(const std::vector<int>& shown);
    // Places the node of a row under a parent (nullptr: a root, or a parent the caller sets
    // later) at a level, reading its key, parent and cells unless it was placed over the same
    // rows and binding; index among its siblings and absolute place are the caller's.
    TcxTreeListNode* PlaceNode(const TdxMemData& t, const TField& keyField, const TField& parentField, int row,
                               TcxTreeListNode* parent, int level, TcxTreeListNode* hint);
    // Takes a placed node out of the tree (its children are the caller's).
    void DetachNode(TcxTreeListNode* node);
    // Reads every placed node's expanded state from the expanded keys again.
    void ReadExpandedAgain();
    // The absolute order (all_ and each node's absolute index) made again if the nodes moved.
    void EnsureAbsolute() const;
    // Depth first over the placed nodes, each before its children; below collapsed nodes too
    // unless expandedOnly. visit(node) returns false to stop the walk.
    template <class Visit>
    void WalkDepthFirst(bool expandedOnly, Visit&& visit) const;
    // The column the siblings are ordered by (the first with a sort order); nullptr when none.
    TcxDBTreeListColumn* SortedColumn() const;
    static uint64_t NextTextsEpoch();
    // After the nodes were placed: the node of the cursor's row is focused; the same row keeps
    // its focus quietly, another is a change.
    void FocusAfterRebuild(TBookmark focusedBookmark);
public:
    // Each row's place among all the table's rows of its parent (shown or not), by the sorted
    // column, ties in table order; kept while the rows stay as they are, and shared by the trees
    // over the same rows (a version of the rows belongs to one table alone).
    struct TSiblingPlaces {
        bool valid = false;
        uint64_t rowsVersion = 0;
        int fieldCount = 0, keyField = -1, parentField = -1, sortField = -1;
        bool desc = false, ints = false;
        Variant rootValue;
        std::vector<uint32_t> place;  // by row
    };

private:
    bool SiblingPlacesFit(const TSiblingPlaces* p, const TField& key, const TField& parent, const TField& sort,
                          bool desc, bool ints) const;
    // The places that fit, kept by this tree or another; nullptr when none.
    const TSiblingPlaces* FindSiblingPlaces(const TField& key, const TField& parent, const TField& sort, bool desc,
                                           bool ints);
    void MakeSiblingPlaces(const TField& key, const TField& parent, const TField& sort, bool desc);
    // The field of a column as the tree last followed the table; nullptr when it has none.
    const TField* ColumnField(int column) const;
    // The one node object of a bookmark, made when first asked for.
    TcxTreeListNode& NodeOfBookmark(TBookmark bookmark);
    // A tree going away leaves its node objects for the next tree over the same table with the
    // same columns, key and parent (the next explorer's): that tree takes them at its first
    // build, and a node still placed over the same version of the rows reads none of its cells
    // again. A node's cells are trusted only for the version of the rows and the binding they
    // were read under, and both are unique in the process, so a node taken over rows that
    // changed since reads them afresh.
    void LeaveNodes();
    bool TakeLeftNodes(const std::vector<int>& binding);

    TDataSource* source_ = nullptr;
    std::vector<std::unique_ptr<TcxDBTreeListColumn>> columns_;
    // One node object per row, by the row's bookmark, kept across rebuilds: a node handed out
    // stays valid for the tree's life. A node whose row is no longer shown is detached. Nodes of
    // bookmarks from 1 to 2^24 stand in nodeBlocks_, others here.
    std::unordered_map<TBookmark, std::unique_ptr<TcxTreeListNode>> storage_;
    // The nodes of bookmarks below 2^24, kNodeBlock to a block in bookmark order, a block made
    // when one of its bookmarks is first asked for: rows placed in table order walk the nodes in
    // the order they lie in memory.
    static constexpr int kNodeBlockBits = 8;
    static constexpr int kNodeBlock = 1 << kNodeBlockBits;
    using TNodeBlocks = std::vector<std::unique_ptr<TcxTreeListNode[]>>;
    TNodeBlocks nodeBlocks_;
    // Every node object of the blocks and of storage_.
    template <class F>
    void ForEachNodeObject(F&& f);
    std::vector<TcxTreeListNode*> roots_;
    // Absolute order, made when first read after the nodes moved (a filter followed node by
    // node leaves it stale).
    mutable std::vector<TcxTreeListNode*> all_;
    mutable bool absoluteStale_ = false;
    // Placed nodes not expanded; with no key dropped from expandedKeys_ since every placed node
    // read its state (erasesSeen_), none means every placed node is expanded with its key kept.
    int collapsed_ = 0;
    uint64_t erasesSeen_ = 0;
    // Drawn anew (from one count for all trees) each time the tree follows the table: a node's
    // texts and values made under another epoch are made again when read.
    uint64_t textsEpoch_ = 0;
    // By row: whether the filter shows it, as the nodes were last built (kept while followable).
    std::vector<uint8_t> shownBits_;
    // By row: the node last placed for it over rowNodesVersion_, placed or not now; a row of the
    // same version finds its node without asking its bookmark.
    std::vector<TcxTreeListNode*> rowNodes_;
    uint64_t rowNodesVersion_ = 0;
    TcxTreeListNode* focused_ = nullptr;
    TcxTreeListNode* hitNode_ = nullptr;
    TExpandedKeys expandedKeys_;                    // kept across rebuilds
    std::vector<int> columnFields_;                 // per column: its field's index, -1 for none
    std::vector<TcxTreeListNode*> rowToNode_;  // by the table's row index
    TBuiltFrom builtFrom_;
    std::vector<int> placedBinding_;  // the fields of the columns, then the key's and the parent's
    uint64_t bindingEpoch_ = 0;  // drawn from one count for all trees, so no two bindings share one
    std::shared_ptr<const TSiblingPlaces> siblingPlaces_;
    friend class TcxTreeListNode;
};
