#ifndef CALLLOGRECORD_H
#define CALLLOGRECORD_H

#include <array>
#include <boost/date_time/posix_time/ptime.hpp>
#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/// One call of a call log row: thirteen texts as they stand in the database.
class CallLogRecord {
public:
    /// The text of a field; the fields are those of CallLogColumns.
    std::string& operator[](CallLogColumns::Field field) { return m_fields[field]; }
    const std::string& operator[](CallLogColumns::Field field) const { return m_fields[field]; }

    /// Whether all texts are empty.
    bool isEmpty() const;
    /// Whether each text may stand between single quotes as it is.
    bool isSafeInStatement() const;
    /// Whether all texts are equal.
    bool operator==(const CallLogRecord& other) const { return m_fields == other.m_fields; }
    bool operator!=(const CallLogRecord& other) const { return !(*this == other); }

    /// The first 19 characters of an ISO 8601 text without "Z", "-" and ":", as Boost reads it.
    static std::string boostCompatibleISOString(const std::string& text);

    /**
     * Takes @p time to the telephone's local time by the zone at the end of the ISO 8601 @p text. A
     * text without a zone, with "Z" or with an offset of less than a minute counts as local as it
     * stands: kept on purpose, stored calls were written so. A zone that can't be read throws an
     * exception of the standard library or of Boost.
     */
    static void adjustLocalTimeByTimeZone(boost::posix_time::ptime& time, const std::string& text);

    /// The local time of an ISO 8601 text; one that can't be read throws as above.
    static boost::posix_time::ptime extractLocalTimeFromISO8601TimeString(const std::string& text);

    /**
     * Whether @p first goes before @p second: newest first, undated after dated. Two undated ones
     * go before each other in both directions, which no sort stands: sort through sortByTime. A
     * time that can't be read throws as above.
     */
    static bool compareCallLogRecordsAsTime(const CallLogRecord& first,
                                            const CallLogRecord& second);

    /**
     * Sorts @p items, newest first and undated last, where @p recordOf gives the record that
     * carries an item's time. Each time is read once, and only when there is another to compare it
     * with; one that can't be read throws as above and leaves @p items as they were.
     */
    template <typename Item, typename RecordOf>
    static void sortByTime(std::vector<Item>& items, RecordOf recordOf);

private:
    /// Places of @p times in the order of a sort; undated times are empty texts.
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
