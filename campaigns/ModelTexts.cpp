#include "ModelTexts.h"

#include <algorithm>
#include <numeric>

#include "testkit/Messages.h"

namespace {

using ModelTexts::Texts;

/// Cuts @p text at each @p start and sorts the pieces.
std::string sortedPieces(const std::string& text, const std::string& start) {
    Texts pieces;
    for (std::size_t at = text.find(start); at != std::string::npos;) {
        const std::size_t next = text.find(start, at + 1);
        pieces.push_back(text.substr(at, next - at));
        at = next;
    }
    std::sort(pieces.begin(), pieces.end());
    return std::accumulate(pieces.begin(), pieces.end(), text.substr(0, text.find(start)));
}

/// Items as "user/name=value;", sorted, because neighbouring items of one user may share a context
/// or not.
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
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

}  // namespace

namespace ModelTexts {

std::string inContext(const std::string& context, const std::string& data) {
    return context.empty() ? data : xml::context(context, data);
}

std::string message(const std::string& schema, const std::string& reason,
                    const std::string& context, const std::string& columns,
                    const std::string& body) {
    return xml::message(schema, reason,
                        (columns.empty() ? "" : xml::element("ResultCols", columns)) +
                            inContext(context, body));
}

std::string canonical(const std::string& text) {
    const std::string mark = "</ReasonForMessage>";
    const std::size_t at = text.find(mark);
    if (at == std::string::npos) {
        return text;
    }
    const std::size_t begin = at + mark.size();
    const std::string data = text.substr(begin, text.rfind("</Schema>") - begin);
    const bool isOfSettings = text.find("Settings\"") != std::string::npos;
    // A read of contacts returns them in any order, but a search has an order.
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

std::string answer(const std::string& schema, const std::string& reason, const std::string& data) {
    return canonical(xml::message(schema, reason, data));
}

std::string failure(const std::string& schema) {
    return answer(schema, "failure", "");
}

std::string entryOf(long number, const std::string& key,
                    const std::map<std::string, std::string>& row, const Texts& columns) {
    std::string cells;
    for (const std::string& column : columns) {
        const auto cell = row.find(column);
        cells += xml::element(column, column == key       ? std::to_string(number)
                                 : cell != row.end() ? cell->second
                                                     : "");
    }
    return xml::element("Entry", cells);
}

}  // namespace ModelTexts
