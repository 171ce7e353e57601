// Counting samples, in statements whose number does not grow with that of the reports.
#include "room.h"

#include <algorithm>
#include <cmath>

#include "basics/times_text.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

constexpr int kSamples = 16;
constexpr std::int64_t kPeriodsOfBlock = 128;
constexpr std::int64_t kBytesOfRow = 40;        // with its share of the index
constexpr std::int64_t kBytesBesideBlock = 40;  // the keys of its two rows

// The middle of each of the parts of a report's periods, as SQL; every period where there are few.
// `p` has the first period and their number.
std::string Sample(int i) {
    return "p.f+p.c*" + std::to_string(2 * i + 1) + "/" + std::to_string(2 * kSamples);
}

// How many values are in the sample.
std::string ValuesStatement(const std::string& periods, const PartOfValues& part) {
    std::string sample;
    for (int i = 0; i < kSamples; ++i)
        sample += (i == 0 ? "" : ",") + Sample(i);
    return "SELECT p.k,p.c,(SELECT COUNT(*) FROM MeasuredValues v WHERE v.MeasValueId=p.k AND "
           "v.PeriodNo IN (" +
           sample + ")" + part.Condition("v.") + ") FROM (" + periods + ") p";
}

// How many bytes the blocks take that begin near the sample, near how many places of it, and how
// many bytes there are outside of blocks.
std::string BlocksStatement(const std::string& periods, const PartOfValues& part) {
    const std::string length = std::to_string(kPeriodsOfBlock);
    std::string places;
    for (int i = 0; i < kSamples; ++i)
        places += (i == 0 ? "SELECT p.k,p.f,p.c,(" : " UNION SELECT p.k,p.f,p.c,(") + Sample(i) +
                  ")/" + length + "*" + length + " AS at FROM (" + periods + ") p";
    return "SELECT w.k,w.c,COUNT(DISTINCT w.at),SUM(LENGTH(d.Data)+LENGTH(b.Summary)+" +
           std::to_string(kBytesBesideBlock) +
           "),(SELECT SUM(LENGTH(q.Data)) FROM PendingValues q WHERE q.MeasValueId=w.k AND "
           "q.PeriodNo>=w.f AND q.PeriodNo<w.f+w.c) FROM (" +
           places +
           ") w JOIN MeasValueMap m ON m.MeasValueId=w.k JOIN MeasuredFunctions f ON "
           "f.GroupId=m.GroupId AND f.MeasId=m.MeasId AND f.ReportId=m.ReportId" +
           part.Condition("f.") +
           " LEFT JOIN ValueBlocks b ON b.MeasValueId=w.k AND b.Channel=f.Channel AND "
           "b.FuncId=f.FuncId AND b.FirstPeriod>=w.at AND b.FirstPeriod<w.at+" +
           length + " LEFT JOIN ValueData d ON d.DataId=b.DataId GROUP BY w.k,w.f,w.c";
}

std::int64_t Scaled(double sum, std::int64_t periods, std::int64_t sampled) {
    const double scale = static_cast<double>(periods) / static_cast<double>(sampled);
    return std::llround(sum * std::max(scale, 1.0));
}

}  // namespace

Amount& Amount::operator+=(const Amount& other) {
    values += other.values;
    bytes += other.bytes;
    isEstimate |= other.isEstimate;
    return *this;
}

std::string Amount::Text() const {
    return (isEstimate ? "about " : "") + Counted(values, "value") +
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
    if (periods.end <= periods.first) return {};
    const auto found = Sampled("SELECT " + std::to_string(periods.key) + " AS k,CAST(" +
                                   std::to_string(periods.first) + " AS bigint) AS f,CAST(" +
                                   std::to_string(periods.end - periods.first) + " AS bigint) AS c",
                               part);
    return found.empty() ? Amount() : found.begin()->second;
}

std::map<std::int32_t, Amount> Room::OfAll() const {
    if (!isFile_) return {};
    // The first period that has values is found without a look at other values.
    return Sampled(
        "SELECT s.k,s.f,s.n-s.f AS c FROM (SELECT k.MeasValueId AS k,r.noOfPeriods AS n,(SELECT "
        "MIN(v.PeriodNo) FROM MeasuredValues v WHERE v.MeasValueId=k.MeasValueId) AS f FROM "
        "MeasValueMap k JOIN Reports r ON r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
        "r.ReportId=k.ReportId) s WHERE s.n>s.f",
        {});
}

std::map<std::int32_t, Amount> Room::Sampled(const std::string& periods,
                                             const PartOfValues& part) const {
    std::map<std::int32_t, Amount> amounts;
    const auto values = store_.dbExecute(ValuesStatement(periods, part).c_str());
    for (; !values->EndOfFile(); values->MoveNext()) {
        const auto count = std::llround(values->Fields(1).Double());
        Amount& amount = amounts[values->Fields(0).Long()];
        amount.isEstimate = count > kSamples;
        amount.values = Scaled(values->Fields(2).Double(), count, kSamples);
        if (isFile_ && !isPacked_) amount.bytes = amount.values * kBytesOfRow;
    }
    if (!isPacked_ || isConverted_) return amounts;
    const auto blocks = store_.dbExecute(BlocksStatement(periods, part).c_str());
    for (; !blocks->EndOfFile(); blocks->MoveNext())
        amounts[blocks->Fields(0).Long()].bytes =
            Scaled(blocks->Fields(3).Double(), std::llround(blocks->Fields(1).Double()),
                   blocks->Fields(2).Long() * kPeriodsOfBlock) +
            std::llround(blocks->Fields(4).Double());
    return amounts;
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
