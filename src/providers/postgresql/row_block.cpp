// Collecting rows.
#include "row_block.h"

#include "binary.h"

namespace mersola::postgresql {
namespace {

using Form = ado::Column::Form;

Form FormOf(Oid type) {
    switch (type) {
        case kBool:
        case kInt2:
        case kInt4:
        case kInt8:
        case kOid:
            return Form::Integers;
        case kFloat4:
        case kFloat8:
            return Form::Reals;
        case kNumeric:
        case kVoid:
            return Form::Asked;
        default:
            return Form::Texts;
    }
}

}  // namespace

RowBlock::RowBlock(std::span<const Oid> types) {
    for (const Oid type : types) {
        columns_.push_back({.type = type, .form = FormOf(type)});
        plain_ = plain_ && columns_.back().form != Form::Asked;
    }
}

void RowBlock::Clear() {
    rows_ = 0;
    for (Column& column : columns_) {
        column.integers.clear();
        column.reals.clear();
        column.ends.clear();
        column.bytes.clear();
        column.nulls.clear();
        column.hasNull = false;
    }
}

void RowBlock::AddNull(std::size_t index) {
    Column& column = columns_[index];
    column.hasNull = true;
    column.nulls.resize(rows_);
    column.nulls.push_back(1);
    if (column.form == Form::Integers) column.integers.push_back(0);
    if (column.form == Form::Reals) column.reals.push_back(0);
    if (column.form == Form::Texts) column.ends.push_back(column.bytes.size());
}

void RowBlock::Add(std::size_t index, const char* bytes, std::size_t length) {
    Column& column = columns_[index];
    if (column.form == Form::Integers) {
        column.integers.push_back(CellAt(column.type, bytes, length).integer);
    } else if (column.form == Form::Reals) {
        column.reals.push_back(CellAt(column.type, bytes, length).real);
    } else {
        column.bytes.append(bytes, length);
        column.ends.push_back(column.bytes.size());
    }
}

void RowBlock::Take(const PGresult* rows) {
    Clear();
    const int count = PQntuples(rows);
    for (std::size_t index = 0; index < columns_.size(); ++index) {
        Column& column = columns_[index];
        const auto number = static_cast<int>(index);
        const auto forEach = [&](auto add) {
            for (int row = 0; row < count; ++row) {
                const char* const value = PQgetvalue(rows, row, number);
                if (*value == '\0' &&
                    PQgetisnull(rows, row, number)) {  // an empty one has no bytes
                    rows_ = static_cast<std::size_t>(row);
                    AddNull(index);
                } else {
                    add(row, value);
                }
            }
        };
        if (column.type == kInt4) {
            column.integers.reserve(static_cast<std::size_t>(count));
            forEach([&](int, const char* value) {
                column.integers.push_back(
                    static_cast<std::int32_t>(NumberAt<std::uint32_t>(value)));
            });
        } else if (column.type == kFloat8) {
            column.reals.reserve(static_cast<std::size_t>(count));
            forEach([&](int, const char* value) {
                column.reals.push_back(std::bit_cast<double>(NumberAt<std::uint64_t>(value)));
            });
        } else {
            forEach([&](int row, const char* value) {
                Add(index, value, static_cast<std::size_t>(PQgetlength(rows, row, number)));
            });
        }
    }
    rows_ = static_cast<std::size_t>(count);
}

void RowBlock::Give(ado::ColumnBlock& block) {
    block.rows = rows_;
    block.columns.clear();
    for (Column& column : columns_) {
        ado::Column given{.form = column.form, .position = static_cast<int>(block.columns.size())};
        if (column.form == Form::Integers) {
            given.values = column.integers.data();
            given.stride = sizeof(std::int64_t);
        } else if (column.form == Form::Reals) {
            given.values = column.reals.data();
            given.stride = sizeof(double);
        } else {
            column.texts.clear();
            std::size_t from = 0;
            for (const std::size_t end : column.ends) {
                column.texts.push_back(std::string_view(column.bytes).substr(from, end - from));
                from = end;
            }
            given.values = column.texts.data();
            given.stride = sizeof(std::string_view);
        }
        if (column.hasNull) {
            column.nulls.resize(rows_);
            given.nulls = column.nulls.data();
        }
        block.columns.push_back(given);
    }
}

}  // namespace mersola::postgresql
