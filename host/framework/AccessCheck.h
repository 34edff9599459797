#ifndef ACCESSCHECK_H
#define ACCESSCHECK_H

#include <string>

#include "framework/AccessRules.h"
#include "schemas/RequestLook.h"

class Method;

/// What one call needs, held against the rights of its client. The table of methods says which
/// rights a method needs, and what it names as its schema.
class AccessCheck {
public:
    AccessCheck(const Method& call, const ClientRights& rights);

    bool isAllowed() const { return m_isAllowed; }

    /// Whether secrets must not be shown in the answer and in what the call exports.
    bool hidesSecrets() const { return m_showsData && !m_maySeeSecrets; }

    /// The schema that the call is about; blank for none.
    const std::string& schema() const { return m_schema; }

private:
    bool allows(const Methods::Row& method);
    bool allowsRequest(const std::string& text, int length);
    bool allowsMessage(const RequestLook& look);
    bool allowsSecrets(const RequestLook& look, bool isOfSettings) const;
    bool allowsList(unsigned rights, const std::string& list) const;
    bool keepsSecrets() const;
    bool may(unsigned rights, const std::string& schema) const;

    const Method& m_call;
    const ClientRights& m_rights;
    std::string m_schema;
    bool m_showsData = false;  ///< others must not be disturbed: what they read may be stored
    bool m_maySeeSecrets = true;
    bool m_isAllowed = false;
};

#endif
