// Reading a result row by row.
#include "rows.h"

#include "binary.h"

namespace mersola::postgresql {
namespace {

bool IsRow(const Result& result) {
    return result && PQresultStatus(result.get()) == PGRES_SINGLE_TUPLE;
}

}  // namespace

Rows::Rows(std::shared_ptr<Connection> connection, Result first)
    : connection_(std::move(connection)), row_(std::move(first)), ended_(!IsRow(row_)) {
    for (int column = 0; column < PQnfields(row_.get()); ++column) {
        names_.emplace_back(PQfname(row_.get(), column));
        types_.push_back(PQftype(row_.get(), column));
        if (IsKnown(types_.back())) continue;
        connection_->Abandon();
        throw _com_error(
            DB_E_ERRORSINCOMMAND,
            ("The type of the column " + names_.back() + " cannot be read; CAST it AS text")
                .c_str(),
            kSource);
    }
}

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
    const PGresult* const row = row_.get();
    if (PQgetisnull(row, 0, column)) return {};
    return CellAt(types_[static_cast<std::size_t>(column)], PQgetvalue(row, 0, column),
                  static_cast<std::size_t>(PQgetlength(row, 0, column)));
}

}  // namespace mersola::postgresql
