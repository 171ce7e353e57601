// mersola salvage: what a damaged file still holds, in a new one.
#include "salvage.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <sstream>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/times_text.h"
#include "damage/packed_remains.h"
#include "layout/layout.h"
#include "owners.h"
#include "saved_database.h"

namespace mersola::tool {
namespace {

constexpr std::int64_t kMostLines = 100;  // of one kind

// Lines of one kind, the first of them.
class Lines {
  public:
    Lines(std::ostream& out, const char* rest) : out_(out), rest_(rest) {}
    ~Lines() = default;
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    void Add(const std::string& line) {
        if (count_++ < kMostLines) out_ << line << '\n';
    }
    /// Tells how many there were beyond. Returns whether there were any at all.
    bool End() {
        if (count_ > kMostLines) out_ << "and " << count_ - kMostLines << ' ' << rest_ << '\n';
        return count_ > 0;
    }

  private:
    std::ostream& out_;
    const char* rest_;
    std::int64_t count_ = 0;
};

class Salvaging {
  public:
    Salvaging(Remains& remains, std::ostream& out) : remains_(remains), out_(out) {}

    bool Run(Mersola& store) {
        SavedDatabase saved(store, remains_.KeepingOf());
        Lines parts(out_, "more rows of which a part is lost");
        remains_.Read([&](const StoredTree& tree, Record& record) {
            if (const int signal = interruption_.Signal(); signal != 0)
                throw Failure("stopped by a signal; there is no new file", 128 + signal);
            Save(saved, tree, record, parts);
        });
        if (rows_ == 0)
            throw Failure("there is nothing of measurements in the file; is it the right one?");
        saved.Finish("Salvaged by mersola " MERSOLA_VERSION,
                     [&](const SavedDatabase::LostBlock& lost) { LoseBlock(lost); });
        bool isLost = parts.End();
        isLost |= TellTorn();
        isLost |= TellMarkers();
        const TornTree* functions = remains_.TornTable(StoredTable::MeasuredFunctions);
        {
            Lines owners(out_, "more rows that stand for lost ones");
            Transaction transaction(store);
            GiveOwners(saved, functions != nullptr,
                       [&](const std::string& line) { owners.Add(line); });
            transaction.Commit();
            isLost |= owners.End();
        }
        const std::int64_t lost = TellValues(saved, isLost);
        const std::int64_t aside = TellAsides(saved);
        out_ << Counted(saved.Values(), "value") << " read, "
             << (!lostBlocks_.empty() ? "some"
                                      : (areUnknown_ ? "at least " : "") + std::to_string(lost))
             << " lost, " << Counted(aside, "row") << " put aside\n";
        RequireWritten(out_);
        return !isLost && aside == 0;
    }

  private:
    void Save(SavedDatabase& saved, const StoredTree& tree, const Record& record, Lines& parts) {
        ++rows_;
        try {
            if (IsPacked(tree)) {
                saved.AddPacked(tree, record);
                return;
            }
            if (tree.table == StoredTable::MeasuredValues) {
                ForEachValue(tree, record, [&](const ReadValue& value) { saved.Add(value); });
                return;
            }
            const Row row = RowOf(tree, record);
            places_.Take(tree.table, row);
            saved.Add(tree.table, row);
            if (!IsWhole(record)) parts.Add(LostPart(tree, record));
        } catch (const Failure& failure) {
            saved.PutAside(tree.table, failure.what());
        }
    }

    bool TellTorn() {
        bool isLost = false;
        for (const std::string& fault : remains_.Faults()) {
            out_ << "file: " << fault << '\n';
            isLost = true;
        }
        Lines lines(out_, "more tables and indexes");
        for (const TornTree& torn : remains_.Torn()) {
            lines.Add(TextOf(torn));
            isLost |= !torn.isIndex;
        }
        lines.End();
        return isLost;
    }

    // Markers have no key, but an index that tells to which measurements they belong.
    bool TellMarkers() {
        const TornTree* torn = remains_.TornTable(StoredTable::Markers);
        if (!torn) return false;
        std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> lost;
        remains_.ReadIndexes(StoredTable::Markers, [&](const StoredTree&, const Record& record) {
            if (record.fields.size() != 3) return;
            const auto* group = std::get_if<std::int64_t>(&record.fields[0]);
            const auto* meas = std::get_if<std::int64_t>(&record.fields[1]);
            const auto* rowid = std::get_if<std::int64_t>(&record.fields[2]);
            if (group && meas && rowid && !remains_.WasRead(StoredTable::Markers, *rowid))
                ++lost[{*group, *meas}];
        });
        Lines lines(out_, "more measurements that lost markers");
        for (const auto& [place, count] : lost)
            lines.Add(places_.Measurement(static_cast<std::int32_t>(place.first),
                                          static_cast<std::int32_t>(place.second)) +
                      ": " + Counted(count, "marker") + " lost");
        return lines.End();
    }

    void LoseBlock(const SavedDatabase::LostBlock& lost) {
        lostBlocks_.push_back(
            (lost.series ? places_.Series(lost.key, lost.series->first, lost.series->second)
                         : places_.Report(lost.key) + ", all functions") +
            ": all values in " + places_.Periods(lost.key, lost.first, lost.last));
    }

    // How many values were in what is lost, nobody knows.
    void TellPacked(const SavedDatabase& saved) {
        const bool areAllPlaced = !saved.HadUnplaced() && !remains_.TornTable(kValueData);
        std::ranges::move(UnknownPacked(remains_, places_, !areAllPlaced),
                          std::back_inserter(lostBlocks_));
        Lines lines(out_, "more places of lost values");
        for (const std::string& line : lostBlocks_)
            lines.Add("lost: " + line);
        lines.End();
    }

    std::int64_t TellValues(SavedDatabase& saved, bool& isLost) {
        if (remains_.KeepingOf().IsPacked()) TellPacked(saved);
        const ValueLosses losses =
            FindLostValues(remains_, [&](const ValueKey& at) { return saved.Holds(at); });
        for (const std::string& line : places_.Lines(losses))
            out_ << "lost: " << line << '\n';
        areUnknown_ = !losses.unknown.empty();
        isLost |= losses.values > 0 || areUnknown_ || !lostBlocks_.empty();
        return losses.values;
    }

    std::int64_t TellAsides(const SavedDatabase& saved) {
        std::int64_t sum = 0;
        for (const auto& [table, aside] : saved.Asides()) {
            out_ << "put aside: " << Counted(aside.rows, "row") << " of " << NameOf(table) << " ("
                 << Printable(aside.reason) << ")\n";
            sum += aside.rows;
        }
        return sum;
    }

    Interruption interruption_;
    Remains& remains_;
    KnownPlaces places_;
    std::ostream& out_;
    std::int64_t rows_ = 0;
    bool areUnknown_ = false;
    std::vector<std::string> lostBlocks_;
};

}  // namespace

bool Salvage(const std::string& damaged, const std::string& saved, std::ostream& out) {
    bool isWhole = false;
    std::ostringstream lines;  // of something that is there only once the file is
    Remains remains(damaged);
    Keeping keeping = remains.KeepingOf();
    keeping.isConverted = keeping.intoRows = false;  // what is a row is packed as well
    MakeFile(Database({.text = saved, .user = {}, .passwordFile = {}}), keeping,
             [&](Mersola& store) { isWhole = Salvaging(remains, lines).Run(store); });
    TellDone(out, lines.str());
    return isWhole;
}

}  // namespace mersola::tool
