// Times are compared as local times of the telephone, because calls were stored with the zone of
// their day. A time that can't be read throws, so that the repair does not change its row.

#include "calls/CallLogRecord.h"

#include <algorithm>
#include <boost/date_time/c_local_time_adjustor.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/date_time/time_parsing.hpp>
#include <numeric>

#include "dao/DASUtils.h"

namespace {

using boost::posix_time::ptime;
using boost::posix_time::time_duration;

// Places in an ISO 8601 text: the date and time, a fraction of three digits, and the zone.
constexpr std::size_t TimeLength = 19;
constexpr std::size_t FractionLength = 4;
constexpr std::size_t ZoneLength = 6;

/// The text of the zone; empty without one.
std::string zoneText(const std::string& text) {
    const bool hasFraction = text.find('.') == TimeLength;
    const std::size_t begin = hasFraction ? TimeLength + FractionLength : TimeLength;
    return begin < text.size() ? text.substr(begin, ZoneLength) : std::string();
}

}  // namespace

bool CallLogRecord::isEmpty() const {
    return std::all_of(m_fields.begin(), m_fields.end(),
                       [](const std::string& field) { return field.empty(); });
}

bool CallLogRecord::isSafeInStatement() const {
    return std::all_of(m_fields.begin(), m_fields.end(), DASUtils::isSafeBetweenQuotes);
}

std::string CallLogRecord::boostCompatibleISOString(const std::string& text) {
    std::string result;
    result.reserve(TimeLength);
    for (const char c : text.substr(0, TimeLength)) {
        if (c != 'Z' && c != '-' && c != ':') {
            result += c;
        }
    }
    return result;
}

void CallLogRecord::adjustLocalTimeByTimeZone(ptime& time, const std::string& text) {
    const std::string zone = zoneText(text);
    if (zone.empty() || zone == "Z") {
        return;
    }
    const auto offset =
        boost::date_time::str_from_delimited_time_duration<time_duration, char>(zone);
    if (offset.hours() == 0 && offset.minutes() == 0) {
        return;
    }
    time = boost::date_time::c_local_adjustor<ptime>::utc_to_local(time - offset);
}

ptime CallLogRecord::extractLocalTimeFromISO8601TimeString(const std::string& text) {
    ptime time = boost::date_time::parse_iso_time<ptime>(boostCompatibleISOString(text), 'T');
    adjustLocalTimeByTimeZone(time, text);
    return time;
}

bool CallLogRecord::compareCallLogRecordsAsTime(const CallLogRecord& first,
                                                const CallLogRecord& second) {
    const std::string& firstTime = first[CallLogColumns::TimeDate];
    const std::string& secondTime = second[CallLogColumns::TimeDate];
    if (firstTime.empty()) {
        // True in both directions: kept on purpose, the repair relies on it.
        return secondTime.empty();
    }
    return secondTime.empty() || extractLocalTimeFromISO8601TimeString(firstTime) >
                                     extractLocalTimeFromISO8601TimeString(secondTime);
}

std::vector<std::size_t> CallLogRecord::orderByTime(const std::vector<const std::string*>& times) {
    std::vector<std::size_t> order(times.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto undated = std::stable_partition(
        order.begin(), order.end(), [&](std::size_t place) { return !times[place]->empty(); });
    if (undated - order.begin() < 2) {
        return order;
    }
    std::vector<ptime> parsed(times.size());
    std::for_each(order.begin(), undated, [&](std::size_t place) {
        parsed[place] = extractLocalTimeFromISO8601TimeString(*times[place]);
    });
    std::stable_sort(order.begin(), undated,
                     [&](std::size_t a, std::size_t b) { return parsed[a] > parsed[b]; });
    return order;
}
