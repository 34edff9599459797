#ifndef RACECALLS_H
#define RACECALLS_H

#include <random>
#include <set>
#include <string>
#include <vector>

#include "Method.h"

/**
 * What the clients of the campaign of races call, and which of them may. The rights that a call
 * needs are written after docs/remote.md, not after the host's own table, so that each checks the
 * other.
 */
namespace RaceCalls {

/// A kind of client. Its rights count for one schema alone where that is not blank.
struct Role {
    std::set<std::string> rights;
    std::string schema;

    /// The text of an access file that gives these rights to every client.
    [[nodiscard]] std::string rules() const;
    /// Whether it has all of @p needed, words with blanks between them, for the schema @p of; a
    /// blank one stands for all schemas.
    [[nodiscard]] bool may(const std::string& needed, const std::string& of) const;
};

/// The last one may read and hear of contacts alone.
const std::vector<Role>& roles();

/// One call of a remote method, and what it needs.
struct Call {
    Method method;
    bool isOneWay;
    std::string rights;
    std::string schema;
};

/// A random call. Requests are by far the most, and resets the fewest.
Call next(std::mt19937& random);

}  // namespace RaceCalls

#endif
