// An open ODBC data source as ADO's provider seam sees it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ado/provider.h"
#include "connection.h"
#include "dialect/translator.h"
#include "prepared_statements.h"
#include "table_cache.h"

namespace mersola::odbc {

class Session : public ado::ProviderSession {
  public:
    explicit Session(std::shared_ptr<Connection> connection)
        : connection_(std::move(connection)),
          translator_(connection_->EngineOf().language == Language::Postgresql
                          ? dialect::kPostgresqlIdiom
                          : dialect::kSqliteIdiom),
          statements_(connection_),
          tables_(connection_) {}
    ~Session() override { connection_->Disconnect(); }

    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override;
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view table) override;
    void Begin() override;
    void Commit() override;
    void Rollback() override;
    std::string DbmsName() const override { return std::string(connection_->EngineOf().name); }

  private:
    Connection& Open() const;
    /// The text for the data source; empty when there is nothing to run.
    std::string_view TextFor(std::string_view sql);
    std::shared_ptr<const Statement> Run(std::string_view text);

    std::shared_ptr<Connection> connection_;  // batches that outlive the session hold it as well
    dialect::Translator translator_;
    PreparedStatements statements_;
    TableCache tables_;
};

}  // namespace mersola::odbc
