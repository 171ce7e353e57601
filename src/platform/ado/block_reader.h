// Reads a result once, in the blocks in which the provider hands it out.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <mersola/platform/ado.h>

#include "provider.h"

namespace mersola::ado {

/// Runs a statement and reads its rows from the first to the last. In contrast to a recordset it
/// keeps no rows, and nothing else may run on the connection while it lives. Every failure raises
/// _com_error.
class BlockReader {
  public:
    /// Runs the statement, which must give rows.
    BlockReader(const _ConnectionPtr& connection, std::string_view sql);

    /// The position of a column: of one that must be there, or of a name.
    int Position(int position) const;
    int Position(std::string_view name) const;

    /// Moves to the next block, and at the first call to the first one. False behind the last one.
    bool Next();
    std::size_t Rows() const { return block_.rows; }
    const Column& At(int position) const {
        return block_.columns[static_cast<std::size_t>(position)];
    }

  private:
    _ConnectionPtr connection_;
    std::unique_ptr<RowSource> source_;
    ColumnBlock block_;
    bool more_ = false;
    bool begun_ = false;
};

}  // namespace mersola::ado
