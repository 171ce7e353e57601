// The C interface beside the class that it stands for.
#include "support/store.h"

#include <cmath>
#include <random>

#include <gmock/gmock.h>

#include <mersola/c.h>

namespace mersola::test {
namespace {

class CInterface : public Contract {
  protected:
    ~CInterface() override { mersola_close(db); }

    void SelectInC() {
        ASSERT_EQ(mersola_open(database.WatchedString().c_str(), "", "", 5, 0, &db), MERSOLA_OK)
            << mersola_error(nullptr);
        ASSERT_EQ(mersola_select(db, 1, 1, 1, 1, 1), MERSOLA_OK) << mersola_error(db);
    }

    mersola_db* db = nullptr;
};

TEST_P(CInterface, ReadsBitForBitWhatWasWritten) {
    constexpr int kPeriods = 40, kBands = 5;
    constexpr std::size_t kSize = kPeriods * kBands;
    std::mt19937 random(7);
    std::vector<double> written(kSize, std::nan(""));
    std::vector<std::uint8_t> marks(kSize, MERSOLA_MISSING);
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store));
    const auto batch = store.PutDataStart(nullptr);
    for (std::size_t i = 0; i < kSize; ++i) {
        static constexpr const char* kStatus[] = {"", "O", "A", "Ax"};
        const unsigned which = static_cast<unsigned>(random() % 5);
        if (which == 4) continue;  // missing
        const double value = database.AsRead(static_cast<double>(random()) / 1e7);
        marks[i] = static_cast<std::uint8_t>(kStatus[which][0]);
        if (which < 2) written[i] = value;
        long next = 0;
        ASSERT_TRUE(store.PutDataRelative(value, kStatus[which], static_cast<int>(i) / kBands, 1, 1,
                                          10 + static_cast<int>(i) % kBands, false, next, true,
                                          batch));
    }
    ASSERT_TRUE(store.PutDataEnd(batch));
    SelectInC();
    std::vector<double> doubles(kSize);
    std::vector<float> floats(kSize), known(kSize);
    std::vector<std::uint8_t> status(kSize);
    ASSERT_EQ(mersola_read_float(db, 0, kPeriods, 10, kBands, floats.data(), nullptr), MERSOLA_OK);
    ASSERT_EQ(mersola_read_double(db, 0, kPeriods, 10, kBands, doubles.data(), status.data()),
              MERSOLA_OK);
    EXPECT_EQ(status, marks);
    Select(store);
    ASSERT_EQ(store.GetData(known.data(), 0, kPeriods, 10, kBands), kPeriods);
    for (std::size_t i = 0; i < kSize; ++i) {
        ASSERT_EQ(std::isnan(doubles[i]), std::isnan(written[i])) << i;
        ASSERT_EQ(std::isnan(floats[i]), std::isnan(written[i])) << i;
        if (std::isnan(written[i])) {
            ASSERT_EQ(known[i], -100.0F) << i;
            continue;
        }
        ASSERT_EQ(doubles[i], written[i]) << i;
        ASSERT_EQ(floats[i], known[i]) << i;
    }
    database.Run({"UPDATE MeasuredValues SET Value=NULL"});  // no numbers any more
    ASSERT_EQ(mersola_read_double(db, 0, kPeriods, 10, kBands, doubles.data(), status.data()),
              MERSOLA_OK);
    for (std::size_t i = 0; i < kSize; ++i)
        ASSERT_EQ(status[i], marks[i] == MERSOLA_INVALID ? MERSOLA_INVALID : MERSOLA_MISSING) << i;
}

TEST_P(CInterface, HandsOnTheEnginesWordsOfTheCallThatFailed) {
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store) && Write(store, 0, 60));
    SelectInC();
    float value = 0;
    TheWatch().FailOn("FROM MeasuredValues");
    EXPECT_EQ(mersola_read_float(db, 0, 1, 30, 1, &value, nullptr), MERSOLA_FAILED);
    EXPECT_STREQ(mersola_error(db), "told to fail");
    TheWatch().Reset();
    std::int32_t id = 0;
    EXPECT_EQ(mersola_find_instrument(db, "Nobody", &id), MERSOLA_NOT_FOUND);
    EXPECT_STREQ(mersola_error(db), "there is no instrument Nobody");
    EXPECT_EQ(mersola_read_float(db, 0, 1, 30, 1, &value, nullptr), MERSOLA_OK);
    EXPECT_STREQ(mersola_error(db), "");
    EXPECT_EQ(value, 60);
}

TEST_P(CInterface, WritesNothingOfABatchThatFailedAndShowsNoMessage) {
    const ShownMessages messages;
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store) && Write(store, 0, 60));
    SelectInC();
    std::int32_t instrument = 0, measurement = 0;
    ASSERT_EQ(mersola_put_instrument(db, "Two", "", "", &instrument), MERSOLA_OK);
    ASSERT_EQ(mersola_put_measurement(db, instrument, "noise", "", 0, 3, 0, 0, 0, 0, &measurement),
              MERSOLA_FAILED);  // 1970 is too long ago
    std::int64_t start = 0;
    ASSERT_EQ(mersola_start(db, &start), MERSOLA_OK);
    ASSERT_EQ(mersola_put_instrument(db, "Two", "", "", &instrument), MERSOLA_OK);
    ASSERT_EQ(
        mersola_put_measurement(db, instrument, "noise", "", start, 3, 0, 0, 0, 0, &measurement),
        MERSOLA_OK);
    ASSERT_EQ(mersola_put_report(db, 1, 1, 1000), MERSOLA_OK);
    const double values[] = {1, 2, INFINITY};
    EXPECT_EQ(mersola_put_block(db, 1, 1, 0, 3, 30, 1, values, nullptr), MERSOLA_MISUSE);
    EXPECT_EQ(mersola_begin(db), MERSOLA_OK);
    EXPECT_EQ(mersola_put_block(db, 1, 1, 0, 2, 30, 1, values, nullptr), MERSOLA_OK);
    EXPECT_EQ(mersola_begin(db), MERSOLA_FAILED);
    EXPECT_EQ(mersola_rollback(db), MERSOLA_OK);
    ASSERT_EQ(mersola_select(db, instrument, measurement, 1, 1, 1), MERSOLA_OK);
    std::int64_t first = 7;
    EXPECT_EQ(mersola_stored_periods(db, &first, nullptr), MERSOLA_NOT_FOUND);
    EXPECT_EQ(first, 7);
    mersola_db* none = nullptr;
    EXPECT_EQ(mersola_open("Provider=SQLite;Data Source=/nowhere", "", "", 5, 0, &none),
              MERSOLA_FAILED);
    EXPECT_THAT(mersola_error(nullptr), testing::HasSubstr("/nowhere"));
    EXPECT_TRUE(messages.texts.empty());
}

TEST_P(CInterface, DeletesUntilTheCallerStopsItAndGoesOn) {
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store));
    for (int period = 0; period < 9; ++period)
        ASSERT_TRUE(Write(store, period, period));
    SelectInC();
    std::int64_t start = 0, first = 0, last = 0;
    ASSERT_EQ(mersola_start(db, &start), MERSOLA_OK);
    ASSERT_EQ(mersola_delete_old_measurements(db, -1, start + 120000, nullptr, nullptr, nullptr),
              MERSOLA_OK);
    EXPECT_EQ(mersola_stored_periods(db, &first, nullptr), MERSOLA_OK);
    EXPECT_EQ(first, 2);
    ASSERT_EQ(
        mersola_delete_values(db, 1, 1, start + 420000, start + 600000, -1, 1, nullptr, nullptr),
        MERSOLA_OK);
    EXPECT_EQ(mersola_stored_periods(db, nullptr, &last), MERSOLA_OK);
    EXPECT_EQ(last, 6);

    EXPECT_EQ(mersola_begin(db), MERSOLA_OK);
    EXPECT_EQ(mersola_delete_instrument(db, 1, nullptr, nullptr, nullptr), MERSOLA_FAILED);
    EXPECT_STRNE(mersola_error(db), "");
    EXPECT_EQ(mersola_rollback(db), MERSOLA_OK);
    EXPECT_EQ(mersola_delete_instrument(db, 1, "/nowhere", nullptr, nullptr), MERSOLA_FAILED);
    EXPECT_EQ(mersola_delete_instrument(db, -1, nullptr, nullptr, nullptr), MERSOLA_MISUSE);
    EXPECT_EQ(mersola_delete_old_measurements(db, -1, MERSOLA_NO_TIME, nullptr, nullptr, nullptr),
              MERSOLA_MISUSE);
    struct Seen {
        int calls = 0;
        std::int64_t periods = 0;
    } seen;
    const mersola_progress stop = [](void* context, std::int64_t periods, std::int64_t) {
        auto& now = *static_cast<Seen*>(context);
        now.periods = periods;
        return ++now.calls == 2 ? 1 : 0;
    };
    ASSERT_EQ(mersola_delete_instrument(db, 1, nullptr, stop, &seen), MERSOLA_STOPPED);
    EXPECT_GT(seen.periods, 0);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Groups"), "1");
    ASSERT_EQ(mersola_delete_instrument(db, 1, nullptr, stop, &seen), MERSOLA_OK);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Groups"), "0");
    EXPECT_EQ(mersola_delete_instrument(db, 1, nullptr, nullptr, nullptr), MERSOLA_OK);
}

TEST_P(CInterface, KeepsStatesAndPercentilesApartFromARecording) {
    Store store(database.ConnectString());
    MeasurementInfo measurement = Measurement();
    ASSERT_TRUE(Open(store, measurement));
    measurement.textItems.Parse("10.5,90");
    ASSERT_TRUE(store.PutPercentiles(nullptr, measurement));
    SelectInC();
    std::int64_t start = 0;
    std::int32_t id = 0;
    ASSERT_EQ(mersola_start(db, &start), MERSOLA_OK);
    ASSERT_EQ(mersola_put_instrument(db, "station 1", "", "", &id), MERSOLA_OK);
    ASSERT_EQ(mersola_put_measurement(db, id, "noise", "", start, 3, 25, 20000, 0, 0, &id),
              MERSOLA_OK);
    ASSERT_EQ(mersola_put_report(db, 1, 1, 60000), MERSOLA_OK);
    ASSERT_EQ(mersola_put_state(db, "station 1", "power=on"), MERSOLA_OK);
    EXPECT_EQ(mersola_put_value(db, 0, 1, 1, 30, 1, 0), MERSOLA_OK) << mersola_error(db);
    EXPECT_EQ(database.Ask("SELECT State FROM Groups"), "power=on");
    mersola_list* list = nullptr;
    ASSERT_EQ(mersola_percentiles(db, 1, 1, &list), MERSOLA_OK) << mersola_error(db);
    EXPECT_EQ(mersola_list_size(list), 2);
    EXPECT_EQ(mersola_list_real(list, 0, MERSOLA_PERCENTILE), 10.5);
    mersola_list_free(list);
    EXPECT_EQ(mersola_percentiles(db, 1, 9, &list), MERSOLA_NOT_FOUND);
}

INSTANTIATE_ON_EVERY_ENGINE(CInterface);

}  // namespace
}  // namespace mersola::test
