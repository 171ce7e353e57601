// The statement runs, and its first block is there, when the reader is made: what is wrong with the
// statement is told then, as a recordset tells it.
#include "block_reader.h"

#include <algorithm>

#include "state.h"

namespace mersola::ado {

BlockReader::BlockReader(const _ConnectionPtr& connection, std::string_view sql)
    : connection_(connection) {
    ConnectionState& state = Internals::Of(*connection);
    auto& session = state.Idle();
    state.Noting([&] {
        source_ = session.Execute(sql);
        if (!source_) throw _com_error(adErrObjectClosed, "The statement gives no rows", kSource);
        more_ = source_->NextBlock(block_);
    });
}

int BlockReader::Position(int position) const {
    if (static_cast<std::size_t>(position) >= source_->Columns().size())
        throw _com_error(adErrItemNotFound, "There is no field at that position", kSource);
    return position;
}

int BlockReader::Position(std::string_view name) const {
    const auto& names = source_->Columns();
    const auto found = std::ranges::find_if(
        names, [&](const std::string& column) { return EqualNoCase(column, name); });
    return Position(static_cast<int>(found - names.begin()));
}

bool BlockReader::Next() {
    if (begun_ && more_)
        Internals::Of(*connection_).Noting([&] { more_ = source_->NextBlock(block_); });
    begun_ = true;
    return more_;
}

}  // namespace mersola::ado
