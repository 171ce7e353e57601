// Names and columns of the tables.
#include "stored_tables.h"

#include <cstddef>

namespace mersola::tool {
namespace {

using enum StoredColumn::Kind;

constexpr StoredColumn kFuncNameMap[] = {{"FuncId", Integer}, {"FuncName", Text}};
constexpr StoredColumn kFrqNameMap[] = {{"FrqId", Integer}, {"FrqName", Text}};
constexpr StoredColumn kGroups[] = {
    {"GroupId", Integer}, {"GroupName", Text}, {"Info", Text}, {"Type", Text}, {"State", Text}};
constexpr StoredColumn kMeasurements[] = {
    {"GroupId", Integer},   {"MeasId", Integer}, {"MeasName", Text},    {"Info", Text},
    {"BandWidth", Integer}, {"Fullscale", Real}, {"Sensitivity", Real}, {"FrqLower", Real},
    {"FrqUpper", Real},     {"StartAt", Text},   {"Percentiles", Text}};
constexpr StoredColumn kReports[] = {{"GroupId", Integer},    {"MeasId", Integer},
                                     {"ReportId", Integer},   {"PeriodLen", Text},
                                     {"RealPeriodLen", Text}, {"noOfPeriods", Integer},
                                     {"MinPeriod", Integer},  {"ReportType", Integer}};
constexpr StoredColumn kMeasValueMap[] = {
    {"GroupId", Integer}, {"MeasId", Integer}, {"ReportId", Integer}, {"MeasValueId", Integer}};
constexpr StoredColumn kMeasuredFunctions[] = {{"GroupId", Integer},
                                               {"MeasId", Integer},
                                               {"ReportId", Integer},
                                               {"FuncId", Integer},
                                               {"Channel", Integer}};
constexpr StoredColumn kMarkers[] = {{"GroupId", Integer},    {"MeasId", Integer},
                                     {"Path", Text},          {"Start", Text},
                                     {"Stop", Text},          {"MarkerId", Integer},
                                     {"MarkerType", Integer}, {"TriggerCondition", Text},
                                     {"funcId", Integer},     {"frqId", Integer},
                                     {"inProgess", Integer},  {"ExtMarkerType", Text},
                                     {"Color", Integer}};
constexpr StoredColumn kMeasuredValues[] = {
    {"MeasValueId", Integer}, {"PeriodNo", Integer}, {"Channel", Integer}, {"FuncId", Integer},
    {"FrqId", Integer},       {"Value", Real},       {"Status", Text}};
constexpr StoredColumn kVersionHistory[] = {{"Date", Text}, {"Version", Text}, {"Info", Text}};

struct Layout {
    const char* name;
    std::span<const StoredColumn> columns;
};

// In the order of StoredTable.
constexpr std::array<Layout, kStoredTables.size()> kLayouts{
    {{"FuncNameMap", kFuncNameMap},
     {"FrqNameMap", kFrqNameMap},
     {"Groups", kGroups},
     {"Measurements", kMeasurements},
     {"Reports", kReports},
     {"MeasValueMap", kMeasValueMap},
     {"MeasuredFunctions", kMeasuredFunctions},
     {"Markers", kMarkers},
     {"MeasuredValues", kMeasuredValues},
     {"VersionHistory", kVersionHistory}}};

}  // namespace

const char* NameOf(StoredTable table) {
    return kLayouts[static_cast<std::size_t>(table)].name;
}

std::span<const StoredColumn> ColumnsOf(StoredTable table) {
    return kLayouts[static_cast<std::size_t>(table)].columns;
}

}  // namespace mersola::tool
