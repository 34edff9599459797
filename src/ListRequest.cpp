#include "ListRequest.h"

#include <cstring>
#include <string_view>

#include "ClientUtils.h"
#include "DASUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessObject.h"

namespace {

enum State { Idle, Reason, ResultCols, Offset, RowLimit, FirstField };

/// Elements of the frame with a text, in the order of their states.
constexpr const char* TextElements[] = {"ReasonForMessage", "ResultCols", "Offset", "RowLimit"};

bool isElement(const char* name, const char* element) {
    return std::strcmp(name, element) == 0;
}

}  // namespace

ListRequest::ListRequest(const std::vector<std::string>& fields, std::string& schema,
                         std::string& context, std::string& reason)
    : m_fields(fields), m_schema(schema), m_context(context), m_reason(reason) {}

bool ListRequest::isEntry(const char* name) {
    return isElement(name, "Entry");
}

void ListRequest::startElement(const char* name, const char** attributes) {
    m_text.clear();
    if (isElement(name, "Schema")) {
        m_schema =
            DASUtils::unescapeSqlReservedCharacters(DataAccessObject::firstAttribute(attributes));
        return;
    }
    if (isElement(name, "Context")) {
        m_context = DataAccessObject::firstAttribute(attributes);
        return;
    }
    if (isEntry(name) || isElement(name, "Select")) {
        m_inEntry = isEntry(name);
        return;
    }
    int state = Reason;
    for (const char* text : TextElements) {
        if (isElement(name, text)) {
            m_state = state;
            return;
        }
        ++state;
    }
    const std::string_view element = name;
    for (const std::string& field : m_fields) {
        if (field == element) {
            m_state = state;
            return;
        }
        ++state;
    }
}

void ListRequest::addCharacters(const char* text, int length) {
    m_text.append(text, static_cast<std::size_t>(length));
}

int ListRequest::endElement(const char*) {
    const int state = m_state;
    m_state = Idle;
    if (state == Idle) {
        return NoField;
    }
    if (m_text.find('\'') != std::string::npos) {
        m_text = DASUtils::escapeSqlReservedCharacters(m_text);
    }
    if (state >= FirstField) {
        return state - FirstField;
    }
    std::string* const targets[] = {&m_reason, &m_resultCols, &m_offset, &m_rowLimit};
    *targets[state - Reason] = m_text;
    return NoField;
}

void ListRequest::addPair(const std::string& column, const std::string& value) {
    (m_inEntry ? m_entryPairs : m_selectPairs).emplace_back(column, value);
}

std::vector<std::string> ListRequest::resultColumns() const {
    return ClientUtils::tokenizeString(m_resultCols, " ", true, false);
}

void ListRequest::settlePaging() {
    if (m_offset.empty() || m_rowLimit.empty()) {
        return;
    }
    const int offset = ClientUtils::stoi(m_offset);
    const int limit = ClientUtils::stoi(m_rowLimit);
    const bool isPage = limit >= 1 && offset >= 0;
    m_offset = isPage ? ClientUtils::itos(offset) : std::string();
    m_rowLimit = isPage ? ClientUtils::itos(limit) : std::string();
}

bool ListRequest::hasSafePaging() const {
    return m_offset.empty() || m_rowLimit.empty() ||
           (DASUtils::isNumber(m_offset) && DASUtils::isNumber(m_rowLimit));
}

std::string ListRequest::countAnswer(const std::string& count) {
    return "<count>" + count + "</count>";
}

std::string ListRequest::numberAnswer(const std::string& tag, long long number) {
    return DASUtilsStrings::xmlEntryStartTag + "<" + tag + ">" + ClientUtils::int64tos(number) +
           "</" + tag + ">" + DASUtilsStrings::xmlEntryEndTag;
}
