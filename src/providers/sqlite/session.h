// A session on an open SQLite database.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

#include "ado/provider.h"
#include "callers_transaction.h"
#include "checkpoints.h"
#include "dialect/translator.h"
#include "engines/sqlite.h"
#include "packed_values.h"
#include "patience.h"
#include "statement_cache.h"

namespace mersola::sqlite {

struct CloseDatabase {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

class Session : public ado::ProviderSession {
  public:
    /// `patience` says how long operations wait for others.
    Session(Database db, std::chrono::milliseconds patience)
        : patience_(db.get(), patience),
          checkpoints_(db.get(), patience_),
          db_(std::move(db)),
          transaction_(db_.get()),
          cache_(db_.get()),
          values_(std::make_shared<PackedValues>(db_.get())) {}

    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override;
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view table) override;
    std::unique_ptr<ado::SummarySource> Summarise(const ado::SummaryRequest& request) override {
        return values_->Summarise(request);
    }
    void Begin() override;
    void Commit() override;
    void Rollback() override;
    std::string DbmsName() const override { return std::string(kSqlite.name); }

  private:
    Patience patience_;  // declared before the database, which calls them until it is closed
    Checkpoints checkpoints_;
    Database db_;
    CallersTransaction transaction_;
    StatementCache cache_;  // declared behind the database: its statements are finalized first
    std::shared_ptr<PackedValues> values_;
    dialect::Translator translator_;
};

}  // namespace mersola::sqlite
