// An INSERT into some columns of a table. It takes its rows as arrays of parameters.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "parameter.h"

namespace mersola::odbc {

class ArrayInsert {
  public:
    static constexpr SQLUSMALLINT kUntold = 0xFFFF;

    struct Reply {
        bool success = true;  // whether every row that was sent is stored
        std::vector<Diagnosis> diagnoses;
        std::span<const SQLUSMALLINT> states;  // what became of each row that the driver reports on
    };

    /// Prepares an INSERT into those of the table's `columns` that are `used`.
    ArrayInsert(std::shared_ptr<const Connection> connection, std::string_view table,
                const std::vector<std::string>& columns, std::vector<bool> used);
    ArrayInsert(const ArrayInsert&) = delete;
    ArrayInsert& operator=(const ArrayInsert&) = delete;

    const std::vector<bool>& Used() const { return used_; }
    /// Sets how many rows the next Send sends. False when the driver does not take so many at a
    /// time.
    bool Expect(std::size_t rows);
    /// Sends as many rows as Expect said, with the cells of all columns of the table.
    Reply Send(std::span<const ado::Cell> cells);
    /// How much memory the values take.
    std::size_t Bytes() const;

  private:
    std::shared_ptr<const Connection> connection_;
    std::vector<bool> used_;
    std::vector<std::size_t> written_;  // the positions of the used columns
    Statement statement_;
    std::vector<Parameter> parameters_;
    std::vector<SQLUSMALLINT> states_;  // what became of each row that was sent
    SQLULEN processed_ = 0;
    SQLULEN expected_ = 1;
};

}  // namespace mersola::odbc
