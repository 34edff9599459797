#include "RequestMutator.h"

#include "Stage.h"
#include "testkit/FullDatabase.h"
#include "testkit/Schemas.h"

namespace {

const char* const Structure[] = {
    "Entry",      "Select",     "Context", "LogList",  "Item",        "Offset",
    "RowLimit",   "ResultCols", "Id",      "UniqueID", "SurnameLike", "FirstnameLike",
    "NumberLike", "OrderBy",    "GroupBy", "Count",    "UserContext", "ReasonForMessage"};

const char* const Reasons[] = {"read_request",        "readall_request",    "write_request",
                               "update_request",      "delete_request",     "rowcount_request",
                               "search_phone_number", "delete_all_request", "insert_request",
                               "setdefault_request",  "count_request",      "read_single_request"};

const char* const Values[] = {"",
                              "0",
                              "1",
                              "-1",
                              "2147483648",
                              "9223372036854775808",
                              "base",
                              "visitor",
                              "true",
                              "false",
                              "'",
                              "''",
                              "%",
                              "_",
                              "*",
                              "NULL",
                              "; DROP TABLE PHONE_BOOK; --",
                              "LIKE '%'",
                              "&amp;",
                              "&lt;b&gt;",
                              "&apos;",
                              "&#0;",
                              "&#10;",
                              "ü",
                              "\xff\xfe",
                              "+49 89 1234",
                              "2014-03-07T09:15:30+01:00",
                              "2014-03-07T25:99:99+99:99",
                              "PHONE_BOOK.*",
                              "CALL_LOG.* PHONE_BOOK.*",
                              "UniqueID Surname",
                              "Surname",
                              "1 OR 1=1",
                              "ASC",
                              "DESC",
                              "\\",
                              ",",
                              "a\\,b",
                              "\r\n"};

std::vector<std::string> columnNames() {
    std::vector<std::string> names(std::begin(Structure), std::end(Structure));
    const auto columns = Sql(FuzzPlace::get().database())
                             .texts(
                                 "SELECT DISTINCT c.name FROM sqlite_master m, "
                                 "pragma_table_info(m.name) c WHERE m.type = 'table'");
    names.insert(names.end(), columns.begin(), columns.end());
    return names;
}

}  // namespace

RequestMutator::RequestMutator()
    : m_messages(FullDatabase::examples()),
      m_schemas(allSchemas()),
      m_reasons(std::begin(Reasons), std::end(Reasons)),
      m_elements(columnNames()),
      m_values(std::begin(Values), std::end(Values)) {
    // Names of settings are no columns, so they are added here.
    for (const char* item : {"RingerMelody", "MobilityCurrentUser", "SIPpassword", "Language"}) {
        m_elements.emplace_back(item);
    }
}

std::size_t RequestMutator::below(std::size_t limit) {
    return limit == 0 ? 0 : m_random() % limit;
}

const std::string& RequestMutator::one(const std::vector<std::string>& texts) {
    return texts[below(texts.size())];
}

std::string RequestMutator::number() {
    return std::to_string(below(below(2) == 0 ? 20 : 1100));
}

std::string RequestMutator::mutate(std::string message, unsigned seed) {
    using Change = void (RequestMutator::*)(std::string&);
    static const Change changes[] = {
        &RequestMutator::changeSchema,  &RequestMutator::changeReason,
        &RequestMutator::changeUser,    &RequestMutator::changeValue,
        &RequestMutator::changeValue,   &RequestMutator::insertElement,
        &RequestMutator::insertElement, &RequestMutator::removeElement,
        &RequestMutator::doubleElement, &RequestMutator::splice,
    };
    m_random.seed(seed);
    if (message.find("<Schema") == std::string::npos) {
        message = one(m_messages);
    }
    for (std::size_t left = 1 + below(4); left > 0; --left) {
        (this->*changes[below(std::size(changes))])(message);
    }
    return message;
}

void RequestMutator::replaceBetween(std::string& message, const std::string& begin,
                                    const std::string& end, const std::string& text) {
    const std::size_t found = message.find(begin);
    const std::size_t from = found + begin.size();
    const std::size_t to = found == std::string::npos ? found : message.find(end, from);
    if (to != std::string::npos) {
        message.replace(from, to - from, text);
    }
}

void RequestMutator::changeSchema(std::string& message) {
    replaceBetween(message, "<Schema name=\"", "\"", one(m_schemas));
}

void RequestMutator::changeReason(std::string& message) {
    replaceBetween(message, "<ReasonForMessage>", "<", one(m_reasons));
}

void RequestMutator::changeUser(std::string& message) {
    const std::string user = below(4) == 0 ? one(m_values) : below(2) == 0 ? "base" : "visitor";
    if (message.find("<Context ") != std::string::npos) {
        replaceBetween(message, "currentUser=\"", "\"", user);
        return;
    }
    const std::size_t begin = message.find("</ReasonForMessage>");
    const std::size_t end = message.rfind("</Schema>");
    if (begin != std::string::npos && end != std::string::npos && begin < end) {
        message.insert(end, "</Context>");
        message.insert(begin + 19, "<Context currentUser=\"" + user + "\">");
    }
}

std::size_t RequestMutator::placeBehindTag(const std::string& message) {
    const std::size_t close = message.find('>', below(message.size()));
    return close == std::string::npos ? message.size() : close + 1;
}

void RequestMutator::changeValue(std::string& message) {
    const std::size_t begin = placeBehindTag(message);
    const std::size_t end = std::min(message.find('<', begin), message.size());
    const std::string value = below(2) == 0 ? number() : one(m_values);
    message.replace(begin, end - begin, value);
}

std::string RequestMutator::element() {
    const std::string& name = one(m_elements);
    const std::string value = below(2) == 0 ? number() : one(m_values);
    return "<" + name + ">" + value + "</" + name + ">";
}

void RequestMutator::insertElement(std::string& message) {
    message.insert(placeBehindTag(message), element());
}

bool RequestMutator::findElement(const std::string& message, Span& element) {
    element.begin = message.find('<', below(message.size()));
    const std::size_t nameEnd = element.begin == std::string::npos
                                    ? element.begin
                                    : message.find_first_of(" >", element.begin);
    if (nameEnd == std::string::npos) {
        return false;
    }
    const std::string closing =
        "</" + message.substr(element.begin + 1, nameEnd - element.begin - 1) + ">";
    const std::size_t end = message.find(closing, nameEnd);
    element.end = end + closing.size();
    return end != std::string::npos;
}

void RequestMutator::removeElement(std::string& message) {
    Span span{};
    if (findElement(message, span)) {
        message.erase(span.begin, span.end - span.begin);
    }
}

void RequestMutator::doubleElement(std::string& message) {
    Span span{};
    if (findElement(message, span)) {
        message.insert(span.end, message.substr(span.begin, span.end - span.begin));
    }
}

void RequestMutator::splice(std::string& message) {
    const std::string& other = one(m_messages);
    Span span{};
    if (findElement(other, span)) {
        message.insert(placeBehindTag(message), other.substr(span.begin, span.end - span.begin));
    }
}
