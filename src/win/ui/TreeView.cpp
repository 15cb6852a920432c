// The tree list's view: a tree view whose items stand for the tree's nodes, under a header of
// the tree's shown columns. The first column is the tree itself; the others stand at the right
// of each line, drawn after the line by custom draw (a column of a blank caption is a column of
// pictures, its header the list's first picture). Texts and pictures are asked for as they are
// drawn; bold and struck-out nodes come from the form's cell styles by custom draw. Clicks, double
// clicks, the keyboard, expanding, the node drag and the drop from other programs reach the tree
// as the scripted host's calls do.
#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "toolkit/DragDrop.h"
#include "win/ui/DropTarget.h"
#include "win/ui/FormWindowImpl.h"
#include "win/ui/DrawnRecord.h"

namespace win::ui {

namespace {

class TTreeView : public TView {
public:
    TTreeView(TFormWindowImpl& owner, TcxDBTreeList& tree) : TView(owner, tree), tree_(tree) {}
    ~TTreeView() override {
        if (drop_) RevokeTextDrop(hwnd_);
        for (auto& [key, font] : fonts_) DeleteObject(font);
    }

    void Create(HWND parent) override {
        for (int i = 0; i < tree_.ColumnCount(); ++i)
            if (tree_.Columns(i).Visible && &tree_.Columns(i) != tree_.FirstVisibleColumn()) columns_.push_back(&tree_.Columns(i));
        if (!columns_.empty()) header_ = MakeWindow(parent, WC_HEADERW, "", WS_VISIBLE | HDS_HORZ | HDS_NOSIZING);
        DWORD style = WS_VISIBLE | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS;
        // The columns stand where the lines end: the lines do not scroll sideways.
        if (!columns_.empty()) style |= TVS_NOHSCROLL;
        hwnd_ = MakeWindow(parent, WC_TREEVIEWW, "", style, WS_EX_CLIENTEDGE);
        SetWindowSubclass(hwnd_, &TTreeView::DragProc, 1, reinterpret_cast<DWORD_PTR>(this));
        // The drop from other programs, when the form takes one on this tree.
        if (tree_.Owner())
            for (TComponent* c : tree_.Owner()->Components())
                if (auto* t = dynamic_cast<TDMTextTarget*>(c); t && t->AcceptorControl == &tree_) drop_ = t;
        if (drop_) {
            RegisterTextDrop(hwnd_, [this](POINT screen) { return LineAtScreen(screen); },
                             [this](int line) { Guarded("drag over", [&] { drop_->DoDragOver(0, line); }); RefreshAll(); },
                             [this](int line) { Guarded("drop", [&] { drop_->DoDrop(0, line); }); RefreshAll(); });
        }
    }

    void Place(int x, int y, int w, int h) override {
        int top = 0;
        if (header_) {
            RECT area{0, 0, w, h};
            WINDOWPOS pos{};
            HDLAYOUT layout{&area, &pos};
            SendMessageW(header_, HDM_LAYOUT, 0, reinterpret_cast<LPARAM>(&layout));
            top = pos.cy;
            MoveWindow(header_, x, y, w, top, TRUE);
        }
        MoveWindow(hwnd_, x, y + top, w, h > top ? h - top : 0, TRUE);
        LayOutColumns();
    }

    void Refresh() override {
        RefreshCommon(hwnd_);
        if (header_) RefreshCommon(header_);
        HIMAGELIST list = ImageListFor(tree_.Owner());
        if (list != images_) {
            images_ = list;
            SendMessageW(hwnd_, TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(list));
            if (header_) SendMessageW(header_, HDM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(list));
        }
        if (header_) LayOutColumns();
        // The nodes: made again when the tree's shape changed.
        std::vector<const TcxTreeListNode*> shape;
        for (int i = 0; i < tree_.Count(); ++i) Collect(tree_.Items(i), shape);
        if (shape != shape_) Rebuild(shape);
        // Expanded nodes, and the focused one.
        for (auto& [node, item] : items_) {
            const bool open = (TreeView_GetItemState(hwnd_, item, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
            if (node->HasChildren() && open != node->Expanded())
                TreeView_Expand(hwnd_, item, node->Expanded() ? TVE_EXPAND : TVE_COLLAPSE);
        }
        HTREEITEM focused = nullptr;
        if (auto it = items_.find(tree_.FocusedNode()); it != items_.end()) focused = it->second;
        if (TreeView_GetSelection(hwnd_) != focused) TreeView_SelectItem(hwnd_, focused);
        // Texts, pictures and styles are read as the items are drawn.
        InvalidateRect(hwnd_, nullptr, FALSE);
    }

    bool Notify(NMHDR* h, LRESULT& result) override {
        if (h->hwndFrom != hwnd_) return false;
        switch (h->code) {
        case TVN_GETDISPINFOW: {
            auto* d = reinterpret_cast<NMTVDISPINFOW*>(h);
            auto* node = reinterpret_cast<TcxTreeListNode*>(d->item.lParam);
            if (d->item.mask & TVIF_TEXT) {
                text_ = W(Text(node));
                lstrcpynW(d->item.pszText, text_.c_str(), d->item.cchTextMax);
            }
            if (d->item.mask & (TVIF_IMAGE | TVIF_SELECTEDIMAGE)) {
                int image = -1;
                Guarded("picture", [&] { image = tree_.NodeImageIndex(node); });
                d->item.iImage = d->item.iSelectedImage = image;
            }
            return true;
        }
        case NM_CUSTOMDRAW: {
            auto* cd = reinterpret_cast<NMTVCUSTOMDRAW*>(h);
            if (cd->nmcd.dwDrawStage == CDDS_PREPAINT) {
                result = CDRF_NOTIFYITEMDRAW;
                return true;
            }
            if (cd->nmcd.dwDrawStage == CDDS_ITEMPREPAINT) {
                auto* node = reinterpret_cast<TcxTreeListNode*>(cd->nmcd.lItemlParam);
                TFontStyles style;
                if (TcxDBTreeListColumn* column = tree_.FirstVisibleColumn())
                    Guarded("style", [&] { style = tree_.CellStyle(node, *column); });
                SelectObject(cd->nmcd.hdc, Font(style));
                std::vector<std::string> drawn{Text(node)};
                if (style.Bold) drawn.push_back("bold");
                if (style.StrikeOut) drawn.push_back("strike");
                RECT r;
                HTREEITEM drawnItem = reinterpret_cast<HTREEITEM>(cd->nmcd.dwItemSpec);
                std::memcpy(&r, &drawnItem, sizeof drawnItem);  // the item goes in, its rectangle comes out
                int line = 0;
                if (SendMessageW(hwnd_, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r))) {
                    int height = static_cast<int>(SendMessageW(hwnd_, TVM_GETITEMHEIGHT, 0, 0));
                    line = height > 0 ? r.top / height : 0;
                }
                Drawn(hwnd_)[line] = drawn;
                // The focused node stands out also while the tree has no keyboard focus.
                if (cd->nmcd.uItemState & CDIS_SELECTED) {
                    cd->clrText = GetSysColor(COLOR_HIGHLIGHTTEXT);
                    cd->clrTextBk = GetSysColor(COLOR_HIGHLIGHT);
                }
                result = CDRF_NEWFONT | (columns_.empty() ? 0 : CDRF_NOTIFYPOSTPAINT);
                return true;
            }
            if (cd->nmcd.dwDrawStage == CDDS_ITEMPOSTPAINT) {
                auto* node = reinterpret_cast<TcxTreeListNode*>(cd->nmcd.lItemlParam);
                Guarded("columns", [&] { DrawColumns(cd->nmcd.hdc, cd->nmcd.rc, node); });
                result = CDRF_DODEFAULT;
                return true;
            }
            result = CDRF_DODEFAULT;
            return true;
        }
        case TVN_SELCHANGEDW: {
            auto* n = reinterpret_cast<NMTREEVIEWW*>(h);
            if (Refreshing() || n->action != TVC_BYKEYBOARD) return true;
            auto* node = reinterpret_cast<TcxTreeListNode*>(n->itemNew.lParam);
            Guarded("focus node", [&] { tree_.UserFocusNode(node); });
            RequestRefresh();
            return true;
        }
        case TVN_ITEMEXPANDEDW: {
            if (Refreshing()) return true;
            auto* n = reinterpret_cast<NMTREEVIEWW*>(h);
            auto* node = reinterpret_cast<TcxTreeListNode*>(n->itemNew.lParam);
            Guarded("expand", [&] { node->SetExpanded((n->action & TVE_EXPAND) != 0); });
            RequestRefresh();
            return true;
        }
        case NM_CLICK:
        case NM_DBLCLK:
        case NM_RCLICK: {
            bool onButton = false;
            TcxTreeListNode* node = NodeAtCursor(onButton);
            if (onButton) return false;
            if (h->code == NM_DBLCLK) Guarded("double click", [&] { tree_.UserDblClickNode(node); });
            else Guarded("click", [&] { tree_.UserClickNode(node); });
            if (h->code == NM_RCLICK && tree_.PopupMenu) {
                DWORD pos = GetMessagePos();
                Guarded("menu", [&] { tree_.PopupMenu->Popup(); });
                RefreshAll();
                TrackMenu(*tree_.PopupMenu, hwnd_, static_cast<short>(LOWORD(pos)), static_cast<short>(HIWORD(pos)));
            }
            RequestRefresh();
            // A double click does no more than the tree's own double click (no opening or closing).
            result = h->code == NM_DBLCLK ? 1 : 0;
            return true;
        }
        case TVN_BEGINDRAGW: {
            auto* n = reinterpret_cast<NMTREEVIEWW*>(h);
            dragged_ = reinterpret_cast<TcxTreeListNode*>(n->itemNew.lParam);
            SetCapture(hwnd_);
            return true;
        }
        default:
            return false;
        }
    }

private:
    static void Collect(const TcxTreeListNode* node, std::vector<const TcxTreeListNode*>& out) {
        out.push_back(node);
        out.push_back(node->Parent());
        for (TcxTreeListNode* c : node->Children()) Collect(c, out);
    }

    void Insert(TcxTreeListNode* node, HTREEITEM parent) {
        TVINSERTSTRUCTW in{};
        in.hParent = parent;
        in.hInsertAfter = TVI_LAST;
        in.item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_PARAM | TVIF_CHILDREN;
        in.item.pszText = LPSTR_TEXTCALLBACKW;
        in.item.iImage = in.item.iSelectedImage = I_IMAGECALLBACK;
        in.item.cChildren = node->HasChildren() ? 1 : 0;
        in.item.lParam = reinterpret_cast<LPARAM>(node);
        HTREEITEM item = TreeView_InsertItem(hwnd_, &in);
        items_[node] = item;
        for (TcxTreeListNode* c : node->Children()) Insert(c, item);
    }

    void Rebuild(const std::vector<const TcxTreeListNode*>& shape) {
        SendMessageW(hwnd_, WM_SETREDRAW, FALSE, 0);
        TreeView_DeleteAllItems(hwnd_);
        items_.clear();
        for (int i = 0; i < tree_.Count(); ++i) Insert(tree_.Items(i), TVI_ROOT);
        SendMessageW(hwnd_, WM_SETREDRAW, TRUE, 0);
        shape_ = shape;
    }

    std::string Text(const TcxTreeListNode* node) const {
        TcxDBTreeListColumn* column = tree_.FirstVisibleColumn();
        return column ? node->Texts(column->ItemIndex()) : std::string();
    }

    // The width of a column at the right: a column of pictures holds one; another its caption or
    // a date, whichever is wider.
    int ColumnWidth(const TcxDBTreeListColumn& column) const {
        if (PictureColumn(column)) return 24;
        HDC dc = GetDC(hwnd_);
        HGDIOBJ old = SelectObject(dc, DialogFont());
        SIZE caption{}, date{};
        std::wstring text = W(column.Caption);
        GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &caption);
        GetTextExtentPoint32W(dc, L"00/00/0000", 10, &date);
        SelectObject(dc, old);
        ReleaseDC(hwnd_, dc);
        return std::max(caption.cx, date.cx) + 16;
    }

    static bool PictureColumn(const TcxDBTreeListColumn& column) { return column.ShowsPictures(); }

    // The header's items over the tree's client area: the first column takes what the others
    // leave; the last reaches over the scroll bar.
    void LayOutColumns() {
        if (!header_) return;
        RECT client, outer;
        GetClientRect(hwnd_, &client);
        GetWindowRect(hwnd_, &outer);
        if (widths_.size() != columns_.size())
            for (TcxDBTreeListColumn* c : columns_) widths_.push_back(ColumnWidth(*c));
        std::vector<int> widths = widths_;
        int others = 0;
        for (int w : widths) others += w;
        const int frame = (outer.right - outer.left) - client.right;  // the borders and the scroll bar
        widths.insert(widths.begin(), std::max(0, static_cast<int>(client.right) - others + 2));
        widths.back() += std::max(0, frame - 2);
        std::vector<TcxDBTreeListColumn*> all{tree_.FirstVisibleColumn()};
        all.insert(all.end(), columns_.begin(), columns_.end());
        const int count = static_cast<int>(SendMessageW(header_, HDM_GETITEMCOUNT, 0, 0));
        for (size_t i = 0; i < all.size(); ++i) {
            std::wstring text = W(all[i] && !PictureColumn(*all[i]) ? all[i]->Caption : std::string());
            HDITEMW item{};
            item.mask = HDI_WIDTH | HDI_TEXT | HDI_FORMAT;
            item.cxy = widths[i];
            item.pszText = text.data();
            item.fmt = HDF_STRING | HDF_LEFT;
            if (i > 0 && PictureColumn(*all[i])) {
                item.mask |= HDI_IMAGE;
                item.fmt = HDF_IMAGE | HDF_CENTER;
                item.iImage = 0;
            }
            if (static_cast<int>(i) >= count) {
                SendMessageW(header_, HDM_INSERTITEMW, i, reinterpret_cast<LPARAM>(&item));
                continue;
            }
            HDITEMW now{};
            now.mask = HDI_WIDTH;
            SendMessageW(header_, HDM_GETITEMW, i, reinterpret_cast<LPARAM>(&now));
            if (now.cxy != item.cxy) SendMessageW(header_, HDM_SETITEMW, i, reinterpret_cast<LPARAM>(&item));
        }
    }

    // The cells of the columns at the right of a node's line.
    void DrawColumns(HDC dc, RECT line, TcxTreeListNode* node) {
        RECT client;
        GetClientRect(hwnd_, &client);
        if (widths_.size() != columns_.size()) return;
        int x = client.right;
        for (int w : widths_) x -= w;
        RECT area{x, line.top, client.right, line.bottom};
        FillRect(dc, &area, GetSysColorBrush(COLOR_WINDOW));
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
        for (size_t i = 0; i < columns_.size(); ++i) {
            TcxDBTreeListColumn* c = columns_[i];
            const int w = widths_[i];
            RECT cell{x, line.top, x + w, line.bottom};
            if (PictureColumn(*c)) {
                int image = c->ImageIndexOfValue(node->Values(c->ItemIndex()));
                if (image >= 0 && images_)
                    ImageList_Draw(images_, image, dc, x + (w - 16) / 2, line.top + (line.bottom - line.top - 16) / 2,
                                   ILD_TRANSPARENT);
            } else {
                TFontStyles style;
                Guarded("style", [&] { style = tree_.CellStyle(node, *c); });
                HGDIOBJ old = SelectObject(dc, Font(style));
                cell.left += 4;
                cell.right -= 2;
                std::wstring text = W(node->Texts(c->ItemIndex()));
                DrawTextW(dc, text.c_str(), -1, &cell, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
                SelectObject(dc, old);
            }
            x += w;
        }
    }

    HFONT Font(TFontStyles style) {
        int key = (style.Bold ? 1 : 0) | (style.StrikeOut ? 2 : 0);
        auto it = fonts_.find(key);
        if (it != fonts_.end()) return it->second;
        LOGFONTW lf{};
        GetObjectW(DialogFont(), sizeof lf, &lf);
        lf.lfWeight = style.Bold ? FW_BOLD : FW_NORMAL;
        lf.lfStrikeOut = style.StrikeOut;
        HFONT f = CreateFontIndirectW(&lf);
        fonts_[key] = f;
        return f;
    }

    TcxTreeListNode* NodeAt(POINT client, bool& onButton) const {
        TVHITTESTINFO hit{};
        hit.pt = client;
        HTREEITEM item = TreeView_HitTest(hwnd_, &hit);
        onButton = (hit.flags & TVHT_ONITEMBUTTON) != 0;
        if (!item || !(hit.flags & (TVHT_ONITEM | TVHT_ONITEMINDENT | TVHT_ONITEMRIGHT))) return nullptr;
        TVITEMW it{};
        it.mask = TVIF_PARAM;
        it.hItem = item;
        TreeView_GetItem(hwnd_, &it);
        return reinterpret_cast<TcxTreeListNode*>(it.lParam);
    }

    // Where the button went down for the click being notified.
    TcxTreeListNode* NodeAtCursor(bool& onButton) const { return NodeAt(pressedAt_, onButton); }

    // The line of the tree under a point of the screen, as the tree counts lines: the shown
    // nodes from the top, then the empty space.
    int LineAtScreen(POINT screen) const {
        POINT p = screen;
        ScreenToClient(hwnd_, &p);
        bool onButton = false;
        TcxTreeListNode* node = NodeAt(p, onButton);
        std::vector<TcxTreeListNode*> shown = tree_.VisibleNodes();
        for (size_t i = 0; i < shown.size(); ++i)
            if (shown[i] == node) return static_cast<int>(i);
        return static_cast<int>(shown.size());
    }

    // The tree's own node drag: the node goes under the node it is dropped on, when the form's
    // drag-over handler takes it there.
    static LRESULT CALLBACK DragProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp, UINT_PTR, DWORD_PTR data) {
        auto* self = reinterpret_cast<TTreeView*>(data);
        if (msg == WM_LBUTTONDOWN || msg == WM_LBUTTONDBLCLK || msg == WM_RBUTTONDOWN || msg == WM_RBUTTONDBLCLK)
            self->pressedAt_ = {static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
        if (self->dragged_ && (msg == WM_MOUSEMOVE || msg == WM_LBUTTONUP || msg == WM_CAPTURECHANGED)) {
            POINT p{static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
            bool onButton = false;
            if (msg == WM_MOUSEMOVE) {
                TcxTreeListNode* over = self->NodeAt(p, onButton);
                auto it = self->items_.find(over);
                TreeView_SelectDropTarget(hwnd, it == self->items_.end() ? nullptr : it->second);
                return 0;
            }
            TcxTreeListNode* dragged = self->dragged_;
            self->dragged_ = nullptr;
            TreeView_SelectDropTarget(hwnd, nullptr);
            if (msg == WM_LBUTTONUP) {
                ReleaseCapture();
                TcxTreeListNode* onto = self->NodeAt(p, onButton);
                POINT screen = p;
                ClientToScreen(hwnd, &screen);
                int line = self->LineAtScreen(screen);
                Guarded("node drag", [&] {
                    if (self->tree_.DragOver(line) && onto && onto != dragged) self->tree_.MoveNode(dragged, onto);
                });
                RequestRefresh();
            }
            return 0;
        }
        return DefSubclassProc(hwnd, msg, wp, lp);
    }

    TcxDBTreeList& tree_;
    std::vector<TcxDBTreeListColumn*> columns_;  // shown at the right, in order
    HWND header_ = nullptr;
    std::vector<int> widths_;
    TDMTextTarget* drop_ = nullptr;
    HIMAGELIST images_ = nullptr;
    std::vector<const TcxTreeListNode*> shape_;
    std::map<const TcxTreeListNode*, HTREEITEM> items_;
    std::map<int, HFONT> fonts_;
    std::wstring text_;
    TcxTreeListNode* dragged_ = nullptr;
    POINT pressedAt_{-1, -1};
};

}  // namespace

std::unique_ptr<TView> MakeTreeView(TFormWindowImpl& owner, TcxDBTreeList& tree) {
    return std::make_unique<TTreeView>(owner, tree);
}

}  // namespace win::ui
