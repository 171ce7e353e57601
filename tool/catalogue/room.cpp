// Looking at parts, in statements whose number does not grow with that of the reports.
#include "room.h"

#include <cmath>

#include "basics/times_text.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

constexpr int kParts = 16;
constexpr int kPartsOfMany = 4;                 // where there are many reports
constexpr std::int64_t kBytesOfRow = 40;        // with its share of the index
constexpr std::int64_t kBytesBesideBlock = 40;  // the keys of its two rows
constexpr std::int64_t kPeriodsOfBlock = 128;

// DISTINCT keeps SQLite from computing the columns of what it selects from again for each row.

// Parts of the same length of a report's periods: its key, and a up to and without b.
std::string Parts(const std::string& periods, int parts) {
    const std::string count = std::to_string(parts);
    std::string numbers;
    for (int i = 0; i < parts; ++i)
        numbers += (i == 0 ? "SELECT 0 AS i" : " UNION ALL SELECT " + std::to_string(i));
    return "SELECT DISTINCT p.k,p.f+p.c*n.i/" + count + " AS a,p.f+p.c*(n.i+1)/" + count +
           " AS b FROM (" + periods + ") p CROSS JOIN (" + numbers + ") n";
}

// The first and the last period of a part that are stored, and how many values one in between has.
std::string ValuesStatement(const std::string& parts, const PartOfValues& part) {
    const auto end = [](const char* which) {
        return std::string("(SELECT ") + which +
               "(v.PeriodNo) FROM MeasuredValues v WHERE v.MeasValueId=t.k AND v.PeriodNo>=t.a AND "
               "v.PeriodNo<t.b)";
    };
    return "SELECT s.k,s.lo,s.hi,(SELECT COUNT(*) FROM MeasuredValues w WHERE w.MeasValueId=s.k "
           "AND w.PeriodNo=(SELECT MIN(x.PeriodNo) FROM MeasuredValues x WHERE x.MeasValueId=s.k "
           "AND x.PeriodNo>=s.lo+(s.hi-s.lo)/2)" +
           part.Condition("w.") + ") FROM (SELECT DISTINCT t.k," + end("MIN") + " AS lo," +
           end("MAX") + " AS hi FROM (" + parts + ") t) s";
}

// The same of the blocks of each channel and function that begin in the part.
std::string BlocksStatement(const std::string& parts, const PartOfValues& part) {
    const auto end = [](const char* which) {
        return std::string("(SELECT ") + which +
               "(v.FirstPeriod) FROM ValueBlocks v WHERE v.MeasValueId=t.k AND v.Channel=f.Channel "
               "AND v.FuncId=f.FuncId AND v.FirstPeriod>=t.a AND v.FirstPeriod<t.b)";
    };
    return "SELECT s.k,s.lo,s.hi,LENGTH(d.Data)+LENGTH(b.Summary) FROM (SELECT DISTINCT "
           "t.k,f.Channel AS "
           "ch,f.FuncId AS fn," +
           end("MIN") + " AS lo," + end("MAX") + " AS hi FROM (" + parts +
           ") t JOIN MeasValueMap m ON m.MeasValueId=t.k JOIN MeasuredFunctions f ON "
           "f.GroupId=m.GroupId AND f.MeasId=m.MeasId AND f.ReportId=m.ReportId" +
           part.Condition("f.") +
           ") s JOIN ValueBlocks b ON b.MeasValueId=s.k AND b.Channel=s.ch AND b.FuncId=s.fn AND "
           "b.FirstPeriod=(SELECT MIN(x.FirstPeriod) FROM ValueBlocks x WHERE x.MeasValueId=s.k "
           "AND "
           "x.Channel=s.ch AND x.FuncId=s.fn AND x.FirstPeriod>=s.lo+(s.hi-s.lo)/2) JOIN ValueData "
           "d ON d.DataId=b.DataId";
}

}  // namespace

Amount& Amount::operator+=(const Amount& other) {
    values += other.values;
    bytes += other.bytes;
    isEstimate |= other.isEstimate;
    isUnread |= other.isUnread;
    return *this;
}

std::string Amount::Text() const {
    return (isUnread     ? "values that cannot be read"
            : isEstimate ? "about " + Counted(values, "value")
                         : Counted(values, "value")) +
           (bytes > 0 ? ", about " + SizeText(bytes) : "");
}

std::string PartOfValues::Condition(const std::string& table) const {
    std::string condition;
    if (channel) condition += " AND " + table + "Channel=" + std::to_string(*channel);
    if (function) condition += " AND " + table + "FuncId=" + std::to_string(*function);
    return condition;
}

Room::Room(Mersola& store) : Room(store, KeepingOf(store)) {}

Room::Room(Mersola& store, const Keeping& keeping)
    : store_(store),
      isFile_(EngineOf(store).isFile),
      isPacked_(keeping.IsPacked()),
      isConverted_(keeping.isConverted) {}

Amount Room::Of(const KeyedPeriods& periods, const PartOfValues& part) const {
    Amount amount;
    const std::int64_t count = periods.end - periods.first;
    if (count <= 0) return amount;
    const auto bigint = [](std::int64_t number) {
        return "CAST(" + std::to_string(number) + " AS bigint)";
    };
    const std::string asked = "SELECT " + std::to_string(periods.key) + " AS k," +
                              bigint(periods.first) + " AS f," + bigint(count) + " AS c";
    amount.isEstimate = count > kParts;
    try {
        amount.values = ValuesOf(asked, kParts, part)[periods.key];
    } catch (const _com_error& error) {
        if (!IsDamage(error.what())) throw;
        amount.isUnread = true;  // and still it can be deleted
    }
    amount.bytes = BytesOf(asked, kParts, part)[periods.key];
    return amount;
}

Room::Sums Room::BytesOfAll() const {
    // The first period that has values is found without a look at other values.
    const char* const all =
        "SELECT s.k,s.f,s.n-s.f AS c FROM (SELECT DISTINCT k.MeasValueId AS k,r.noOfPeriods AS "
        "n,(SELECT "
        "MIN(v.PeriodNo) FROM MeasuredValues v WHERE v.MeasValueId=k.MeasValueId) AS f FROM "
        "MeasValueMap k JOIN Reports r ON r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
        "r.ReportId=k.ReportId) s WHERE s.n>s.f";
    try {
        return BytesOf(all, kPartsOfMany, {});
    } catch (const _com_error& error) {
        if (!IsDamage(error.what())) throw;
        return {};
    }
}

Room::Sums Room::ValuesOf(const std::string& periods, int parts, const PartOfValues& part) const {
    Sums sums;
    for (_Recordset& row : Rows(store_, "%s", ValuesStatement(Parts(periods, parts), part).c_str()))
        if (!row.Fields(1).IsNull())
            sums[row.Fields(0).Long()] +=
                (std::int64_t{row.Fields(2).Long()} - row.Fields(1).Long() + 1) *
                row.Fields(3).Long();
    return sums;
}

Room::Sums Room::BytesOf(const std::string& periods, int parts, const PartOfValues& part) const {
    Sums sums;
    if (!isFile_ || isConverted_) return sums;
    if (!isPacked_) {
        sums = ValuesOf(periods, parts, part);
        for (auto& [key, bytes] : sums)
            bytes *= kBytesOfRow;
        return sums;
    }
    for (_Recordset& row : Rows(store_, "%s", BlocksStatement(Parts(periods, parts), part).c_str()))
        sums[row.Fields(0).Long()] +=
            ((std::int64_t{row.Fields(2).Long()} - row.Fields(1).Long()) / kPeriodsOfBlock + 1) *
            (row.Fields(3).Long() + kBytesBesideBlock);
    for (_Recordset& row :
         Rows(store_,
              "SELECT p.k,SUM(LENGTH(q.Data)) FROM (%s) p JOIN PendingValues q ON "
              "q.MeasValueId=p.k AND q.PeriodNo>=p.f AND q.PeriodNo<p.f+p.c GROUP BY p.k",
              periods.c_str()))
        sums[row.Fields(0).Long()] += std::llround(row.Fields(1).Double());
    return sums;
}

std::string Room::FileText() const {
    if (!isFile_) return "";
    const auto file = Query(store_,
                            "SELECT page_size*page_count,page_size*freelist_count FROM "
                            "pragma_page_size,pragma_page_count,pragma_freelist_count");
    return "file of " + SizeText(std::llround(file->Fields(0).Double())) + ", " +
           SizeText(std::llround(file->Fields(1).Double())) + " of it free";
}

}  // namespace mersola::tool
