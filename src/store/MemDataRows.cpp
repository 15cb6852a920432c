// Where a table's rows keep their slots: the rows a load read share one block, rows made or
// grown since have an array each. A row leaves its block's count when it is deleted, closed
// away, or given an array of its own; the block goes when the table closes or loads again, or
// once fewer than half its rows still lie in it.
#include <algorithm>
#include <stdexcept>

#include "store/MemData.h"

TdxMemData::RowCells::RowCells(RowBlock& block, size_t first, size_t n)
    : p_(block.slots.data() + first), block_(&block), n_(static_cast<uint32_t>(n)) {
    ++block.live;
}

TdxMemData::RowCells::RowCells(const RowCells& o) : n_(o.n_) {
    if (n_ > 0) {
        p_ = new Slot[n_];
        std::copy(o.p_, o.p_ + n_, p_);
    }
}

TdxMemData::RowCells::RowCells(RowCells&& o) noexcept : p_(o.p_), block_(o.block_), n_(o.n_) {
    o.p_ = nullptr;
    o.block_ = nullptr;
    o.n_ = 0;
}

TdxMemData::RowCells& TdxMemData::RowCells::operator=(const RowCells& o) {
    if (this == &o) return *this;
    if (n_ != o.n_ || !p_) {
        RowCells copy(o);
        *this = std::move(copy);
        return *this;
    }
    std::copy(o.p_, o.p_ + n_, p_);
    return *this;
}

TdxMemData::RowCells& TdxMemData::RowCells::operator=(RowCells&& o) noexcept {
    if (this == &o) return *this;
    Release();
    p_ = o.p_;
    block_ = o.block_;
    n_ = o.n_;
    o.p_ = nullptr;
    o.block_ = nullptr;
    o.n_ = 0;
    return *this;
}

void TdxMemData::RowCells::Release() {
    if (block_) --block_->live;
    else delete[] p_;
    p_ = nullptr;
    block_ = nullptr;
    n_ = 0;
}

TdxMemData::Slot& TdxMemData::RowCells::at(size_t i) {
    if (i >= n_) throw std::out_of_range("row has no such field");
    return p_[i];
}

const TdxMemData::Slot& TdxMemData::RowCells::at(size_t i) const {
    if (i >= n_) throw std::out_of_range("row has no such field");
    return p_[i];
}

void TdxMemData::RowCells::assign(size_t n, const Slot& v) {
    if (n != n_ || !p_) {
        Release();
        if (n > 0) p_ = new Slot[n];
        n_ = static_cast<uint32_t>(n);
    }
    std::fill(p_, p_ + n_, v);
}

void TdxMemData::RowCells::emplace_back() {
    Slot* grown = new Slot[n_ + 1];
    std::copy(p_, p_ + n_, grown);
    const uint32_t n = n_ + 1;
    Release();
    p_ = grown;
    n_ = n;
}

void TdxMemData::RowCells::MoveInto(RowBlock& block, size_t first) {
    Slot* to = block.slots.data() + first;
    std::copy(p_, p_ + n_, to);
    const uint32_t n = n_;
    Release();
    p_ = to;
    block_ = &block;
    n_ = n;
    ++block.live;
}

void TdxMemData::CompactRowBlockWhenDue() {
    if (!rowBlock_ || rowBlock_->live * 2 >= rowBlock_->rows) return;
    if (rowBlock_->live > 0) {
        const RowBlock* old = rowBlock_.get();
        auto fresh = std::make_unique<RowBlock>();
        size_t slots = 0;
        for (const Row& r : rows_)
            if (r.cells.In(old)) slots += r.cells.size();
        if (pending_.cells.In(old)) slots += pending_.cells.size();
        fresh->slots.resize(slots);
        size_t at = 0;
        auto move = [&](Row& r) {
            if (!r.cells.In(old)) return;
            const size_t n = r.cells.size();
            r.cells.MoveInto(*fresh, at);
            at += n;
            ++fresh->rows;
        };
        for (Row& r : rows_) move(r);
        move(pending_);
        rowBlock_ = std::move(fresh);
    } else {
        rowBlock_.reset();
    }
}
