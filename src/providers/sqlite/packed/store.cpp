// Staging: what is written is kept sorted, after a look at what is stored already.
#include "store.h"

#include <algorithm>
#include <utility>

namespace mersola::packed {
namespace {

constexpr std::size_t kMostStaged = std::size_t{1} << 19;  // values; 20 MB
constexpr std::size_t kMostDecoded = 256;                  // blocks; 10 MB of usual ones

bool SameSeries(const Series& a, const Series& b) {
    return a.measValueId == b.measValueId && a.channel == b.channel && a.funcId == b.funcId;
}

bool SameKey(const PeriodValue& a, const PeriodValue& b) {
    return a.channel == b.channel && a.funcId == b.funcId && a.frqId == b.frqId;
}

bool StagedPrecedes(const StagedValue& staged, const PeriodValue& value) {
    return Precedes(staged.value, value);
}

PeriodValue KeyIn(const ValueKey& key) {
    return {.channel = key.channel, .funcId = key.funcId, .frqId = key.frqId};
}

}  // namespace

Store::Store(sqlite3* db, const std::string& schema, Options options)
    : statements_(std::make_shared<Statements>(db, schema, options.rows)),
      options_(std::move(options)) {}

Store::~Store() = default;

void Store::Begin() {
    inTransaction_ = true;
}

void Store::End() {
    stage_.reports.clear();
    stage_.statuses.Clear();
    stage_.values = 0;
    stage_.decoded = 0;
    lastStaged_ = nullptr;
    lastSealed_ = nullptr;
    inTransaction_ = false;
}

void Store::Forget() {
    const bool goesOn = inTransaction_;
    End();
    inTransaction_ = goesOn;
    crowds_.clear();
}

void Store::ForgetSealed(const Series& series, std::int32_t block) {
    lastSealed_ = nullptr;
    auto& sealed = stage_.reports[series.measValueId].sealed;
    const auto found = sealed.find({series.channel, series.funcId, block});
    if (found == sealed.end()) return;
    if (found->second.decoded) --stage_.decoded;
    sealed.erase(found);
}

void Store::ForgetReport(std::int32_t measValueId) {
    stage_.reports.erase(measValueId);
    lastStaged_ = nullptr;
    lastSealed_ = nullptr;
}

void Store::RequireTransaction() const {
    if (!inTransaction_)
        throw Failure(SQLITE_MISUSE, "values are written outside of a transaction");
}

void Store::RequireUnread() const {
    RequireTransaction();
    if (statements_->readers > 0)
        throw Failure(SQLITE_LOCKED, "the values are being read on this connection");
}

StagedPeriod& Store::PeriodAt(std::int32_t measValueId, std::int32_t period) {
    if (lastStaged_ && lastPeriod_ == period && lastReport_ == measValueId) return *lastStaged_;
    StagedPeriod& found = stage_.reports[measValueId].periods[period];
    if (!found.isPendingKnown) {
        found.pending = {};
        const auto row = statements_->Take(Sql::PendingRow, measValueId, period);
        if (row->Step()) {
            try {
                DecodePeriod(measValueId, period, row->Blob(0), found.pending);
            } catch (const DamagedBlock& damaged) {
                RaiseDamage(measValueId, period, damaged.what());
            }
        }
        found.isPendingKnown = true;
    }
    lastReport_ = measValueId;
    lastPeriod_ = period;
    return *(lastStaged_ = &found);
}

SealedBlock& Store::SealedAt(const Series& series, std::int32_t block) {
    if (lastSealed_ && lastBlock_ == block && SameSeries(lastSeries_, series)) return *lastSealed_;
    const BlockKey key{series.channel, series.funcId, block};
    auto& known = stage_.reports[series.measValueId].sealed;
    auto at = known.find(key);
    if (at == known.end()) {
        // A statement that fails rolls back, maybe, and then nothing staged is there any more.
        SealedBlock found = FindSealed(series, block);
        at = known.emplace(key, std::move(found)).first;
    }
    lastSeries_ = series;
    lastBlock_ = block;
    return *(lastSealed_ = &at->second);
}

SealedBlock Store::FindSealed(const Series& series, std::int32_t block) {
    SealedBlock found;
    const std::int64_t first = std::int64_t{block} * kBlockPeriods;
    const auto row = statements_->Take(Sql::SealedRow, series.measValueId, series.channel,
                                       series.funcId, first, first + kBlockPeriods - 1);
    if (row->Step()) {
        found.exists = true;
        found.firstPeriod = row->Int32(0);
        found.lastPeriod = row->Int32(1);
        found.dataId = row->Integer(2);
        if (row->Step()) RaiseTwoBlocks(series, block);
    }
    found.hasRows =
        statements_->HasRows() && statements_
                                      ->Take(Sql::HasRows, series.measValueId, series.channel,
                                             series.funcId, first, first + kBlockPeriods - 1)
                                      ->Step();
    return found;
}

const SeriesBlock& Store::Decoded(const Series& series, std::int32_t block, SealedBlock& sealed) {
    if (sealed.decoded) return *sealed.decoded;
    if (stage_.decoded >= kMostDecoded) {
        for (auto& [id, report] : stage_.reports)
            for (auto& [key, each] : report.sealed)
                each.decoded.reset();
        stage_.decoded = 0;
    }
    const auto row = statements_->Take(Sql::BlockData, sealed.dataId);
    if (!row->Step()) RaiseDamage(series, block, "they are missing");
    auto decoded = std::make_unique<SeriesBlock>();
    DecodeSealed(series, sealed.firstPeriod, sealed.lastPeriod, row->Blob(0), kOldest, kNewest + 1,
                 *decoded);
    ++stage_.decoded;
    return *(sealed.decoded = std::move(decoded));
}

bool Store::IsSettled(const ValueKey& key) {
    const Series series = key.SeriesOf();
    const std::int32_t block = BlockOf(key.periodNo);
    SealedBlock& sealed = SealedAt(series, block);
    if (sealed.hasRows &&
        statements_
            ->Take(Sql::HasRow, key.measValueId, key.channel, key.funcId, key.periodNo, key.frqId)
            ->Step())
        return true;
    if (!sealed.exists || key.periodNo < sealed.firstPeriod || key.periodNo > sealed.lastPeriod)
        return false;
    const SeriesBlock& values = Decoded(series, block, sealed);
    const auto band = std::ranges::lower_bound(values.bands, key.frqId);
    const auto period = std::int64_t{key.periodNo} - values.firstPeriod;
    if (band == values.bands.end() || *band != key.frqId || period < 0 || period >= values.periods)
        return false;
    const auto row = static_cast<std::size_t>(band - values.bands.begin());
    return StateAt(values, row * static_cast<std::size_t>(values.periods) +
                               static_cast<std::size_t>(period)) != kNoRow;
}

bool Store::IsStored(const ValueKey& key, StagedPeriod& period) {
    return std::ranges::binary_search(period.pending.values, KeyIn(key), Precedes) ||
           IsSettled(key);
}

bool Store::Insert(const ValueRow& row, bool replace) {
    RequireTransaction();
    if (stage_.values >= kMostStaged || stage_.statuses.IsFull()) Flush();
    StagedPeriod& period = PeriodAt(row.measValueId, row.periodNo);
    auto& values = period.values;
    PeriodValue value = KeyIn(row);
    value.isNull = row.isNull;
    value.value = row.isNull ? 0 : row.value;
    auto at = values.end();
    if (!values.empty() && !Precedes(values.back().value, value)) {
        at = std::lower_bound(values.begin(), values.end(), value, StagedPrecedes);
        if (SameKey(at->value, value)) {
            if (!at->isErased && !replace) return false;
            value.status = stage_.statuses.Index(row.status);
            *at = {value, false, true};
            return true;
        }
    }
    if (!replace && IsStored(row, period)) return false;
    value.status = stage_.statuses.Index(row.status);
    values.insert(at, {value, false, replace});
    ++stage_.values;
    return true;
}

bool Store::Erase(const ValueKey& key) {
    RequireTransaction();
    if (stage_.values >= kMostStaged) Flush();
    StagedPeriod& period = PeriodAt(key.measValueId, key.periodNo);
    auto& values = period.values;
    const PeriodValue value = KeyIn(key);
    const auto at = std::lower_bound(values.begin(), values.end(), value, StagedPrecedes);
    if (at != values.end() && SameKey(at->value, value)) return !std::exchange(at->isErased, true);
    if (!IsStored(key, period)) return false;
    values.insert(at, {value, true, true});
    ++stage_.values;
    return true;
}

bool Store::Contains(const ValueKey& key) {
    StagedPeriod& period = PeriodAt(key.measValueId, key.periodNo);
    const PeriodValue value = KeyIn(key);
    const auto at =
        std::lower_bound(period.values.begin(), period.values.end(), value, StagedPrecedes);
    if (at != period.values.end() && SameKey(at->value, value)) return !at->isErased;
    return IsStored(key, period);
}

std::optional<std::int32_t> Store::FirstPeriod(std::int32_t measValueId) {
    Flush();
    auto first = Ask(Sql::OldestPending, measValueId, kOldest);
    for (const auto& [channel, funcId] : SealedSeries(*statements_, measValueId)) {
        const auto row = statements_->Take(Sql::FirstSealed, measValueId, channel, funcId, kOldest);
        if (row->Step()) first = std::min(first.value_or(row->Int32(0)), row->Int32(0));
    }
    for (const auto& [channel, funcId] : RowSeries(*statements_, measValueId)) {
        const auto found = Ask(Sql::FirstRow, measValueId, channel, funcId, kOldest);
        if (found) first = std::min(first.value_or(*found), *found);
    }
    return first;
}

std::optional<std::int32_t> Store::LastPeriod(std::int32_t measValueId) {
    Flush();
    auto last = Ask(Sql::NewestPending, measValueId, kNewest);
    for (const auto& [channel, funcId] : SealedSeries(*statements_, measValueId)) {
        const auto row = statements_->Take(Sql::LastSealed, measValueId, channel, funcId, kNewest);
        if (row->Step()) last = std::max(last.value_or(row->Int32(1)), row->Int32(1));
    }
    for (const auto& [channel, funcId] : RowSeries(*statements_, measValueId)) {
        const auto found = Ask(Sql::LastRow, measValueId, channel, funcId, kNewest);
        if (found) last = std::max(last.value_or(*found), *found);
    }
    return last;
}

std::size_t Store::HashBandKey::operator()(const BandKey& key) const {
    const auto mixed = HashBlockKey()({key.channel, key.funcId, key.frqId});
    return mixed * 31 + static_cast<std::uint32_t>(key.measValueId);
}

std::int64_t Store::RowidOf(const ValueKey& key) {
    const BandKey band{key.measValueId, key.channel, key.funcId, key.frqId};
    const auto [found, isNew] =
        numbers_.try_emplace(band, static_cast<std::uint32_t>(bands_.size()));
    if (isNew) bands_.push_back(band);
    return (std::int64_t{found->second} << 32) | static_cast<std::uint32_t>(key.periodNo);
}

std::optional<ValueKey> Store::KeyOf(std::int64_t rowid) const {
    const auto number = static_cast<std::uint64_t>(rowid) >> 32;
    if (number >= bands_.size()) return std::nullopt;
    const BandKey& band = bands_[number];
    return ValueKey{band.measValueId, static_cast<std::int32_t>(rowid & 0xFFFFFFFF), band.channel,
                    band.funcId, band.frqId};
}

}  // namespace mersola::packed
