// The storage of a monitoring installation: the class Mersola, with all public headers but
// <mersola/platform/mutex.h>.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include <mersola/constants.h>
#include <mersola/crypter.h>
#include <mersola/deletion.h>
#include <mersola/engine.h>
#include <mersola/indices.h>
#include <mersola/list_text.h>
#include <mersola/platform/ado.h>
#include <mersola/platform/collections.h>
#include <mersola/platform/com_error.h>
#include <mersola/platform/component.h>
#include <mersola/platform/export.h>
#include <mersola/platform/message_box.h>
#include <mersola/platform/text.h>
#include <mersola/records.h>
#include <mersola/times.h>

namespace mersola {
class Deletion;
class Overview;
}  // namespace mersola

/// Stores and reads the data of monitoring instruments in one database.
///
/// A recorder registers an instrument, a measurement, its reports and functions, and then writes
/// one value for each period, channel, function and frequency band. A reader selects an instrument,
/// a measurement, a report, a channel and a function, and then fetches values.
///
/// Rules that hold for every operation:
/// - Threads: an object is used by one thread at a time. Different objects are independent.
/// - Results: an `int` is 1 for success and 0 for failure, a `bool` is true for success, and an
///   identifier is -1 when there is none, unless the operation says otherwise.
/// - Failure: nothing is thrown where an operation does not say so. An operation that fails changes
///   nothing but what its comment names. Statements that ran before the failing one stay, unless
///   the caller brackets them with BeginTrans and RollbackTrans.
/// - Connections: a null connection handle means the object's own connection.
/// - Identifiers are 32-bit values. One that does not fit is refused like one that does not exist.
/// - Texts are UTF-8. They are placed into statements between single quotes, as they are. A text
///   that holds a single quote makes the statement fail, and with it the operation. A text that is
///   not UTF-8 is refused where it is to be stored; a server stores U+FFFD in place of what is not
///   UTF-8.
/// - Missing values read as -100.0.
/// - Numbers with a special meaning have names: see <mersola/constants.h>.
class MERSOLA_EXPORT Mersola {
  public:
    // ---- Session -------------------------------------------------------------------------------

    /// Makes an object without a connection. Call Initialize next.
    Mersola();

    /// Makes an object and calls Initialize with these arguments. isConnected tells whether the
    /// object is connected then.
    Mersola(const char* user, const char* password, const char* connectString, long timeout);

    /// Disconnects. It never raises.
    ~Mersola();

    Mersola(const Mersola&) =
        delete;  // a copy that dies would close the connection of the original

    /// Shares the other object's connection and takes over its settings, selection and recording
    /// state. This object's earlier connection is released, and stays open for other objects that
    /// share it. Closing a shared connection through one object closes it for all.
    Mersola& operator=(const Mersola& other);

    /// Forgets the selected instrument, takes the credentials and the connection string, and
    /// connects. isConnected tells whether that worked. A null or empty text leaves the earlier one
    /// in force. Where a component "Crypt.crypter" is registered and returns something for a text,
    /// the text is decoded by it; otherwise it is used as given. `timeout` is in seconds, for
    /// connecting and for each statement: 0 waits without end, -1 leaves the defaults (15 and 30)
    /// in force. Raises _com_error when the crypter fails, or when the time-out is refused; the
    /// latter leaves the object without a connection.
    void Initialize(const char* user, const char* password, const char* connectString,
                    long timeout);

    /// Closes an open connection and opens it anew. On failure it shows the reason in a message box
    /// (AfxMessageBox) and returns false, and the object has no connection. Raises _com_error when
    /// the old connection cannot be closed or a property cannot be set.
    bool dbConnect();

    /// Closes and releases the connection, for all objects that share it. Raises _com_error when
    /// the connection was closed already; the handle is released all the same.
    void dbDisconnect();

    /// Whether the last dbConnect succeeded and dbDisconnect has not been called since. It asks
    /// nobody: a connection that broke in between shows only when an operation fails.
    bool isConnected() const;

    /// Begin, commit and roll back the connection's transaction. Without a connection they do
    /// nothing. They raise _com_error when the connection refuses, as it does a second transaction
    /// inside the first.
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

    /// The connection, or null when there is none. A program hands it to operations of other
    /// objects, so that they share it and its transaction.
    _ConnectionPtr getConnection() const;

    /// Runs one statement and returns its rows, or null when there is no connection. The recordset
    /// of a statement without rows is closed, and not null. Raises _com_error when the statement
    /// fails.
    _RecordsetPtr dbExecute(const _ConnectionPtr& connection, const CString& sql);
    _RecordsetPtr dbExecute(const CString& sql);

    /// Operations report their progress (">>>") and their faults ("***") here, in printf's manner.
    /// It is silent unless the library was built with MERSOLA_TRACE.
    void Test(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // ---- Instruments ---------------------------------------------------------------------------

    /// The identifier of the instrument of that name, -1 when there is none or on failure.
    long locateInstrumentId(CString name);

    /// List the instruments in the server's order, with `Type` in lower case. `out` is emptied
    /// first. GetInstruments leaves out stations, which are the instruments whose first `Type` item
    /// is "station". On failure the result is 0, and `out` keeps what was read before it.
    int GetInstruments(CArray<InstrumentInfo, InstrumentInfo&>& out);
    int GetInstrumentsAndAlarms(CArray<InstrumentInfo, InstrumentInfo&>& out);

    /// Reads one instrument into `rec`, its texts as they are stored; 0 when there is none.
    int _GetInstrument(int groupId, InstrumentInfo& rec, const _ConnectionPtr& connection);

    /// Reads the selected instrument's state; 0 when there is no such instrument.
    int Get_InstrumentState(CString& state);

    /// Selects an instrument, without looking it up. Selecting another one than before clears the
    /// selection of measurement and report and leaves the continuous view. Selecting the same one
    /// changes nothing. The result is 0 only for an identifier beyond 32 bits.
    int SetInstrument(long groupId);

    // ---- Measurements and the cursor -----------------------------------------------------------

    /// The identifier of the measurement of that name, -1 when there is none or on failure.
    long locateMeasurementId(long groupId, CString name);

    /// List the selected instrument's measurements, ordered by their start. `out` is emptied first.
    /// The reports of the measurements stay empty.
    int GetMeasurements(CArray<MeasurementInfo, MeasurementInfo&>& out);
    int _GetMeasurements(CArray<MeasurementInfo, MeasurementInfo&>& out,
                         const _ConnectionPtr& connection);

    /// Reads one measurement of the selected instrument; 0 when there is none.
    int _GetMeasurement(int measId, MeasurementInfo& rec, const _ConnectionPtr& connection);

    /// Selects a measurement of the selected instrument and loads its settings; -3 selects the
    /// continuous view. Selecting the same one again returns 1 without reading anything, even when
    /// the first time failed. The result is 0 when there is no such measurement, or on failure. The
    /// identifier is then selected all the same, and the settings are those of before; a -3 that
    /// fails keeps the earlier identifier as well.
    int SetMeasurement(long measId);

    /// Select the channel and the function that values are read for. Both survive every other
    /// selection. The result is 0 only for a value beyond 32 bits.
    int SetChannel(long channel);
    int SetFunction(long funcId);

    /// Hand out the settings that were loaded last, or defaults before any selection. The result is
    /// always 1.
    int GetFullscale(float& v) const;
    int GetSensitivity(float& v) const;
    int GetLowerFrq(float& v) const;
    int GetUpperFrq(float& v) const;
    int GetBandwidth(int& v) const;
    int GetReportType(int& v) const;
    int GetTrigTime(CTimeEx& t) const;
    int GetPrdLength(CTimeSpanEx& s) const;
    /// Hands out the measured period length where one is stored, the nominal one otherwise.
    int GetRealPrdLength(CTimeSpanEx& s) const;

    // ---- Reports and functions -----------------------------------------------------------------

    /// Selects a report of the selected measurement and loads its type, period lengths, period
    /// count and value key. In the continuous view the argument names a report type. Selecting the
    /// same one again returns 1 without reading anything. The result is 0 when there is no such
    /// report, or on failure; the identifier is then selected all the same. An object that records
    /// writes its values into the selected report from then on: see PutReport.
    int SetReport(long reportId);

    /// List the reports that have functions, ordered by their type. `out` is emptied first. A
    /// measId of -1 means the selected measurement. On failure the result is 0, and `out` keeps
    /// what was read before it.
    int GetReports(CArray<ReportInfo, ReportInfo&>& out);
    int _GetReports(CArray<ReportInfo, ReportInfo&>& out, int measId,
                    const _ConnectionPtr& connection);

    /// Reads one report of the selected measurement; 0 when there is none.
    int _GetReport(int reportId, ReportInfo& rec, const _ConnectionPtr& connection);

    /// List the functions that the selected channel has in a report. `out` is emptied first. An
    /// identifier of -1 means the selected measurement or report.
    int GetFunctions(CArray<int, int>& out);
    int _GetFunctions(CArray<int, int>& out, int measId, int reportId,
                      const _ConnectionPtr& connection);

    /// The name of a function; empty when it has none.
    CString GetFunctionName(long funcId);
    /// Always empty. Callers rely on bands having no names here.
    CString GetFrqName(long frqId);

    // ---- Measured values -----------------------------------------------------------------------

    /// Reads a block of values of the selected report, channel and function into `values`, an array
    /// of nPeriods x nFrq. The value of period p and band f, both counted from the first that is
    /// asked for, is at p * nFrq + f. `status`, where it is given, is an array of the same size for
    /// the first character of each value's status. A value that is not stored reads as -100.0 and
    /// 'A', and so does one that is stored with a status that begins with "A". In the continuous
    /// view periods are numbered across the chain. The result is nPeriods; 0 without a connection
    /// or when nFrq is less than 1; and a negative number when reading failed. After a failure the
    /// block holds what was read, and the rest of it is missing.
    int GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq);
    int GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq, char* status);

    /// Read a block as GetData does, but so that what is missing can be told from what is invalid,
    /// and from a value of -100.0. A value that is not stored reads as NaN and kNotStored, and one
    /// that is stored with a status that begins with "A" as NaN and 'A'. Values come as they are
    /// stored, or rounded to a float. `status` may be null.
    int GetStoredData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                      char* status);
    int GetStoredData(double* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                      char* status);

    /// Summarise values of the selected report, channel and function, step by step: a step is
    /// periodsPerStep periods from firstPeriod on, the last one perhaps fewer, or what lies from
    /// one of the ascending `edges` up to the next. The summary of step s and band f, both counted
    /// from the first, is at s * nFrq + f of `out`, which is emptied first. `figures` is 0 or a sum
    /// of kExtremePeriods and kMeanSquares, which take longer. Means are within 0.00001 of those of
    /// the values, or within the accuracy of a double of larger ones. Where the database keeps
    /// summaries of blocks, as the packed layout does, these are read in place of the values; the
    /// memory that it takes depends on `out` alone. In the continuous view periods are numbered
    /// across the chain. The result is 0, and `out` is empty, when reading failed, and when there
    /// is no step or no band.
    int GetOverview(CArray<StepSummary, StepSummary&>& out, int firstPeriod, int nPeriods,
                    int periodsPerStep, int firstFrq, int nFrq, unsigned figures = 0);
    int GetOverview(CArray<StepSummary, StepSummary&>& out, const CArray<int, int>& edges,
                    int firstFrq, int nFrq, unsigned figures = 0);

    /// Computes indices of the selected report, channel and function: means, of levels also those
    /// of day, evening and night, and extremes, each with the share of the time that had values; on
    /// request exceedances of a threshold and what was exceeded for shares of the time. `out` is
    /// emptied first and gets a row for each stretch of time, also for those without values. A
    /// period belongs to the stretch in which it begins. What exceedances and shares of the time
    /// take grows with the values, and the rest is read as by GetOverview. In the continuous view
    /// the times are those of the chain. The result is 0, and `out` is empty, when reading failed,
    /// when the report has no valid times, and when the request makes no sense: times that do not
    /// ascend, hours that make no day, a percentage beyond 0 to 100, or any of percentiles.
    int GetIndices(std::vector<mersola::IndexRow>& out, const mersola::IndexRequest& request);

    /// Appends all values of the selected report and channel, of every function, ordered by period
    /// and band. Returns how many there were. A read that fails ends the list early. This is not
    /// for the continuous view.
    int GetAllDataByPeriod(int firstPeriod, int nPeriods, CList<funcData, funcData&>& out);

    /// Reads the selected report's period count as it is stored now, or that of the chain in the
    /// continuous view. `n` is 0 when no report is selected or there is none. Returns 1 when
    /// connected, else 0.
    int Get_nPrds(long& n);

    /// List the bands in which the selected report, channel and function has values, in ascending
    /// order. `out` is emptied first. The first form looks at all the values of the function, and
    /// its cost grows with them. The second form looks at nPeriods periods from firstPeriod on, and
    /// its cost grows with these. In the continuous view the bands are those of the chain, and
    /// periods are numbered across it. On failure the result is 0, and `out` is empty.
    int GetBands(CArray<int, int>& out);
    int GetBands(CArray<int, int>& out, int firstPeriod, int nPeriods);

    /// Finds the first and the last period in which the selected report, channel and function has a
    /// value in any band. It reads what is stored now, without a look at the values in between. In
    /// the continuous view the periods are those of the chain, numbered across it. Both are -1,
    /// with result 0, when there is no value and on failure.
    int GetStoredPeriods(long& first, long& last);

    /// Find the first stored period; it is -1, with result 0, when there is none. The first two
    /// forms compute it from the values and remember it until they are asked for another key, or
    /// until the object sees that the values there have gone: when it deletes, selects the report
    /// anew, reads its lower bound, or reads that period and finds nothing. The last form reads the
    /// lower bound that is kept with the report, if one is; it does not use `extra`. They are not
    /// for the continuous view.
    int GetFirstPeriod(long& first);
    int GetFirstPeriod(long& first, long measValueId, const _ConnectionPtr& connection);
    int GetFirstPeriod(long& first, long groupId, long measId, long reportId, long extra,
                       const _ConnectionPtr& connection);

    /// Finds the time at which the first stored period begins; 0 when there is none.
    int GetStartOfFirstPeriod(CTimeEx& t);

    /// Read the percentiles of a measurement, in per cent; a measId of -1 means the selected one.
    /// They are remembered until another measurement is asked for. On failure `out` is empty.
    int GetPercentiles(CArray<float, float>& out);
    bool _GetPercentiles(CArray<float, float>& out, int measId, const _ConnectionPtr& connection);

    // ---- Recording: instruments and measurements -----------------------------------------------

    /// The identifier of the instrument or measurement of that name. When there is none yet, it is
    /// a free one to create it under, and `isNew` is true. It is -1 on failure. Allocation is not
    /// atomic: of two recorders that register new names at the same moment, one may be refused.
    long locateNewInstrument(const _ConnectionPtr& connection, const CString& name, bool& isNew);
    long locateNewMeasurement(const _ConnectionPtr& connection, long groupId, const CString& name,
                              bool& isNew);

    /// Registers an instrument and selects it. A new name gets a row, a known one keeps its row as
    /// it is. Writes the identifier into `info.GroupId`. Recording is closed until PutMeasurement.
    bool PutInstrument(const _ConnectionPtr& connection, InstrumentInfo& info);

    /// Registers an instrument as PutInstrument does, and then stores `state` as its state.
    bool PutInstrumentState(const _ConnectionPtr& connection, InstrumentInfo& info, CString state);

    /// Registers a measurement of an instrument and opens a recording of it that begins at
    /// `info.StartAt`, which lies within ten years of now. Writes the identifier into
    /// `info.MeasId`. A measurement that is stored already is resumed: its start stays, its
    /// bandwidth must be the same, and the new start must not be earlier. Its frequency range grows
    /// to hold the new one and is written into `info`. A stored start that cannot be read, or is
    /// more than ten years away, is replaced by the new start as long as nothing is recorded in the
    /// measurement. With something recorded, a start that cannot be read is refused. On failure
    /// recording stays closed, and a stored measurement that could not be resumed is selected with
    /// its settings.
    bool PutMeasurement(const _ConnectionPtr& connection, long groupId, MeasurementInfo& info);

    /// Rewrite the resolution of the measurement being recorded: from the record, or from a list of
    /// sensitivity, full scale, bandwidth, lower frequency and upper frequency. The list form
    /// always stores bandwidth 2, and callers rely on that.
    bool PutResolution(const _ConnectionPtr& connection, MeasurementInfo& info);
    bool PutResolution(const _ConnectionPtr& connection, const CString& resolution);

    /// Stores `info.textItems` as the percentiles of the measurement being recorded. It returns
    /// true even when the statement fails: percentiles are advisory.
    bool PutPercentiles(const _ConnectionPtr& connection, MeasurementInfo& info);

    // ---- Recording: reports and functions ------------------------------------------------------

    /// The value key of a report. When the report has none yet, it is a free one. It is -1 on
    /// failure.
    long locateNewMeasMap(const _ConnectionPtr& connection, long groupId, long measId,
                          long reportId);

    /// Registers a report of the measurement being recorded and makes it the current one. A report
    /// that is stored already must have the same period length and type, or else recording is
    /// closed. In a resumed measurement its periods go on where the new start lies.
    ///
    /// The result is also true in three cases in which the recording is closed: the periods in
    /// between could not be accounted for; the report's value key could not be stored; another
    /// recorder registered the report since PutMeasurement, which then has to be called again.
    ///
    /// An object has one current report, which PutReport and SetReport share. After SetReport,
    /// values are written into the report that it selected; after PutReport, they are read from the
    /// one that was put. A program that records and reads at the same time uses two objects.
    bool PutReport(const _ConnectionPtr& connection, ReportInfo& info);

    /// Register a function on a channel of the current report; -1 means the selected channel.
    /// Registering it again is harmless.
    bool PutFunction(const _ConnectionPtr& connection, int funcId, int channel);
    bool _PutFunction(const _ConnectionPtr& connection, int funcId, int channel);

    /// Rewrite the stored period lengths of the current report: from milliseconds, from the record,
    /// or from a text that holds a bare integer. The lengths of the selection stay as they are.
    bool PutPeriodLen(const _ConnectionPtr& connection, long length);
    bool PutRealPeriodLen(const _ConnectionPtr& connection, long length);
    bool PutPeriodLen(const _ConnectionPtr& connection, ReportInfo& info);
    bool PutPeriodLen(const _ConnectionPtr& connection, const CString& length);
    bool PutRealPeriodLen(const _ConnectionPtr& connection, const CString& length);

    // ---- Recording: values ---------------------------------------------------------------------

    /// Opens a batch of values. It is null on failure.
    _RecordsetPtr PutDataStart(const _ConnectionPtr& connection);

    /// Sends a batch in one transaction. The result is false in two cases. When a value was
    /// refused, also as a duplicate, the others are stored and nothing is pending. When nothing
    /// could be stored, as in a locked or full database, all values stay pending and can be sent
    /// again.
    bool PutDataEnd(const _RecordsetPtr& batch);

    /// Write the value of a period, counted from the start of this recording. `nextPeriod` becomes
    /// period + 1. With `useBatch` the value waits in `batch` for PutDataEnd. Otherwise it is
    /// stored at once, to six decimals, and with `updatePeriods` the period count is raised. A
    /// value of status "A" is stored as -100.0. NaN and infinity are refused, and so is every value
    /// while there is no current report whose value key is known. A value that is stored already
    /// counts as written and gives true, but `nextPeriod` is then `period` and the count is not
    /// raised: a recorder must not wait for `nextPeriod` to move on.
    bool PutDataRelative(const _ConnectionPtr& connection, double value, const CString& status,
                         int period, int funcId, int channel, int frqId, bool updatePeriods,
                         long& nextPeriod, bool useBatch, const _RecordsetPtr& batch);
    bool PutDataRelative(double value, const CString& status, int period, int funcId, int channel,
                         int frqId, bool updatePeriods, long& nextPeriod, bool useBatch,
                         const _RecordsetPtr& batch);

    /// Write the value of the period that lies `periodOffset` periods behind the one in which
    /// `time` lies. `periodLen` is in milliseconds, above 0. Periods are counted from the stored
    /// start. `nextPeriod` becomes one past the period that is written, or for a duplicate that
    /// period itself. All else is as for PutDataRelative.
    bool PutDataAbsolute(const _ConnectionPtr& connection, double value, const CString& status,
                         const CTimeEx& time, int periodOffset, int funcId, int channel, int frqId,
                         long periodLen, bool updatePeriods, long& nextPeriod, bool useBatch,
                         const _RecordsetPtr& batch);
    bool PutDataAbsolute(double value, const CString& status, const CTimeEx& time, int periodOffset,
                         int funcId, int channel, int frqId, long periodLen, bool updatePeriods,
                         long& nextPeriod, bool useBatch, const _RecordsetPtr& batch);

    // ---- Recording: periods --------------------------------------------------------------------

    /// Sets the start of the recording. It is a part of PutMeasurement.
    bool PutStart(const _ConnectionPtr& connection, const CTimeEx& start);

    /// Raise the stored period count of the current report to `periods`. PutPeriodsRelative counts
    /// them from the start of this recording, PutPeriodsAbsolute from the stored start. The count
    /// never shrinks.
    bool PutPeriodsRelative(const _ConnectionPtr& connection, int periods);
    bool PutPeriodsAbsolute(const _ConnectionPtr& connection, int periods);

    /// Reads the current report, changes nothing and returns false: it never counts, and programs
    /// rely on that. PutPeriodsRelative and PutPeriodsAbsolute raise the count.
    bool IncPeriods(const _ConnectionPtr& connection);

    // ---- Markers -------------------------------------------------------------------------------

    /// Inserts a marker as it is given. `Start` and `Stop` are in the text encoding of times.
    bool PutMarker(const _ConnectionPtr& connection, MarkerInfo& m);

    /// Inserts an open marker at the beginning of a period, which is counted from the start of this
    /// recording. That time becomes `m.Start` and `m.Stop`. Raises _com_error when the statement
    /// fails; `m` is changed then.
    bool PutMarkerRelative(const _ConnectionPtr& connection, MarkerInfo& m, long periods);

    /// Closes the marker of the same instrument, measurement, path, start, number, function, band
    /// and extended type, by storing its stop and its trigger condition. The result is also true
    /// when there is no such marker.
    bool UpdateMarkerStop(const _ConnectionPtr& connection, MarkerInfo& m);

    /// Closes a marker as UpdateMarkerStop does, at the beginning of a period, which is counted
    /// from the start of this recording. That time becomes `m.Stop`. Raises _com_error when the
    /// statement fails; `m` is changed then.
    bool UpdateMarkerStopRelative(const _ConnectionPtr& connection, MarkerInfo& m, long periods);

    /// Delete the markers of the same instrument, measurement, start, stop, number and type.
    /// DeleteMarker deletes only those of them that also have the same function, band and extended
    /// type.
    int DeleteMarker(const _ConnectionPtr& connection, MarkerInfo& m);
    int DeleteMarkers(MarkerInfo& m);

    /// Append the closed markers of the selected measurement (in the continuous view, of the whole
    /// chain) and of the instrument's alarm instruments; open ones are left out. With `type`, in
    /// any case, they append only the markers whose trigger condition has that `type` in lower
    /// case. With a window of time, they append only those that start in it, `from` included and
    /// `to` not.
    int GetMarkers(CArray<MarkerInfo, MarkerInfo&>& out);
    int GetMarkers(CArray<MarkerInfo, MarkerInfo&>& out, CString type);
    int GetMarkers(CTimeEx from, CTimeEx to, CArray<MarkerInfo, MarkerInfo&>& out);
    int GetMarkers(CTimeEx from, CTimeEx to, CArray<MarkerInfo, MarkerInfo&>& out, CString type);

    /// Appends the selected measurement's closed markers that start between the beginnings of two
    /// periods of the selected report, without those of alarm instruments. This is not for the
    /// continuous view.
    int GetMarkers(long fromPeriod, long toPeriod, CArray<MarkerInfo, MarkerInfo&>& out);

    /// Appends the selected measurement's open markers, which GetMarkers leaves out. They are
    /// events that go on, or that a recorder left open when it ended. In the continuous view they
    /// are those of the whole chain, each with its own measurement. Those of alarm instruments are
    /// not among them. On failure the result is 0, and `out` keeps what was read before it.
    int GetOpenMarkers(CArray<MarkerInfo, MarkerInfo&>& out);

    // ---- Continuous view -----------------------------------------------------------------------

    /// Lists the measurements of the chain, ordered by their start. `out` is emptied first. Each
    /// measurement has those of its reports that have periods, ordered by their type. A report's
    /// `noOfPeriods` periods begin at `periodOffset`, which is counted across the chain. Before
    /// them lie `missingPeriods` periods that nobody recorded; the number is negative where the
    /// measurement overlaps the one before it. All of it is as it was loaded with the view, except
    /// that Get_nPrds brings the count of the selected report up to date in the last measurement.
    /// The result is 0 outside the view.
    int GetContinuousMeasurements(CArray<MeasurementInfo, MeasurementInfo&>& out);

    /// Loads the chain anew when it has gained or lost measurements, or both. The selected report
    /// type stays selected if the chain still has it. When the chain cannot be read as one any
    /// more, the object returns to the normal view with no measurement selected, and the result is
    /// true all the same. Raises _com_error.
    bool refreshContinuousData();

    // ---- Deletion ------------------------------------------------------------------------------
    //
    // Rules for all of these operations:
    // - They work in short transactions, with pauses, beside recorders and readers. Inside a
    //   transaction of the caller's they are refused.
    // - The result is 1 when all is deleted that was asked for, also when there was nothing left.
    //   It is 0 when the deletion was stopped or refused, or a statement failed. What was deleted
    //   by then stays so, and calling the operation again goes on. It is the same after a kill:
    //   what is left always has its owner, down to the instrument.
    // - What they do, and which recording files they leave, goes to the log file.
    // - A SQLite file gives the freed room back to the system, unless it was made without that;
    //   `mersola upgrade` changes such a file.
    // - Readers find missing values, and never a failure. What an object has selected or remembers
    //   stays; an identifier or key that was deleted may be given to something else later.

    /// Deletes an instrument with its measurements, and all that belongs to them. No recorder may
    /// work on it: what that writes afterwards has no owner. An identifier below 0 is refused.
    int deleteInstrument(const _ConnectionPtr& connection, long groupId,
                         const mersola::DeletionOptions& options = {});

    /// Deletes one measurement of an instrument in the same way.
    int deleteMeasurement(const _ConnectionPtr& connection, long groupId, long measId,
                          const mersola::DeletionOptions& options = {});

    /// Delete what is older than `before`, a local time, from all instruments or from one. A
    /// measurement whose last period has ended by then goes whole. Of one that reaches past it, the
    /// values of the periods that have ended by then go, and so do the markers that have; open
    /// markers stay. `MinPeriod` of its reports rises with each piece. `noOfPeriods` and `StartAt`
    /// stay, so that all periods keep their numbers.
    ///
    /// A measurement that is being recorded never goes whole. It counts as such while its last
    /// period, or its start, is less than an hour or less than two of its periods behind the clock.
    /// The period that its recorder is at stays as well, also when `before` lies in the future.
    ///
    /// A measurement stays as it is where its start cannot be read, and so does a report where the
    /// length of its periods cannot. An invalid time and an instrument below 0 are refused.
    int deleteOldMeasurements(const _ConnectionPtr& connection, const CTimeEx& before,
                              const mersola::DeletionOptions& options = {});
    int deleteOldMeasurements(const _ConnectionPtr& connection, long groupId, const CTimeEx& before,
                              const mersola::DeletionOptions& options = {});

    /// Lists from which measurements deleteOldMeasurements would delete now, in the order of their
    /// starts, and changes nothing. A groupId of -1 means all instruments. `out` is emptied first.
    int GetOldMeasurements(const _ConnectionPtr& connection, long groupId, const CTimeEx& before,
                           CArray<mersola::OldMeasurement, mersola::OldMeasurement&>& out);

    /// Deletes the values of a measurement in the periods that begin from `from` on and before
    /// `to`, of one channel and function or, where these are -1, of every one. The measurement, its
    /// reports, functions and markers stay, and so does `MinPeriod`. It is the way to take back
    /// what was recorded or imported wrongly. An invalid time is refused, and so is a measurement
    /// whose times cannot be read.
    int deleteValues(const _ConnectionPtr& connection, long groupId, long measId,
                     const CTimeEx& from, const CTimeEx& to, long channel, long funcId,
                     const mersola::DeletionOptions& options = {});

    // ---- Version history -----------------------------------------------------------------------

    /// Appends a row to the version history. Returns 1, or 0 on failure.
    int AddVersion(const _ConnectionPtr& connection, versionHistory v);

    /// Reads the first row of the version history into `v`. Returns 1 when there is one; 0 when the
    /// history is empty; -1 when the database has none; -2 when it has no instruments either; -3
    /// without a connection or when a statement fails.
    int GetVersion(const _ConnectionPtr& connection, versionHistory& v);

  protected:
    /// Declares the object connected or not, and opens recording.
    void setConnected(bool connected);

    /// Lists the instruments whose type has two items, the first of them `kind`, and whose state
    /// begins with "station". `out` is emptied first. 0 on failure.
    int _GetAlarmInstruments(CArray<InstrumentInfo, InstrumentInfo&>& out, CString kind);
    /// Reads the instrument of `rec.GroupId`; 0 when there is none.
    int _GetInstrument(InstrumentInfo& rec, const _ConnectionPtr& connection);
    /// List what _GetReports and _GetFunctions list, and also reports that have no functions yet,
    /// and the functions of all channels.
    int _GetAllReports(CArray<ReportInfo, ReportInfo&>& out, int measId,
                       const _ConnectionPtr& connection);
    int _GetAllFunctions(CArray<int, int>& out, int measId, int reportId,
                         const _ConnectionPtr& connection);
    int _GetAllFunctions(CArray<FuncInfo, FuncInfo&>& out, int measId, int reportId,
                         const _ConnectionPtr& connection);
    /// Reads values as GetData does, from the selected measurement, without regard to the
    /// continuous view. Returns nPeriods; 0 without a connection; -1 on failure, also when nFrq is
    /// less than 1.
    int _GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                 char* status);
    /// Whether two measurements can be members of one chain: identicalMeasurements asks for the
    /// same bandwidth and for reports that are identical one by one, identicalReports for the
    /// reports alone. Both read the reports of a measurement that has none attached.
    bool identicalMeasurements(MeasurementInfo& a, MeasurementInfo& b,
                               const _ConnectionPtr& connection);
    bool identicalReports(MeasurementInfo& a, MeasurementInfo& b, const _ConnectionPtr& connection);
    /// Whether a recording may start at that time: it is less than kMostDaysFromNow days from now.
    bool validDate(const CTimeEx& t);
    /// Counts the periods that passed since a stored report began, so that period 0 of this
    /// recording follows them. It does so once in each recording. A look-up or update that fails
    /// closes the recording.
    bool PutMissingPeriods(const _ConnectionPtr& connection, int reportId);
    /// Steps of GetMarkers for one measurement, with and without the markers of alarm instruments.
    /// An identifier of -1 means the selected instrument or measurement, -2 all measurements.
    int _GetMarkers(CArray<MarkerInfo, MarkerInfo&>& out, long measId, CString type);
    int _GetMarkers(CTimeEx from, CTimeEx to, CArray<MarkerInfo, MarkerInfo&>& out, long measId,
                    CString& type);
    int _GetMarkersForInstrumentOnly(CArray<MarkerInfo, MarkerInfo&>& out, long groupId,
                                     long measId, CString type);
    int _GetMarkersForInstrumentOnly(CTimeEx from, CTimeEx to, CArray<MarkerInfo, MarkerInfo&>& out,
                                     long groupId, long measId, CString& type);
    /// Loads the chain of the selected instrument unless it is loaded. The result is false, and the
    /// view the normal one, when there is no chain or its measurements cannot be read as one: their
    /// bandwidths or reports differ, or a start cannot be read. Raises _com_error.
    bool loadContinuousSetupData();

    /// Reads how far the last measurement of the chain has grown. Returns the period count of the
    /// selected report, or 0 without a connection or a selected report. Raises _com_error.
    int recalculateContPeriods();

    /// The connection.
    _ConnectionPtr m_connection;
    CString m_user;
    CString m_password;
    CString m_connectString;
    std::int32_t m_timeout = mersola::kDefaultTimeout;  ///< seconds
    bool m_connected = false;
    bool m_Valid = false;  ///< the recording may write values

    /// The selection, and what was loaded with it.
    std::int32_t m_GroupId = mersola::kNone;
    std::int32_t m_MeasId = mersola::kNone;
    std::int32_t m_ReportId = mersola::kNone;
    std::int32_t m_MeasValueId = mersola::kNone;
    std::int32_t m_channel = mersola::kNone;
    std::int32_t m_function = mersola::kNone;
    std::int32_t m_reportType = 0;
    double m_fullscale = 0;
    double m_sensitivity = 0;
    double m_lowerFrq = 0;
    double m_upperFrq = 0;
    std::int32_t m_bandwidth = 0;
    CTimeEx m_StartAt;
    CTimeSpanEx m_prdLength;
    CTimeSpanEx m_realPrdLength;
    bool m_realPrdLengthSet = false;
    std::int32_t m_noOfPeriods = 1;

    /// What was read last, and for which key.
    bool m_firstPrdValid = false;
    std::int32_t m_firstPrdMeasValueId = mersola::kNone;
    std::int32_t m_firstPrd = 0;
    CArray<float, float> m_percentiles;
    std::int32_t m_percentilesMeasId = mersola::kNone;
    std::int32_t m_percentilesGroupId = mersola::kNone;

    /// The continuous view.
    std::int32_t m_contMode = mersola::kNormalView;  ///< kNormalView or kContinuousView
    bool m_contLoaded = false;
    CArray<MeasurementInfo, MeasurementInfo&> m_contMeasurements;
    CArray<ReportInfo, ReportInfo&> m_contReports;
    MeasurementInfo m_contMeasurement;  ///< the virtual measurement, with the chain's settings
    std::int32_t m_contReportIndex = mersola::kNone;
    std::int32_t m_contMeasId = mersola::kNone;

    /// The recording.
    InstrumentInfo m_instrument;
    MeasurementInfo m_measurement;
    MeasurementInfo
        m_lastMeasurement;   ///< as it was stored before this recording, if that resumes one
    bool m_resumed = false;  ///< PutMeasurement found the measurement stored
    bool m_newEntry =
        false;  ///< the current report is new, so its periods count from this recording's start
    std::int64_t m_Offs = 0;  ///< ms from the stored start to the start of this recording
    std::int32_t m_lastReportOffs =
        0;  ///< the number under which period 0 of this recording is stored
    std::int32_t m_recordedGroupId =
        mersola::kNone;  ///< the instrument of the recording that this object holds
    std::int32_t m_recordedMeasId = mersola::kNone;
    CArray<std::int32_t, std::int32_t>
        m_registeredReports;  ///< the reports that this object registered in this recording
    std::int32_t m_missingReportId = mersola::kNone;
    std::int32_t m_missingIndex = 0;

  private:
    /// The connection that is given, else the object's own, which may be null.
    const _ConnectionPtr& resolved(const _ConnectionPtr& connection) const {
        return connection ? connection : m_connection;
    }
    bool readable() const { return m_connected && m_connection; }
    bool continuous() const { return m_contMode == mersola::kContinuousView && m_contLoaded; }

    // Steps of the recording operations.
    bool insertMeasurement(const _ConnectionPtr& connection, MeasurementInfo& info);
    bool resumeMeasurement(const _ConnectionPtr& connection, MeasurementInfo& info);
    bool loadLastReports(const _ConnectionPtr& connection);
    bool insertReport(const _ConnectionPtr& connection, const ReportInfo& info);
    bool resumeReport(const _ConnectionPtr& connection, const ReportInfo& info);
    ReportInfo* lastReport(int reportId);
    bool settleStart(const _ConnectionPtr& connection, const CTimeEx& start,
                     MeasurementInfo& stored);
    bool hasRecordings(const _ConnectionPtr& connection);
    long locateMeasMap(const _ConnectionPtr& connection, long groupId, long measId, long reportId,
                       bool& isNew);
    bool ensureMeasMap(const _ConnectionPtr& connection, int reportId, std::int32_t& measValueId);
    bool tryMeasMap(const _ConnectionPtr& connection, int reportId, std::int32_t& measValueId);
    bool updateReport(const _ConnectionPtr& connection, const CString& update);
    CTimeEx recordedPeriodStart(long period) const;

    // Steps of the deletions.
    int runDeletion(const _ConnectionPtr& connection, const mersola::DeletionOptions& options,
                    const CString& what, const std::function<void(mersola::Deletion&)>& work);
    void noticeLowestPeriod(std::int32_t measValueId, std::int32_t lowest) {
        if (measValueId == m_firstPrdMeasValueId && lowest > m_firstPrd) m_firstPrdValid = false;
    }

    // Steps of the reading operations.
    struct Stretch;  // periods of one report
    std::vector<Stretch> stretchesOf(std::int64_t first, std::int64_t end) const;
    void selectReportOf(const Stretch& stretch);
    _RecordsetPtr storedIn(const Stretch& stretch, const char* what);
    template <class Block>
    int readBlock(const Block& block);
    template <class Block>
    int readMember(const Block& block);
    int listBands(CArray<int, int>& out, std::int64_t first, std::int64_t end);
    void summarise(const Stretch& stretch, mersola::Overview& overview);
    void loadSettings(const MeasurementInfo& measurement);
    bool selectReport(int reportId);
    bool readChain(CArray<MeasurementInfo, MeasurementInfo&>& chain);
    bool hasSameMembers();
    template <class Read>
    int forEachMeasurement(Read read);
    template <class Read>
    int withAlarmInstruments(CArray<MarkerInfo, MarkerInfo&>& out, long measId, Read read);
    template <class Predicate>
    int readMarkers(CArray<MarkerInfo, MarkerInfo&>& out, long groupId, long measId, CString type,
                    Predicate wanted);
};
