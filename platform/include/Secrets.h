#ifndef SECRETS_H
#define SECRETS_H

#include <string_view>

/// Decides which values are secret. The service masks them in its log, and a host in its output.
namespace Secrets {

/// Replaces a secret value in all output.
constexpr std::string_view Mask = "*****";

/// Whether @p name is one of the telephone's names of passwords, or one of them with "Enc" at its
/// end. Exact comparison.
bool isKnownPassword(std::string_view name);

/// Whether @p name, the name of a column, a setting, an element or a management tag, is that of a
/// secret: a known password, or any name that contains "password", "passwd" or "pwd" in any case.
bool isSecret(std::string_view name);

/// While this object lives, answers and exports of this thread have the mask instead of secret
/// values; blank ones stay blank. Stored values do not change.
class Hidden {
public:
    /// If @p areHidden is false, nothing changes.
    explicit Hidden(bool areHidden);
    ~Hidden();
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

private:
    const bool m_before;
};

/// Whether this thread must not show secrets.
bool areHidden();

/// Whether this thread must not show the value @p value of @p name.
bool isHidden(std::string_view name, std::string_view value);

}  // namespace Secrets

#endif
