#ifndef ACCESSRULES_H
#define ACCESSRULES_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wire/Methods.h"

/// The user at the other end of a socket, as the system stored it when the client connected.
struct Peer {
    pid_t process = 0;
    uid_t user = static_cast<uid_t>(-1);
    gid_t group = static_cast<gid_t>(-1);
    std::vector<gid_t> groups;

    /// The peer of the connected socket @p descriptor. Values that the system does not provide keep
    /// their defaults, which match no rule for a user or a group.
    static Peer of(int descriptor);
};

/// What one client may do: rights for all schemas, and more rights for single schemas. They are
/// found once, when the client connects, because the user of a connection does not change.
class ClientRights {
public:
    /// Adds @p rights, a combination of Methods' rights, for @p schema; "*" means all schemas.
    void add(unsigned rights, const std::string& schema);

    /// Whether the client has all of @p rights for every schema.
    bool may(unsigned rights) const { return (m_everywhere & rights) == rights; }

    /// The same for one schema.
    bool may(unsigned rights, const std::string& schema) const;

private:
    unsigned m_everywhere = Methods::None;
    std::map<std::string, unsigned> m_ofSchema;
};

/**
 * The rules that say who may do what at the socket, read from a file of lines "allow WHO RIGHTS
 * SCHEMAS".
 *
 * A call that no line allows is refused. Names of users and groups are looked up when the file is
 * read. A line with an unknown name matches no client, but the other lines count, because a file
 * for several machines may name users that only some of them have.
 *
 * If others than the file's owner may write it, the file is refused, since they could give
 * themselves rights. The object does not change after read(); any thread may call.
 */
class AccessRules {
public:
    /// Reads the file @p path. False, with the reason in @p error, if it can't be read, if others
    /// than its owner may write it, or if a line is not a rule.
    [[nodiscard]] bool read(const std::string& path, std::string& error);

    /// Returns the number for the name after "user:" or "group:"; no value if the machine does not
    /// know it.
    using Resolve = std::function<std::optional<id_t>(bool isGroup, const std::string& name)>;

    /// Reads the contents of such a file. False as above.
    [[nodiscard]] bool parse(std::string_view text, const Resolve& resolve, std::string& error);

    /// @p rights as a rule names them: "read,write".
    static std::string wordsFor(unsigned rights);

    /// What the client of @p peer may do: the rights of all lines that match.
    ClientRights rightsOf(const Peer& peer) const;

private:
    /// Whom a line is for. Unknown: the machine does not know the name.
    enum class Who { Any, User, Group, Unknown };
    struct Rule {
        Who who;
        id_t id;
        unsigned rights;
        std::vector<std::string> schemas;
    };

    /// Whether @p rule is for the client of @p peer, by its user, group or further groups.
    static bool matches(const Rule& rule, const Peer& peer);
    static bool readWho(const std::string& word, const Resolve& resolve, Rule& rule);

    std::vector<Rule> m_rules;
};

#endif
