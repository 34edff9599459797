// To find the name of a user may take a request over the network. So it is looked up without the
// mutex, and only for a line that is written.

#include "framework/AccessLog.h"

#include <pwd.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "Log.h"
#include "terminal/Utf8.h"

namespace {

constexpr auto TimeBetweenLines = std::chrono::seconds(1);
constexpr std::size_t LongestName = 128;

/// The name of @p user with its number; only the number if the machine does not know the user.
std::string nameOf(uid_t user) {
    constexpr std::size_t bufferSize = 4096;
    std::vector<char> buffer(bufferSize);
    passwd entry{};
    passwd* found = nullptr;
    const bool isKnown =
        getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
    const std::string number = std::to_string(user);
    return isKnown ? std::string(entry.pw_name) + " (" + number + ")" : number;
}

std::string shortened(const std::string& name) {
    return name.substr(0, Utf8::endOfPiece(name, LongestName));
}

}  // namespace

void AccessLog::refused(uid_t user, const std::string& method, const std::string& schema) {
    unsigned long leftOut = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Lines& lines = m_users[user];
        const auto now = std::chrono::steady_clock::now();
        if (now < lines.next) {
            ++lines.leftOut;
            return;
        }
        lines.next = now + TimeBetweenLines;
        leftOut = std::exchange(lines.leftOut, 0);
    }
    const std::string on = schema.empty() ? "" : " on " + shortened(schema);
    logAppUni("das", "./host/AccessLog", 2, __LINE__,
              "User %s is not allowed %s%s; %lu refusals before it were left out",
              nameOf(user).c_str(), shortened(method).c_str(), on.c_str(), leftOut);
}
