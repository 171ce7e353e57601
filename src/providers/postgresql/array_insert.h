// An INSERT into some columns of a table. It takes its rows as one array for each column, and
// leaves out the rows whose key is stored already.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ado/cell.h"
#include "connection.h"

namespace mersola::postgresql {

/// A column of a table.
struct TableColumn {
    std::string name;
    Oid type = 0;
};

class ArrayInsert {
  public:
    /// An INSERT into those of the table's columns that are `used`, from values of these forms.
    ArrayInsert(std::string_view table, std::span<const TableColumn> columns,
                std::vector<bool> used, std::vector<Form> forms);

    bool Takes(const std::vector<bool>& used, const std::vector<Form>& forms) const {
        return used == used_ && forms == forms_;
    }
    /// Sends rows, with the cells of all columns of the table. Returns how many are stored now.
    /// Raises when nothing is.
    std::size_t Send(Connection& connection, std::span<const ado::Cell> cells);

  private:
    std::vector<bool> used_;
    std::vector<Form> forms_;  // of the used columns
    std::string text_;
    std::string name_;
    bool isPrepared_ = false;
    Parameters parameters_;
};

}  // namespace mersola::postgresql
