// The service accepts requests only as text, so commands build them here and nowhere else. Only
// characters that a parser would change or stop at are escaped. Characters that XML can't carry
// stay: the service then refuses the request with an answer, so no data is lost silently.

#include "schemas/RequestText.h"

#include <algorithm>
#include <set>

#include "terminal/TextParts.h"

namespace {

using TextParts::contains;

const std::vector<std::string> TablesOfLists = {"PHONE_BOOK", "CallGroup", "CALL_LOG",
                                                "CONVERSATIONS"};

}  // namespace

RequestText::Form RequestText::formOf(const KnownSchemas::Entry& schema) {
    if (schema.elements.empty()) {
        return Form::Settings;
    }
    return contains(TablesOfLists, schema.table) ? Form::List : Form::Rows;
}

std::string RequestText::escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '\r':
                result += "&#13;";
                break;
            default:
                result += character;
        }
    }
    return result;
}

std::string RequestText::element(const std::string& name, const std::string& value) {
    return "<" + name + ">" + escaped(value) + "</" + name + ">";
}

std::string RequestText::elements(const Values& values) {
    std::string text;
    for (const auto& [name, value] : values) {
        text += element(name, value);
    }
    return text;
}

std::string RequestText::entry(const KnownSchemas::Entry& schema, const Values& values) {
    std::string row;
    std::string items;
    std::set<std::string> inItem;
    for (const auto& [name, value] : values) {
        if (!contains(schema.itemElements, name)) {
            row += element(name, value);
            continue;
        }
        if (items.empty() || !inItem.insert(name).second) {
            items += items.empty() ? "<Item>" : "</Item><Item>";
            inItem = {name};
        }
        items += element(name, value);
    }
    return "<Entry>" + row + (items.empty() ? "" : "<LogList>" + items + "</Item></LogList>") +
           "</Entry>";
}

std::string RequestText::request(const std::string& schema, const std::string& reason,
                                 const std::optional<std::string>& context,
                                 const std::string& body) {
    const std::string inside =
        context ? "<Context currentUser=\"" + *context + "\">" + body + "</Context>" : body;
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"" + schema + "\">" +
           element("ReasonForMessage", reason) + inside + "</Schema>";
}

std::string RequestText::idElement(const KnownSchemas::Entry& schema) {
    if (formOf(schema) == Form::Rows) {
        return "Id";
    }
    return schema.key.empty() ? "CallGroup" : schema.key.back();
}
