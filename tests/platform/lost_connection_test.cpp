// A result whose connection is lost before its last row.
#include <gtest/gtest.h>

#include <mersola/platform/ado.h>

#include "ado/provider.h"

namespace mersola::test {
namespace {

constexpr int kRows = 2000;
constexpr int kRowsBeforeTheLoss = 1000;

struct Line {
    bool lost = false;
};

[[noreturn]] void RaiseLoss() {
    throw _com_error(E_FAIL, "The line is dead", "Fragile");
}

class Rows : public ado::RowSource {
  public:
    explicit Rows(const Line& line) : line_(line) {}
    const std::vector<std::string>& Columns() const override { return columns_; }
    bool Next() override {
        if (line_.lost && row_ >= kRowsBeforeTheLoss) RaiseLoss();
        return ++row_ < kRows;
    }
    ado::Cell At(int) const override { return ado::Cell::Integer(row_); }

  private:
    const Line& line_;
    std::vector<std::string> columns_{"n"};
    int row_ = -1;
};

class Session : public ado::ProviderSession {
  public:
    explicit Session(const Line& line) : line_(line) {}
    std::unique_ptr<ado::RowSource> Execute(std::string_view) override {
        if (line_.lost) RaiseLoss();
        return std::make_unique<Rows>(line_);
    }
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view) override { RaiseLoss(); }
    void Begin() override {}
    void Commit() override {}
    void Rollback() override {}
    std::string DbmsName() const override { return "Fragile"; }

  private:
    const Line& line_;
};

struct Fragile : ado::Provider, Line {
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest&) override {
        return std::make_unique<Session>(*this);
    }
};

TEST(LostConnection, IsToldToWhoReadsOnAndNeverShortensAResult) {
    const auto line = std::make_shared<Fragile>();
    ado::RegisterProvider("Fragile", line);
    const auto connection = _Connection::CreateInstance();
    connection->Open("Provider=Fragile", "", "");
    const auto open = [&](_Recordset& rows) {
        rows.Open("SELECT", connection, adOpenKeyset, adLockOptimistic, adCmdText);
    };
    _Recordset rows;
    open(rows);
    line->lost = true;
    _Recordset other;
    EXPECT_THROW(open(other), _com_error);
    int read = 0;
    EXPECT_THROW(for (; !rows.EndOfFile(); rows.MoveNext(), ++read)
                     EXPECT_EQ(rows.Fields(0).Long(), read),
                 _com_error);
    EXPECT_EQ(read, kRowsBeforeTheLoss);
    connection->Close();
    EXPECT_EQ(connection->GetState(), adStateClosed);
}

}  // namespace
}  // namespace mersola::test
