// Putting the INSERT together and sending rows through it.
#include "array_insert.h"

#include <atomic>
#include <charconv>
#include <utility>

#include "binary.h"

namespace mersola::postgresql {
namespace {

std::string Quoted(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c;
        if (c == '"') quoted += c;
    }
    return quoted + '"';
}

// What makes a text a value of that type, as a literal would become one.
std::string_view CastTo(Oid type) {
    switch (type) {
        case kInt2:
            return "int2";
        case kInt4:
            return "int4";
        case kInt8:
            return "int8";
        case kFloat4:
            return "float4";
        case kFloat8:
            return "float8";
        case kNumeric:
            return "numeric";
        case kBool:
            return "bool";
        default:
            return {};
    }
}

std::string_view ArrayOf(Form form) {
    constexpr std::string_view kTypes[]{"int4[]", "int8[]", "float8[]", "text[]"};
    return kTypes[static_cast<std::size_t>(form)];
}

}  // namespace

ArrayInsert::ArrayInsert(std::string_view table, std::span<const TableColumn> columns,
                         std::vector<bool> used, std::vector<Form> forms)
    : used_(std::move(used)), forms_(std::move(forms)) {
    std::string names, values, arrays, items;
    int number = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!used_[i]) continue;
        const Form form = forms_[static_cast<std::size_t>(number)];
        const std::string mark = std::to_string(++number);
        const std::string comma = number > 1 ? "," : "";
        names += comma + Quoted(columns[i].name);
        arrays += comma + '$' + mark + "::" + std::string(ArrayOf(form));
        items += comma + 'c' + mark;
        const auto cast = form == Form::Text ? CastTo(columns[i].type) : std::string_view();
        values += comma + 'c' + mark + (cast.empty() ? "" : "::" + std::string(cast));
    }
    text_ = "INSERT INTO " + std::string(table) + " (" + names + ") SELECT " + values +
            " FROM unnest(" + arrays + ") AS rows(" + items + ") ON CONFLICT DO NOTHING";
}

std::size_t ArrayInsert::Send(Connection& connection, std::span<const ado::Cell> cells) {
    parameters_.Clear();
    std::size_t number = 0;
    for (std::size_t column = 0; column < used_.size(); ++column) {
        if (used_[column]) parameters_.AddColumn(cells, column, used_.size(), forms_[number++]);
    }
    if (name_.empty()) {
        static std::atomic<int> count = 0;
        name_ = "mersola_rows_" + std::to_string(++count);
    }
    const char* const text = isPrepared_ ? nullptr : text_.c_str();
    connection.Send({.text = text, .name = name_.c_str(), .parameters = parameters_});
    isPrepared_ = true;
    const Result end = connection.Next();
    const std::string_view tuples = end ? PQcmdTuples(end.get()) : "";
    std::size_t stored = 0;
    std::from_chars(tuples.data(), tuples.data() + tuples.size(), stored);
    return stored;
}

}  // namespace mersola::postgresql
