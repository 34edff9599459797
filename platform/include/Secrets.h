#ifndef SECRETS_H
#define SECRETS_H

#include <string_view>

/// Which values are secret. The service masks them in its log, and a host in what it shows.
namespace Secrets {

/// What is shown in place of a secret value.
constexpr std::string_view Mask = "*****";

/// Whether @p name is one of the names of passwords that the telephone defines, or one of them with
/// "Enc" at its end. Exact comparison.
bool isKnownPassword(std::string_view name);

/// Whether a column, an item of the settings, an element or a management tag of the name @p name
/// holds a secret value: a known password, and each name that holds "password", "passwd" or "pwd"
/// in any case.
bool isSecret(std::string_view name);

/// As long as it lives, what this thread answers and exports has the mask in place of secret
/// values; blank ones stay blank. What is stored stays as it is.
class Hidden {
public:
    /// @p areHidden false changes nothing.
    explicit Hidden(bool areHidden);
    ~Hidden();
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

private:
    const bool m_before;
};

/// Whether this thread must not show secrets.
bool areHidden();

/// Whether the value @p value of @p name must not be shown by this thread.
bool isHidden(std::string_view name, std::string_view value);

}  // namespace Secrets

#endif
