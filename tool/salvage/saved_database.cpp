// Writing rows that may break a rule.
#include "saved_database.h"

#include "basics/failure.h"
#include "basics/times_text.h"
#include "database/query.h"
#include "engines/format.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kTogether = 20'000;  // values

// A refusal is about a row; with anything else no row can be written.
bool IsRefusal(const _com_error& error) {
    return error.IsDuplicate() || error.Error() == DB_E_INTEGRITYVIOLATION ||
           error.Error() == DB_E_ERRORSINCOMMAND;  // a text that stands in no statement
}

}  // namespace

SavedDatabase::SavedDatabase(Mersola& store, const Keeping& keeping)
    : store_(store), keeping_(keeping) {
    // The file is synchronised as a whole before it gets its name.
    Query(store_, "PRAGMA synchronous=OFF");
    if (keeping_.IsPacked())
        Query(store_,
              "CREATE TEMP TABLE %s (MeasValueId,PeriodNo,Channel,FuncId,FrqId,Value,Status)",
              kRowsBeside);
    transaction_.emplace(store_);
}

void SavedDatabase::Add(StoredTable table, Row row) {
    try {
        // What was laid out gives way to what was there.
        for (const auto& [named, column] : {std::pair(StoredTable::FuncNameMap, "FuncId"),
                                            std::pair(StoredTable::FrqNameMap, "FrqId")}) {
            if (table == named)
                Query(store_, "DELETE FROM %s WHERE %s=%d", NameOf(table), column,
                      NumberIn(row, column));
        }
        InsertInto(store_, table, std::move(row));
    } catch (const _com_error& error) {
        if (!IsRefusal(error)) throw;
        PutAside(table, error.what());
    }
}

void SavedDatabase::Add(const ReadValue& value) {
    waiting_.push_back(value);
    series_.emplace(value.at.key, value.at.channel, value.at.function);
    if (waiting_.size() >= kTogether) WriteValues();
}

void SavedDatabase::PutAside(StoredTable table, const std::string& reason) {
    Aside& aside = asides_[table];
    if (aside.rows++ == 0) aside.reason = reason;
}

std::int64_t SavedDatabase::Changes() {
    return static_cast<std::int64_t>(Query(store_, "SELECT total_changes()")->Fields(0).Double());
}

void SavedDatabase::WriteValues() {
    const std::int64_t before = Changes();
    std::string reason;
    {
        const auto rows = _Recordset::CreateInstance();
        // Rows beside packed values come when these are sorted out.
        rows->Open(keeping_.IsPacked() ? kRowsBeside : NameOf(StoredTable::MeasuredValues),
                   store_.getConnection(), adOpenForwardOnly, adLockBatchOptimistic, adCmdTable);
        auto key = rows->Fields("MeasValueId"), channel = rows->Fields("Channel"),
             function = rows->Fields("FuncId"), period = rows->Fields("PeriodNo"),
             band = rows->Fields("FrqId"), number = rows->Fields("Value"),
             status = rows->Fields("Status");
        for (const ReadValue& each : waiting_) {
            rows->AddNew();
            key.Put(each.at.key);
            channel.Put(each.at.channel);
            function.Put(each.at.function);
            period.Put(each.at.period);
            band.Put(each.at.band);
            if (each.value) number.Put(*each.value);
            if (each.status) status.Put(*each.status);
        }
        try {
            rows->UpdateBatch();
        } catch (const _com_error& error) {
            if (!IsRefusal(error)) throw;
            reason = error.what();  // the others are in
        }
    }
    const std::int64_t stored = Changes() - before;
    values_ += stored;
    for (std::int64_t i = stored; i < std::ssize(waiting_); ++i)
        PutAside(StoredTable::MeasuredValues, reason);
    waiting_.clear();
    GoOn();
}

void SavedDatabase::GoOn() {
    transaction_->Commit();
    transaction_.emplace(store_);
    bytes_ = 0;
}

void SavedDatabase::Finish(const std::string& history,
                           const std::function<void(const LostBlock&)>& lose) {
    if (!waiting_.empty()) WriteValues();
    if (keeping_.IsPacked()) {
        TakeOutDamaged(lose);
        PackRows();
        CountPacked();
    }
    // What was laid out stands behind what the file tells of its past.
    Query(store_, "DELETE FROM VersionHistory WHERE rowid=(SELECT min(rowid) FROM VersionHistory)");
    InsertInto(store_, StoredTable::VersionHistory,
               {{"Date", std::string(CTimeEx::GetCurrentTime().ToText().View())},
                {"Version", std::to_string(keeping_.FormatNumber())},
                {"Info", history}});
    transaction_->Commit();
    transaction_.reset();
}

bool SavedDatabase::Holds(const ValueKey& at) {
    return !Query(store_,
                  "SELECT 1 FROM MeasuredValues WHERE MeasValueId=%d AND Channel=%d AND FuncId=%d "
                  "AND PeriodNo=%d AND FrqId=%d",
                  at.key, at.channel, at.function, at.period, at.band)
                ->EndOfFile();
}

}  // namespace mersola::tool
