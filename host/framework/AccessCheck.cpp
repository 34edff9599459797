// Each call of a client that has access rules passes here, so an ordinary call causes no searches
// and no copies: schemas are found by a hash, and a file is read only if a mask in it could replace
// a password.

#include "framework/AccessCheck.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <unordered_map>

#include "DASUtilsStrings.h"
#include "DeviceFile.h"
#include "Method.h"
#include "Secrets.h"
#include "Serializer.h"
#include "framework/ChangeRelay.h"
#include "schemas/KnownSchemas.h"

namespace {

using namespace DASUtilsStrings;
using Methods::Place;

const std::string EverySchema = "*";

/// The schemas by name, because a request must not wait for a search through all of them.
const KnownSchemas::Entry* findSchema(const std::string& name) {
    static const auto all = [] {
        std::unordered_map<std::string, const KnownSchemas::Entry*> entries;
        for (const KnownSchemas::Entry& entry : KnownSchemas::all()) {
            entries.emplace(entry.name, &entry);
        }
        return entries;
    }();
    const auto found = all.find(name);
    return found != all.end() ? found->second : nullptr;
}

/// Whether a method on @p schema reaches the calls of all kinds: files and texts hold the whole
/// table, whichever of its schemas is named.
bool isOfCalls(const std::string& schema) {
    const KnownSchemas::Entry* const known = findSchema(schema);
    return known != nullptr && known->table == CallLogTableName;
}

bool hasSecrets(const std::string& schema) {
    const KnownSchemas::Entry* const known = findSchema(schema);
    return known == nullptr || known->table == GeneralConfigTableName ||
           std::any_of(known->columns.begin(), known->columns.end(),
                       [](const auto& column) { return Secrets::isSecret(column.name); });
}

bool holdsMask(const std::string& text) {
    return text.find(Secrets::Mask) != std::string::npos;
}

/// @p text with plain asterisks in place of the references to them that XML knows.
std::string withPlainAsterisks(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size();) {
        char* end = nullptr;
        const bool isHex = text.compare(i, 3, "&#x") == 0;
        const char* const digits = text.c_str() + i + (isHex ? 3 : 2);
        if (text.compare(i, 2, "&#") == 0 && std::strtoul(digits, &end, isHex ? 16 : 10) == '*' &&
            *end == ';') {
            plain += '*';
            i = static_cast<std::size_t>(end - text.c_str()) + 1;
        } else {
            plain += text[i++];
        }
    }
    return plain;
}

/// The same for a map of values, each of which becomes a text of XML.
bool mapHoldsMask(const std::string& text) {
    std::map<std::string, std::string> values;
    return Serializer::deserialize(text, values) &&
           std::any_of(values.begin(), values.end(), [](const auto& item) {
               return holdsMask(withPlainAsterisks(item.second));
           });
}

/// Whether a file of the telephone contains the mask. It is read in pieces that overlap.
bool fileHoldsMask(const std::string& path) {
    constexpr std::size_t pieceSize = 64 * 1024;
    DeviceFile file(path);
    std::string piece;
    std::string read(pieceSize, '\0');
    while (file && !holdsMask(piece)) {
        file.read(read.data(), static_cast<std::streamsize>(read.size()));
        const auto count = static_cast<std::size_t>(file.gcount());
        piece.erase(0, piece.size() - std::min(piece.size(), Secrets::Mask.size() - 1));
        piece.append(read, 0, count);
    }
    return holdsMask(piece);
}

/// Whether a read of @p schema also shows calls and contacts.
bool showsCallsAndContacts(const RequestLook& look) {
    return look.schema == CallLogAndPhoneBookSchema ||
           (look.schema == ConversationsSchema && look.hasColumns);
}

}  // namespace

AccessCheck::AccessCheck(const Method& call, const ClientRights& rights)
    : m_call(call), m_rights(rights) {
    if (rights.may(Methods::All)) {
        m_isAllowed = true;
        return;
    }
    const Methods::Row* const method = Methods::find(call.getName());
    m_isAllowed = method == nullptr || allows(*method);  // an unknown method does nothing
}

/// For an unknown schema, a right for all schemas is needed: the service may find another name in
/// the request.
bool AccessCheck::may(unsigned rights, const std::string& schema) const {
    return findSchema(schema) != nullptr ? m_rights.may(rights, schema) : m_rights.may(rights);
}

bool AccessCheck::has(unsigned rights, const std::string& schema) {
    return may(rights, schema) || lacks(rights, schema);
}

bool AccessCheck::lacks(unsigned rights, const std::string& schema) {
    unsigned missing = 0;
    for (unsigned right = 1; right <= rights; right <<= 1U) {
        missing |= may(right, schema) ? 0 : right & rights;
    }
    const bool isKnown = findSchema(schema) != nullptr;
    m_missing = AccessRules::wordsFor(missing) + " for " + (isKnown ? schema : EverySchema);
    return false;
}

bool AccessCheck::allows(const Methods::Row& method) {
    const Methods::Access& access = method.access;
    std::string text;
    int length = 0;
    switch (access.place) {
        case Place::Request:
            return !m_call.getStringParameter(access.name, text) ||
                   // The service does nothing then.
                   !m_call.getIntParameter("RequestLength", length) ||
                   allowsRequest(text, length);
        case Place::List:
            (void)m_call.getStringParameter(access.name, m_schema);
            return has(access.everywhere, EverySchema) && allowsList(access.ofSchema, m_schema);
        case Place::Parameter:
            (void)m_call.getStringParameter(access.name, m_schema);
            break;
        case Place::Fixed:
            m_schema = access.name;
            break;
        case Place::Nowhere:
            break;
    }
    m_maySeeSecrets = may(Methods::Secrets, m_schema);
    // An answer that is only true or false shows no data.
    const auto shown = method.of(Parameter::out);
    m_showsData = access.ofSchema == Methods::Read ||
                  std::any_of(shown.begin(), shown.end(), [](const Methods::Value& value) {
                      return value.type != Parameter::Type::Bool;
                  });
    const bool isWrite = ((access.everywhere | access.ofSchema) & Methods::Write) != 0;
    // With this parameter the method uses a file of the telephone instead of a text.
    const bool namesFile = m_call.getStringParameter("File", text) && !text.empty();
    return has(access.everywhere | (namesFile ? Methods::Files : Methods::None), EverySchema) &&
           has(access.ofSchema, m_schema) &&
           (!isOfCalls(m_schema) || has(access.ofSchema, CallLogSchema)) &&
           (!isWrite || m_maySeeSecrets || keepsSecrets() || lacks(Methods::Secrets, m_schema));
}

/// Whether the call stores no mask where a secret may be: the mask of an exported password must not
/// be stored as a password.
bool AccessCheck::keepsSecrets() const {
    if (!hasSecrets(m_schema)) {
        return true;
    }
    const auto& values = m_call.parameters();
    std::string path;
    return std::none_of(values.begin(), values.end(),
                        [](const Parameter& value) {
                            return holdsMask(value.text) || mapHoldsMask(value.text);
                        }) &&
           (!m_call.getStringParameter("filePathAndName", path) || !fileHoldsMask(path)) &&
           (!m_call.getStringParameter("File", path) || path.empty() || !fileHoldsMask(path));
}

bool AccessCheck::allowsList(unsigned rights, const std::string& list) {
    const auto names = ChangeRelay::namesOf(list);  // the same names as the listener will use
    return names.empty() ? has(rights, EverySchema)
                         : std::all_of(names.begin(), names.end(),
                                       [&](const std::string& name) { return has(rights, name); });
}

bool AccessCheck::allowsRequest(const std::string& text, int length) {
    const RequestLook look = RequestLook::of(text, length);
    m_schema = look.schema;
    switch (look.kind) {
        case RequestLook::Kind::Harmless:
            return true;
        case RequestLook::Kind::SaveContacts:
            return has(Methods::Files, EverySchema) && has(Methods::Read, PhoneBookSchema);
        case RequestLook::Kind::TraceSwitch:
            // Clients that may do everything were allowed before.
            return lacks(Methods::All, EverySchema);
        default:
            return allowsMessage(look);
    }
}

bool AccessCheck::allowsMessage(const RequestLook& look) {
    const unsigned right = Methods::rightOf(look.reason);
    const KnownSchemas::Entry* const known = findSchema(look.schema);
    const bool isOfSettings = known != nullptr && known->table == GeneralConfigTableName;
    // If several settings are named, the answer has rows of all schemas.
    const bool hasMany = (look.reason == ReadRequest && look.hasManyColumns) ||
                         (look.reason == DeleteRequest && look.hasManyItems);
    const bool isOfOne = known != nullptr && look.isParsed && !(isOfSettings && hasMany);
    const std::string& schema = isOfOne ? look.schema : EverySchema;
    m_maySeeSecrets = may(Methods::Secrets, schema);
    m_showsData = right == Methods::Read;
    return (look.isClear || lacks(Methods::All, EverySchema)) && has(right, schema) &&
           (right != Methods::Read || !showsCallsAndContacts(look) ||
            (has(right, CallLogSchema) && has(right, PhoneBookSchema))) &&
           (m_maySeeSecrets || allowsSecrets(look, isOfSettings) ||
            lacks(Methods::Secrets, schema));
}

/// Whether no secret is changed, and no condition can reveal a secret. When settings are deleted,
/// the items are names and not conditions on values.
bool AccessCheck::allowsSecrets(const RequestLook& look, bool isOfSettings) const {
    if (Methods::rightOf(look.reason) == Methods::Read) {
        return !look.namesSecret;
    }
    return look.reason == DeleteRequest ? isOfSettings || !look.namesSecret : !look.writesMask;
}
