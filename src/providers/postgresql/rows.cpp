// Reading results.
#include "rows.h"

#include "binary.h"

namespace mersola::postgresql {
namespace {

bool IsRow(const Result& result) {
    return result && PQresultStatus(result.get()) == PGRES_SINGLE_TUPLE;
}

// Before the first row: a mark, flags, and the length of what later versions may add to that.
constexpr std::size_t kHeader = 19;

ado::Cell CellIn(const PGresult* rows, int row, int column, const RowShape& shape) {
    if (PQgetisnull(rows, row, column)) return {};
    return CellAt(shape.types[static_cast<std::size_t>(column)], PQgetvalue(rows, row, column),
                  static_cast<std::size_t>(PQgetlength(rows, row, column)));
}

[[noreturn]] void RefuseForm() {
    throw _com_error(E_FAIL, "The table was changed meanwhile; read it again", kSource);
}

}  // namespace

RowShape ShapeOf(const PGresult* result) {
    RowShape shape;
    for (int column = 0; column < PQnfields(result); ++column) {
        shape.names.emplace_back(PQfname(result, column));
        shape.types.push_back(PQftype(result, column));
        if (IsKnown(shape.types.back())) continue;
        const std::string words =
            "The type of the column " + shape.names.back() + " cannot be read; CAST it AS text";
        throw _com_error(DB_E_ERRORSINCOMMAND, words.c_str(), kSource);
    }
    return shape;
}

Rows::Rows(std::shared_ptr<Connection> connection, RowShape shape, Result first)
    : connection_(std::move(connection)),
      shape_(std::move(shape)),
      row_(std::move(first)),
      ended_(!IsRow(row_)) {}

Rows::~Rows() {
    if (!ended_) connection_->Abandon();
}

bool Rows::Next() {
    if (ended_) return false;
    if (!std::exchange(begun_, true)) return true;
    ended_ = true;  // also where this fails
    row_ = connection_->Next();
    ended_ = !IsRow(row_);
    return !ended_;
}

ado::Cell Rows::At(int column) const {
    return CellIn(row_.get(), 0, column, shape_);
}

ado::Cell WholeRows::At(int column) const {
    return CellIn(rows_.get(), row_, column, shape_);
}

bool WholeRows::NextBlock(ado::ColumnBlock& block) {
    if (!block_) block_.emplace(shape_.types);
    if (!block_->IsPlain()) return RowSource::NextBlock(block);
    const int rows = PQntuples(rows_.get());
    if (row_ >= 0 || rows == 0) return false;
    row_ = rows;
    block_->Take(rows_.get());
    block_->Give(block);
    return true;
}

CopiedRows::CopiedRows(std::shared_ptr<Connection> connection, RowShape shape,
                       std::shared_ptr<bool> areMany)
    : connection_(std::move(connection)),
      shape_(std::move(shape)),
      areMany_(std::move(areMany)),
      block_(shape_.types),
      fields_(shape_.types.size()) {}

bool CopiedRows::Next() {
    if (ended_) return false;
    ended_ = true;  // also where this fails
    // The next time the rows come as a result, which tells their types.
    const auto refuse = [&] {
        *areMany_ = false;
        RefuseForm();
    };
    row_ = connection_->NextCopied();
    const char* at = row_.bytes.get();
    const char* const end = at + row_.size;
    if (!std::exchange(begun_, true) && at) {
        if (row_.size < kHeader + NumberAt<std::uint32_t>(at + kHeader - 4)) refuse();
        at += kHeader + NumberAt<std::uint32_t>(at + kHeader - 4);
    }
    if (!at) {
        *areMany_ = count_ > kMany;
        return false;
    }
    if (at == end) {  // the header came alone
        ended_ = false;
        return Next();
    }
    const auto take = [&](std::size_t bytes) {
        if (static_cast<std::size_t>(end - at) < bytes) refuse();
        return std::exchange(at, at + bytes);
    };
    const auto count = static_cast<std::int16_t>(NumberAt<std::uint16_t>(take(2)));
    if (count == -1) {  // the end, behind which the statement's own one comes
        ended_ = false;
        return Next();
    }
    if (static_cast<std::size_t>(count) != fields_.size()) refuse();
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const auto length = static_cast<std::int32_t>(NumberAt<std::uint32_t>(take(4)));
        if (length >= 0 && !HasLength(shape_.types[i], static_cast<std::size_t>(length))) refuse();
        fields_[i] = {length < 0 ? nullptr : take(static_cast<std::size_t>(length)), length};
    }
    ended_ = false;
    ++count_;
    return true;
}

ado::Cell CopiedRows::At(int column) const {
    const auto index = static_cast<std::size_t>(column);
    const auto [bytes, length] = fields_[index];
    if (length < 0) return {};
    return CellAt(shape_.types[index], bytes, static_cast<std::size_t>(length));
}

bool CopiedRows::NextBlock(ado::ColumnBlock& block) {
    constexpr std::size_t kMostRows = 1000;
    if (!block_.IsPlain()) return RowSource::NextBlock(block);
    for (block_.Clear(); block_.Rows() < kMostRows && Next(); block_.EndRow()) {
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            const auto [bytes, length] = fields_[i];
            if (length < 0)
                block_.AddNull(i);
            else
                block_.Add(i, bytes, static_cast<std::size_t>(length));
        }
    }
    block_.Give(block);
    return block_.Rows() > 0;
}

}  // namespace mersola::postgresql
