// The library for C, and for every language that calls C.
//
// Rules that hold for every function:
// - Threads: a handle is used by one thread at a time. Different handles are independent.
// - Results: MERSOLA_OK (0), or one of the negative codes. mersola_error has the reason in words.
//   What a function hands out through a pointer is set on success alone; on failure it stays as it
//   was. Nothing is thrown, and no message is shown.
// - Texts: UTF-8 with a zero at the end. A null text that is handed in is an empty one. A text with
//   a single quote, or one that is not UTF-8, is refused with MERSOLA_MISUSE: texts are placed into
//   statements as they are. A text that is handed out belongs to the library and must not be freed;
//   each function says how long it lives.
// - Times: local times without a zone, as the database has them. As a number a time is the
//   milliseconds from 1 January 1970, 00:00 of that same local clock, without any zone: what the
//   clock shows is taken as if it were UTC. The hour that comes twice in autumn has the same
//   numbers twice. As a text it is "2026-11-15T07:30:12.045". Years 100 to 9999.
// - Numbers: channels, functions, bands, types and identifiers are 32-bit integers to which the
//   programs give meaning. Identifiers are unique within what holds them: an instrument within the
//   database, a measurement within its instrument, a report within its measurement.
// - A handle has a selection for reading and, apart from it, a recording. Neither changes the
//   other, and listing changes neither.
#pragma once

#include <stdint.h>

#include <mersola/platform/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/// A database that is open; a result of a listing.
typedef struct mersola_db mersola_db;
typedef struct mersola_list mersola_list;

/// What functions return.
enum {
    MERSOLA_OK = 0,          ///< it is done
    MERSOLA_FAILED = -1,     ///< the database refused, or could not be reached
    MERSOLA_NOT_FOUND = -2,  ///< there is no such instrument, measurement, report, value
    MERSOLA_MISUSE = -3,     ///< an argument is out of its range, or the order of calls is wrong
    MERSOLA_DUPLICATE = -4,  ///< a value is stored there already, and stays as it is
    MERSOLA_NO_MEMORY = -5,  ///< memory ran out
    MERSOLA_STOPPED = -6     ///< the caller stopped it
};

/// How mersola_open opens.
enum {
    MERSOLA_READ_ONLY = 1  ///< functions that write are refused; a SQLite file is not changed
};

/// As the measurement: the continuous view, which is the chain of all measurements of an
/// instrument.
#define MERSOLA_CONTINUOUS (-3)

/// The time of what has none, as the stop of an open marker.
#define MERSOLA_NO_TIME INT64_MIN

/// Status bytes of blocks. Any other one is the first byte of the status that is stored, which the
/// recorder gave a meaning (often 'O' for an overload). The value is a number then.
enum {
    MERSOLA_VALID = 0,      ///< stored, with an empty status
    MERSOLA_INVALID = 'A',  ///< stored as invalid; the value is NaN
    MERSOLA_MISSING = 255   ///< not stored; the value is NaN
};

/// The fields of listings. Each listing says which it has.
enum {
    MERSOLA_ID = 1,              ///< integer: the identifier of what is listed
    MERSOLA_NAME = 2,            ///< text
    MERSOLA_INFO = 3,            ///< text: for people to read
    MERSOLA_TYPE = 4,            ///< text of an instrument; integer of a report or marker
    MERSOLA_STATE = 5,           ///< text
    MERSOLA_START = 6,           ///< time
    MERSOLA_STOP = 7,            ///< time
    MERSOLA_BANDWIDTH = 8,       ///< integer: code of the frequency resolution
    MERSOLA_FULLSCALE = 9,       ///< real: in the unit of the signal
    MERSOLA_SENSITIVITY = 10,    ///< real: in V per unit of the signal
    MERSOLA_LOWER_FRQ = 11,      ///< real: in Hz
    MERSOLA_UPPER_FRQ = 12,      ///< real: in Hz
    MERSOLA_PERIOD_LENGTH = 13,  ///< integer: nominal length of a period, in milliseconds
    MERSOLA_REAL_LENGTH = 14,    ///< integer: measured length in milliseconds, else the nominal one
    MERSOLA_PERIODS = 15,        ///< integer: number of periods, empty ones included
    MERSOLA_CHANNEL = 16,        ///< integer
    MERSOLA_FUNCTION = 17,       ///< integer
    MERSOLA_BAND = 18,           ///< integer
    MERSOLA_INSTRUMENT = 19,     ///< integer: identifier of the instrument
    MERSOLA_MEASUREMENT = 20,    ///< integer: identifier of the measurement
    MERSOLA_REPORT = 21,         ///< integer: identifier of the report
    MERSOLA_OFFSET = 22,         ///< integer: number of the first period in the continuous view
    MERSOLA_LOST_PERIODS = 23,   ///< integer: periods before it that nobody recorded; negative for
                                 ///< an overlap
    MERSOLA_PATH = 24,           ///< text: the recording file
    MERSOLA_TRIGGER = 25,        ///< text: list text of pairs
    MERSOLA_EXT_TYPE = 26,       ///< text: a finer kind
    MERSOLA_COLOR = 27,          ///< integer
    MERSOLA_IS_OPEN = 28,        ///< integer: 1 while the event goes on, else 0
    MERSOLA_PERCENTILE = 29      ///< real: in per cent
};

/// What kind of value a field holds.
enum {
    MERSOLA_KIND_NONE = 0,     ///< the listing does not have the field, or there is no such row
    MERSOLA_KIND_INTEGER = 1,  ///< mersola_list_integer
    MERSOLA_KIND_REAL = 2,     ///< mersola_list_real
    MERSOLA_KIND_TEXT = 3,     ///< mersola_list_text
    MERSOLA_KIND_TIME = 4      ///< mersola_list_integer or mersola_list_text
};

// ---- The library, times ------------------------------------------------------------------------

/// The version of the library, as "1.0.0". It lives as long as the library is loaded.
MERSOLA_EXPORT const char* mersola_version(void);

/// Writes a time as text, with its zero, into 24 bytes at `text`. MERSOLA_MISUSE beyond the years.
MERSOLA_EXPORT int32_t mersola_time_text(int64_t time, char* text);

/// Reads a time: "2026-11-15", and behind it "T" or a blank with "07:30", seconds and up to three
/// digits of a second as far as they are given. Any other text, also one with a zone, is
/// MERSOLA_MISUSE.
MERSOLA_EXPORT int32_t mersola_time_read(const char* text, int64_t* time);

// ---- Opening -----------------------------------------------------------------------------------

/// Opens a database that is laid out. `timeout` is in seconds, for connecting and for each
/// statement: 0 waits without end, -1 leaves the defaults (15 and 30) in force. `flags` is 0 or
/// MERSOLA_READ_ONLY. mersola_open_file opens a SQLite file by its path; it never makes one. The
/// handle belongs to the caller, who closes it. On failure there is no handle, and
/// mersola_error(NULL) has the reason on the same thread.
MERSOLA_EXPORT int32_t mersola_open(const char* connection, const char* user, const char* password,
                                    int32_t timeout, uint32_t flags, mersola_db** db);
MERSOLA_EXPORT int32_t mersola_open_file(const char* path, int32_t timeout, uint32_t flags,
                                         mersola_db** db);

/// Closes a database and frees the handle; an open transaction is rolled back. Listings stay valid.
/// Null is allowed.
MERSOLA_EXPORT void mersola_close(mersola_db* db);

/// Why the last function that failed on this handle did so, or with NULL the last one of this
/// thread that has no handle. Empty when none failed; never null. It lives until the next function
/// is called on the handle (with NULL: by this thread).
MERSOLA_EXPORT const char* mersola_error(const mersola_db* db);

/// Begin, commit and roll back a transaction. There is one at a time, for all that the handle does:
/// a second one is MERSOLA_FAILED. What fails inside stays open until it is rolled back.
MERSOLA_EXPORT int32_t mersola_begin(mersola_db* db);
MERSOLA_EXPORT int32_t mersola_commit(mersola_db* db);
MERSOLA_EXPORT int32_t mersola_rollback(mersola_db* db);

// ---- Listings ----------------------------------------------------------------------------------
//
// A listing is a table in memory that belongs to the caller, who frees it. It does not change, and
// it may outlive its database.

/// Frees a listing. Null is allowed.
MERSOLA_EXPORT void mersola_list_free(mersola_list* list);

/// The number of rows; 0 for null.
MERSOLA_EXPORT int64_t mersola_list_size(const mersola_list* list);

/// The kind of a field, for all rows; MERSOLA_KIND_NONE when the listing has no such field.
MERSOLA_EXPORT int32_t mersola_list_kind(const mersola_list* list, int32_t field);

/// A field of a row, counted from 0. An integer reads as a real and a text as well, a real as a
/// text, a time as milliseconds or as a text. What does not fit reads as 0 or as an empty text; a
/// time that cannot be read is MERSOLA_NO_TIME. A text lives as long as the listing.
MERSOLA_EXPORT int64_t mersola_list_integer(const mersola_list* list, int64_t row, int32_t field);
MERSOLA_EXPORT double mersola_list_real(const mersola_list* list, int64_t row, int32_t field);
MERSOLA_EXPORT const char* mersola_list_text(const mersola_list* list, int64_t row, int32_t field);

/// Lists all instruments in the server's order, alarm instruments and stations included: ID, NAME,
/// TYPE, INFO, STATE. The type is in lower case.
MERSOLA_EXPORT int32_t mersola_instruments(mersola_db* db, mersola_list** list);

/// Lists the measurements of an instrument by their start: ID, NAME, INFO, START, BANDWIDTH,
/// FULLSCALE, SENSITIVITY, LOWER_FRQ, UPPER_FRQ.
MERSOLA_EXPORT int32_t mersola_measurements(mersola_db* db, int32_t instrument,
                                            mersola_list** list);

/// Lists the percentiles of a measurement, in their stored order: PERCENTILE. MERSOLA_NOT_FOUND
/// when there is no such measurement, or it has none that can be read.
MERSOLA_EXPORT int32_t mersola_percentiles(mersola_db* db, int32_t instrument, int32_t measurement,
                                           mersola_list** list);

/// Lists the reports of a measurement, or with MERSOLA_CONTINUOUS those of the chain, by their
/// type: ID, TYPE, PERIOD_LENGTH, REAL_LENGTH, PERIODS. In the chain ID and TYPE are both the type,
/// by which a report of the chain is selected. MERSOLA_NOT_FOUND where there is no chain.
MERSOLA_EXPORT int32_t mersola_reports(mersola_db* db, int32_t instrument, int32_t measurement,
                                       mersola_list** list);

/// Lists the functions of a report of all channels: ID, CHANNEL, NAME, which may be empty. With
/// MERSOLA_CONTINUOUS `report` is a type.
MERSOLA_EXPORT int32_t mersola_functions(mersola_db* db, int32_t instrument, int32_t measurement,
                                         int32_t report, mersola_list** list);

/// List all functions, or bands, that have a name in this database, by their number: ID, NAME.
MERSOLA_EXPORT int32_t mersola_function_names(mersola_db* db, mersola_list** list);
MERSOLA_EXPORT int32_t mersola_band_names(mersola_db* db, mersola_list** list);

/// Lists what the chain of an instrument is made of, a row for each report of each measurement, in
/// the order of their starts: MEASUREMENT, NAME, START, REPORT, TYPE, PERIOD_LENGTH, OFFSET,
/// PERIODS, LOST_PERIODS. MERSOLA_NOT_FOUND where there is no chain.
MERSOLA_EXPORT int32_t mersola_chain(mersola_db* db, int32_t instrument, mersola_list** list);

/// Lists markers (events) of a measurement, or with MERSOLA_CONTINUOUS of the whole chain: ID,
/// TYPE, EXT_TYPE, START, STOP, PATH, TRIGGER, FUNCTION, BAND, COLOR, IS_OPEN, INSTRUMENT,
/// MEASUREMENT. mersola_markers lists closed ones, those of alarm instruments included, that start
/// from `from` on and before `to`; both MERSOLA_NO_TIME mean all. With a `type` that is not empty,
/// those whose trigger has that `type`. mersola_open_markers lists those that go on; their STOP is
/// MERSOLA_NO_TIME.
MERSOLA_EXPORT int32_t mersola_markers(mersola_db* db, int32_t instrument, int32_t measurement,
                                       int64_t from, int64_t to, const char* type,
                                       mersola_list** list);
MERSOLA_EXPORT int32_t mersola_open_markers(mersola_db* db, int32_t instrument, int32_t measurement,
                                            mersola_list** list);

// ---- Selecting ---------------------------------------------------------------------------------

/// Find an identifier by a name, or MERSOLA_NOT_FOUND. The database decides about upper and lower
/// case.
MERSOLA_EXPORT int32_t mersola_find_instrument(mersola_db* db, const char* name,
                                               int32_t* instrument);
MERSOLA_EXPORT int32_t mersola_find_measurement(mersola_db* db, int32_t instrument,
                                                const char* name, int32_t* measurement);

/// Finds the measurement of an instrument that began last by a time, or MERSOLA_NOT_FOUND. Whether
/// it goes on until then is not looked at.
MERSOLA_EXPORT int32_t mersola_find_measurement_at(mersola_db* db, int32_t instrument, int64_t time,
                                                   int32_t* measurement);

/// Select what is read, and read its settings anew. With MERSOLA_CONTINUOUS as the measurement, or
/// a null name for it, the chain is selected, and `report` is a type. Channel and function are not
/// looked up by number: those that there are not have no values. MERSOLA_NOT_FOUND when there is no
/// such measurement, report or name; nothing is selected after any failure. mersola_select_names
/// finds the function among those of the report by its exact name.
MERSOLA_EXPORT int32_t mersola_select(mersola_db* db, int32_t instrument, int32_t measurement,
                                      int32_t report, int32_t channel, int32_t function);
MERSOLA_EXPORT int32_t mersola_select_names(mersola_db* db, const char* instrument,
                                            const char* measurement, int32_t report,
                                            int32_t channel, const char* function);

// ---- Reading the selection ---------------------------------------------------------------------
//
// Without a selection these are MERSOLA_MISUSE. In the continuous view periods are numbered across
// the chain, and settings are those of its first measurement.

/// When period 0 begins.
MERSOLA_EXPORT int32_t mersola_start(mersola_db* db, int64_t* start);

/// The length of a period in milliseconds: as it was set, and as it was measured where that is
/// known. Either pointer may be null.
MERSOLA_EXPORT int32_t mersola_period_length(mersola_db* db, int64_t* nominal, int64_t* measured);

/// The number of periods as it is stored now, empty ones included.
MERSOLA_EXPORT int32_t mersola_periods(mersola_db* db, int64_t* periods);

/// Turn a time into the number of the period in which it lies, and a number into the time at which
/// that period begins, by start and nominal length. Periods before the start are negative. Neither
/// looks at what is stored. MERSOLA_MISUSE beyond 32 bits or the years; MERSOLA_FAILED when the
/// stored start or length cannot be read.
MERSOLA_EXPORT int32_t mersola_period_at(mersola_db* db, int64_t time, int64_t* period);
MERSOLA_EXPORT int32_t mersola_period_start(mersola_db* db, int64_t period, int64_t* time);

/// Finds the first and the last period that have a value, by what is stored now. Either pointer may
/// be null. MERSOLA_NOT_FOUND when there is no value.
MERSOLA_EXPORT int32_t mersola_stored_periods(mersola_db* db, int64_t* first, int64_t* last);

/// Lists the bands that have values in `periods` periods from `first` on, in ascending order: BAND.
/// With -1 for `periods` it looks at all values, which takes long where there are many.
MERSOLA_EXPORT int32_t mersola_bands(mersola_db* db, int64_t first, int64_t periods,
                                     mersola_list** list);

/// Read `periods` periods from `first` on, of `bands` bands from `first_band` on, straight into the
/// caller's array of periods x bands: the value of period p and band b, both counted from the
/// first, is at p * bands + b. `status`, unless it is null, is an array of that size for status
/// bytes, which tell what is missing from what is invalid; both read as NaN. mersola_read_double
/// gives values as they are stored, mersola_read_float rounds them. Both counts are from 1, and all
/// numbers within 32 bits. It is one statement, whatever the size. On MERSOLA_FAILED the arrays
/// hold what was read, and the rest is missing.
MERSOLA_EXPORT int32_t mersola_read_float(mersola_db* db, int64_t first, int64_t periods,
                                          int32_t first_band, int32_t bands, float* values,
                                          uint8_t* status);
MERSOLA_EXPORT int32_t mersola_read_double(mersola_db* db, int64_t first, int64_t periods,
                                           int32_t first_band, int32_t bands, double* values,
                                           uint8_t* status);

/// Summarises values of `bands` bands from `first_band` on, step by step: a step lies from one of
/// the steps + 1 ascending `edges`, which are numbers of periods, up to and without the next. Each
/// array is of steps x bands, as in mersola_read_double, or null. Finite and valid values count;
/// without any, the count is 0 and the numbers are NaN. `energy_means` are of levels in dB, 10 lg
/// of the mean of 10^(value / 10). `mean_squares`, and the periods that have the least and the
/// greatest value first (-1 where there is none), take longer; the others are read from summaries
/// of blocks where the database keeps such, and then both means are within 0.00001. On failure the
/// arrays stay as they are.
MERSOLA_EXPORT int32_t mersola_read_overview(mersola_db* db, const int64_t* edges, int64_t steps,
                                             int32_t first_band, int32_t bands, int64_t* counts,
                                             double* least, double* greatest, double* means,
                                             double* energy_means, double* mean_squares,
                                             int64_t* least_periods, int64_t* greatest_periods);

// ---- Recording ---------------------------------------------------------------------------------
//
// A recorder registers an instrument, a measurement, a report and its functions, in that order, and
// then writes values into the report. What is registered already is taken up again: a recording
// goes on in it. All of these are MERSOLA_MISUSE on a handle that was opened for reading only.
// After a failure in the middle of registering, begin again with the instrument.

/// Registers an instrument and hands out its identifier. A known one stays as it is. `name` is not
/// empty; `type` and `info` may be.
MERSOLA_EXPORT int32_t mersola_put_instrument(mersola_db* db, const char* name, const char* type,
                                              const char* info, int32_t* instrument);

/// Stores the state of the instrument of that name, as a list text. It is registered, without a
/// type, when there is none. A recording that goes on is not touched.
MERSOLA_EXPORT int32_t mersola_put_state(mersola_db* db, const char* name, const char* state);

/// Registers a measurement of that instrument and begins a recording that starts at `start`, within
/// ten years of now. A known measurement is resumed: its start stays, the new one must not be
/// earlier, the bandwidth must be the same, and its frequency range grows to hold the new one.
/// `bandwidth` is a code, `lower_frq` and `upper_frq` are in Hz, `fullscale` in the unit of the
/// signal, `sensitivity` in V per unit.
MERSOLA_EXPORT int32_t mersola_put_measurement(mersola_db* db, int32_t instrument, const char* name,
                                               const char* info, int64_t start, int32_t bandwidth,
                                               double lower_frq, double upper_frq, double fullscale,
                                               double sensitivity, int32_t* measurement);

/// Registers a report of the measurement, which the program numbers, and makes it the one that
/// values go into; calling it again goes back to a report. `length` is that of a period, in
/// milliseconds from 1 on. A known report must have the same length and type.
MERSOLA_EXPORT int32_t mersola_put_report(mersola_db* db, int32_t report, int32_t type,
                                          int64_t length);

/// Registers a function that is measured on a channel of the report. Doing it again is harmless.
MERSOLA_EXPORT int32_t mersola_put_function(mersola_db* db, int32_t function, int32_t channel);

/// Give a function, or a band, a name in this database, as "PPV" or "1 kHz". Nothing has to be
/// registered before. Doing it again is harmless; MERSOLA_DUPLICATE when it has another name, which
/// stays.
MERSOLA_EXPORT int32_t mersola_put_function_name(mersola_db* db, int32_t function,
                                                 const char* name);
MERSOLA_EXPORT int32_t mersola_put_band_name(mersola_db* db, int32_t band, const char* name);

/// Writes one value, to six decimals, and raises the report's number of periods to `period` + 1.
/// Periods are counted from the start of this recording, from 0 on. `status` is MERSOLA_VALID, or
/// an ASCII character but the quote; with MERSOLA_INVALID the value does not count. NaN and
/// infinity are MERSOLA_MISUSE otherwise. MERSOLA_DUPLICATE when one is stored there: it stays.
MERSOLA_EXPORT int32_t mersola_put_value(mersola_db* db, int64_t period, int32_t function,
                                         int32_t channel, int32_t band, double value,
                                         uint8_t status);

/// Write many values in one transaction, unrounded, and then raise the report's number of periods.
/// mersola_put_values takes `count` values of any periods, functions, channels and bands, each from
/// an array of that length: a whole period, for example. mersola_put_block takes the block of one
/// function, as mersola_read_double gives it. `status` may be null, which means MERSOLA_VALID for
/// all. What is NaN or MERSOLA_MISSING is left out, except that a NaN of status MERSOLA_INVALID is
/// written; periods that are left out count all the same. MERSOLA_MISUSE, before anything is
/// written, for infinity, a status that is no ASCII character or a period that is out of its range.
/// MERSOLA_DUPLICATE when some were stored already: these stay, and the others are written.
/// MERSOLA_FAILED when the database refused: as a rule nothing is written, as in a locked or full
/// database, and all can be sent again.
MERSOLA_EXPORT int32_t mersola_put_values(mersola_db* db, int64_t count, const int64_t* periods,
                                          const int32_t* functions, const int32_t* channels,
                                          const int32_t* bands, const double* values,
                                          const uint8_t* status);
MERSOLA_EXPORT int32_t mersola_put_block(mersola_db* db, int32_t function, int32_t channel,
                                         int64_t first, int64_t periods, int32_t first_band,
                                         int32_t bands, const double* values,
                                         const uint8_t* status);

/// Raises the report's number of periods to so many of this recording, when there was nothing to
/// write. It never shrinks.
MERSOLA_EXPORT int32_t mersola_put_periods(mersola_db* db, int64_t periods);

/// Inserts a marker of a measurement, whether it is being recorded or not. With MERSOLA_NO_TIME as
/// its stop it is an open one. `id` is a number that the recorder gives; `trigger` is list text of
/// pairs, as `type=level`.
MERSOLA_EXPORT int32_t mersola_put_marker(mersola_db* db, int32_t instrument, int32_t measurement,
                                          int32_t id, int32_t type, const char* ext_type,
                                          int64_t start, int64_t stop, const char* path,
                                          const char* trigger, int32_t function, int32_t band,
                                          int32_t color);

/// Closes the open marker that was inserted with the same instrument, measurement, number, extended
/// type, start, path, function and band: it gets a stop and a trigger. MERSOLA_OK also when there
/// is none.
MERSOLA_EXPORT int32_t mersola_close_marker(mersola_db* db, int32_t instrument, int32_t measurement,
                                            int32_t id, const char* ext_type, int64_t start,
                                            int64_t stop, const char* path, const char* trigger,
                                            int32_t function, int32_t band);

// ---- Deletion ----------------------------------------------------------------------------------
//
// Deletions work in short transactions beside recorders and readers, and may take long. They are
// MERSOLA_MISUSE on a handle that was opened for reading only, and MERSOLA_FAILED inside a
// transaction. MERSOLA_OK when all is deleted, also when there was nothing. After a failure, a stop
// or a kill, what was deleted by then stays so, and calling the function again goes on.
//
// `folder` has the recording files that the deleted markers name deleted as well, as far as they
// are files of this machine below that folder; with null they stay. Nothing is deleted when it
// cannot be opened.

/// Called after each transaction of a deletion with the `context` that it was given: so many of
/// `periods_in_all` periods are done, which may grow where a recorder goes on. 0 goes on; anything
/// else stops the deletion, which returns MERSOLA_STOPPED. It must not use the handle. Null is
/// allowed in its place.
typedef int32_t (*mersola_progress)(void* context, int64_t periods, int64_t periods_in_all);

/// Deletes an instrument, or one of its measurements, with all that belongs to it. No recorder may
/// work on it.
MERSOLA_EXPORT int32_t mersola_delete_instrument(mersola_db* db, int32_t instrument,
                                                 const char* folder, mersola_progress progress,
                                                 void* context);
MERSOLA_EXPORT int32_t mersola_delete_measurement(mersola_db* db, int32_t instrument,
                                                  int32_t measurement, const char* folder,
                                                  mersola_progress progress, void* context);

/// Deletes what ended before a time, of one instrument or, with -1, of all. Measurements that ended
/// before it go whole. Of one that reaches past it, or is being recorded, the periods and markers
/// that ended before it go; those that stay keep their numbers.
MERSOLA_EXPORT int32_t mersola_delete_old_measurements(mersola_db* db, int32_t instrument,
                                                       int64_t before, const char* folder,
                                                       mersola_progress progress, void* context);

/// Deletes the values of a measurement in the periods that begin from `from` on and before `to`, of
/// one channel and function or, where these are -1, of all. All else stays.
MERSOLA_EXPORT int32_t mersola_delete_values(mersola_db* db, int32_t instrument,
                                             int32_t measurement, int64_t from, int64_t to,
                                             int32_t channel, int32_t function,
                                             mersola_progress progress, void* context);

#ifdef __cplusplus
}
#endif
