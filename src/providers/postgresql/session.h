// An open database as ADO's provider seam sees it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ado/provider.h"
#include "connection.h"
#include "dialect/translator.h"
#include "engines/postgresql.h"
#include "prepared_statements.h"
#include "table_cache.h"

namespace mersola::postgresql {

class Session : public ado::ProviderSession {
  public:
    explicit Session(std::shared_ptr<Connection> connection)
        : connection_(std::move(connection)), statements_(*connection_) {}
    ~Session() override { connection_->Disconnect(); }

    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override;
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view table) override;
    void Begin() override { connection_->Begin(); }
    void Commit() override { connection_->Commit(); }
    void Rollback() override { connection_->Rollback(); }
    std::string DbmsName() const override { return std::string(kPostgresql.name); }

  private:
    dialect::Translation Translate(std::string_view sql, dialect::Literals mode);
    std::unique_ptr<ado::RowSource> Run(std::string_view sql, const dialect::Translation& told);
    std::unique_ptr<ado::RowSource> RunQuery(std::string_view sql,
                                             const dialect::Translation& told);
    /// Sends the statement's text with all that stands in it.
    std::unique_ptr<ado::RowSource> RunAlone(std::string_view text, bool isQuery);
    std::unique_ptr<ado::RowSource> Copied(std::string_view sql, const Known& known);
    std::unique_ptr<ado::RowSource> Streamed(Result first);

    std::shared_ptr<Connection> connection_;  // batches that outlive the session hold it as well
    dialect::Translator translator_{dialect::kPostgresqlIdiom};
    PreparedStatements statements_;
    TableCache tables_;
    Parameters parameters_;
};

}  // namespace mersola::postgresql
