// Fetching: columns of a known width are bound as arrays, a block of rows a call. A column that may
// be of any length is read by itself, and then the rows come one at a time.
#include "block_rows.h"

#include <algorithm>
#include <cstring>

namespace mersola::odbc {
namespace {

constexpr std::size_t kBlockBytes = 256 * 1024;
constexpr std::size_t kMostRows = 1000;
// Characters; what is declared wider, or without a width, is not worth a place in every row.
constexpr SQLLEN kMostBounded = 8000;
constexpr std::size_t kMostBytes = 3;  // in UTF-8, of one wide character

// The value that a driver wrote at `row`.
template <class Value>
Value ValueAt(const std::vector<char>& values, std::size_t row) {
    Value value;
    std::memcpy(&value, values.data() + row * sizeof value, sizeof value);
    return value;
}

std::span<const SQLWCHAR> Units(const char* bytes, std::size_t length) {
    return {reinterpret_cast<const SQLWCHAR*>(bytes), length / sizeof(SQLWCHAR)};
}

}  // namespace

BlockRows::BlockRows(std::shared_ptr<const Statement> statement)
    : statement_(std::move(statement)) {
    const auto count = static_cast<SQLUSMALLINT>(statement_->ColumnCount());
    for (SQLUSMALLINT number = 1; number <= count; ++number) {
        names_.push_back(statement_->ColumnName(number));
        columns_.push_back(Describe(number));
    }
    Bind();
}

BlockRows::Column BlockRows::Describe(SQLUSMALLINT number) const {
    switch (statement_->ColumnNumber(number, SQL_DESC_CONCISE_TYPE)) {
        case SQL_BIT:
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
        case SQL_BIGINT:
            return {.form = Form::Integer, .type = SQL_C_SBIGINT, .width = sizeof(std::int64_t)};
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE:
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            return {.form = Form::Real, .type = SQL_C_DOUBLE, .width = sizeof(double)};
        default:
            break;
    }
    // A driver that prefers this form may make widths up.
    if (statement_->EngineOf().textForm == TextForm::Utf8)
        return {.form = Form::Utf8, .type = SQL_C_CHAR, .width = 0};
    const SQLLEN most = std::max(statement_->ColumnNumber(number, SQL_DESC_LENGTH),
                                 statement_->ColumnNumber(number, SQL_DESC_DISPLAY_SIZE));
    const bool bounded = most > 0 && most <= kMostBounded;
    return {.form = Form::Wide,
            .type = SQL_C_WCHAR,
            .width = bounded ? (static_cast<std::size_t>(most) + 1) * sizeof(SQLWCHAR) : 0};
}

void BlockRows::Bind() {
    const auto alone = std::ranges::find(columns_, std::size_t{0}, &Column::width);
    firstAlone_ = static_cast<std::size_t>(alone - columns_.begin());
    std::size_t rows = 1;
    if (alone == columns_.end()) {
        std::size_t width = 0;
        for (const Column& column : columns_)
            width += column.width + sizeof(SQLLEN);
        rows = std::clamp<std::size_t>(kBlockBytes / width, 1, kMostRows);
        if (!statement_->Set(SQL_ATTR_ROW_ARRAY_SIZE, rows)) {
            rows = 1;
            statement_->Set(SQL_ATTR_ROW_ARRAY_SIZE, rows);
        }
    }
    states_.assign(rows, SQL_ROW_SUCCESS);
    statement_->Point(SQL_ATTR_ROW_STATUS_PTR, states_.data());
    statement_->Point(SQL_ATTR_ROWS_FETCHED_PTR, &fetched_);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        Column& column = columns_[i];
        column.values.resize(rows * column.width);
        column.lengths.resize(rows);
        if (i >= firstAlone_) continue;
        statement_->Check(SQLBindCol(statement_->Get(), static_cast<SQLUSMALLINT>(i + 1),
                                     column.type, column.values.data(),
                                     static_cast<SQLLEN>(column.width), column.lengths.data()));
    }
}

bool BlockRows::Next() {
    if (++row_ >= fetched_) Fetch();
    return row_ < fetched_;
}

void BlockRows::Fetch() {
    row_ = 0;
    fetched_ = 0;
    if (ended_) return;
    fetched_ = 1;  // for a driver that does not tell
    const SQLRETURN code = SQLFetch(statement_->Get());
    if (code == SQL_NO_DATA) {
        ended_ = true;
        fetched_ = 0;
        return;
    }
    statement_->Check(code);
    if (code == SQL_SUCCESS_WITH_INFO &&
        std::ranges::find(states_, SQL_ROW_ERROR) != states_.end()) {
        throw statement_->DiagnosesNow().front().Translated();
    }
    for (std::size_t i = firstAlone_; i < columns_.size(); ++i)
        FetchLong(static_cast<SQLUSMALLINT>(i + 1), columns_[i]);
}

void BlockRows::FetchLong(SQLUSMALLINT number, Column& column) {
    constexpr std::size_t kFirst = 512;
    const std::size_t zero = column.form == Form::Wide   ? sizeof(SQLWCHAR)
                             : column.form == Form::Utf8 ? sizeof(char)
                                                         : 0;
    if (column.values.size() < kFirst) column.values.resize(kFirst);
    SQLLEN& length = column.lengths.front();
    for (std::size_t got = 0;;) {
        const std::size_t room = column.values.size() - got;
        SQLLEN rest = 0;
        const SQLRETURN code =
            SQLGetData(statement_->Get(), number, column.type, column.values.data() + got,
                       static_cast<SQLLEN>(room), &rest);
        statement_->Check(code);
        if (rest == SQL_NULL_DATA) {
            length = SQL_NULL_DATA;
            return;
        }
        const bool known = rest >= 0 && code != SQL_NO_DATA;
        if (code == SQL_NO_DATA || (known && static_cast<std::size_t>(rest) + zero <= room)) {
            length = static_cast<SQLLEN>(got) + (known ? rest : 0);
            return;
        }
        got += room - zero;
        // The zero behind a piece gives way to the next one.
        column.values.resize(known ? got + static_cast<std::size_t>(rest) + zero
                                   : 2 * column.values.size());
    }
}

std::span<const SQLWCHAR> BlockRows::UnitsAt(const Column& column, std::size_t row) const {
    const auto size = static_cast<std::size_t>(std::max<SQLLEN>(column.lengths[row], 0));
    if (column.width > 0 && size + sizeof(SQLWCHAR) > column.width)
        throw _com_error(E_FAIL, "A text is longer than its column says", kSource);
    return Units(column.values.data() + row * column.width, size);
}

ado::Cell BlockRows::At(int index) const {
    const Column& column = columns_[static_cast<std::size_t>(index)];
    const SQLLEN length = column.lengths[row_];
    if (length == SQL_NULL_DATA) return {};
    if (column.form == Form::Integer)
        return ado::Cell::Integer(ValueAt<std::int64_t>(column.values, row_));
    if (column.form == Form::Real) return ado::Cell::Real(ValueAt<double>(column.values, row_));
    if (column.form == Form::Utf8) {
        return ado::Cell::Text({column.values.data() + row_ * column.width,
                                static_cast<std::size_t>(std::max<SQLLEN>(length, 0))});
    }
    column.text.clear();
    AppendUtf8(UnitsAt(column, row_), column.text);
    return ado::Cell::Text(column.text);
}

bool BlockRows::NextBlock(ado::ColumnBlock& block) {
    if (states_.size() == 1) return RowSource::NextBlock(block);
    Fetch();
    block.rows = fetched_;
    block.columns.clear();
    for (Column& column : columns_)
        block.columns.push_back(Whole(column));
    return fetched_ > 0;
}

// A bound column as it lies there, behind the last fetch.
ado::Column BlockRows::Whole(Column& column) const {
    ado::Column whole;
    const auto lengths = std::span(column.lengths).first(fetched_);
    if (std::ranges::find(lengths, SQLLEN{SQL_NULL_DATA}) != lengths.end()) {
        column.nulls.clear();
        for (const SQLLEN length : lengths)
            column.nulls.push_back(length == SQL_NULL_DATA);
        whole.nulls = column.nulls.data();
    }
    whole.values = column.values.data();
    whole.stride = static_cast<std::ptrdiff_t>(column.width);
    if (column.form == Form::Integer || column.form == Form::Real) {
        using Is = ado::Column::Form;
        whole.form = column.form == Form::Integer ? Is::Integers : Is::Reals;
        return whole;
    }
    // Only texts of a known width are bound, and these are wide.
    std::size_t most = 0;
    for (std::size_t row = 0; row < fetched_; ++row)
        most += kMostBytes * UnitsAt(column, row).size();
    column.text.clear();
    column.text.reserve(most);
    column.views.clear();
    for (std::size_t row = 0; row < fetched_; ++row) {
        const std::size_t start = column.text.size();
        AppendUtf8(UnitsAt(column, row), column.text);
        column.views.push_back(std::string_view(column.text).substr(start));
    }
    whole.form = ado::Column::Form::Texts;
    whole.values = column.views.data();
    whole.stride = sizeof(std::string_view);
    return whole;
}

}  // namespace mersola::odbc
