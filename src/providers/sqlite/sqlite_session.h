// An open SQLite database as ADO's provider seam sees it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

#include "provider.h"
#include "statement_cache.h"
#include "translator.h"

namespace mersola::sqlite {

struct CloseDatabase {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

class Session : public ado::ProviderSession {
  public:
    explicit Session(Database db) : db_(std::move(db)), cache_(db_.get()) {}

    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override;
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view table) override;
    void Begin() override;
    void Commit() override;
    void Rollback() override;
    std::string DbmsName() const override { return "SQLite"; }

  private:
    Database db_;
    StatementCache cache_;  // behind the database: its statements go first
    dialect::Translator translator_;
};

}  // namespace mersola::sqlite
