// The name decides, because a value does not show whether it is secret: known names of passwords,
// and all other names that contain a word for one.

#include "Secrets.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// Sorted by bytes.
constexpr std::string_view PasswordNames[] = {
    "BcaSipPassword",  "DssSipPassword",    "FtpPassword",
    "LdapPassword",    "LineSipPassword",   "PIN",
    "QcuCommunity",    "SIPpassword",       "SendUrlPasswd",
    "SnmpGetPassword", "SnmpTrapCommunity", "UserHashedPwd",
    "UserMD5Hash",     "UserPassword",      "WSIPassword",
};

constexpr std::string_view EncryptedSuffix = "Enc";

/// In lower case; all begin with the same letter, which is searched first.
constexpr std::string_view SecretParts[] = {"password", "passwd", "pwd"};

/// Only for ASCII letters: the locale of the process must not decide what is a secret.
constexpr char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool startsWith(std::string_view text, std::string_view lowerCaseStart) {
    return text.size() >= lowerCaseStart.size() &&
           std::equal(lowerCaseStart.begin(), lowerCaseStart.end(), text.begin(),
                      [](char expected, char letter) { return expected == lowered(letter); });
}

thread_local bool s_areHidden = false;

}  // namespace

Secrets::Hidden::Hidden(bool areHidden)
    : m_before(std::exchange(s_areHidden, areHidden || s_areHidden)) {}

Secrets::Hidden::~Hidden() {
    s_areHidden = m_before;
}

bool Secrets::areHidden() {
    return s_areHidden;
}

bool Secrets::isHidden(std::string_view name, std::string_view value) {
    return s_areHidden && !value.empty() && isSecret(name);
}

bool Secrets::isKnownPassword(std::string_view name) {
    if (name.size() > EncryptedSuffix.size() &&
        name.substr(name.size() - EncryptedSuffix.size()) == EncryptedSuffix) {
        name.remove_suffix(EncryptedSuffix.size());
    }
    return std::binary_search(std::begin(PasswordNames), std::end(PasswordNames), name);
}

bool Secrets::isSecret(std::string_view name) {
    for (std::size_t place = name.find_first_of("pP"); place != std::string_view::npos;
         place = name.find_first_of("pP", place + 1)) {
        const std::string_view rest = name.substr(place);
        if (std::any_of(std::begin(SecretParts), std::end(SecretParts),
                        [rest](std::string_view part) { return startsWith(rest, part); })) {
            return true;
        }
    }
    return isKnownPassword(name);
}
