#ifndef ACCESSCHECK_H
#define ACCESSCHECK_H

#include <string>

#include "framework/AccessRules.h"
#include "schemas/RequestLook.h"

class Method;

/**
 * Compares the rights that a call needs with the rights of its client. The table of methods says
 * which rights a method needs, and which parameter names its schema.
 *
 * A request is judged by what the service will do with it, not by how it looks: RequestLook reads
 * the schema that chooses the table, the reason after entities and comments, and the length that
 * counts. A request that could mean two things is refused, since a client could write one for this
 * check and the other for the service.
 */
class AccessCheck {
public:
    /// Decides about @p call. Both arguments must outlive the object.
    AccessCheck(const Method& call, const ClientRights& rights);

    /// Whether the client may make the call. An unknown method is allowed, because it does nothing.
    bool isAllowed() const { return m_isAllowed; }

    /// Whether secrets must not be shown in the answer and in what the call exports.
    bool hidesSecrets() const { return m_showsData && !m_maySeeSecrets; }

    /// The schema of the call; blank if it has no schema.
    const std::string& schema() const { return m_schema; }

    /// The missing rights with their schema, in the form of a rule.
    const std::string& missing() const { return m_missing; }

private:
    /// Whether a call of @p method is allowed. Also finds out the schema, and whether secrets are
    /// hidden.
    bool allows(const Methods::Row& method);
    /// The same for the text of a request, of which the service reads @p length bytes.
    bool allowsRequest(const std::string& text, int length);
    /// The same for a request that RequestLook has read.
    bool allowsMessage(const RequestLook& look);
    bool allowsSecrets(const RequestLook& look, bool isOfSettings) const;
    /// Whether the client has @p rights for each schema of @p list, or for all schemas if it is
    /// blank.
    bool allowsList(unsigned rights, const std::string& list);
    bool keepsSecrets() const;
    /// Whether the client has @p rights for @p schema, which may be unknown or "*".
    bool may(unsigned rights, const std::string& schema) const;
    /// The same for a right without which the call is refused: stores the missing rights.
    bool has(unsigned rights, const std::string& schema);
    /// Stores that @p rights are missing for @p schema. Always false.
    bool lacks(unsigned rights, const std::string& schema);

    const Method& m_call;
    const ClientRights& m_rights;
    std::string m_schema;
    std::string m_missing;
    bool m_showsData = false;  ///< the call must not change what others read, since they may store
                               ///< it
    bool m_maySeeSecrets = true;
    bool m_isAllowed = false;
};

#endif
