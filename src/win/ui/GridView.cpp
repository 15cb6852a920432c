// The grid view's view: a list view in report mode that holds no data (owner data) and draws its
// lines itself. A line is a record's line (a banded record takes several), a group's header, a
// group's footer with its totals, or the footer of the whole view. The grouping box, when the
// view shows one, stands above the list. Clicks, double clicks, right clicks and the keyboard
// reach the view as the scripted host's calls do; a click on a group's line opens or closes it.
#include <algorithm>
#include <vector>

#include "win/ui/FormWindowImpl.h"
#include "win/ui/DrawnRecord.h"

namespace win::ui {

namespace {

constexpr int kDefaultWidth = 100;

struct TLine {
    TcxGridRowKind kind;
    int index;    // record or group
    int subline;  // the line within a record
};

class TGridView : public TView {
public:
    TGridView(TFormWindowImpl& owner, TcxGridDBTableView& view) : TView(owner, view), view_(view) {}

    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, kContainerClass, "", WS_VISIBLE | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT);
        if (view_.Options.GroupByBox) box_ = MakeWindow(hwnd_, L"STATIC", "", WS_VISIBLE | SS_LEFT | SS_NOPREFIX | SS_CENTERIMAGE);
        DWORD style = WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_OWNERDRAWFIXED | LVS_SINGLESEL |
                      LVS_SHOWSELALWAYS;
        if (!view_.Options.Header) style |= LVS_NOCOLUMNHEADER;
        list_ = MakeWindow(hwnd_, WC_LISTVIEWW, "", style, WS_EX_CLIENTEDGE);
    }

    void Place(int x, int y, int w, int h) override {
        TView::Place(x, y, w, h);
        int top = 0;
        if (box_) {
            MoveWindow(box_, 4, 2, w - 8, 22, TRUE);
            top = 26;
        }
        MoveWindow(list_, 0, top, w, h > top ? h - top : 0, TRUE);
        FillWidth();
    }

    // The last column of the header takes what the others leave of the list's width.
    void FillWidth() {
        if (header_.empty()) return;
        RECT client;
        GetClientRect(list_, &client);
        int used = 0;
        for (size_t i = 0; i + 1 < header_.size(); ++i) used += static_cast<int>(SendMessageW(list_, LVM_GETCOLUMNWIDTH, i, 0));
        TcxGridDBColumn* last = header_.back();
        int want = std::max(last->Width > 0 ? last->Width : kDefaultWidth, static_cast<int>(client.right) - used);
        if (SendMessageW(list_, LVM_GETCOLUMNWIDTH, header_.size() - 1, 0) != want)
            SendMessageW(list_, LVM_SETCOLUMNWIDTH, header_.size() - 1, want);
    }

    bool MeasureItem(MEASUREITEMSTRUCT* m) override {
        TEXTMETRICW tm{};
        HDC dc = GetDC(list_);
        HGDIOBJ old = SelectObject(dc, DialogFont());
        GetTextMetricsW(dc, &tm);
        SelectObject(dc, old);
        ReleaseDC(list_, dc);
        m->itemHeight = static_cast<UINT>(tm.tmHeight + 4);
        return true;
    }

    void Refresh() override {
        RefreshCommon(hwnd_);
        if (box_) SetText(box_, view_.GroupByBoxText());
        // The header: the columns of a record's first line (the grouping column's text stands on
        // the group's line instead).
        std::vector<TcxGridDBColumn*> first;
        for (TcxGridDBColumn* c : view_.VisibleColumns())
            if (view_.ColumnLine(*c) == 0 && c != view_.GroupingColumn()) first.push_back(c);
        if (first != header_) {
            while (SendMessageW(list_, LVM_DELETECOLUMN, 0, 0)) {
            }
            for (size_t i = 0; i < first.size(); ++i) {
                std::wstring caption = W(first[i]->Caption);
                LVCOLUMNW col{};
                col.mask = LVCF_TEXT | LVCF_WIDTH;
                col.pszText = caption.data();
                col.cx = first[i]->Width > 0 ? first[i]->Width : kDefaultWidth;
                SendMessageW(list_, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&col));
            }
            header_ = first;
            FitColumns();
            FillWidth();
        }
        // The lines.
        std::vector<TLine> lines;
        for (const TcxGridViewRow& row : view_.ViewRows()) {
            if (row.Kind == TcxGridRowKind::Record)
                for (int k = 0; k < view_.LineCount(); ++k) lines.push_back({row.Kind, row.Index, k});
            else
                lines.push_back({row.Kind, row.Index, 0});
        }
        lines_ = std::move(lines);
        if (static_cast<int>(SendMessageW(list_, LVM_GETITEMCOUNT, 0, 0)) != static_cast<int>(lines_.size())) {
            SendMessageW(list_, LVM_SETITEMCOUNT, lines_.size(), LVSICF_NOSCROLL);
            FitColumns();
            FillWidth();
        }
        // The focused record's first line is the list's selection.
        int focused = view_.FocusedRecordIndex(), selected = -1;
        for (size_t i = 0; i < lines_.size(); ++i)
            if (lines_[i].kind == TcxGridRowKind::Record && lines_[i].index == focused && lines_[i].subline == 0) {
                selected = static_cast<int>(i);
                break;
            }
        int now = static_cast<int>(SendMessageW(list_, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
        if (now != selected) {
            LVITEMW state{};
            state.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
            state.state = 0;
            SendMessageW(list_, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
            if (selected >= 0) {
                state.state = LVIS_SELECTED | LVIS_FOCUSED;
                SendMessageW(list_, LVM_SETITEMSTATE, selected, reinterpret_cast<LPARAM>(&state));
                SendMessageW(list_, LVM_ENSUREVISIBLE, selected, FALSE);
            }
        }
        InvalidateRect(list_, nullptr, FALSE);
    }

    bool DrawItem(DRAWITEMSTRUCT* d) override {
        if (d->hwndItem != list_) return false;
        Guarded("draw", [&] { DrawLine(d); });
        return true;
    }

    bool Notify(NMHDR* h, LRESULT& result) override {
        if (h->hwndFrom != list_) return false;
        switch (h->code) {
        case NM_CLICK:
        case NM_DBLCLK:
        case NM_RCLICK: {
            int item = reinterpret_cast<NMITEMACTIVATE*>(h)->iItem;
            const TLine* line = item >= 0 && item < static_cast<int>(lines_.size()) ? &lines_[static_cast<size_t>(item)] : nullptr;
            if (line && line->kind == TcxGridRowKind::Group) {
                if (h->code == NM_CLICK) {
                    bool open = view_.Groups(line->index).Expanded;
                    Guarded("group", [&] { view_.SetGroupExpanded(line->index, !open); });
                }
            } else if (!line || line->kind == TcxGridRowKind::Record) {
                int record = line ? line->index : -1;
                if (h->code == NM_CLICK) Guarded("click", [&] { view_.UserClickRecord(record); });
                if (h->code == NM_DBLCLK) Guarded("double click", [&] { view_.UserDblClickRecord(record); });
                if (h->code == NM_RCLICK) {
                    bool opened = false;
                    Guarded("menu", [&] { opened = view_.UserContextPopup(record); });
                    if (opened && view_.PopupMenu) {
                        RefreshAll();
                        DWORD pos = GetMessagePos();
                        TrackMenu(*view_.PopupMenu, list_, static_cast<short>(LOWORD(pos)), static_cast<short>(HIWORD(pos)));
                    }
                }
            }
            RequestRefresh();
            result = 0;
            return true;
        }
        case LVN_ITEMCHANGED: {
            // The keyboard moves the focus; the mouse's clicks come as clicks.
            auto* n = reinterpret_cast<NMLISTVIEW*>(h);
            if (Refreshing() || GetKeyState(VK_LBUTTON) < 0 || GetKeyState(VK_RBUTTON) < 0) return true;
            if (!(n->uNewState & LVIS_FOCUSED) || n->iItem < 0 || n->iItem >= static_cast<int>(lines_.size())) return true;
            const TLine& line = lines_[static_cast<size_t>(n->iItem)];
            if (line.kind == TcxGridRowKind::Record && line.index != view_.FocusedRecordIndex()) {
                Guarded("focus", [&] { view_.UserFocusRecord(line.index); });
                RequestRefresh();
            }
            return true;
        }
        default:
            return false;
        }
    }

private:
    // A first-line column (the last one aside, which takes the rest) widens to its widest text
    // among the first records, so that dates and names show whole; it never narrows.
    void FitColumns() {
        if (header_.size() < 2) return;
        HDC dc = GetDC(list_);
        HGDIOBJ old = SelectObject(dc, DialogFont());
        const int records = std::min(view_.RecordCount(), 200);
        for (size_t i = 0; i + 1 < header_.size(); ++i) {
            TcxGridDBColumn* c = header_[i];
            if (c->OwnerDrawn()) continue;
            int widest = 0;
            for (int r = 0; r < records; ++r) {
                std::wstring text = W(view_.DisplayTexts(r, *c));
                SIZE size{};
                GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
                widest = std::max(widest, static_cast<int>(size.cx) + 12);
            }
            if (widest > SendMessageW(list_, LVM_GETCOLUMNWIDTH, i, 0)) SendMessageW(list_, LVM_SETCOLUMNWIDTH, i, widest);
        }
        SelectObject(dc, old);
        ReleaseDC(list_, dc);
    }

    // The left and right edges of each first-line column as the header has them now.
    std::vector<std::pair<int, int>> Edges() const {
        std::vector<std::pair<int, int>> out;
        int x = -GetScrollPos(list_, SB_HORZ);
        for (size_t i = 0; i < header_.size(); ++i) {
            int w = static_cast<int>(SendMessageW(list_, LVM_GETCOLUMNWIDTH, i, 0));
            out.push_back({x, x + w});
            x += w;
        }
        return out;
    }

    HIMAGELIST CellImages() const {
        if (view_.Owner())
            for (TComponent* c : view_.Owner()->Components())
                if (auto* list = dynamic_cast<TcxImageList*>(c)) return ImageListFor(view_.Owner(), list);
        return nullptr;
    }

    void Text(HDC dc, RECT r, const std::string& text, UINT align = DT_LEFT) {
        drawing_->push_back(text);
        r.left += 4;
        r.right -= 4;
        std::wstring w = W(text);
        DrawTextW(dc, w.c_str(), -1, &r, align | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
    }

    static HFONT Bold() {
        static HFONT font = [] {
            LOGFONTW lf{};
            GetObjectW(DialogFont(), sizeof lf, &lf);
            lf.lfWeight = FW_BOLD;
            return CreateFontIndirectW(&lf);
        }();
        return font;
    }

    // The cells of a record's line: the first line's under the header, a further line's side by
    // side, the last one taking the rest of the width.
    std::vector<std::pair<TcxGridDBColumn*, RECT>> Cells(int subline, const RECT& r,
                                                         const std::vector<std::pair<int, int>>& edges) const {
        std::vector<std::pair<TcxGridDBColumn*, RECT>> cells;
        if (subline == 0) {
            for (size_t i = 0; i < header_.size(); ++i)
                cells.push_back({header_[i], RECT{edges[i].first, r.top, edges[i].second, r.bottom}});
            return cells;
        }
        std::vector<TcxGridDBColumn*> on;
        for (TcxGridDBColumn* c : view_.VisibleColumns())
            if (view_.ColumnLine(*c) == subline && c != view_.GroupingColumn()) on.push_back(c);
        int x = edges.empty() ? r.left : edges.front().first;
        int right = edges.empty() ? r.right : std::max<int>(edges.back().second, r.right);
        for (size_t i = 0; i < on.size(); ++i) {
            int w = i + 1 == on.size() ? right - x : (on[i]->Width > 0 ? on[i]->Width : kDefaultWidth);
            cells.push_back({on[i], RECT{x, r.top, x + w, r.bottom}});
            x += w;
        }
        return cells;
    }

    // The totals of a group (or of all records, group -1), each under its column.
    void Totals(HDC dc, RECT r, const std::vector<std::pair<int, int>>& edges, int group) {
        const auto& items = group < 0 ? view_.Summary.FooterSummaryItems : view_.Summary.DefaultGroupSummaryItems;
        for (size_t i = 0; i < items.size(); ++i) {
            std::string text = group < 0 ? view_.FooterSummaryText(static_cast<int>(i))
                                         : view_.GroupSummaryText(group, static_cast<int>(i));
            for (int k = 0; k < view_.LineCount(); ++k)
                for (auto& [column, cell] : Cells(k, r, edges))
                    if (column == items[i].Column) {
                        RECT at{cell.left, r.top, std::min<LONG>(cell.right, cell.left + 120), r.bottom};
                        Text(dc, at, text, k == 0 ? DT_RIGHT : DT_LEFT);
                    }
        }
    }

    void DrawLine(DRAWITEMSTRUCT* d) {
        if (d->itemID >= lines_.size()) return;
        const TLine line = lines_[d->itemID];
        drawing_ = &Drawn(list_)[static_cast<int>(d->itemID)];
        drawing_->clear();
        HDC dc = d->hDC;
        RECT r = d->rcItem;
        auto edges = Edges();
        const bool selected = line.kind == TcxGridRowKind::Record && line.index == view_.FocusedRecordIndex();
        int back = selected ? COLOR_HIGHLIGHT : COLOR_WINDOW;
        if (line.kind == TcxGridRowKind::Group || line.kind == TcxGridRowKind::GroupFooter ||
            line.kind == TcxGridRowKind::Footer)
            back = COLOR_BTNFACE;
        FillRect(dc, &r, GetSysColorBrush(back));
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, GetSysColor(selected ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
        HGDIOBJ oldFont = SelectObject(dc, DialogFont());
        switch (line.kind) {
        case TcxGridRowKind::Group: {
            TcxGridGroup g = view_.Groups(line.index);
            TcxGridDBColumn* by = view_.GroupingColumn();
            std::string text = std::string(g.Expanded ? "\xE2\x88\x92  " : "+  ") + (by ? by->Caption + ": " : "") +
                               g.DisplayText + "  (" + std::to_string(g.RecordCount) + ")";
            SelectObject(dc, Bold());
            Text(dc, r, text);
            break;
        }
        case TcxGridRowKind::GroupFooter:
            Totals(dc, r, edges, line.index);
            break;
        case TcxGridRowKind::Footer:
            SelectObject(dc, Bold());
            Totals(dc, r, edges, -1);
            break;
        case TcxGridRowKind::Record: {
            HIMAGELIST images = CellImages();
            for (auto& [column, cell] : Cells(line.subline, r, edges)) {
                if (column->OwnerDrawn()) {
                    TcxGridDrawnCell drawn = view_.DrawCell(line.index, *column);
                    if (drawn.ImageIndex >= 0 && images)
                        ImageList_Draw(images, drawn.ImageIndex, dc, cell.left + 2, cell.top + (cell.bottom - cell.top - 16) / 2,
                                       ILD_TRANSPARENT);
                    if (!drawn.Done) Text(dc, cell, drawn.Text);
                } else {
                    Text(dc, cell, view_.DisplayTexts(line.index, *column));
                }
            }
            // A thin rule under each record.
            if (line.subline + 1 == view_.LineCount() && view_.LineCount() > 1) {
                RECT rule{r.left, r.bottom - 1, r.right, r.bottom};
                FillRect(dc, &rule, GetSysColorBrush(COLOR_BTNFACE));
            }
            break;
        }
        }
        SelectObject(dc, oldFont);
    }

    TcxGridDBTableView& view_;
    HWND list_ = nullptr;
    HWND box_ = nullptr;
    std::vector<TcxGridDBColumn*> header_;
    std::vector<TLine> lines_;
    std::vector<std::string>* drawing_ = nullptr;
};

}  // namespace

TDrawnLines& Drawn(HWND hwnd) {
    static std::map<HWND, TDrawnLines> drawn;
    return drawn[hwnd];
}

std::unique_ptr<TView> MakeGridView(TFormWindowImpl& owner, TcxGridDBTableView& view) {
    return std::make_unique<TGridView>(owner, view);
}

}  // namespace win::ui
