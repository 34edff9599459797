#include "ServiceModel.h"

#include <algorithm>

#include "testkit/Messages.h"

namespace {

using xml::element;
using Texts = std::vector<std::string>;

const Texts Users = {"base", "visitor"};
const Texts Schemas = {"AudioSettings", "DisplaySettings"};
const Texts Items = {"Volume", "Tone", "Theme", "Contrast", "UserPassword", "WSIPassword"};
const Texts ContactFields = {"Firstname", "Office", "Mobile", "Private", "Company"};
const Texts ContactOrder = {"UniqueID", "Surname",    "Firstname",     "Office",        "Mobile",
                            "Private",  "Email",      "Group",         "DefaultNumber", "Company",
                            "Office2",  "Address",    "Address2",      "JobFunction",   "VoiceDial",
                            "Picture",  "ExternalID", "ContactSource", "SpeedDialID"};
const Texts CallFields = {"EntryId", "Surname", "Firstname"};
const Texts CallSchemas = {"CallLogMissedCalls", "CallLogDialledCalls", "CallLogReceivedCalls"};
const Texts KeyColumns = {"Function", "Locked", "Label", "Local"};
const Texts KeyDefaults = {"0", "false", "", "false"};

/// @p data in the context that was sent.
std::string inContext(const std::string& context, const std::string& data) {
    return context.empty() ? data : xml::context(context, data);
}

std::string message(const std::string& schema, const std::string& reason,
                    const std::string& context, const std::string& columns,
                    const std::string& body) {
    return xml::message(
        schema, reason,
        (columns.empty() ? "" : element("ResultCols", columns)) + inContext(context, body));
}

std::string answer(const std::string& schema, const std::string& reason,
                   const std::string& data = {}) {
    return ServiceModel::canonical(xml::message(schema, reason, data));
}

std::string failure(const std::string& schema) {
    return answer(schema, "failure");
}

bool hasLoneApostrophe(const std::string& text) {
    return text.find('\'') != std::string::npos;
}

/// What is numbered from 0 with the numbers of keys.
Texts keyIds() {
    Texts ids = {"32"};
    const std::pair<int, int> ranges[] = {{100, 115}, {200, 215},  {300, 317}, {400, 417},
                                          {500, 517}, {600, 617},  {700, 717}, {800, 817},
                                          {900, 917}, {1000, 1017}};
    for (const auto& [first, last] : ranges) {
        for (int id = first; id <= last; ++id) {
            ids.push_back(std::to_string(id));
        }
    }
    return ids;
}

/// Cuts @p text at each @p start and sorts the pieces.
std::string sortedPieces(const std::string& text, const std::string& start) {
    Texts pieces;
    for (std::size_t at = text.find(start); at != std::string::npos;) {
        const std::size_t next = text.find(start, at + 1);
        pieces.push_back(text.substr(at, next - at));
        at = next;
    }
    std::sort(pieces.begin(), pieces.end());
    std::string sorted = text.substr(0, text.find(start));
    for (const std::string& piece : pieces) {
        sorted += piece;
    }
    return sorted;
}

/// Items as "user/name=value;", sorted: neighbours of one user share a context or do not.
std::string sortedItems(const std::string& data) {
    Texts lines;
    std::string user;
    for (std::size_t at = data.find('<'); at != std::string::npos; at = data.find('<', at)) {
        const std::size_t end = data.find('>', at);
        const std::string tag = data.substr(at + 1, end - at - 1);
        const std::string attribute = "Context currentUser=\"";
        if (tag == "/Context") {
            user.clear();
        } else if (tag.rfind(attribute, 0) == 0) {
            user = tag.substr(attribute.size(), tag.size() - attribute.size() - 1);
        } else if (tag[0] != '/') {
            lines.push_back(user + "/" + tag + "=" +
                            data.substr(end + 1, data.find('<', end) - end - 1) + ";");
        }
        at = end;
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

std::string entryOf(long number, const std::string& key,
                    const std::map<std::string, std::string>& row, const Texts& columns) {
    std::string cells;
    for (const std::string& column : columns) {
        const auto cell = row.find(column);
        cells += element(column, column == key       ? std::to_string(number)
                                 : cell != row.end() ? cell->second
                                                     : "");
    }
    return element("Entry", cells);
}

}  // namespace

std::string ServiceModel::canonical(const std::string& text) {
    const std::string mark = "</ReasonForMessage>";
    const std::size_t at = text.find(mark);
    if (at == std::string::npos) {
        return text;
    }
    const std::size_t begin = at + mark.size();
    const std::string data = text.substr(begin, text.rfind("</Schema>") - begin);
    const bool isOfSettings = text.find("Settings\"") != std::string::npos;
    // Contacts are read in an order of their own, but for the searches.
    const bool isOrdered = text.find("\"PhoneBook\"") != std::string::npos;
    const std::string end = "</Context>";
    std::string shown = data;
    if (isOfSettings) {
        shown = sortedItems(data);
    } else if (!isOrdered) {
        const bool isOpen = data.size() > end.size() && data.rfind(end) == data.size() - end.size();
        shown = sortedPieces(isOpen ? data.substr(0, data.size() - end.size()) : data, "<Entry>");
        shown += isOpen ? end : "";
    }
    return text.substr(0, begin) + shown + "</Schema>";
}

std::vector<std::string> ServiceModel::beginning() {
    return {message("Inventory", "update_request", "base", "", element("Keep", "x")),
            message("FeatureKeys", "read_request", "", "", "")};
}

ServiceModel::Operation ServiceModel::next() {
    if (!m_begun) {
        m_begun = true;
        for (const std::string& id : keyIds()) {
            Row& row = m_keys[{"base", id}];
            for (std::size_t i = 0; i < KeyColumns.size(); ++i) {
                row[KeyColumns[i]] = KeyDefaults[i];
            }
        }
    }
    const int kind = upTo(100);
    return kind < 35   ? settings()
           : kind < 65 ? contacts()
           : kind < 80 ? calls()
           : kind < 95 ? keys()
                       : profile();
}

std::string ServiceModel::value() {
    static const Texts values = {"1", "2", "31", "it's", "\xc3\xa9t\xc3\xa9", "a b", "x%", "_"};
    return upTo(4) == 0 ? "v" + std::to_string(upTo(1000)) : anyOf(values);
}

std::string ServiceModel::sentContext() {
    return upTo(2) == 0 ? "" : anyOf(Users);
}

const std::string& ServiceModel::inForce(const std::string& context) const {
    return context.empty() ? m_user : context;
}

// ---- Settings

ServiceModel::Operation ServiceModel::settings() {
    Operation operation;
    const std::string schema = anyOf(Schemas);
    const std::string context = sentContext();
    const int kind = upTo(10);
    if (kind < 5) {
        storeItems(kind > 1, schema, context, operation);
    } else if (kind < 8) {
        readItems(schema, context, operation);
    } else if (kind < 9) {
        readAllItems(schema, operation);
    } else {
        deleteItems(schema, context, operation);
    }
    return operation;
}

/// What the service takes the number of rows for: it counts once and remembers.
int ServiceModel::countOf(const Item& item) {
    const auto known = m_known.find(item);
    return known != m_known.end() ? known->second
                                  : m_known[item] = static_cast<int>(m_items.count(item));
}

void ServiceModel::storeItems(bool overwrites, const std::string& schema,
                              const std::string& context, Operation& operation) {
    std::string body;
    bool isGood = true;
    for (int i = upTo(3); i >= 0; --i) {
        const std::string name = anyOf(Items);
        const std::string text = value();
        body += element(name, text);
        const Item item(schema, inForce(context), name);
        if (countOf(item) == 0) {
            m_items[item] = text;
            m_known[item] = 1;
        } else if (!overwrites) {
            isGood = false;
        } else if (m_items.count(item) != 0) {
            m_items[item] = text;
        }
    }
    const std::string word = overwrites ? "update" : "write";
    operation.message = message(schema, word + "_request", context, "", body);
    operation.answer = isGood ? answer(schema, word + "_response") : failure(schema);
}

void ServiceModel::readItems(const std::string& schema, const std::string& context,
                             Operation& operation) {
    Texts names;
    for (int i = upTo(3); i > 0; --i) {
        names.push_back(anyOf(Items));
    }
    std::string columns;
    for (const std::string& name : names) {
        columns += (columns.empty() ? "" : " ") + name;
    }
    std::string data;
    for (const auto& [item, text] : m_items) {
        const auto& [of, user, name] = item;
        // All names but the first reach into every schema and to every user.
        const bool isFurther =
            names.size() > 1 && std::find(names.begin() + 1, names.end(), name) != names.end();
        const bool isFound = of == schema && (context.empty() || user == context) &&
                             (names.empty() || name == names[0]);
        if (isFound || isFurther) {
            data += inContext(context.empty() ? user : context, element(name, text));
        }
        if (isFound && context.empty() && names.size() < 2) {
            m_known[item] = 1;
        }
    }
    operation.message = message(schema, "read_request", context, columns, "");
    operation.answer = answer(schema, "read_response", data);
}

void ServiceModel::readAllItems(const std::string& schema, Operation& operation) {
    std::string data;
    for (const auto& [item, text] : m_items) {
        if (std::get<0>(item) == schema) {
            data += inContext(std::get<1>(item), element(std::get<2>(item), text));
            m_known[item] = 1;
        }
    }
    operation.message = message(schema, "readall_request", "", "", "");
    operation.answer = answer(schema, "readall_response", data);
}

void ServiceModel::deleteItems(const std::string& schema, const std::string& context,
                               Operation& operation) {
    Texts names;
    std::string body;
    for (int i = upTo(2); i >= 0; --i) {
        names.push_back(anyOf(Items));
        body += upTo(2) == 0 ? element("Name", names.back()) : "<" + names.back() + "/>";
        m_known.erase(Item(schema, inForce(context), names.back()));
    }
    for (auto at = m_items.begin(); at != m_items.end();) {
        const std::string& name = std::get<2>(at->first);
        const bool isFirst = std::get<0>(at->first) == schema && name == names[0];
        const bool isFurther = std::find(names.begin() + 1, names.end(), name) != names.end();
        at = isFirst || isFurther ? m_items.erase(at) : std::next(at);
    }
    operation.message = message(schema, "delete_request", context, "", body);
    operation.answer = answer(schema, "delete_response");
}

// ---- Contacts

ServiceModel::Operation ServiceModel::contacts() {
    Operation operation;
    const std::string context = sentContext();
    const int kind = upTo(10);
    if (kind < 4) {
        writeContacts(context, operation);
    } else if (kind < 8) {
        readContacts(context, operation);
    } else {
        changeContacts(context, operation);
    }
    return operation;
}

void ServiceModel::writeContacts(const std::string& context, Operation& operation) {
    std::string body;
    for (int i = upTo(3); i >= 0; --i) {
        Owned contact{inForce(context), "", {}};
        // One surname for each contact: the order among equal ones is nobody's promise.
        contact.cells["Surname"] =
            std::string(1, static_cast<char>('a' + upTo(26))) + std::to_string(++m_serial);
        std::string fields = element("Surname", contact.cells["Surname"]);
        for (const std::string& field : ContactFields) {
            if (upTo(2) == 0) {
                contact.cells[field] = value();
                fields += element(field, contact.cells[field]);
            }
        }
        const bool isNamed = upTo(4) == 0;
        const long number =
            isNamed ? 1 + upTo(static_cast<int>(m_lastContact) + 3) : m_lastContact + 1;
        body +=
            element("Entry", (isNamed ? element("UniqueID", std::to_string(number)) : "") + fields);
        m_lastContact = std::max(m_lastContact, number);
        m_contacts[number] = contact;
        operation.answer = std::to_string(number);
    }
    operation.message = message("PhoneBook", "write_request", context, "", body);
    operation.answer = answer("PhoneBook", "write_response",
                              element("Entry", element("UniqueID", operation.answer)));
}

/// Gives the elements of a random condition, none at times, and what it means.
std::string ServiceModel::pickCondition(const Numbered& rows, const std::string& key,
                                        const Texts& names, Condition& condition) {
    const int kind = upTo(4);
    if (kind == 0 || rows.empty()) {
        condition = [](long, const Owned&) { return true; };
        return {};
    }
    auto at = rows.begin();
    std::advance(at, upTo(static_cast<int>(rows.size())));
    if (kind == 1) {
        const long number = at->first;
        condition = [number](long each, const Owned&) { return each == number; };
        return element(key, std::to_string(number));
    }
    const std::string name = anyOf(names);
    const auto cell = at->second.cells.find(name);
    const std::string text = cell != at->second.cells.end() ? cell->second : value();
    condition = [name, text](long, const Owned& row) {
        const auto found = row.cells.find(name);
        return found != row.cells.end() && found->second == text;
    };
    return element(name, text);
}

std::vector<long> ServiceModel::found(const Numbered& rows, const std::string& user,
                                      const Condition& condition) {
    std::vector<long> numbers;
    for (const auto& [number, row] : rows) {
        if (row.user == user && condition(number, row)) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

void ServiceModel::readContacts(const std::string& context, Operation& operation) {
    Condition condition;
    std::string entry = pickCondition(m_contacts, "UniqueID", ContactFields, condition);
    if (entry.empty() && upTo(3) == 0) {
        const std::string part(1, static_cast<char>('a' + upTo(26)));
        entry = element("SurnameLike", part);
        condition = [part](long, const Owned& row) {
            return row.cells.at("Surname").find(part) != std::string::npos;
        };
    }
    std::vector<long> numbers = found(m_contacts, inForce(context), condition);
    const std::string body = entry.empty() ? "" : element("Entry", entry);
    if (upTo(4) == 0) {
        operation.message = message("PhoneBook", "rowcount_request", context, "", body);
        operation.answer = answer("PhoneBook", "rowcount_response",
                                  element("count", std::to_string(numbers.size())));
        return;
    }
    std::sort(numbers.begin(), numbers.end(), [this](long a, long b) {
        const auto upper = [](std::string text) {
            text[0] = static_cast<char>(std::toupper(text[0]));
            return text;
        };
        return upper(m_contacts[a].cells["Surname"]) < upper(m_contacts[b].cells["Surname"]);
    });
    std::string page;
    if (upTo(3) == 0) {
        const int offset = upTo(6) - 1;
        const int limit = upTo(6);
        page =
            element("Offset", std::to_string(offset)) + element("RowLimit", std::to_string(limit));
        if (offset >= 0 && limit >= 1) {  // no page otherwise
            const auto first = std::min(numbers.size(), static_cast<std::size_t>(offset));
            const auto last = std::min(numbers.size(), first + static_cast<std::size_t>(limit));
            numbers = {numbers.begin() + static_cast<long>(first),
                       numbers.begin() + static_cast<long>(last)};
        }
    }
    const bool isNarrow = upTo(2) == 0;
    const Texts narrow = {"Surname", "UniqueID", "Office"};
    std::string data;
    for (const long number : numbers) {
        data +=
            entryOf(number, "UniqueID", m_contacts[number].cells, isNarrow ? narrow : ContactOrder);
    }
    operation.message = message("PhoneBook", "read_request", context,
                                isNarrow ? "Surname UniqueID Office" : "", page + body);
    operation.answer = answer("PhoneBook", "read_response", inContext(context, data));
}

void ServiceModel::changeContacts(const std::string& context, Operation& operation) {
    Condition condition;
    const std::string select = pickCondition(m_contacts, "UniqueID", ContactFields, condition);
    if (select.empty() ? upTo(10) != 0 : upTo(3) != 0) {
        // An update reaches the contacts of every user; without a condition it is refused.
        const std::string field = anyOf(ContactFields);
        const std::string text = value();
        if (!select.empty()) {
            for (auto& [number, contact] : m_contacts) {
                if (condition(number, contact)) {
                    contact.cells[field] = text;
                }
            }
        }
        operation.message =
            message("PhoneBook", "update_request", context, "",
                    element("Select", select) + element("Entry", element(field, text)));
        operation.answer =
            select.empty() ? failure("PhoneBook") : answer("PhoneBook", "update_response");
        return;
    }
    const bool isGood = !m_contacts.empty();
    for (const long number : found(m_contacts, inForce(context), condition)) {
        m_contacts.erase(number);
    }
    operation.message = message("PhoneBook", "delete_request", context, "",
                                select.empty() ? "" : element("Entry", select));
    operation.answer = isGood ? answer("PhoneBook", "delete_response") : failure("PhoneBook");
}

// ---- Calls

ServiceModel::Operation ServiceModel::calls() {
    Operation operation;
    const std::string context = sentContext();
    const std::string schema = anyOf(CallSchemas);
    const int kind = upTo(10);
    if (kind < 4) {
        Owned call{inForce(context), schema, {}};
        std::string fields;
        for (const std::string& field : CallFields) {
            call.cells[field] = value();
            fields += element(field, call.cells[field]);
        }
        const bool isNamed = upTo(4) == 0;
        const long number = isNamed ? 1 + upTo(static_cast<int>(m_lastCall) + 3) : m_lastCall + 1;
        m_lastCall = std::max(m_lastCall, number);
        m_calls[number] = call;
        const std::string item = element(
            "LogList", element("Item", element("Number", "1") +
                                           element("TimeDate", "2014-03-07T09:15:30+01:00")));
        operation.message =
            message(schema, "write_request", context, "",
                    element("Entry", (isNamed ? element("UniqueId", std::to_string(number)) : "") +
                                         fields + item));
        operation.answer = answer(schema, "write_response",
                                  element("Entry", element("UniqueId", std::to_string(number))));
        return operation;
    }
    Condition inRow;
    const std::string entry = pickCondition(m_calls, "UniqueId", CallFields, inRow);
    const Condition condition = [&](long number, const Owned& row) {
        return row.category == schema && inRow(number, row);
    };
    const std::vector<long> numbers = found(m_calls, inForce(context), condition);
    const std::string body = entry.empty() ? "" : element("Entry", entry);
    if (kind < 6) {
        operation.message = message(schema, "rowcount_request", context, "", body);
        operation.answer =
            answer(schema, "rowcount_response", element("count", std::to_string(numbers.size())));
    } else if (kind < 9) {
        const Texts columns = {"UniqueId", "EntryId", "Surname"};
        std::string data;
        for (const long number : numbers) {
            data += entryOf(number, "UniqueId", m_calls[number].cells, columns);
        }
        operation.message =
            message(schema, "read_request", context, "UniqueId EntryId Surname", body);
        // Unlike all others, calls are answered without their context.
        operation.answer = answer(schema, "read_response", data);
    } else {
        const bool isGood = !m_calls.empty();
        for (const long number : numbers) {
            m_calls.erase(number);
        }
        operation.message = message(schema, "delete_request", context, "", body);
        operation.answer = isGood ? answer(schema, "delete_response") : failure(schema);
    }
    return operation;
}

// ---- Keys

ServiceModel::Operation ServiceModel::keys() {
    static const Texts ids = keyIds();
    Operation operation;
    const std::string context = sentContext();
    const std::string& user = inForce(context);
    if (upTo(2) == 0) {
        std::string body;
        for (int i = upTo(3); i >= 0; --i) {
            const std::string id = upTo(8) == 0 ? std::to_string(5000 + upTo(9)) : anyOf(ids);
            const std::string column = anyOf(KeyColumns);
            const std::string text = value();
            m_keys[{user, id}][column] = text;
            body += element("Entry", element("Id", id) + element(column, text));
        }
        operation.message = message("FeatureKeys", "update_request", context, "", body);
        operation.answer = answer("FeatureKeys", "update_response");
        return operation;
    }
    const std::string id = anyOf(ids);
    const std::string label = value();
    const bool isById = upTo(2) == 0;
    const bool isNarrow = upTo(2) == 0;
    Texts columns = KeyColumns;
    columns.insert(columns.begin(), "Id");
    const Texts narrow = {"Label", "Id"};
    std::string data;
    for (const auto& [key, row] : m_keys) {
        const auto cell = row.find("Label");
        const bool isFound = isById ? key.second == id : cell != row.end() && cell->second == label;
        if (key.first == user && isFound) {
            data += entryOf(std::stol(key.second), "Id", row, isNarrow ? narrow : columns);
        }
    }
    operation.message = message("FeatureKeys", "read_request", context, isNarrow ? "Label Id" : "",
                                isById ? element("Id", id) : element("Label", label));
    operation.answer = answer("FeatureKeys", "read_response", inContext(context, data));
    return operation;
}

// ---- Profiles

void ServiceModel::forget(std::initializer_list<const char*> names) {
    for (const char* each : names) {
        for (const std::string& schema : Schemas) {
            m_items.erase(Item(schema, "visitor", each));
        }
    }
    m_known.clear();
}

void ServiceModel::wipeVisitor() {
    for (auto at = m_items.begin(); at != m_items.end();) {
        at = std::get<1>(at->first) == "visitor" ? m_items.erase(at) : std::next(at);
    }
    for (auto at = m_keys.begin(); at != m_keys.end();) {
        at = at->first.first == "visitor" ? m_keys.erase(at) : std::next(at);
    }
    m_known.clear();
}

/// The visitor gets what base has, but for the rows with an apostrophe, which stay behind.
void ServiceModel::copyToVisitor() {
    wipeVisitor();
    const auto items = m_items;
    for (const auto& [item, text] : items) {
        if (std::get<1>(item) == "base" && !hasLoneApostrophe(text)) {
            m_items[Item(std::get<0>(item), "visitor", std::get<2>(item))] = text;
        }
    }
    const auto keys = m_keys;
    for (const auto& [key, row] : keys) {
        const bool isCopied =
            key.first == "base" && std::none_of(row.begin(), row.end(), [](const auto& cell) {
                return hasLoneApostrophe(cell.second);
            });
        if (isCopied) {
            m_keys[{"visitor", key.second}] = row;
        }
    }
}

ServiceModel::Operation ServiceModel::profile() {
    static const Texts calls = {
        "setProfile base",           "setProfile visitor",     "setProfile guest",
        "clearMobileUserdata",       "clearMobileUserDLSdata", "copyBaseDataToVisitor",
        "deleteVisitorUserPassword", "deleteUcCredentials",    "getCurrentUser"};
    Operation operation;
    const std::string call = anyOf(calls);
    if (call == "getCurrentUser") {
        operation.message = call;
        operation.answer = m_user;
        return operation;
    }
    operation.call = call.substr(0, call.find(' '));
    operation.argument = call.find(' ') == std::string::npos ? "" : call.substr(call.find(' ') + 1);
    if (operation.call == "setProfile") {
        operation.answer = operation.argument == "guest" ? "false" : "true";
        if (operation.argument == "visitor") {
            copyToVisitor();
        } else if (operation.argument == "base") {
            forget({"UserPassword"});
        }
        m_user = operation.answer == "true" ? operation.argument : m_user;
    } else if (call == "clearMobileUserdata") {
        wipeVisitor();
    } else if (call == "clearMobileUserDLSdata") {
        for (Numbered* rows : {&m_contacts, &m_calls}) {
            for (const long number :
                 found(*rows, "visitor", [](long, const Owned&) { return true; })) {
                rows->erase(number);
            }
        }
    } else if (call == "copyBaseDataToVisitor") {
        copyToVisitor();
        forget({"UserPassword"});
    } else {
        forget({call == "deleteUcCredentials" ? "WSIPassword" : "UserPassword"});
    }
    return operation;
}
