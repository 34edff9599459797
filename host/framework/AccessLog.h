#ifndef ACCESSLOG_H
#define ACCESSLOG_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

/**
 * Logs what was refused, for an administrator who has to find out why a client does not work.
 *
 * A client can be refused thousands of times a second, and each line costs a write. So each user
 * has at most one line a second, which says how many refusals were left out. The limit is kept by
 * user: otherwise the refusals of one user could hide those of another. Any thread may call.
 */
class AccessLog {
public:
    /// @p user was refused @p method, on @p schema if that is not blank.
    void refused(uid_t user, const std::string& method, const std::string& schema);

private:
    /// What is known of the lines of one user.
    struct Lines {
        std::chrono::steady_clock::time_point next{};  ///< when the next line may be logged
        unsigned long leftOut = 0;                     ///< refusals since the last line
    };

    std::mutex m_mutex;
    /// Grows by the users of the machine, not by clients.
    std::map<uid_t, Lines> m_users;
};

#endif
