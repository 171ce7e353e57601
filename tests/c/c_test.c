/* The C interface as a program in C sees it: c_test DATABASE START, with a database
   that is laid out and empty, and a time within the years of a recording. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include <mersola/c.h>

static int failures = 0;

static void Expect(int holds, const char* what, int line) {
    if (holds) return;
    fprintf(stderr, "c_test.c:%d: %s\n", line, what);
    ++failures;
}
#define EXPECT(condition) Expect((condition), #condition, __LINE__)

enum { FUNCTION = 2, CHANNEL = 1, BANDS = 3, SECOND = 1000 };

static int64_t start;

static void Register(mersola_db* db, const char* measurement, int64_t at, int32_t* instrument,
                     int32_t* id) {
    EXPECT(mersola_put_instrument(db, "G\xC3\xA4rten", "meter", "", instrument) == MERSOLA_OK);
    EXPECT(mersola_put_measurement(db, *instrument, measurement, "", at, 3, 25, 20000, 0.1, 0.05,
                                   id) == MERSOLA_OK);
    EXPECT(mersola_put_report(db, 1, 7, SECOND) == MERSOLA_OK);
    EXPECT(mersola_put_function(db, FUNCTION, CHANNEL) == MERSOLA_OK);
}

static void RecordsAndReads(mersola_db* db) {
    const double values[2 * BANDS] = {60.25, NAN, 62.1, -100, 0, 64};
    const uint8_t status[2 * BANDS] = {0, 0, 'O', 0, MERSOLA_INVALID, 0};
    int32_t instrument = 0, measurement = 0;
    int64_t number = 0, first = 0, last = 0;
    double doubles[4 * BANDS];
    float floats[4 * BANDS];
    uint8_t read[4 * BANDS];
    const int64_t periods[2] = {4, 4};
    const int32_t functions[2] = {FUNCTION, FUNCTION}, channels[2] = {CHANNEL, CHANNEL};
    const int32_t bands[2] = {20, 21};
    const double two[2] = {1, 2};
    mersola_list* list = NULL;
    int32_t found = 0;

    EXPECT(mersola_put_function(db, FUNCTION, CHANNEL) == MERSOLA_MISUSE);
    Register(db, "Summer", start, &instrument, &measurement);
    EXPECT(mersola_put_block(db, FUNCTION, CHANNEL, 1, 2, 20, BANDS, values, status) == MERSOLA_OK);
    EXPECT(mersola_put_block(db, FUNCTION, CHANNEL, 1, 2, 20, BANDS, values, status) ==
           MERSOLA_DUPLICATE);
    EXPECT(mersola_put_value(db, 4, FUNCTION, CHANNEL, 20, 70.5, 0) == MERSOLA_OK);
    EXPECT(mersola_put_value(db, 4, FUNCTION, CHANNEL, 20, 71, 0) == MERSOLA_DUPLICATE);
    EXPECT(strlen(mersola_error(db)) > 0);
    EXPECT(mersola_put_value(db, 5, FUNCTION, CHANNEL, 20, NAN, 0) == MERSOLA_MISUSE);
    EXPECT(mersola_put_value(db, 5, FUNCTION, CHANNEL, 20, 1, '\'') == MERSOLA_MISUSE);
    EXPECT(mersola_put_values(db, 2, periods, functions, channels, bands, two, NULL) ==
           MERSOLA_DUPLICATE); /* the other one is written */

    EXPECT(mersola_read_float(db, 0, 1, 20, 1, floats, NULL) == MERSOLA_MISUSE);
    EXPECT(mersola_select(db, instrument, measurement, 1, CHANNEL, FUNCTION) == MERSOLA_OK);
    EXPECT(mersola_periods(db, &number) == MERSOLA_OK && number == 5);
    EXPECT(mersola_stored_periods(db, &first, &last) == MERSOLA_OK && first == 1 && last == 4);
    EXPECT(mersola_start(db, &number) == MERSOLA_OK && number == start);
    EXPECT(mersola_period_at(db, start - 1, &number) == MERSOLA_OK && number == -1);
    EXPECT(mersola_period_start(db, 3, &number) == MERSOLA_OK && number == start + 3 * SECOND);
    EXPECT(mersola_read_double(db, 1, 4, 20, BANDS, doubles, read) == MERSOLA_OK);
    EXPECT(doubles[0] == 60.25 && doubles[2] == 62.1 && doubles[3] == -100 && doubles[9] == 70.5 &&
           doubles[10] == 2);
    EXPECT(isnan(doubles[1]) && isnan(doubles[4]) && isnan(doubles[6]));
    EXPECT(memcmp(read, "\0\xFFO\0A\0\xFF\xFF\xFF\0\0\xFF", sizeof(read)) == 0);
    EXPECT(mersola_read_float(db, 1, 4, 20, BANDS, floats, NULL) == MERSOLA_OK);
    EXPECT(floats[2] == 62.1f && isnan(floats[1]) && floats[3] == -100);
    const int64_t edges[3] = {0, 3, 6};
    int64_t counts[2 * BANDS], when[2 * BANDS];
    double means[2 * BANDS];
    EXPECT(mersola_read_overview(db, edges, 2, 20, BANDS, counts, NULL, NULL, means, NULL, NULL,
                                 NULL, when) == MERSOLA_OK);
    EXPECT(counts[0] == 2 && fabs(means[0] + 19.875) < 1e-5 && when[0] == 1);
    EXPECT(mersola_read_overview(db, edges + 1, 1, 20, BANDS, counts, NULL, NULL, NULL, NULL, NULL,
                                 NULL, NULL) == MERSOLA_OK);
    EXPECT(mersola_read_overview(db, edges, 0, 20, BANDS, counts, NULL, NULL, NULL, NULL, NULL,
                                 NULL, NULL) == MERSOLA_MISUSE);
    EXPECT(mersola_read_float(db, INT64_MAX, 1, 20, 1, floats, NULL) == MERSOLA_MISUSE);
    EXPECT(mersola_read_float(db, 0, 1, 20, 0, floats, NULL) == MERSOLA_MISUSE);

    /* Names in UTF-8, and what a failure leaves. */
    EXPECT(mersola_find_instrument(db, "G\xC3\xA4rten", &found) == MERSOLA_OK &&
           found == instrument);
    EXPECT(mersola_find_instrument(db, "Nobody", &found) == MERSOLA_NOT_FOUND &&
           found == instrument);
    EXPECT(strstr(mersola_error(db), "Nobody") != NULL);
    EXPECT(mersola_find_instrument(db, "G'", &found) == MERSOLA_MISUSE);
    EXPECT(mersola_find_instrument(db, "\xC3", &found) == MERSOLA_MISUSE);
    EXPECT(mersola_select(db, instrument, measurement, 9, 1, 1) == MERSOLA_NOT_FOUND);
    EXPECT(mersola_periods(db, &number) == MERSOLA_MISUSE);

    /* The chain: a second measurement, an hour later. */
    Register(db, "Autumn", start + 3600 * SECOND, &instrument, &measurement);
    EXPECT(mersola_put_value(db, 0, FUNCTION, CHANNEL, 20, 50, 0) == MERSOLA_OK);
    EXPECT(mersola_find_measurement_at(db, instrument, start + 3600 * SECOND - 1, &found) ==
               MERSOLA_OK &&
           found != measurement);
    EXPECT(mersola_select(db, instrument, MERSOLA_CONTINUOUS, 7, CHANNEL, FUNCTION) == MERSOLA_OK);
    EXPECT(mersola_read_double(db, 3600, 1, 20, 1, doubles, NULL) == MERSOLA_OK &&
           doubles[0] == 50);
    EXPECT(mersola_chain(db, instrument, &list) == MERSOLA_OK && mersola_list_size(list) == 2);
    EXPECT(mersola_list_integer(list, 1, MERSOLA_OFFSET) == 3600);
    EXPECT(mersola_list_integer(list, 1, MERSOLA_START) == start + 3600 * SECOND);
    EXPECT(mersola_list_kind(list, MERSOLA_COLOR) == MERSOLA_KIND_NONE);
    EXPECT(mersola_list_integer(list, 2, MERSOLA_OFFSET) == 0);
    mersola_list_free(list);

    /* Markers. */
    EXPECT(mersola_put_marker(db, instrument, measurement, 4, 2, "", start, MERSOLA_NO_TIME,
                              "/a.wav", "type=level", FUNCTION, 20, 0) == MERSOLA_OK);
    EXPECT(mersola_open_markers(db, instrument, measurement, &list) == MERSOLA_OK &&
           mersola_list_size(list) == 1 &&
           mersola_list_integer(list, 0, MERSOLA_STOP) == MERSOLA_NO_TIME);
    mersola_list_free(list);
    EXPECT(mersola_close_marker(db, instrument, measurement, 4, "", start, start + 5, "/a.wav",
                                "type=level", FUNCTION, 20) == MERSOLA_OK);
    EXPECT(mersola_markers(db, instrument, measurement, start, start + 1, "level", &list) ==
           MERSOLA_OK);
    EXPECT(mersola_list_size(list) == 1 &&
           mersola_list_integer(list, 0, MERSOLA_STOP) == start + 5);
    mersola_list_free(list);
}

static void ReadsOnly(const char* path) {
    mersola_db* db = NULL;
    mersola_list* list = NULL;
    int32_t id = 0;
    EXPECT(mersola_open_file(path, 5, MERSOLA_READ_ONLY, &db) == MERSOLA_OK);
    EXPECT(mersola_put_instrument(db, "X", "", "", &id) == MERSOLA_MISUSE);
    EXPECT(mersola_select_names(db, "G\xC3\xA4rten", "Summer", 1, CHANNEL, "Nothing") ==
           MERSOLA_NOT_FOUND);
    EXPECT(mersola_instruments(db, &list) == MERSOLA_OK);
    mersola_close(db);
    EXPECT(strcmp(mersola_list_text(list, 0, MERSOLA_NAME), "G\xC3\xA4rten") == 0);
    mersola_list_free(list);
    db = NULL;
    EXPECT(mersola_open_file("/nowhere", 5, 0, &db) == MERSOLA_FAILED && db == NULL);
    EXPECT(strstr(mersola_error(NULL), "/nowhere") != NULL);
    EXPECT(mersola_open("Provider=None", "", "", 5, 0, &db) == MERSOLA_FAILED);
    EXPECT(mersola_periods(NULL, NULL) == MERSOLA_MISUSE);
    EXPECT(strstr(mersola_error(NULL), "handle") != NULL);
}

static void TimesReadBack(void) {
    static const int64_t times[] = {0, -1, 1, 1793606412045, -59011459200000, 253402300799999};
    char text[24];
    int64_t time;
    for (size_t i = 0; i < sizeof(times) / sizeof(times[0]); ++i)
        EXPECT(mersola_time_text(times[i], text) == MERSOLA_OK &&
               mersola_time_read(text, &time) == MERSOLA_OK && time == times[i]);
    EXPECT(mersola_time_text(-1, text) == MERSOLA_OK &&
           strcmp(text, "1969-12-31T23:59:59.999") == 0);
    EXPECT(mersola_time_read("2026-11-15 07:30", &time) == MERSOLA_OK && time == 1794727800000);
    EXPECT(mersola_time_read("2026-11-15T07:30:00Z", &time) == MERSOLA_MISUSE);
    EXPECT(mersola_time_read("2026-02-30", &time) == MERSOLA_MISUSE);
    EXPECT(mersola_time_text(MERSOLA_NO_TIME, text) == MERSOLA_MISUSE);
    EXPECT(mersola_time_text(253402300800000, text) == MERSOLA_MISUSE);
}

int main(int count, char** arguments) {
    mersola_db* db = NULL;
    if (count != 3 || mersola_time_read(arguments[2], &start) != MERSOLA_OK) return 2;
    EXPECT(mersola_open_file(arguments[1], 5, 0, &db) == MERSOLA_OK);
    if (!db) return 1;
    RecordsAndReads(db);
    mersola_close(db);
    ReadsOnly(arguments[1]);
    TimesReadBack();
    return failures ? 1 : 0;
}
