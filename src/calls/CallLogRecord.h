#ifndef CALLLOGRECORD_H
#define CALLLOGRECORD_H

#include <array>
#include <boost/date_time/posix_time/ptime.hpp>
#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/// One call of a call log row: thirteen strings as they are in the database.
class CallLogRecord {
public:
    /// The value of a field; the fields are those of CallLogColumns.
    std::string& operator[](CallLogColumns::Field field) { return m_fields[field]; }
    const std::string& operator[](CallLogColumns::Field field) const { return m_fields[field]; }

    /// Whether all texts are empty.
    bool isEmpty() const;
    /// Whether each value may stand between single quotes unchanged.
    bool isSafeInStatement() const;
    /// Whether all texts are equal.
    bool operator==(const CallLogRecord& other) const { return m_fields == other.m_fields; }
    bool operator!=(const CallLogRecord& other) const { return !(*this == other); }

    /// The first 19 characters of an ISO 8601 text without "Z", "-" and ":", as Boost reads it.
    static std::string boostCompatibleISOString(const std::string& text);

    /**
     * Converts @p time to the telephone's local time, by the zone at the end of the ISO 8601
     * @p text. A time without a zone, with "Z", or with an offset of less than a minute counts as
     * local: kept on purpose, stored calls were written so. A zone that can't be read throws an
     * exception of the standard library or of Boost.
     */
    static void adjustLocalTimeByTimeZone(boost::posix_time::ptime& time, const std::string& text);

    /// The local time of an ISO 8601 string. One that can't be read throws as above.
    static boost::posix_time::ptime extractLocalTimeFromISO8601TimeString(const std::string& text);

    /**
     * Whether @p first comes before @p second: newest first, calls without a date last. Two calls
     * without a date each come before the other, which no sort algorithm tolerates: use sortByTime
     * to sort. A time that can't be read throws as above.
     */
    static bool compareCallLogRecordsAsTime(const CallLogRecord& first,
                                            const CallLogRecord& second);

    /**
     * Sorts @p items, newest first and those without a date last; @p recordOf returns the record
     * with an item's time. Each time is read once, and only if there is another one to compare it
     * with. If one can't be read, this throws as above and @p items do not change.
     */
    template <typename Item, typename RecordOf>
    static void sortByTime(std::vector<Item>& items, RecordOf recordOf);

private:
    /// Indices of @p times in sorted order; a call without a date has an empty string.
    static std::vector<std::size_t> orderByTime(const std::vector<const std::string*>& times);

    std::array<std::string, CallLogColumns::FieldCount> m_fields;
};

template <typename Item, typename RecordOf>
void CallLogRecord::sortByTime(std::vector<Item>& items, RecordOf recordOf) {
    std::vector<const std::string*> times;
    times.reserve(items.size());
    for (const Item& item : items) {
        const CallLogRecord& record = recordOf(item);
        times.push_back(&record[CallLogColumns::TimeDate]);
    }
    const std::vector<std::size_t> order = orderByTime(times);
    std::vector<Item> sorted;
    sorted.reserve(items.size());
    for (const std::size_t place : order) {
        sorted.push_back(std::move(items[place]));
    }
    items = std::move(sorted);
}

#endif
