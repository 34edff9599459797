// The model: its settings, its keys and what changes of profile do to them.

#include "ServiceModel.h"

#include <algorithm>

#include "ModelTexts.h"

using namespace ModelTexts;

namespace {

const Texts Users = {"base", "visitor"};
const Texts Schemas = {"AudioSettings", "DisplaySettings"};
const Texts Items = {"Volume", "Tone", "Theme", "Contrast", "UserPassword", "WSIPassword"};
const Texts KeyColumns = {"Function", "Locked", "Label", "Local"};
const Texts KeyDefaults = {"0", "false", "", "false"};

bool hasLoneApostrophe(const std::string& text) {
    return text.find('\'') != std::string::npos;
}

/// Default rows that are numbered from 0, with the ids of keys.
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

}  // namespace

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

/// The number of rows that the service has in its cache: it counts once and stores the result.
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
        // All names except the first delete items in every schema and of every user.
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

/// The visitor gets copies of base's rows, except rows with an apostrophe.
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
