#ifndef MESSAGES_H
#define MESSAGES_H

#include <string>
#include <utility>
#include <vector>

/// Builds requests, and extracts values from answers.
namespace xml {

using Fields = std::vector<std::pair<std::string, std::string>>;

const char* const Header = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

inline std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

/// Elements for the fields. Values are not escaped, so that a test can send markup.
inline std::string elements(const Fields& fields) {
    std::string text;
    for (const auto& [name, value] : fields) {
        text += element(name, value);
    }
    return text;
}

inline std::string entry(const Fields& fields) {
    return element("Entry", elements(fields));
}

inline std::string context(const std::string& user, const std::string& content) {
    return "<Context currentUser=\"" + user + "\">" + content + "</Context>";
}

inline std::string message(const std::string& schema, const std::string& reason,
                           const std::string& body = {}) {
    return Header + ("<Schema name=\"" + schema + "\">") + element("ReasonForMessage", reason) +
           body + "</Schema>";
}

/// The texts of the elements @p name in @p answer, with a "|" between them.
inline std::string valuesOf(const std::string& answer, const std::string& name) {
    const std::string start = "<" + name + ">";
    std::string values;
    for (auto at = answer.find(start); at != std::string::npos; at = answer.find(start, at)) {
        at += start.size();
        values += (values.empty() ? "" : "|") + answer.substr(at, answer.find("</", at) - at);
    }
    return values;
}

inline std::string reasonOf(const std::string& answer) {
    return valuesOf(answer, "ReasonForMessage");
}

/// The part of @p answer after its reason.
inline std::string dataOf(const std::string& answer) {
    const auto begin = answer.find("</ReasonForMessage>") + 19;
    return answer.substr(begin, answer.rfind("</Schema>") - begin);
}

}  // namespace xml

#endif
