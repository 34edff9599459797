// The times of calls, in rows as in the database. Each line of an input is a call: the time, then a
// blank and the number.

#include <algorithm>
#include <exception>
#include <sstream>
#include <string>

#include "Stage.h"
#include "Target.h"
#include "calls/CallLogColumns.h"
#include "calls/CallLogRow.h"

namespace {

using namespace CallLogColumns;

/// A row of the table with the calls of @p input, as many as fit.
Rows rowOf(const std::string& input) {
    Rows rows(1, std::vector<std::string>(Count));
    std::istringstream lines(input);
    std::size_t place = 0;
    for (std::string line; place < Places && std::getline(lines, line); ++place) {
        const std::size_t blank = line.find(' ');
        rows[0].at(position(TimeDate, place)) = line.substr(0, blank);
        rows[0].at(position(Number, place)) =
            blank == std::string::npos ? "" : line.substr(blank + 1);
    }
    return rows;
}

std::vector<std::string> timesOf(const CallLogRow& row) {
    std::vector<std::string> times;
    for (const CallLogRecord& record : row.records) {
        times.push_back(record[TimeDate]);
    }
    std::sort(times.begin(), times.end());
    return times;
}

void sortBothWays(CallLogRow row) {
    const auto before = timesOf(row);
    try {
        row.sortRecords();
    } catch (const std::exception&) {
        // A time could not be read. No call may be lost because of this.
    }
    require(timesOf(row) == before, "a sort that loses calls");
    row.normalize();
}

void compareAll(const CallLogRow& row) {
    for (const CallLogRecord& first : row.records) {
        for (const CallLogRecord& second : row.records) {
            (void)CallLogRecord::compareCallLogRecordsAsTime(first, second);
        }
    }
}

}  // namespace

void beginCallTimes() {
    (void)FuzzPlace::get();
    // Zone rules in the text, so that no zone file is needed.
    ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    ::tzset();
}

void takeCallTimes(std::string_view input) {
    const Rows rows = rowOf(std::string(input));
    const CallLogRow row(rows.begin());
    (void)row.toString();
    const auto attempt = [](const std::function<void()>& work) {
        try {
            work();
        } catch (const std::exception&) {
            // A time that can't be read throws, as its declaration says.
        }
    };
    attempt([&] { sortBothWays(row); });
    attempt([&] { compareAll(row); });
    attempt([&] {
        CallLogRow extracted = row;
        std::map<std::string, CallLogRow> others;
        extracted.extractCallRecordsThatDoNotMatch(others);
    });
}
