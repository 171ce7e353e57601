// What a check tells beside its findings: since when values are stored, and the room that they
// take.
#include <ostream>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/room.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "findings.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

struct Held {
    std::int64_t values = 0, bytes = 0;
    CTimeEx first;  // the begin of the first period that has values
    bool isKnown = false;
};

}  // namespace

void TellStored(Mersola& store, const Layout& layout, const Places& places,
                const std::map<std::int32_t, StoredReport>& stored, std::ostream& out) {
    if (!layout.Has(MeasuredValues, MeasValueMap, Reports, Measurements)) return;
    const Room room(store);
    const auto bytes = room.BytesOfAll();
    std::map<std::pair<std::int32_t, std::int32_t>, Held> measurements;
    for (_Recordset& row :
         Rows(store,
              "SELECT k.MeasValueId,k.GroupId,k.MeasId,m.StartAt,r.PeriodLen FROM MeasValueMap k "
              "JOIN Reports r ON r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
              "r.ReportId=k.ReportId JOIN Measurements m ON m.GroupId=k.GroupId AND "
              "m.MeasId=k.MeasId")) {
        const auto report = stored.find(row.Fields(0).Long());
        if (report == stored.end()) continue;
        Held& held = measurements[{row.Fields(1).Long(), row.Fields(2).Long()}];
        held.values += report->second.values;
        if (const auto found = bytes.find(report->first); found != bytes.end())
            held.bytes += found->second;
        CTimeEx begin;
        const auto length = StoredLength(row.Fields(4).Text());
        std::int64_t passed = 0;
        if (!length || !CTimeEx::FromText(row.Fields(3).Text(), begin) ||
            __builtin_mul_overflow(*length, std::int64_t{report->second.first}, &passed))
            continue;
        begin = begin + CTimeSpanEx(passed);
        if (!held.isKnown || begin < held.first) held.first = begin;
        held.isKnown = true;
    }
    for (const auto& [place, held] : measurements)
        out << "stored: " << places.Measurement(place.first, place.second) << ": "
            << Counted(held.values, "value")
            << (held.isKnown ? " since " + TimeText(held.first) : "")
            << (held.bytes > 0 ? ", about " + SizeText(held.bytes) : "") << '\n';
    if (const std::string file = room.FileText(); !file.empty()) out << "stored: " << file << '\n';
    RequireWritten(out);
}

}  // namespace mersola::tool
