// Names, columns and keys of the tables.
#include "tables.h"

#include <algorithm>

#include "engines/format.h"

namespace mersola {
namespace {

using enum StoredColumn::Kind;

constexpr const char* kGroup[] = {"GroupId"};
constexpr const char* kMeasurement[] = {"GroupId", "MeasId"};
constexpr const char* kReport[] = {"GroupId", "MeasId", "ReportId"};

constexpr StoredColumn kFuncNameMap[] = {{"FuncId", Integer}, {"FuncName", Text}};
constexpr const char* kFunction[] = {"FuncId"};
constexpr StoredKey kFuncNameMapKeys[] = {kFunction};

constexpr StoredColumn kFrqNameMap[] = {{"FrqId", Integer}, {"FrqName", Text}};
constexpr const char* kBand[] = {"FrqId"};
constexpr StoredKey kFrqNameMapKeys[] = {kBand};

constexpr StoredColumn kGroups[] = {
    {"GroupId", Integer}, {"GroupName", Text}, {"Info", Text}, {"Type", Text}, {"State", Text}};
constexpr const char* kGroupName[] = {"GroupName"};
constexpr StoredKey kGroupsKeys[] = {kGroup, kGroupName};

constexpr StoredColumn kMeasurements[] = {
    {"GroupId", Integer},   {"MeasId", Integer},   {"MeasName", Text},    {"Info", Text},
    {"BandWidth", Integer}, {"Fullscale", Real},   {"Sensitivity", Real}, {"FrqLower", Real},
    {"FrqUpper", Real},     {"StartAt", TimeText}, {"Percentiles", Text}};
constexpr const char* kMeasName[] = {"GroupId", "MeasName"};
constexpr StoredKey kMeasurementsKeys[] = {kMeasurement, kMeasName};

constexpr StoredColumn kReports[] = {{"GroupId", Integer},
                                     {"MeasId", Integer},
                                     {"ReportId", Integer},
                                     {"PeriodLen", SpanText},
                                     {"RealPeriodLen", SpanText},
                                     {"noOfPeriods", Integer},
                                     {.name = "MinPeriod", .kind = Integer, .mayBeMissing = true},
                                     {"ReportType", Integer}};
constexpr StoredKey kReportsKeys[] = {kReport};

constexpr StoredColumn kMeasValueMap[] = {
    {"GroupId", Integer}, {"MeasId", Integer}, {"ReportId", Integer}, {"MeasValueId", Integer}};
constexpr const char* kValues[] = {"MeasValueId"};
constexpr StoredKey kMeasValueMapKeys[] = {kReport, kValues};

constexpr StoredColumn kMeasuredFunctions[] = {{"GroupId", Integer},
                                               {"MeasId", Integer},
                                               {"ReportId", Integer},
                                               {"FuncId", Integer},
                                               {"Channel", Integer}};
constexpr const char* kMeasured[] = {"GroupId", "MeasId", "ReportId", "FuncId", "Channel"};
constexpr StoredKey kMeasuredFunctionsKeys[] = {kMeasured};

constexpr StoredColumn kMarkers[] = {
    {"GroupId", Integer},    {"MeasId", Integer},        {"Path", Text},
    {"Start", TimeText},     {"Stop", TimeText},         {"MarkerId", Integer},
    {"MarkerType", Integer}, {"TriggerCondition", Text}, {"funcId", Integer},
    {"frqId", Integer},      {"inProgess", Integer},     {"ExtMarkerType", Text},
    {"Color", Integer}};

constexpr StoredColumn kMeasuredValues[] = {
    {"MeasValueId", Integer}, {"PeriodNo", Integer}, {"Channel", Integer}, {"FuncId", Integer},
    {"FrqId", Integer},       {"Value", Real},       {"Status", ShortText}};
constexpr const char* kValue[] = {"MeasValueId", "Channel", "FuncId", "PeriodNo", "FrqId"};
constexpr StoredKey kMeasuredValuesKeys[] = {kValue};

// Programs write the dates as they like.
constexpr StoredColumn kVersionHistory[] = {{"Date", Text}, {"Version", Text}, {"Info", Text}};

struct Layout {
    std::span<const StoredColumn> columns;
    std::span<const StoredKey> keys;
};

// In the order of StoredTable.
constexpr std::array<Layout, kStoredTables.size()> kLayouts{
    {{kFuncNameMap, kFuncNameMapKeys},
     {kFrqNameMap, kFrqNameMapKeys},
     {kGroups, kGroupsKeys},
     {kMeasurements, kMeasurementsKeys},
     {kReports, kReportsKeys},
     {kMeasValueMap, kMeasValueMapKeys},
     {kMeasuredFunctions, kMeasuredFunctionsKeys},
     {kMarkers, {}},
     {kMeasuredValues, kMeasuredValuesKeys},
     {kVersionHistory, {}}}};

const Layout& LayoutOf(StoredTable table) {
    return kLayouts[static_cast<std::size_t>(table)];
}

static_assert(kTableNames.size() == kStoredTables.size());

}  // namespace

const char* NameOf(StoredTable table) {
    return kTableNames[static_cast<std::size_t>(table)];
}

std::span<const StoredColumn> ColumnsOf(StoredTable table) {
    return LayoutOf(table).columns;
}

const StoredColumn* FindColumn(StoredTable table, std::string_view name) {
    const auto columns = ColumnsOf(table);
    const auto found = std::ranges::find(
        columns, name, [](const StoredColumn& each) { return std::string_view(each.name); });
    return found == columns.end() ? nullptr : &*found;
}

std::span<const StoredKey> KeysOf(StoredTable table) {
    return LayoutOf(table).keys;
}

}  // namespace mersola
