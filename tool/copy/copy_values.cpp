// Moving and comparing values. The reads are ranges of periods, which both engines find by their
// index; a block is held in memory and no more than that.
#include "copy_values.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "basics/utf8.h"
#include "catalogue/catalogue.h"
#include "database/format.h"

namespace mersola::tool {
namespace {

constexpr std::int64_t kBlock = 10'000;        // values; a single period may have more
constexpr std::int64_t kMostPeriods = 20'000;  // in a statement: a server counts with 32 bits

struct Block {
    std::int64_t first, last;  // periods
    std::int64_t values;       // in the source
};

auto Key(const StoredValue& value) {
    return std::tie(value.channel, value.function, value.period, value.band);
}

bool Precedes(const StoredValue& left, const StoredValue& right) {
    return Key(left) < Key(right);
}

std::string Range(std::int32_t key, std::int64_t first, std::int64_t last) {
    return Statement(
        " FROM MeasuredValues WHERE MeasValueId=%d AND PeriodNo>=%ld AND PeriodNo<=%ld", key,
        static_cast<long>(first), static_cast<long>(last));
}

std::int64_t CountOf(Side& side, std::int32_t key, std::int64_t first, std::int64_t last) {
    std::int64_t count = 0;
    for (; first <= last; first += kMostPeriods)
        count += side.Number("SELECT COUNT(*)" +
                             Range(key, first, std::min(first + kMostPeriods - 1, last)))
                     .value_or(0);
    return count;
}

// The source's periods in blocks of about the same number of values.
class Blocks {
  public:
    Blocks(const ReportEnds& ends, std::int64_t first, std::int64_t last)
        : ends_(ends), next_(first), last_(last) {}

    std::optional<Block> Next() {
        if (next_ > last_) return std::nullopt;
        Block block{next_, std::min(next_ + periods_ - 1, last_), 0};
        while ((block.values = CountOf(ends_.from, ends_.fromKey, block.first, block.last)) >
                   kBlock &&
               block.first < block.last)
            block.last = block.first + (block.last - block.first) / 2;
        next_ = block.last + 1;
        periods_ = next_ - block.first;
        if (block.values < kBlock / 2) periods_ = std::min(2 * periods_, kMostPeriods);
        return block;
    }

  private:
    const ReportEnds& ends_;
    std::int64_t next_, last_;
    std::int64_t periods_ = 1;
};

std::vector<StoredValue> Read(Side& side, std::int32_t key, const Block& block,
                              const CopiedNames* names) {
    std::vector<StoredValue> values;
    side.ForEachRow(
        "SELECT Channel,FuncId,PeriodNo,FrqId,Value,Status" + Range(key, block.first, block.last),
        [&](_Recordset& rows) {
            StoredValue each{rows.Fields(0).Long(),
                             rows.Fields(1).Long(),
                             rows.Fields(2).Long(),
                             rows.Fields(3).Long(),
                             {},
                             {}};
            if (names) each.function = names->FunctionIn(each.function);
            if (const auto value = rows.Fields(4); !value.IsNull()) each.value = value.Double();
            if (const auto status = rows.Fields(5); !status.IsNull())
                each.status = std::string(status.Text().View());
            values.push_back(std::move(each));
        });
    std::ranges::sort(values, Precedes);
    return values;
}

std::vector<StoredValue> ReadSource(const ReportEnds& ends, const Block& block) {
    return Read(ends.from, ends.fromKey, block, &ends.names);
}

std::vector<StoredValue> ReadTarget(const ReportEnds& ends, const Block& block) {
    return Read(ends.to, ends.toKey, block, nullptr);
}

std::string Place(const StoredValue& value) {
    return "period " + std::to_string(value.period) + ", channel " + std::to_string(value.channel) +
           ", function " + std::to_string(value.function) + ", band " + std::to_string(value.band);
}

bool IsWestern(std::string_view text) {
    constexpr char32_t last = 0xFF;
    while (!text.empty()) {
        if (TakeCharacter(text).value_or(last + 1) > last) return false;
    }
    return true;
}

std::string Shown(const StoredValue& value) {
    return (value.value ? NumberText(*value.value) : std::string("no value")) +
           (value.status ? " with status " + Quoted(*value.status) : " without status");
}

// Adds rows to the target, and the periods that they fill to its count, in one transaction.
class Writer {
  public:
    explicit Writer(const ReportEnds& ends) : ends_(ends) {
        ends_.to.Guard([&] {
            rows_->Open("MeasuredValues", ends_.to.Store().getConnection(), adOpenForwardOnly,
                        adLockBatchOptimistic, adCmdTable);
        });
    }

    void Write(const std::vector<StoredValue>& values, std::int64_t periods) {
        RequireFit(values);
        ends_.to.Guard([&] {
            Transaction transaction(ends_.to.Store());
            HoldReport(ends_.to.Store(), ends_.place.group, ends_.place.meas, ends_.place.report,
                       ends_.toKey);
            Add(values);
            rows_->UpdateBatch();
            const auto counted = std::min<std::int64_t>(periods, ends_.counted);
            ends_.to.Store().dbExecute(CString(RaisedPeriods(ends_.place, counted)));
            transaction.Commit();
        });
    }

  private:
    void Add(const std::vector<StoredValue>& values) {
        _Recordset& rows = *rows_;
        auto key = rows.Fields("MeasValueId"), channel = rows.Fields("Channel"),
             function = rows.Fields("FuncId"), period = rows.Fields("PeriodNo"),
             band = rows.Fields("FrqId"), number = rows.Fields("Value"),
             status = rows.Fields("Status");
        for (const StoredValue& each : values) {
            rows.AddNew();
            key.Put(ends_.toKey);
            channel.Put(each.channel);
            function.Put(each.function);
            period.Put(each.period);
            band.Put(each.band);
            if (each.value) number.Put(*each.value);
            if (each.status) status.Put(*each.status);
        }
    }

    // A server breaks the connection off over such a number, refuses a longer status, and makes
    // question marks of letters that its column does not know; it says nothing of the place.
    void RequireFit(const std::vector<StoredValue>& values) const {
        for (const StoredValue& each : values) {
            if (columns_.onlyFinite && each.value && !std::isfinite(*each.value))
                Refuse(each, "no infinite value");
            if (!each.status) continue;
            if (columns_.mostStatus > 0 && CountCharacters(*each.status) > columns_.mostStatus)
                Refuse(each, "no status of more than " + std::to_string(columns_.mostStatus) +
                                 " letters");
            if (columns_.onlyWestern && !IsWestern(*each.status))
                Refuse(each, "only Western European letters in a status");
        }
    }
    [[noreturn]] void Refuse(const StoredValue& value, const std::string& what) const {
        throw Unplaceable("the database " + ends_.to.Name() + " takes " + what + ", as at " +
                          Place(value));
    }

    const ReportEnds& ends_;
    _RecordsetPtr rows_ = _Recordset::CreateInstance();
    const Columns& columns_ = EngineOf(ends_.to.Store()).columns;
};

// Where the first period lies that the target may lack something of.
std::int64_t FirstMissing(const ReportEnds& ends, const CopiedPeriods& periods) {
    const auto reached =
        ends.to.Number("SELECT MAX(PeriodNo)" + Range(ends.toKey, periods.first, periods.last));
    if (!reached) return periods.first;
    // Values may have come to earlier periods since.
    const std::int64_t before = std::int64_t{*reached} - 1;
    return CountOf(ends.from, ends.fromKey, periods.first, before) ==
                   CountOf(ends.to, ends.toKey, periods.first, before)
               ? *reached
               : periods.first;
}

// Whether a value is stored as what it was. A packed target may round what it seals to a step; what
// is not sealed yet is as it was.
bool IsKept(const StoredValue& from, const StoredValue& to, double step) {
    if (from == to || step == 0 || !from.value || !to.value) return from == to;
    StoredValue rounded = from;
    rounded.value = to.value;
    return rounded == to && std::abs(*from.value - *to.value) <= step * 0.500001;
}

[[noreturn]] void Differ(const ReportEnds& ends, const StoredValue* from, const StoredValue* to) {
    const auto shown = [](const StoredValue* value) {
        return value ? Shown(*value) : std::string("nothing");
    };
    throw Failure("the two differ at " + Place(from ? *from : *to) + ": " + shown(from) + " in " +
                  ends.from.Name() + ", " + shown(to) + " in " + ends.to.Name());
}

}  // namespace

std::string ResolutionOf(Side& side) {
    std::string resolution;
    side.Guard([&] { resolution = KeepingOf(side.Store()).resolution; });
    return resolution;
}

std::string RaisedPeriods(const ReportPlace& place, std::int64_t periods) {
    const auto count = static_cast<long>(periods);
    return Statement(
        "UPDATE Reports SET noOfPeriods=%ld WHERE GroupId=%d AND MeasId=%d AND ReportId=%d AND "
        "noOfPeriods<%ld",
        count, place.group, place.meas, place.report, count);
}

std::optional<CopiedPeriods> PeriodsOf(Side& from, std::int32_t key) {
    const auto edge = [&](const char* function) {
        return from.Number(Statement("SELECT %s(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d",
                                     function, key));
    };
    const auto first = edge("MIN"), last = edge("MAX");
    if (!first || !last) return std::nullopt;
    return CopiedPeriods{*first, *last, CountOf(from, key, *last, *last)};
}

void CopyValues(const ReportEnds& ends, const CopiedPeriods& periods, const Advanced& advanced) {
    Blocks blocks(ends, FirstMissing(ends, periods), periods.last);
    std::optional<Writer> writer;
    while (const auto block = blocks.Next()) {
        const auto there = CountOf(ends.to, ends.toKey, block->first, block->last);
        std::vector<StoredValue> missing;
        if (there != block->values) missing = ReadSource(ends, *block);
        if (there != 0 && !missing.empty()) {
            std::vector<StoredValue> rest;
            std::ranges::set_difference(missing, ReadTarget(ends, *block), std::back_inserter(rest),
                                        Precedes);
            missing = std::move(rest);
        }
        if (!missing.empty()) {
            if (!writer) writer.emplace(ends);
            writer->Write(missing, block->last + 1);
        }
        advanced(static_cast<std::int32_t>(block->last), std::ssize(missing));
    }
}

void VerifyValues(const ReportEnds& ends, const CopiedPeriods& periods, const Advanced& advanced) {
    const bool grows =
        CountOf(ends.from, ends.fromKey, periods.last, periods.last) != periods.inLast;
    const double step = ParseNumber<double>(ResolutionOf(ends.to)).value_or(0);
    Blocks blocks(ends, periods.first, std::int64_t{periods.last} - (grows ? 1 : 0));
    while (const auto block = blocks.Next()) {
        const auto from = ReadSource(ends, *block), to = ReadTarget(ends, *block);
        const auto [left, right] = std::ranges::mismatch(
            from, to, [&](const auto& a, const auto& b) { return IsKept(a, b, step); });
        if (left != from.end() || right != to.end()) {
            const bool isExtra =
                left == from.end() || (right != to.end() && Precedes(*right, *left));
            const bool isMissing =
                right == to.end() || (left != from.end() && Precedes(*left, *right));
            Differ(ends, isExtra ? nullptr : &*left, isMissing ? nullptr : &*right);
        }
        advanced(static_cast<std::int32_t>(block->last), std::ssize(from));
    }
}

}  // namespace mersola::tool
