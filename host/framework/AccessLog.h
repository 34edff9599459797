#ifndef ACCESSLOG_H
#define ACCESSLOG_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

/**
 * Logs refused calls, for an administrator who must find out why a client does not work.
 *
 * A client can be refused thousands of times a second, and each line costs a write. So there is at
 * most one line a second for each user, which says how many refusals were left out. The limit is
 * separate for each user, because otherwise the refusals of one user could hide those of another.
 * Any thread may call.
 */
class AccessLog {
public:
    /// Logs that @p user was refused @p method, on @p schema if that is not blank.
    void refused(uid_t user, const std::string& method, const std::string& schema);

private:
    /// What was logged for one user.
    struct Lines {
        std::chrono::steady_clock::time_point next{};  ///< when the next line may be logged
        unsigned long leftOut = 0;                     ///< refusals since the last line
    };

    std::mutex m_mutex;
    /// Its size depends on the users of the machine, not on the number of clients.
    std::map<uid_t, Lines> m_users;
};

#endif
