#include "calls/CallLogRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <ctime>
#include <numeric>
#include <random>

#include "testkit/TimeZone.h"

namespace {

using CallLogColumns::Number;
using CallLogColumns::TimeDate;

std::string localTime(const std::string& text) {
    return boost::posix_time::to_iso_extended_string(
        CallLogRecord::extractLocalTimeFromISO8601TimeString(text));
}

CallLogRecord callAt(const std::string& time, const std::string& number = "1") {
    CallLogRecord record;
    record[TimeDate] = time;
    record[Number] = number;
    return record;
}

std::string timeOf(int second) {
    char text[48];
    (void)std::snprintf(text, sizeof(text), "2014-03-07T%02d:%02d:%02d+01:00", second / 3600,
                        second / 60 % 60, second % 60);
    return text;
}

std::vector<CallLogRecord> sorted(std::vector<CallLogRecord> records) {
    CallLogRecord::sortByTime(
        records, [](const CallLogRecord& record) -> const CallLogRecord& { return record; });
    return records;
}

std::vector<std::string> timesOf(const std::vector<CallLogRecord>& records) {
    std::vector<std::string> times;
    for (const CallLogRecord& record : records) {
        times.push_back(record[TimeDate]);
    }
    return times;
}

/// The time of the processor in the shortest of a few runs, so that other work on the machine does
/// not count.
template <typename Work>
double secondsOf(Work work) {
    double shortest = 1e9;
    for (int run = 0; run < 3; ++run) {
        const std::clock_t start = std::clock();
        work();
        shortest = std::min(shortest, double(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return shortest;
}

}  // namespace

TEST(CallLogRecordTest, OnlyAZoneWithAnOffsetOfAMinuteTakesATimeThroughUtc) {
    const struct {
        const char* name;
        const char* text;
        const char* inUtc;
        const char* withSummerTime;
    } rows[] = {
        {"no zone", "2014-03-07T09:15:30", "2014-03-07T09:15:30", "2014-03-07T09:15:30"},
        {"Z stands as local", "2014-07-07T09:15:30Z", "2014-07-07T09:15:30", "2014-07-07T09:15:30"},
        {"fraction and Z", "2014-07-07T09:15:30.123Z", "2014-07-07T09:15:30",
         "2014-07-07T09:15:30"},
        {"fraction alone", "2014-07-07T09:15:30.123", "2014-07-07T09:15:30", "2014-07-07T09:15:30"},
        {"short fraction", "2014-07-07T09:15:30.5Z", "2014-07-07T09:15:30", "2014-07-07T09:15:30"},
        {"zero offset", "2014-07-07T09:15:30+00:00", "2014-07-07T09:15:30", "2014-07-07T09:15:30"},
        {"seconds alone", "2014-07-07T09:15:30+00:00:59", "2014-07-07T09:15:30",
         "2014-07-07T09:15:30"},
        {"winter", "2014-03-07T09:15:30+01:00", "2014-03-07T08:15:30", "2014-03-07T09:15:30"},
        {"summer", "2014-07-07T09:15:30+01:00", "2014-07-07T08:15:30", "2014-07-07T10:15:30"},
        {"fraction and offset", "2014-07-07T09:15:30.123+01:00", "2014-07-07T08:15:30",
         "2014-07-07T10:15:30"},
        {"half an hour", "2014-03-07T09:15:30+00:30", "2014-03-07T08:45:30", "2014-03-07T09:45:30"},
        {"west of UTC", "2014-03-07T23:15:30-05:30", "2014-03-08T04:45:30", "2014-03-08T05:45:30"},
        {"a second before summer", "2014-03-30T01:59:59+01:00", "2014-03-30T00:59:59",
         "2014-03-30T01:59:59"},
        {"summer begins", "2014-03-30T02:00:00+01:00", "2014-03-30T01:00:00",
         "2014-03-30T03:00:00"},
        {"last hour of summer", "2014-10-26T02:30:00+02:00", "2014-10-26T00:30:00",
         "2014-10-26T02:30:00"},
        {"the same hour again", "2014-10-26T02:30:00+01:00", "2014-10-26T01:30:00",
         "2014-10-26T02:30:00"},
        {"without seconds", "2014-03-07T09:15", "2014-03-07T09:15:00", "2014-03-07T09:15:00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        {
            const TimeZone utc(TimeZone::Utc);
            EXPECT_EQ(localTime(row.text), row.inUtc);
        }
        const TimeZone summer(TimeZone::WithSummerTime);
        EXPECT_EQ(localTime(row.text), row.withSummerTime);
    }
}

TEST(CallLogRecordTest, NewerGoesFirstAndUndatedBehindDated) {
    const TimeZone zone(TimeZone::WithSummerTime);
    const struct {
        const char* first;
        const char* second;
        bool before;
        bool after;
    } rows[] = {
        {"2014-03-07T09:15:30", "2014-03-07T09:15:29", true, false},
        {"2014-03-07T09:15:30", "2014-03-07T09:15:30", false, false},
        // 08:15:30 in UTC each, but the one with Z counts as local
        {"2014-03-07T09:15:30+01:00", "2014-03-07T08:15:30Z", true, false},
        // an hour apart, the same on the clock of the wall
        {"2014-10-26T02:30:00+02:00", "2014-10-26T02:30:00+01:00", false, false},
        {"2014-03-07T09:15:30", "", true, false},
        {"", "", true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.first) + " and " + row.second);
        const auto compare = [](const char* a, const char* b) {
            return CallLogRecord::compareCallLogRecordsAsTime(callAt(a), callAt(b));
        };
        EXPECT_EQ(compare(row.first, row.second), row.before);
        EXPECT_EQ(compare(row.second, row.first), row.after);
    }
}

TEST(CallLogRecordTest, ATimeThatCannotBeReadRaisesWhereverItIsCompared) {
    const TimeZone zone(TimeZone::WithSummerTime);
    const std::string good = "2014-03-07T09:15:30";
    for (const std::string bad :
         {"yesterday", "T", "2014-03-07", "2014-03-07 09:15:30", "2014-13-07T09:15:30",
          "2014-02-30T01:01:01", "2014-03-07T09:15:30+", "2014-03-07T09:15:30+xx:00",
          "1969-01-01T00:00:00+01:00", "9999-12-31T23:59:59-99:00", "\xff\xfe"}) {
        SCOPED_TRACE(bad);
        EXPECT_ANY_THROW(localTime(bad));
        EXPECT_ANY_THROW(CallLogRecord::compareCallLogRecordsAsTime(callAt(bad), callAt(good)));
        EXPECT_ANY_THROW(CallLogRecord::compareCallLogRecordsAsTime(callAt(good), callAt(bad)));
        std::vector<CallLogRecord> records = {callAt(good, "1"), callAt("", "2"), callAt(bad, "3")};
        const auto before = records;
        const auto sort = [&] {
            CallLogRecord::sortByTime(
                records,
                [](const CallLogRecord& record) -> const CallLogRecord& { return record; });
        };
        EXPECT_ANY_THROW(sort());
        EXPECT_EQ(records, before);
        records = {callAt(""), callAt(bad), callAt("")};  // nothing to compare it with
        EXPECT_NO_THROW(sort());
        EXPECT_EQ(records[0][TimeDate], bad);
    }
}

// With the comparison itself std::sort reads beyond its records, since two undated ones go before
// each other. Sizes stand on both sides of those where a sort changes its way.
TEST(CallLogRecordTest, EveryMixOfDatedAndUndatedIsSortedWithoutLoss) {
    const TimeZone zone(TimeZone::WithSummerTime);
    std::mt19937 random(20140307);
    for (const int undatedShare : {0, 10, 50, 90, 100}) {
        for (const int size : {0, 1, 2, 10, 11, 15, 16, 17, 18, 64, 500}) {
            SCOPED_TRACE(std::to_string(size) + " records, of 100 undated " +
                         std::to_string(undatedShare));
            std::vector<std::string> times;
            std::vector<CallLogRecord> records;
            for (int i = 0; i < size; ++i) {
                const bool undated = static_cast<int>(random() % 100) < undatedShare;
                times.push_back(undated ? "" : timeOf(static_cast<int>(random() % 40)));
                records.push_back(callAt(times.back(), std::to_string(i)));
            }
            std::sort(times.rbegin(), times.rend());
            const auto result = sorted(records);
            EXPECT_EQ(timesOf(result), times);
            EXPECT_TRUE(
                std::is_permutation(result.begin(), result.end(), records.begin(), records.end()));
        }
    }
}

TEST(CallLogRecordTest, SortReadsEachTimeOnce) {
    const TimeZone zone(TimeZone::WithSummerTime);
    constexpr int count = 10000;
    std::vector<int> seconds(count);
    std::iota(seconds.begin(), seconds.end(), 0);
    std::shuffle(seconds.begin(), seconds.end(), std::mt19937(1));
    std::vector<CallLogRecord> records;
    for (const int second : seconds) {
        records.push_back(callAt(timeOf(second)));
    }
    const double reading = secondsOf([&] {
        for (const CallLogRecord& record : records) {
            (void)CallLogRecord::extractLocalTimeFromISO8601TimeString(record[TimeDate]);
        }
    });
    const double sorting = secondsOf([&] { (void)sorted(records); });
    // A sort that read times in its comparisons would read each some twenty times.
    EXPECT_LT(sorting, 10 * reading);
}
