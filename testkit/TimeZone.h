#ifndef TIMEZONE_H
#define TIMEZONE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// The time zone of the process for a scope. The rules are part of the string, so no zone file is
/// needed.
class TimeZone {
public:
    static constexpr const char* Utc = "UTC0";
    /// One hour east of UTC, two from the last Sunday of March to that of October.
    static constexpr const char* WithSummerTime = "CET-1CEST,M3.5.0,M10.5.0/3";

    explicit TimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) {
            m_before = before;
        }
        use(zone);
    }
    ~TimeZone() { use(m_before ? m_before->c_str() : nullptr); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    static void use(const char* zone) {
        if (zone != nullptr) {
            ::setenv("TZ", zone, 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }

    std::optional<std::string> m_before;
};

#endif
