// What a database holds, and how people name it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "basics/failure.h"

namespace mersola::tool {

/// Each raises Failure or _com_error when the database cannot be read.
CArray<InstrumentInfo, InstrumentInfo&> ReadInstruments(Mersola& store);

/// The measurements of an instrument, which becomes the selected one.
CArray<MeasurementInfo, MeasurementInfo&> ReadMeasurements(Mersola& store, std::int32_t groupId);

/// The reports of a measurement of the selected instrument by type, also those that have no
/// functions yet. The measurement becomes the selected one.
CArray<ReportInfo, ReportInfo&> ReadReports(Mersola& store, std::int32_t groupId,
                                            std::int32_t measId);

struct MeasuredFunction {
    std::int32_t channel;
    std::int32_t id;
    std::string name;  ///< its number, when it has no name
};

/// By channel and function.
std::vector<MeasuredFunction> ReadFunctions(Mersola& store, std::int32_t groupId,
                                            std::int32_t measId, std::int32_t reportId);

/// The names of bands that have one.
std::map<std::int32_t, std::string> ReadBandNames(Mersola& store);

/// The markers of the selected measurement, or of the chain, that were not closed.
CArray<MarkerInfo, MarkerInfo&> ReadOpenMarkers(Mersola& store);

/// Raises Failure for a name that the library could not look up. `what`: of what kind of thing, as
/// "instrument".
void RequireName(const char* what, const std::string& name);

/// Raises Failure for a text that cannot be stored beside names, as "state"; an empty one can.
void RequireText(const char* what, const std::string& text);

struct Choice {
    std::int32_t id;
    std::string name;  ///< empty where there are only numbers
};

/// The identifier of the choice that is meant by name, without regard to case, or else by number.
/// Raises Failure, which lists the choices, when there is none. `what`: their kind, as "report".
std::int32_t Choose(const char* what, const std::string& asked, const std::vector<Choice>& choices);

/// Choose an instrument, and a measurement of an instrument, as Choose does; the instrument becomes
/// the selected one.
std::int32_t ChooseInstrument(Mersola& store, const std::string& asked);
std::int32_t ChooseMeasurement(Mersola& store, std::int32_t groupId, const std::string& asked);

/// What others have deleted while something was being stored in it.
class Deleted : public Failure {
  public:
    Deleted();
};

/// Keeps a report from being deleted until the transaction that is open ends, so that values which
/// that stores under its key have an owner. Raises Deleted where it is gone.
void HoldReport(Mersola& store, std::int32_t groupId, std::int32_t measId, std::int32_t reportId,
                std::int32_t key);

}  // namespace mersola::tool
