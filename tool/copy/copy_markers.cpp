// Comparing and adding markers.
#include "copy_markers.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

// By these a recorder finds the marker again that it closes.
constexpr const char* kIdentity[]{"Path", "Start", "MarkerId", "funcId", "frqId", "ExtMarkerType"};

constexpr std::size_t kBatch = 1000;  // markers a transaction

// Stands for a marker: whole rows of a measurement that has very many would not fit into memory.
using Fingerprint = std::pair<std::size_t, std::size_t>;
using Tally = std::map<Fingerprint, std::int64_t>;

Fingerprint Of(const std::string& text) {
    const std::hash<std::string> hash;
    return {hash(text), hash("again " + text)};
}

std::string WholeText(const Row& row) {
    return InsertOf(StoredTable::Markers, row);
}

std::string IdentityText(const Row& row) {
    std::string text;
    for (const char* column : kIdentity)
        text += Literal(row.at(column)) + ",";
    return text;
}

bool IsOpen(const Row& row) {
    return NumberIn(row, "inProgess") != 0;
}

std::string MarkersOf(std::int32_t group, std::int32_t meas) {
    return Statement("SELECT * FROM Markers WHERE GroupId=%d AND MeasId=%d", group, meas);
}

struct TargetMarkers {
    Tally whole;  // all of them
    Tally open;   // by identity
};

TargetMarkers ReadTarget(const MeasurementEnds& ends) {
    TargetMarkers found;
    ends.to.ForEachRow(MarkersOf(ends.toGroup, ends.toMeas), StoredTable::Markers, [&](Row& row) {
        ++found.whole[Of(WholeText(row))];
        if (IsOpen(row)) ++found.open[Of(IdentityText(row))];
    });
    return found;
}

// The markers of the source, as they are in the target.
void ForEachInSource(const MeasurementEnds& ends, const std::function<void(Row&)>& each) {
    ends.from.ForEachRow(MarkersOf(ends.fromGroup, ends.fromMeas), StoredTable::Markers,
                         [&](Row& row) {
                             row["GroupId"] = ends.toGroup;
                             row["MeasId"] = ends.toMeas;
                             if (const Cell& function = row["funcId"];
                                 std::holds_alternative<std::int32_t>(function))
                                 row["funcId"] = ends.names.FunctionIn(NumberIn(row, "funcId"));
                             each(row);
                         });
}

bool Take(Tally& tally, const Fingerprint& marker) {
    const auto found = tally.find(marker);
    if (found == tally.end()) return false;
    if (--found->second == 0) tally.erase(found);
    return true;
}

// The start of a marker that the target lacks; empty when it has them all.
std::string FirstMissing(const MeasurementEnds& ends) {
    Tally there = ReadTarget(ends).whole;
    std::string start;
    ForEachInSource(ends, [&](Row& row) {
        if (!Take(there, Of(WholeText(row))) && start.empty())
            start = TextIn(row, "Start") + " ";  // not empty, whatever it holds
    });
    return start;
}

std::string ClosingOf(const MeasurementEnds& ends, const Row& row) {
    std::string identity;
    for (const char* column : kIdentity) {
        const std::string literal = Literal(row.at(column));
        identity += std::string(" AND ") + column + (literal == "NULL" ? " IS " : "=") + literal;
    }
    return "UPDATE Markers SET Stop=" + Literal(row.at("Stop")) +
           ",TriggerCondition=" + Literal(row.at("TriggerCondition")) +
           ",inProgess=" + Literal(row.at("inProgess")) +
           Statement(" WHERE GroupId=%d AND MeasId=%d AND inProgess<>0", ends.toGroup,
                     ends.toMeas) +
           identity;
}

}  // namespace

std::int64_t CopyMarkers(const MeasurementEnds& ends) {
    TargetMarkers there = ReadTarget(ends);
    std::vector<std::string> statements;
    std::int64_t changed = 0;
    ForEachInSource(ends, [&](Row& row) {
        if (Take(there.whole, Of(WholeText(row)))) return;
        ++changed;
        statements.push_back(!IsOpen(row) && Take(there.open, Of(IdentityText(row)))
                                 ? ClosingOf(ends, row)
                                 : InsertOf(StoredTable::Markers, row));
        if (statements.size() < kBatch) return;
        ends.to.RunTogether(statements);
        statements.clear();
    });
    ends.to.RunTogether(statements);
    return changed;
}

std::int64_t VerifyMarkers(const MeasurementEnds& ends) {
    std::string missing = FirstMissing(ends);
    // A source that is recorded may have got more since it was copied.
    if (!missing.empty() && CopyMarkers(ends) > 0) missing = FirstMissing(ends);
    if (!missing.empty())
        throw Failure("the two differ: the marker of " + Quoted(missing) + " in " +
                      ends.from.Name() + " is not in " + ends.to.Name());
    return ends.from
        .Number(Statement("SELECT COUNT(*) FROM Markers WHERE GroupId=%d AND MeasId=%d",
                          ends.fromGroup, ends.fromMeas))
        .value_or(0);
}

}  // namespace mersola::tool
