#ifndef ACCESSLOG_H
#define ACCESSLOG_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

/// Logs what was refused: one line a second for each user at most, so that none hides what another
/// one was refused. Any thread may call.
class AccessLog {
public:
    /// @p user was refused @p method, on @p schema if that is not blank.
    void refused(uid_t user, const std::string& method, const std::string& schema);

private:
    struct Lines {
        std::chrono::steady_clock::time_point next{};  ///< when the next line may be logged
        unsigned long leftOut = 0;
    };

    std::mutex m_mutex;
    std::map<uid_t, Lines> m_users;
};

#endif
