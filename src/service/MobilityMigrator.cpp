// Management names values by its own tags, in three forms: a plain tag, a tag that ends with the
// number of a row, and a tag with that number in brackets. Each entry becomes an ordinary request
// to its schema. So limits, defaults and listeners are the same as for any other request, and a tag
// needs no code of its own.

#include "service/MobilityMigrator.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "AnswerLimit.h"
#include "ClientUtils.h"
#include "CriticalSection.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "Secrets.h"
#include "Work.h"
#include "XmlHandler.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/LoggedText.h"
#include "schemas/DAOFactory.h"
#include "service/ACMSTagMapper.h"
#include "service/DataAccessService.h"

namespace {

const std::string XmlDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
const std::string SchemaStart = "<Schema name=\"";
const std::string SchemaStartEnd = "\">";
const std::string UpdateReason = "<ReasonForMessage>update_request</ReasonForMessage>";
const std::string ReadReason = "<ReasonForMessage>read_request</ReasonForMessage><ResultCols>";
const std::string BaseContext = "<Context currentUser=\"base\">";
const std::string VisitorContext = "<Context currentUser=\"visitor\">";
const std::string ContextEnd = "</Context>";
const std::string SchemaEnd = "</Schema>";
const std::string ReadEnd = "</ResultCols></Schema>";
const std::string UpdateSuccessMark = "<ReasonForMessage>update_response</ReasonForMessage>";

const char* const Digits = "0123456789";
const char* const HexDigits = "0123456789abcdefABCDEF";
const char* const EntityNames[] = {"amp", "lt", "gt", "quot", "apos"};

std::string element(const std::string& tag, const std::string& content) {
    std::string start;
    std::string end;
    DASUtils::createXMLStartTag(tag, start);
    DASUtils::createXMLEndTag(tag, end);
    return start + content + end;
}

/// Whether XML allows the character with this number.
bool isXmlCharacter(unsigned long number) {
    constexpr struct {
        unsigned long first;
        unsigned long last;
    } ranges[] = {{0x9, 0xA}, {0xD, 0xD}, {0x20, 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, 0x10FFFF}};
    return std::any_of(std::begin(ranges), std::end(ranges), [number](const auto& range) {
        return range.first <= number && number <= range.last;
    });
}

/// Whether @p name is the number of a character: digits of the base @p base from the position
/// @p start on.
bool isCharacterNumber(const std::string& name, std::size_t start, int base) {
    return name.size() > start &&
           name.find_first_not_of(base == 16 ? HexDigits : Digits, start) == std::string::npos &&
           isXmlCharacter(std::strtoul(name.c_str() + start, nullptr, base));
}

/// Whether the text between "&" and ";" stands for a character.
bool isCharacterName(const std::string& name) {
    if (name.rfind("#x", 0) == 0) {
        return isCharacterNumber(name, 2, 16);
    }
    if (name.rfind('#', 0) == 0) {
        return isCharacterNumber(name, 1, 10);
    }
    return std::find(std::begin(EntityNames), std::end(EntityNames), name) != std::end(EntityNames);
}

bool beginsEntity(const std::string& text, std::size_t ampersand) {
    constexpr std::size_t longestName = 9;
    // The search is limited: otherwise a value with many "&" would be searched to its end for each
    // of them.
    const auto ahead = std::string_view(text).substr(ampersand + 1, longestName + 1);
    const std::size_t end = ahead.find(';');
    return end != std::string_view::npos && isCharacterName(std::string(ahead.substr(0, end)));
}

/// Escapes a value as the content of an element: "<", an "&" that does not begin an entity, and the
/// ">" after "]]", which XML does not allow.
std::string asContent(const std::string& value) {
    std::string text;
    text.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '<') {
            text += "&lt;";
        } else if (value[i] == '&' && !beginsEntity(value, i)) {
            text += "&amp;";
        } else if (value[i] == '>' && i >= 2 && value.compare(i - 2, 2, "]]") == 0) {
            text += "&gt;";
        } else {
            text += value[i];
        }
    }
    return text;
}

std::string entry(const std::string& index, const std::string& content) {
    return DASUtilsStrings::xmlEntryStartTag +
           element(DASUtilsStrings::IdTagName, asContent(index)) + content +
           DASUtilsStrings::xmlEntryEndTag;
}

/// The element of an item as a filter of a read; none for a blank value, since a blank filter would
/// only find blank values.
std::string filter(const std::string& tag, const std::string& value) {
    return value.empty() ? std::string() : element(tag, asContent(value));
}

bool isWellFormed(const std::string& request) {
    return XmlHandler(nullptr, nullptr, nullptr, nullptr)
               .parseMessage(request.data(), static_cast<int>(request.size())) != 0;
}

}  // namespace

MobilityMigrator::MobilityMigrator(DataAccessService* service)
    : m_service(service), m_mapper(service != nullptr ? service->getACMSTagMapper() : nullptr) {}

void MobilityMigrator::importData(std::map<std::string, std::string>& values) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    // Held over all tags: the first change keeps the adapter's lock, and another request that has
    // this turn would wait for that lock.
    std::optional<CriticalSection> turn;
    if (m_service != nullptr) {
        turn.emplace(m_service->requestTurn());
    }
    for (const auto& [key, value] : values) {
        Target target;
        if (Work::isInterrupted()) {
            return;
        }
        if (findKnownTarget(key, target)) {
            importItem(target, value);
        }
    }
}

bool MobilityMigrator::exportData(std::map<std::string, std::string>& values) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (Secrets::areHidden() && comparesSecrets(values)) {
        DAS_LOG(2, "No value is read: one that is sent along would be compared with a secret");
        return false;
    }
    std::size_t size = 0;
    for (auto& [key, value] : values) {
        Target target;
        if (findKnownTarget(key, target)) {
            exportItem(target, value);
        }
        size += key.size() + value.size();
        if (!AnswerLimit::allows(size)) {
            DAS_LOG(2, "The values of %zu tags are too large for one answer: ask for fewer tags",
                    values.size());
            return false;
        }
        if (Work::isInterrupted()) {
            return false;
        }
    }
    return true;
}

void MobilityMigrator::importUserData(std::map<std::string, std::string>& values, bool base) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_base = base;
    importData(values);
}

bool MobilityMigrator::exportUserData(std::map<std::string, std::string>& values, bool base) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_base = base;
    return exportData(values);
}

void MobilityMigrator::migrateBaseToVisitor(std::map<std::string, std::string>& values) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (DAOFactory* factory = m_service->getDAOFactory()) {
        factory->copySIPBaseDataToVisitor();
    }
    (void)m_service->setCurrentUser(DASUtilsStrings::UserContextVisitor);
    if (DAOFactory* factory = m_service->getDAOFactory()) {
        factory->initialiseSIPMobilityUserData(DASUtilsStrings::UserContextBase);
    }
    m_base = true;
    importData(values);
}

bool MobilityMigrator::leadsToSecret(const std::string& key) const {
    Target target;
    return findTarget(key, target) && Secrets::isSecret(target.tag);
}

bool MobilityMigrator::comparesSecrets(const std::map<std::string, std::string>& values) const {
    return std::any_of(values.begin(), values.end(), [this](const auto& item) {
        return !item.second.empty() && leadsToSecret(item.first);
    });
}

bool MobilityMigrator::findTarget(const std::string& key, Target& target) const {
    if (m_mapper == nullptr || !(m_mapper->findDASTags(key, target.schema, target.tag) ||
                                 findByDigitSuffix(key, target) || findByBrackets(key, target))) {
        return false;
    }
    if (DAOFactory::holdsSettings(target.schema)) {
        target.form = Target::Plain;  // an identifier would be stored as a setting named "Id"
    }
    return true;
}

bool MobilityMigrator::findKnownTarget(const std::string& key, Target& target) const {
    const bool isKnown = findTarget(key, target);
    if (!isKnown) {
        DAS_LOG(5, "Unknown ACMS tag encountered [%s]", key.c_str());
    }
    return isKnown;
}

bool MobilityMigrator::findByDigitSuffix(const std::string& key, Target& target) const {
    const std::size_t last = key.find_last_not_of(Digits);
    if (last == std::string::npos ||
        !m_mapper->findDASTags(key.substr(0, last + 1), target.schema, target.tag)) {
        return false;
    }
    target.form = Target::DigitSuffix;
    target.index = key.substr(last + 1);
    return true;
}

bool MobilityMigrator::findByBrackets(const std::string& key, Target& target) const {
    const std::size_t open = key.find('[');
    const std::size_t close = key.find(']');
    if (open == std::string::npos || close == std::string::npos || close < open ||
        !m_mapper->findDASTags(key.substr(0, open + 1) + key.substr(close), target.schema,
                               target.tag)) {
        return false;
    }
    target.form = Target::Brackets;
    target.index = key.substr(open + 1, close - open - 1);
    const std::size_t first = target.index.find_first_not_of(' ');
    if (first != std::string::npos) {
        target.index.erase(0, first);
    }
    return true;
}

void MobilityMigrator::importItem(const Target& target, const std::string& value) {
    sendUpdate(target, value, &DataAccessService::answer);
}

void MobilityMigrator::exportItem(const Target& target, std::string& value) {
    switch (target.form) {
        case Target::Plain:
            readRequest(target.schema, target.tag, value);
            break;
        case Target::DigitSuffix:
            readRequest(target.schema, target.tag, target.index, value);
            break;
        case Target::Brackets:
            readRequest2(target.schema, target.tag, target.index, value);
            break;
    }
}

std::string MobilityMigrator::inContext(const std::string& schema, const std::string& tag,
                                        const std::string& content) const {
    if (GenConfigDeviceDataItems::isItemDeviceData(schema, tag)) {
        return content;
    }
    return (m_base ? BaseContext : VisitorContext) + content + ContextEnd;
}

void MobilityMigrator::sendUpdate(const Target& target, const std::string& value, Send send) {
    const bool hasIndex = target.form != Target::Plain;
    const std::string cell = element(target.tag, asContent(value));
    const std::string content = hasIndex ? entry(target.index, cell) : cell;
    const std::string request = XmlDeclaration + SchemaStart + target.schema + SchemaStartEnd +
                                UpdateReason + inContext(target.schema, target.tag, content) +
                                SchemaEnd;
    const std::string item = "schema=[" + target.schema + "], tag=[" + target.tag + "]" +
                             (hasIndex ? ", index=[" + target.index + "]" : std::string());
    if (!isWellFormed(request)) {
        // The service would log the whole request, and a table might execute part of it.
        DAS_LOG(2,
                "DAS item %s is left out: XML can't carry control characters and bytes that are "
                "not UTF-8; send the value without them",
                item.c_str());
        return;
    }
    // Only a response that begins with the mark counts as failed: kept on purpose. No response
    // does, and management clients read each such log line as a lost item.
    if ((m_service->*send)(request).find(UpdateSuccessMark) == 0) {
        DAS_LOG(2, "Failed to write DAS item %s", item.c_str());
    }
}

void MobilityMigrator::updateRequest(const std::string& schema, const std::string& tag,
                                     const std::string& value) {
    sendUpdate({Target::Plain, schema, tag, {}}, value, &DataAccessService::processRequest);
}

void MobilityMigrator::updateRequest(const std::string& schema, const std::string& tag,
                                     const std::string& index, const std::string& value) {
    sendUpdate({Target::DigitSuffix, schema, tag, index}, value,
               &DataAccessService::processRequest);
}

void MobilityMigrator::sendRead(const std::string& schema, const std::string& tag,
                                const std::string& content, std::string& out) {
    const std::string request = XmlDeclaration + SchemaStart + schema + SchemaStartEnd +
                                ReadReason + inContext(schema, tag, content) + ReadEnd;
    DAS_LOG(5, "READ: %s", LoggedText::request(request).c_str());
    out = m_service->processRequest(request);
    stripXml(out, tag);
    DAS_LOG(5, "RESPONSE: %s", ClientUtils::hidePasswordDAS(tag, out).c_str());
}

void MobilityMigrator::readRequest(const std::string& schema, const std::string& tag,
                                   std::string& out) {
    sendRead(schema, tag, filter(tag, out), out);
}

void MobilityMigrator::readRequest(const std::string& schema, const std::string& tag,
                                   const std::string& index, std::string& out) {
    sendRead(schema, tag, entry(index, filter(tag, out)), out);
}

void MobilityMigrator::readRequest2(const std::string& schema, const std::string& tag,
                                    const std::string& index, std::string& out) {
    const bool isDevice = GenConfigDeviceDataItems::isItemDeviceData(schema, tag);
    sendRead(schema, tag, entry(index, isDevice ? filter(tag, out) : std::string()), out);
}

void MobilityMigrator::stripXml(std::string& text, std::string tag) {
    std::string opening;
    DASUtils::createXMLStartTag(tag, opening);
    const std::size_t place = text.find(opening);
    if (place == std::string::npos) {
        DAS_LOG(5, "stripxml failure %s", LoggedText::request(text).c_str());
        text.clear();
        return;
    }
    const std::size_t begin = place + opening.size();
    const std::size_t end = text.find('<', begin);
    text = text.substr(begin, end == std::string::npos ? end : end - begin);
}
