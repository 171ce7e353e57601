// Values that a provider hands out as columns of many rows.
#include <gmock/gmock.h>

#include <array>

#include "ado/provider.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using ado::Column;
using testing::ElementsAre;

constexpr std::int64_t kBeyond32Bits = 1LL << 33;

// Period 3 of bands 0 to 3 as plain columns; period 4 with nulls and texts where numbers are
// expected; then, if it is told to, a number that no program takes.
class Source : public ado::RowSource {
  public:
    explicit Source(bool fails) : blocks_(fails ? 3 : 2) {}
    const std::vector<std::string>& Columns() const override { return names_; }
    bool Next() override { return false; }
    ado::Cell At(int) const override { return {}; }
    bool NextBlock(ado::ColumnBlock& block) override {
        if (block_ == blocks_) return false;
        const Column key{.form = Column::Form::Integers, .values = &key_};
        const Column period{.form = Column::Form::Integers, .values = &periods_[block_++]};
        Column band = Spread(Column::Form::Integers, bands_.data());
        Column value = Spread(Column::Form::Reals, values_.data(), 2);
        Column status = Spread(Column::Form::Texts, states_.data());
        if (block_ == 2) {
            value = Spread(Column::Form::Texts, texts_.data());
            value.nulls = nulls_.data();
            status.nulls = nulls_.data();
        }
        block.rows = bands_.size();
        block.columns = {key, period, key, key, band, value, status};
        return true;
    }

  private:
    template <class T>
    static Column Spread(Column::Form form, const T* values, int apart = 1) {
        return {.form = form,
                .values = values,
                .stride = static_cast<std::ptrdiff_t>(sizeof(T)) * apart};
    }

    std::vector<std::string> names_{"MeasValueId", "PeriodNo", "Channel", "FuncId",
                                    "FrqId",       "Value",    "Status"};
    std::size_t blocks_;
    std::size_t block_ = 0;
    std::int64_t key_ = 1;
    std::array<std::int64_t, 3> periods_{3, 4, kBeyond32Bits};
    std::array<std::int64_t, 4> bands_{0, 1, 2, 3};
    std::array<double, 8> values_{1.5, 9, 2.5, 9, 3.5, 9, 4.5, 9};
    std::array<std::string_view, 4> states_{"", "A", "O", ""};
    std::array<std::string_view, 4> texts_{" 5.25", "none", "6", "7"};
    std::array<std::uint8_t, 4> nulls_{0, 0, 1, 0};
};

struct Columnar : ado::Provider {
    struct Session : ado::ProviderSession {
        explicit Session(const bool& told) : fails(told) {}
        std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override {
            if (sql.starts_with("SET")) return nullptr;
            return std::make_unique<Source>(fails);
        }
        std::unique_ptr<ado::TableWriter> OpenTable(std::string_view) override { return nullptr; }
        void Begin() override {}
        void Commit() override {}
        void Rollback() override {}
        std::string DbmsName() const override { return "Columnar"; }
        const bool& fails;
    };
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest&) override {
        return std::make_unique<Session>(fails);
    }
    bool fails = false;
};

TEST(ColumnBlocks, FillAReadersBlockAsRowsDo) {
    const auto provider = std::make_shared<Columnar>();
    ado::RegisterProvider("Columnar", provider);
    Store store("Provider=Columnar");
    std::vector<float> values(12);
    std::vector<char> status(12);
    EXPECT_EQ(store.GetData(values.data(), 3, 3, 0, 4, status.data()), 3);
    EXPECT_THAT(values,
                ElementsAre(1.5, -100, 3.5, 4.5, 5.25, -100, -100, 7, -100, -100, -100, -100));
    EXPECT_EQ(std::string(status.begin(), status.end()),
              std::string("\0AO\0\0A\0\0AAAA", status.size()));

    provider->fails = true;
    EXPECT_EQ(store.GetData(values.data(), 3, 3, 0, 4), -1);
    CList<funcData, funcData&> list;
    EXPECT_EQ(store.GetAllDataByPeriod(3, 3, list), 8) << "what was read before stays";
    EXPECT_EQ(list.GetTail().PeriodNo, 4);
    EXPECT_EQ(list.GetTail().Value, 7);
}

}  // namespace
}  // namespace mersola::test
