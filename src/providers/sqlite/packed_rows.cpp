// Blocks are handed out as they were decoded: a period of one is a row of its matrix.
#include "packed_rows.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include "errors.h"
#include "packed/plan.h"

namespace mersola::sqlite {
namespace {

using ado::Column;
using Form = Column::Form;

template <class T>
constexpr Form kForm = std::is_same_v<T, std::int64_t> ? Form::Integers
                       : std::is_same_v<T, double>     ? Form::Reals
                                                       : Form::Texts;

// A column of one value, or of values that lie `apart` values from each other.
template <class T>
Column Constant(const T& value) {
    return {.form = kForm<T>, .values = &value};
}
template <class T>
Column Spread(const T* values, std::size_t apart = 1) {
    return {.form = kForm<T>,
            .values = values,
            .stride = static_cast<std::ptrdiff_t>(apart * sizeof(T))};
}

// Rows one by one, for whoever does not read blocks.
class Rows : public ado::RowSource {
  public:
    const std::vector<std::string>& Columns() const final { return names_; }
    bool Next() final {
        if (++row_ < block_.rows) return true;
        row_ = 0;
        return NextBlock(block_);
    }
    ado::Cell At(int column) const final {
        return block_.columns[static_cast<std::size_t>(column)].At(row_);
    }
    /// Blocks that are handed out are never empty.
    bool NextBlock(ado::ColumnBlock& block) final try {
        return Fill(block);
    } catch (const packed::Failure& failure) {
        throw Translated(failure.code, failure.what());
    }

  protected:
    explicit Rows(std::vector<std::string> names) : names_(std::move(names)) {}
    virtual bool Fill(ado::ColumnBlock& block) = 0;

  private:
    std::vector<std::string> names_;
    ado::ColumnBlock block_;
    std::size_t row_ = 0;
};

std::vector<std::string> AllColumns() {
    return {packed::kColumnNames.begin(), packed::kColumnNames.end()};
}

// Rows that do not lie as they are handed out, with room for each column that differs.
struct Gathered {
    std::vector<std::int64_t> channels, functions, bands;
    std::vector<double> values;
    std::vector<std::string_view> statuses;
    std::vector<std::uint8_t> nullValues, nullStatuses;

    void Clear() {
        channels.clear();
        functions.clear();
        bands.clear();
        values.clear();
        statuses.clear();
        nullValues.clear();
        nullStatuses.clear();
    }
    void Add(std::int32_t band, bool isNull, double value, const packed::Status& status) {
        bands.push_back(band);
        values.push_back(value);
        nullValues.push_back(isNull);
        statuses.push_back(status ? std::string_view(*status) : std::string_view());
        nullStatuses.push_back(!status);
    }
    Column Values() const { return Nullable(Spread(values.data()), nullValues); }
    Column Statuses() const { return Nullable(Spread(statuses.data()), nullStatuses); }

  private:
    static Column Nullable(Column column, const std::vector<std::uint8_t>& nulls) {
        if (std::ranges::find(nulls, std::uint8_t{1}) != nulls.end()) column.nulls = nulls.data();
        return column;
    }
};

class OfSeries final : public Rows {
  public:
    OfSeries(std::shared_ptr<packed::Statements> sources, const packed::Series& series,
             packed::Range periods, packed::Range bands)
        : Rows(AllColumns()),
          reader_(std::move(sources), series, periods, bands),
          report_(series.measValueId),
          channel_(series.channel),
          function_(series.funcId) {}

  private:
    bool Fill(ado::ColumnBlock& block) override {
        do {
            if (column_ == end_ && !NextMatrix()) return false;
            if (isWhole_ && matrix_.bands.size() == 1) {
                HandOutBand(block);
            } else if (isWhole_) {
                HandOutPeriod(block);
            } else {
                GatherPeriod(block);
            }
        } while (block.rows == 0);
        return true;
    }

    bool NextMatrix() {
        if (!reader_.Next(matrix_)) return false;
        const auto [first, end] = reader_.Columns(matrix_);
        column_ = static_cast<std::size_t>(first);
        end_ = static_cast<std::size_t>(end);
        isWhole_ = matrix_.states.empty() && matrix_.statusOf.empty();
        isLaidOut_ = false;
        bands_.assign(matrix_.bands.begin(), matrix_.bands.end());
        const packed::Status& status = matrix_.statuses.front();
        status_ = status ? std::string_view(*status) : std::string_view();
        ones_.assign(status ? 0 : std::max(bands_.size(), end_), 1);
        return true;
    }

    void LayOut(ado::ColumnBlock& block) {
        Column status = Constant(status_);
        if (!ones_.empty()) status.nulls = ones_.data();
        block.columns = {Constant(report_),
                         Constant(period_),
                         Constant(channel_),
                         Constant(function_),
                         Spread(bands_.data()),
                         Spread(matrix_.values.data(), static_cast<std::size_t>(matrix_.periods)),
                         status};
        isLaidOut_ = true;
    }

    void HandOutPeriod(ado::ColumnBlock& block) {
        if (!isLaidOut_) LayOut(block);
        block.rows = bands_.size();
        period_ = std::int64_t{matrix_.firstPeriod} + static_cast<std::int64_t>(column_);
        block.columns[packed::kValue].values = matrix_.values.data() + column_;
        ++column_;
    }

    void HandOutBand(ado::ColumnBlock& block) {
        LayOut(block);
        block.rows = end_ - column_;
        periods_.clear();
        for (; column_ < end_; ++column_)
            periods_.push_back(matrix_.firstPeriod + static_cast<std::int64_t>(column_));
        block.columns[packed::kPeriodNo] = Spread(periods_.data());
        block.columns[packed::kFrqId] = Constant(bands_.front());
        block.columns[packed::kValue] = Spread(matrix_.values.data() + (end_ - block.rows));
    }

    void GatherPeriod(ado::ColumnBlock& block) {
        gathered_.Clear();
        period_ = std::int64_t{matrix_.firstPeriod} + static_cast<std::int64_t>(column_);
        for (std::size_t band = 0; band < bands_.size(); ++band) {
            const std::size_t cell = band * static_cast<std::size_t>(matrix_.periods) + column_;
            const std::uint8_t state = packed::StateAt(matrix_, cell);
            if (state == packed::kNoRow) continue;
            gathered_.Add(matrix_.bands[band], state == packed::kNull, matrix_.values[cell],
                          packed::StatusAt(matrix_, cell));
        }
        ++column_;
        block.rows = gathered_.bands.size();
        block.columns = {Constant(report_),
                         Constant(period_),
                         Constant(channel_),
                         Constant(function_),
                         Spread(gathered_.bands.data()),
                         gathered_.Values(),
                         gathered_.Statuses()};
    }

    packed::SeriesReader reader_;
    std::int64_t report_, period_ = 0, channel_, function_;
    packed::SeriesBlock matrix_;
    std::size_t column_ = 0, end_ = 0;  // the periods of the matrix that are still to come
    bool isWhole_ = false;              // all cells are numbers of one status
    bool isLaidOut_ = false;
    std::vector<std::int64_t> bands_, periods_;
    std::string_view status_;
    std::vector<std::uint8_t> ones_;  // where the status is null
    Gathered gathered_;
};

class OfPeriods final : public Rows {
  public:
    OfPeriods(std::shared_ptr<packed::Statements> sources, std::int32_t measValueId,
              const packed::PeriodReader::Selection& selection)
        : Rows(AllColumns()),
          reader_(std::move(sources), measValueId, selection, false),
          report_(measValueId) {}

  private:
    bool Fill(ado::ColumnBlock& block) override {
        if (!reader_.Next()) return false;
        period_ = reader_.Period();
        gathered_.Clear();
        for (const packed::PeriodCell& cell : reader_.Cells()) {
            gathered_.channels.push_back(cell.channel);
            gathered_.functions.push_back(cell.funcId);
            gathered_.Add(cell.frqId, cell.isNull, cell.value, *cell.status);
        }
        block.rows = gathered_.bands.size();
        block.columns = {Constant(report_),
                         Constant(period_),
                         Spread(gathered_.channels.data()),
                         Spread(gathered_.functions.data()),
                         Spread(gathered_.bands.data()),
                         gathered_.Values(),
                         gathered_.Statuses()};
        return true;
    }

    packed::PeriodReader reader_;
    std::int64_t report_, period_ = 0;
    Gathered gathered_;
};

class One final : public Rows {
  public:
    One(std::string name, std::optional<std::int32_t> period)
        : Rows({std::move(name)}), isNull_(!period), period_(period.value_or(0)) {}

  private:
    bool Fill(ado::ColumnBlock& block) override {
        if (isDone_) return false;
        isDone_ = true;
        Column column = Constant(period_);
        if (isNull_) column.nulls = &isNull_;
        block.rows = 1;
        block.columns = {column};
        return true;
    }

    std::uint8_t isNull_;
    std::int64_t period_;
    bool isDone_ = false;
};

class OfBands final : public Rows {
  public:
    OfBands(std::string name, std::shared_ptr<packed::Statements> sources,
            const packed::Series& series, packed::Range periods, packed::Range bands)
        : Rows({std::move(name)}), reader_(std::move(sources), series, periods, bands) {}

  private:
    bool Fill(ado::ColumnBlock& block) override {
        std::set<std::int64_t> found;
        for (packed::SeriesBlock matrix; reader_.Next(matrix);) {
            for (std::size_t band = 0; band < matrix.bands.size(); ++band) {
                if (!found.contains(matrix.bands[band]) && HasRow(matrix, band))
                    found.insert(matrix.bands[band]);
            }
        }
        bands_.assign(found.begin(), found.end());
        block.rows = bands_.size();
        block.columns = {Spread(bands_.data())};
        return !bands_.empty();
    }

    bool HasRow(const packed::SeriesBlock& matrix, std::size_t band) const {
        const auto [first, end] = reader_.Columns(matrix);
        if (matrix.states.empty()) return first < end;
        const std::size_t row = band * static_cast<std::size_t>(matrix.periods);
        for (auto column = static_cast<std::size_t>(first); column < static_cast<std::size_t>(end);
             ++column) {
            if (packed::StateAt(matrix, row + column) != packed::kNoRow) return true;
        }
        return false;
    }

    packed::SeriesReader reader_;
    std::vector<std::int64_t> bands_;
};

class OfSummaries final : public ado::SummarySource {
  public:
    OfSummaries(std::shared_ptr<packed::Statements> sources, const packed::Series& series,
                std::span<const std::int64_t> edges, packed::Range bands)
        : reader_(std::move(sources), series, edges, bands) {}

    std::span<const ado::ValueSummary> Next() override try {
        handedOut_.clear();
        if (!reader_.Next(pieces_)) return {};
        for (const packed::SummaryPiece& piece : pieces_) {
            const packed::BandSummary& of = piece.figures;
            handedOut_.push_back({piece.first, piece.last, of.band,
                                  static_cast<std::int32_t>(of.count), of.least, of.greatest,
                                  of.mean, of.energyMean});
        }
        return handedOut_;
    } catch (const packed::Failure& failure) {
        throw Translated(failure.code, failure.what());
    }

  private:
    packed::SummaryReader reader_;
    std::vector<packed::SummaryPiece> pieces_;
    std::vector<ado::ValueSummary> handedOut_;
};

}  // namespace

std::unique_ptr<ado::SummarySource> SeriesSummaries(std::shared_ptr<packed::Statements> sources,
                                                    const packed::Series& series,
                                                    std::span<const std::int64_t> edges,
                                                    packed::Range bands) {
    return std::make_unique<OfSummaries>(std::move(sources), series, edges, bands);
}

std::unique_ptr<ado::RowSource> SeriesRows(std::shared_ptr<packed::Statements> sources,
                                           const packed::Series& series, packed::Range periods,
                                           packed::Range bands) {
    return std::make_unique<OfSeries>(std::move(sources), series, periods, bands);
}

std::unique_ptr<ado::RowSource> PeriodRows(std::shared_ptr<packed::Statements> sources,
                                           std::int32_t measValueId,
                                           const packed::PeriodReader::Selection& selection) {
    return std::make_unique<OfPeriods>(std::move(sources), measValueId, selection);
}

std::unique_ptr<ado::RowSource> SeriesBands(std::string name,
                                            std::shared_ptr<packed::Statements> sources,
                                            const packed::Series& series, packed::Range periods,
                                            packed::Range bands) {
    return std::make_unique<OfBands>(std::move(name), std::move(sources), series, periods, bands);
}

std::unique_ptr<ado::RowSource> OnePeriod(std::string name, std::optional<std::int32_t> period) {
    return std::make_unique<One>(std::move(name), period);
}

}  // namespace mersola::sqlite
