// If any line of the file is not a rule, the whole file is refused. If a wrong line were skipped, a
// right would be missing, and the administrator would only notice when a client does not work.

#include "framework/AccessRules.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "ClientUtils.h"
#include "Log.h"
#include "schemas/KnownSchemas.h"
#include "terminal/Descriptor.h"

namespace {

constexpr const char* LogSource = "./host/AccessRules";
constexpr std::size_t LargestFile = std::size_t{1024} * 1024;
constexpr std::size_t WordsOfRule = 4;
const std::string EverySchema = "*";

const std::pair<const char*, unsigned> RightWords[] = {
    {"read", Methods::Read},       {"write", Methods::Write}, {"files", Methods::Files},
    {"profile", Methods::Profile}, {"reset", Methods::Reset}, {"listen", Methods::Listen},
    {"secrets", Methods::Secrets}, {"all", Methods::All},
};

/// The words of a line, without a comment.
std::vector<std::string> wordsOf(std::string_view line) {
    return ClientUtils::tokenizeString(std::string(line.substr(0, line.find('#'))), " \t", false,
                                       false);
}

/// The parts between commas, including blank ones.
std::vector<std::string> partsOf(const std::string& word) {
    return ClientUtils::tokenizeString(word, ",", true, false);
}

/// Reads the rights in @p word. False if a part of it is not a right.
bool readRights(const std::string& word, unsigned& rights) {
    for (const std::string& part : partsOf(word)) {
        const auto* const found =
            std::find_if(std::begin(RightWords), std::end(RightWords),
                         [&](const auto& each) { return part == each.first; });
        if (found == std::end(RightWords)) {
            return false;
        }
        rights |= found->second;
    }
    return true;
}

std::optional<id_t> idOnThisMachine(bool isGroup, const std::string& name) {
    if (isGroup) {
        const group* const found = getgrnam(name.c_str());
        return found != nullptr ? std::optional<id_t>(found->gr_gid) : std::nullopt;
    }
    const passwd* const found = getpwnam(name.c_str());
    return found != nullptr ? std::optional<id_t>(found->pw_uid) : std::nullopt;
}

/// Why a file with @p status can't be used for rules; blank if it can.
std::string faultOf(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return "it is no regular file";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "others than its owner may write it; chmod go-w takes that right away";
    }
    return static_cast<std::size_t>(status.st_size) > LargestFile ? "it is larger than 1 MiB" : "";
}

}  // namespace

std::string AccessRules::wordsFor(unsigned rights) {
    std::string words;
    for (const auto& [word, right] : RightWords) {
        if (right == rights) {
            return word;
        }
        if ((rights & right) == right) {
            words += (words.empty() ? "" : ",") + std::string(word);
        }
    }
    return words;
}

Peer Peer::of(int descriptor) {
    Peer peer;
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0) {
        peer.process = credentials.pid;
        peer.user = credentials.uid;
        peer.group = credentials.gid;
    }
    // The call sets the needed size; the list of groups may grow between two calls.
    size = 0;
    int result = getsockopt(descriptor, SOL_SOCKET, SO_PEERGROUPS, nullptr, &size);
    while (result != 0 && errno == ERANGE && size > 0) {
        peer.groups.resize(size / sizeof(gid_t));
        result = getsockopt(descriptor, SOL_SOCKET, SO_PEERGROUPS, peer.groups.data(), &size);
    }
    peer.groups.resize(result == 0 ? size / sizeof(gid_t) : 0);
    return peer;
}

void ClientRights::add(unsigned rights, const std::string& schema) {
    (schema == EverySchema ? m_everywhere : m_ofSchema[schema]) |= rights;
}

bool ClientRights::may(unsigned rights, const std::string& schema) const {
    const auto found = m_ofSchema.find(schema);
    const unsigned all = m_everywhere | (found != m_ofSchema.end() ? found->second : 0U);
    return (all & rights) == rights;
}

bool AccessRules::read(const std::string& path, std::string& error) {
    // Opened without waiting, because it may be a pipe.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    std::string text;
    int failure = !file.isOpen() || fstat(file.number(), &status) != 0 ? errno : 0;
    error = failure == 0 ? faultOf(status) : "";
    if (failure == 0 && error.empty()) {
        failure = Descriptor::readAll(file.number(), LargestFile, text);
    }
    if (failure != 0) {
        error = std::generic_category().message(failure);
    }
    if (error.empty() && parse(text, idOnThisMachine, error)) {
        return true;
    }
    error = path + ": " + error;
    return false;
}

bool AccessRules::parse(std::string_view text, const Resolve& resolve, std::string& error) {
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::vector<std::string> words = wordsOf(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (words.empty()) {
            continue;
        }
        Rule rule{Who::Unknown, 0, Methods::None, {}};
        const bool isRule = words.size() == WordsOfRule && words[0] == "allow" &&
                            readRights(words[2], rule.rights) && readWho(words[1], resolve, rule);
        rule.schemas = isRule ? partsOf(words[3]) : std::vector<std::string>();
        if (rule.schemas.empty() ||
            std::find(rule.schemas.begin(), rule.schemas.end(), "") != rule.schemas.end()) {
            error = "line " + std::to_string(number) +
                    ": no rule; write allow user:NAME|group:NAME|any RIGHTS SCHEMAS";
            return false;
        }
        for (const std::string& schema : rule.schemas) {
            if (schema != EverySchema && KnownSchemas::find(schema) == nullptr) {
                logAppUni("das", LogSource, 2, __LINE__, "Access rules: there is no schema '%s'",
                          schema.c_str());
            }
        }
        m_rules.push_back(std::move(rule));
    }
    return true;
}

/// False if @p word is neither a user nor a group nor "any".
bool AccessRules::readWho(const std::string& word, const Resolve& resolve, Rule& rule) {
    if (word == "any") {
        rule.who = Who::Any;
        return true;
    }
    const bool isGroup = word.rfind("group:", 0) == 0;
    const std::size_t nameBegin = word.find(':') + 1;
    if ((!isGroup && word.rfind("user:", 0) != 0) || nameBegin == word.size()) {
        return false;
    }
    const std::string name = word.substr(nameBegin);
    if (const auto id = resolve(isGroup, name)) {
        rule.who = isGroup ? Who::Group : Who::User;
        rule.id = *id;
    } else {
        logAppUni("das", LogSource, 2, __LINE__, "Access rules: there is no %s '%s'",
                  isGroup ? "group" : "user", name.c_str());
    }
    return true;
}

bool AccessRules::matches(const Rule& rule, const Peer& peer) {
    constexpr auto noId = static_cast<id_t>(-1);
    switch (rule.who) {
        case Who::Any:
            return true;
        case Who::User:
            return rule.id != noId && rule.id == peer.user;
        case Who::Group:
            return rule.id != noId &&
                   (rule.id == peer.group || std::find(peer.groups.begin(), peer.groups.end(),
                                                       rule.id) != peer.groups.end());
        default:
            return false;
    }
}

ClientRights AccessRules::rightsOf(const Peer& peer) const {
    ClientRights rights;
    for (const Rule& rule : m_rules) {
        if (matches(rule, peer)) {
            for (const std::string& schema : rule.schemas) {
                rights.add(rule.rights, schema);
            }
        }
    }
    return rights;
}
