// Unknown elements are ignored, so that newer clients can send more than this software understands.
// A value belongs to the element that began last, whichever end tag follows.

#include "dao/ListRequest.h"

#include <string_view>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"

namespace {

enum State { Idle, Reason, ResultCols, Offset, RowLimit, FirstField };

/// Elements of the frame that have content, in the order of their states.
constexpr std::string_view TextElements[] = {"ReasonForMessage", "ResultCols", "Offset",
                                             "RowLimit"};

}  // namespace

ListRequest::ListRequest(const std::vector<std::string>& fields, std::string& schema,
                         std::string& context, std::string& reason, RequestLimits& limits)
    : m_fields(fields), m_schema(schema), m_context(context), m_reason(reason), m_limits(limits) {}

bool ListRequest::isEntry(const char* name) {
    return std::string_view(name) == "Entry";
}

void ListRequest::startElement(const char* name, const char** attributes) {
    m_text.clear();
    const std::string_view element = name;
    if (element == "Schema") {
        m_schema =
            DASUtils::unescapeSqlReservedCharacters(DataAccessObject::firstAttribute(attributes));
        m_limits.checkName(m_schema);
        return;
    }
    if (element == "Context") {
        m_context = DataAccessObject::firstAttribute(attributes);
        m_limits.checkName(m_context);
        return;
    }
    if (element == "Entry" || element == "Select") {
        m_inEntry = element == "Entry";
        if (m_inEntry) {
            m_limits.addEntry();
        }
        return;
    }
    int state = Reason;
    for (const std::string_view text : TextElements) {
        if (element == text) {
            m_state = state;
            return;
        }
        ++state;
    }
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
    // Most values have no quote, and a request may have thousands of values.
    if (m_text.find('\'') != std::string::npos) {
        m_text = DASUtils::escapeSqlReservedCharacters(m_text);
    }
    if (state >= FirstField) {
        return state - FirstField;
    }
    std::string* const targets[] = {&m_reason, &m_resultCols, &m_offset, &m_rowLimit};
    *targets[state - Reason] = m_text;
    if (state == ResultCols) {
        m_limits.checkColumns(m_text);
    }
    return NoField;
}

void ListRequest::addPair(const std::string& column, const std::string& value) {
    PairList& pairs = m_inEntry ? m_entryPairs : m_selectPairs;
    pairs.emplace_back(column, value);
    m_limits.checkValues(pairs.size());
}

std::vector<std::string> ListRequest::resultColumns() const {
    return ClientUtils::tokenizeString(m_resultCols, " ", true, false);
}

/// Paging needs both values. A single one, or an invalid pair, is ignored.
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
