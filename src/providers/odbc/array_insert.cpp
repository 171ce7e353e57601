// Preparing an INSERT and sending rows through it.
#include "array_insert.h"

#include <algorithm>
#include <utility>

namespace mersola::odbc {
namespace {

std::string Quoted(std::string_view name) {
    std::string quoted = "[";
    for (const char c : name) {
        quoted += c;
        if (c == ']') quoted += c;
    }
    return quoted + ']';
}

}  // namespace

ArrayInsert::ArrayInsert(std::shared_ptr<const Connection> connection, std::string_view table,
                         const std::vector<std::string>& columns, std::vector<bool> used)
    : connection_(std::move(connection)),
      used_(std::move(used)),
      statement_(connection_),
      states_(connection_->EngineOf().arrays.mostRows) {
    std::string names;
    std::string marks;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        if (!used_[column]) continue;
        names += (written_.empty() ? "" : ",") + Quoted(columns[column]);
        marks += written_.empty() ? "?" : ",?";
        written_.push_back(column);
    }
    parameters_.resize(written_.size());
    statement_.Point(SQL_ATTR_PARAM_STATUS_PTR, states_.data());
    statement_.Point(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed_);
    statement_.Prepare("INSERT INTO " + std::string(table) + "(" + names + ") VALUES (" + marks +
                       ")");
}

bool ArrayInsert::Expect(std::size_t rows) {
    if (expected_ != rows && !statement_.Set(SQL_ATTR_PARAMSET_SIZE, rows)) return false;
    expected_ = rows;
    return true;
}

ArrayInsert::Reply ArrayInsert::Send(std::span<const ado::Cell> cells) {
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
        parameters_[i].Take(cells, written_[i], used_.size(), connection_->EngineOf());
        parameters_[i].Bind(statement_, static_cast<SQLUSMALLINT>(i + 1));
    }
    std::ranges::fill(states_, kUntold);
    processed_ = 0;
    Reply reply;
    // An array may answer with a result for each of its rows.
    for (SQLRETURN code = SQLExecute(statement_.Get());; code = SQLMoreResults(statement_.Get())) {
        if (code != SQL_SUCCESS && code != SQL_NO_DATA) {
            for (Diagnosis& diagnosis : statement_.DiagnosesNow()) {
                reply.success &= diagnosis.IsWarning();
                reply.diagnoses.push_back(std::move(diagnosis));
            }
            if (!SQL_SUCCEEDED(code)) reply.success = false;
        }
        if (!SQL_SUCCEEDED(code)) break;
    }
    SQLFreeStmt(statement_.Get(), SQL_CLOSE);
    reply.states = std::span(states_).first(std::min<std::size_t>(processed_, expected_));
    return reply;
}

std::size_t ArrayInsert::Bytes() const {
    std::size_t bytes = 0;
    for (const Parameter& parameter : parameters_)
        bytes += parameter.Bytes();
    return bytes;
}

}  // namespace mersola::odbc
