// The few operations of the records.
#include <mersola/records.h>

#include <stdexcept>
#include <utility>

namespace {

std::int32_t Narrow(long value) {
    if (!std::in_range<std::int32_t>(value)) {
        throw std::out_of_range("FuncInfo: the number has more than 32 bits");
    }
    return static_cast<std::int32_t>(value);
}

}  // namespace

FuncInfo::FuncInfo(long funcId, long channel, long thirdValue)
    : FuncId(Narrow(funcId)), Channel(Narrow(channel)), third(Narrow(thirdValue)) {}

bool ReportInfo::identicalTo(const ReportInfo& other) const noexcept {
    return PeriodLen == other.PeriodLen && ReportType == other.ReportType;
}

bool MeasurementInfo::identicalTo(const MeasurementInfo& other) const {
    CString().Format("BandWidth-->  %d // %d\n", BandWidth, other.BandWidth);  // for a debugger
    return BandWidth == other.BandWidth;
}

void MeasurementInfo::setReports(CArray<ReportInfo, ReportInfo&>& src) {
    reports.Copy(src);
    hasReports = !reports.IsEmpty();
}

CString MarkerInfo::toString() const {
    CString text;
    text.Format(
        "{Path=%s, GroupId=%d, MeasId=%d, Start=%s, Stop=%s, MarkerId=%d, MarkerType=%d, "
        "TriggerCondition=%s, funcId=%d, frqId=%d, inProgess=%d}",
        Path.GetString(), GroupId, MeasId, Start.GetString(), Stop.GetString(), MarkerId,
        MarkerType, TriggerCondition.GetString(), funcId, frqId, inProgess);
    return text;
}
