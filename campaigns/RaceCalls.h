#ifndef RACECALLS_H
#define RACECALLS_H

#include <random>
#include <set>
#include <string>
#include <vector>

#include "Method.h"

/**
 * The calls of the clients in the campaign of races, and which clients may make them. The needed
 * rights are written from docs/remote.md, not from the host's own table, so that each checks the
 * other.
 */
namespace RaceCalls {

/// A kind of client. If the schema is not blank, its rights count only for this schema.
struct Role {
    std::set<std::string> rights;
    std::string schema;

    /// The text of an access file that gives these rights to every client.
    [[nodiscard]] std::string rules() const;
    /// Whether it has all of @p needed (words with blanks between them) for the schema @p of; blank
    /// means all schemas.
    [[nodiscard]] bool may(const std::string& needed, const std::string& of) const;
};

/// The last role may only read and listen to contacts.
const std::vector<Role>& roles();

/// One call of a remote method, and the rights that it needs.
struct Call {
    Method method;
    bool isOneWay;
    std::string rights;
    std::string schema;
};

/// A random call. Requests are the most frequent, resets the rarest.
Call next(std::mt19937& random);

}  // namespace RaceCalls

#endif
