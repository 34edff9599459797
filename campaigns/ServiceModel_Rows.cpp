// Contacts and calls of the model.

#include <algorithm>

#include "ModelTexts.h"
#include "ServiceModel.h"

using namespace ModelTexts;

namespace {

const Texts ContactFields = {"Firstname", "Office", "Mobile", "Private", "Company"};
const Texts ContactOrder = {"UniqueID", "Surname",    "Firstname",     "Office",        "Mobile",
                            "Private",  "Email",      "Group",         "DefaultNumber", "Company",
                            "Office2",  "Address",    "Address2",      "JobFunction",   "VoiceDial",
                            "Picture",  "ExternalID", "ContactSource", "SpeedDialID"};
const Texts CallFields = {"EntryId", "Surname", "Firstname"};
const Texts CallSchemas = {"CallLogMissedCalls", "CallLogDialledCalls", "CallLogReceivedCalls"};

}  // namespace

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
        // Each contact has another surname, because the order of equal surnames is not promised.
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

/// The elements of a random condition, sometimes none; @p condition gets its meaning.
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
        if (offset >= 0 && limit >= 1) {  // otherwise there is no paging
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
        // An update changes contacts of every user; without a condition it is refused.
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
        // Unlike all other answers, those with calls have no Context.
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
