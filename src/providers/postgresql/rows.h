// The rows of a result, as they come.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ado/provider.h"
#include "connection.h"

namespace mersola::postgresql {

class Rows : public ado::RowSource {
  public:
    /// `first` is what the statement gave first: a row, or the end of a result without rows.
    Rows(std::shared_ptr<Connection> connection, Result first);
    ~Rows() override;
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    const std::vector<std::string>& Columns() const override { return names_; }
    bool Next() override;
    ado::Cell At(int column) const override;

  private:
    std::shared_ptr<Connection> connection_;
    std::vector<std::string> names_;
    std::vector<Oid> types_;
    Result row_;
    bool begun_ = false;
    bool ended_ = false;
};

}  // namespace mersola::postgresql
