// One column of a batch, as an array of parameters.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "wide_text.h"

namespace mersola::odbc {

/// The values of one parameter. They stay at the same place in memory as long as later values fit
/// there, so that the parameter is seldom bound anew: drivers prepare the statement again for that.
class Parameter {
  public:
    /// Takes the values of the column `column` of all rows. Each row has `width` cells.
    void Take(std::span<const ado::Cell> cells, std::size_t column, std::size_t width,
              const Engine& engine);
    /// Binds the parameter, unless it is bound already.
    void Bind(const Statement& statement, SQLUSMALLINT number);
    std::size_t Bytes() const { return values_.size(); }

  private:
    enum class Form { Integer, Long, Real, Utf8, Wide };

    void Become(Form form, std::size_t width);
    void Put(std::size_t row, const ado::Cell& cell);
    void PutText(std::size_t row, std::string_view text);

    Form form_ = Form::Integer;
    std::size_t width_ = 0;  // bytes of one value
    std::size_t mostVarchar_ = 0;
    std::size_t rows_ = 0;  // the number of rows that there is room for
    std::vector<char> values_;
    std::vector<SQLLEN> lengths_;
    WideText wide_;
    bool bound_ = false;
};

}  // namespace mersola::odbc
