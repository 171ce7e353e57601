// Comparing with what is stored, and storing the rest in batches.
#include "import_values.h"

#include <algorithm>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

constexpr std::int32_t kWidestGap = 16;  // periods that are read along rather than asked apart

std::string Described(const std::optional<double>& number, const std::string& status) {
    return (number ? NumberText(*number) : "null") +
           (status.empty() ? "" : " with the status " + Quoted(Excerpt(status)));
}

bool IsSameSeries(const ImportedValue& left, const ImportedValue& right) {
    return left.report == right.report && left.channel == right.channel &&
           left.function == right.function;
}

}  // namespace

void ImportedValues::Add(ImportedValue value) {
    value.report->Add(value.period, value.band);
    values_.push_back(std::move(value));
}

void ImportedValues::Store(ImportTarget& target) {
    std::ranges::stable_sort(values_, {}, &ImportedValue::Key);
    SkipRepeated();
    SkipStored();
    if (conflict_)
        throw Failure("line " + std::to_string(conflict_->first) + ": " + conflict_->second);
    skipped_ +=
        static_cast<std::int64_t>(std::erase_if(values_, std::mem_fn(&ImportedValue::isSkipped)));
    Insert(target);
    stored_ += static_cast<std::int64_t>(values_.size());
    values_.clear();
}

void ImportedValues::SkipRepeated() {
    const ImportedValue* first = nullptr;
    for (ImportedValue& each : values_) {
        if (first && first->Key() == each.Key())
            Skip(each, first->value, first->status);
        else
            first = &each;
    }
}

void ImportedValues::SkipStored() {
    for (auto first = values_.begin(); first != values_.end();) {
        const auto last =
            std::adjacent_find(first, values_.end(), [](const auto& left, const auto& right) {
                return !IsSameSeries(left, right) || right.period - left.period > kWidestGap;
            });
        const auto end = last == values_.end() ? last : std::next(last);
        SkipStored(first, end);
        first = end;
    }
}

// Values of one series, whose periods are close together.
void ImportedValues::SkipStored(Iterator first, Iterator last) {
    for (_Recordset& row :
         Rows(store_,
              "SELECT PeriodNo,FrqId,Value,Status FROM MeasuredValues WHERE MeasValueId=%d AND "
              "Channel=%d AND FuncId=%d AND PeriodNo>=%d AND PeriodNo<=%d ORDER BY PeriodNo,FrqId",
              first->report->key, first->channel, first->function, first->period,
              std::prev(last)->period)) {
        const std::pair stored(row.Fields(0).Long(), row.Fields(1).Long());
        const auto place = [](const ImportedValue& value) {
            return std::pair(value.period, value.band);
        };
        first = std::ranges::lower_bound(first, last, stored, {}, place);
        for (auto each = first; each != last && place(*each) == stored; ++each) {
            const AdoField value = row.Fields(2);
            Skip(*each, value.IsNull() ? std::nullopt : std::optional(value.Double()),
                 std::string(row.Fields(3).Text()));
        }
    }
}

void ImportedValues::Skip(ImportedValue& value, const std::optional<double>& number,
                          const std::string& status) {
    value.isSkipped = true;
    if (value.value == number && value.status == status) return;
    if (conflict_ && conflict_->first <= value.line) return;
    conflict_ = {value.line, "the value of period " + std::to_string(value.period) + " is " +
                                 Described(value.value, value.status) + ", but " +
                                 Described(number, status) + " is stored already"};
}

void ImportedValues::Insert(ImportTarget& target) {
    if (values_.empty()) return;
    const auto rows = _Recordset::CreateInstance();
    rows->Open("MeasuredValues", store_.getConnection(), adOpenForwardOnly, adLockBatchOptimistic,
               adCmdTable);
    AdoField key = rows->Fields("MeasValueId"), period = rows->Fields("PeriodNo"),
             channel = rows->Fields("Channel"), function = rows->Fields("FuncId"),
             band = rows->Fields("FrqId"), number = rows->Fields("Value"),
             status = rows->Fields("Status");
    const ImportedValue* before = nullptr;
    for (const ImportedValue& each : values_) {
        const ImportedReport& report = *each.report;
        if (!before || before->report->key != report.key)
            HoldReport(store_, report.groupId, report.measId, report.reportId, report.key);
        if (!before || !IsSameSeries(*before, each))
            target.RegisterFunction(report, each.channel, each.function);
        before = &each;
        rows->AddNew();
        key.Put(report.key);
        period.Put(each.period);
        channel.Put(each.channel);
        function.Put(each.function);
        band.Put(each.band);
        if (each.value) number.Put(*each.value);
        status.Put(std::string_view(each.status));
    }
    rows->UpdateBatch();
}

}  // namespace mersola::tool
