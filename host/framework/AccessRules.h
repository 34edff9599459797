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

/// The user at the other end of a socket, as the socket keeps it of the moment of connecting.
struct Peer {
    pid_t process = 0;
    uid_t user = static_cast<uid_t>(-1);
    gid_t group = static_cast<gid_t>(-1);
    std::vector<gid_t> groups;

    /// That of the connected socket @p descriptor. What the system does not say stays as above,
    /// which no rule for a user or a group matches.
    static Peer of(int descriptor);
};

/// What one client may do: rights for all schemas, and further ones for single schemas. Found out
/// once, when the client connects, since a connection does not change its user.
class ClientRights {
public:
    /// Adds @p rights, a sum of Methods' rights, for @p schema, or for all schemas by "*".
    void add(unsigned rights, const std::string& schema);

    /// Whether all of @p rights are there for every schema.
    bool may(unsigned rights) const { return (m_everywhere & rights) == rights; }

    /// The same for one schema.
    bool may(unsigned rights, const std::string& schema) const;

private:
    unsigned m_everywhere = Methods::None;
    std::map<std::string, unsigned> m_ofSchema;
};

/**
 * Who may do what at the socket, read from a file of lines "allow WHO RIGHTS SCHEMAS".
 *
 * What no line allows is refused. Names of users and groups are resolved when the file is read; a
 * name that the machine does not know matches no client, but the other lines count: a file for
 * several machines may name users that only some of them have.
 *
 * A file that others than its owner may write is refused, since it would let them give themselves
 * rights. The object does not change after read(); any thread may ask.
 */
class AccessRules {
public:
    /// Reads the file @p path. False when it can't be read, others than its owner may write it, or
    /// a line is no rule; @p error says which then.
    [[nodiscard]] bool read(const std::string& path, std::string& error);

    /// Who has the name that stands after "user:" or "group:"; none if the machine does not know
    /// it.
    using Resolve = std::function<std::optional<id_t>(bool isGroup, const std::string& name)>;

    /// Reads the text of such a file. False as above.
    [[nodiscard]] bool parse(std::string_view text, const Resolve& resolve, std::string& error);

    /// @p rights as a rule names them: "read,write".
    static std::string wordsFor(unsigned rights);

    /// What the client of @p peer may do: the sum of all lines that match.
    ClientRights rightsOf(const Peer& peer) const;

private:
    /// Whom a line is for; Unknown is a name that the machine does not know.
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
