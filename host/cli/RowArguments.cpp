// Names are compared with the tables of the schemas exactly as the service does. Settings take any
// name, since the service makes an item of whatever it is sent.

#include "cli/RowArguments.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <utility>

#include "ClientUtils.h"
#include "cli/Arguments.h"
#include "cli/CallerFile.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"
#include "terminal/TextParts.h"
#include "terminal/Utf8.h"

namespace {

using TextParts::contains;

const char* const ValuesName = "NAME=VALUE";

/// Used instead of a value: read it from standard input.
const char* const FromInput = "@-";

/// No message over a socket can be longer, and a device file may have no end.
constexpr std::size_t LargestValue = 8 * 1024 * 1024;

/// Elements that search contacts for a part of a name.
const std::vector<std::string> Patterns = {"SurnameLike", "FirstnameLike"};

/// Whether the rows of @p schema have numbers, assigned by the table or as the keys of a telephone.
bool isNumbered(const KnownSchemas::Entry& schema) {
    const std::string id = RequestText::idElement(schema);
    for (const KnownSchemas::Column& column : schema.columns) {
        if (column.name == id && column.type.rfind("INTEGER", 0) == 0) {
            return true;
        }
    }
    return RequestText::formOf(schema) == RequestText::Form::Rows && schema.key.empty() &&
           !schema.defaultRows.empty();
}

std::vector<std::string> namesOf(const KnownSchemas::Entry& schema) {
    std::vector<std::string> names = schema.elements;
    names.insert(names.end(), schema.itemElements.begin(), schema.itemElements.end());
    if (!schema.elements.empty() && RequestText::formOf(schema) == RequestText::Form::Rows) {
        names.emplace_back("Id");  // also names a row if the key column has another name
    }
    return names;
}

/// The names that may be conditions in a request of @p reason. The list of a call and its group
/// can't be searched: the service would ignore a condition on them, and the request would be about
/// every call.
std::vector<std::string> conditionsOf(const KnownSchemas::Entry& schema,
                                      const std::string& reason) {
    std::vector<std::string> names = namesOf(schema);
    const auto isIgnored = [&](const std::string& name) {
        return name == "JSGroupBy" || contains(schema.itemElements, name);
    };
    names.erase(std::remove_if(names.begin(), names.end(), isIgnored), names.end());
    if (schema.table == "PHONE_BOOK" && reason == "read_request") {
        names.insert(names.end(), Patterns.begin(), Patterns.end());
    }
    return names;
}

/// Whether an element may have this name at all.
bool isElementName(const std::string& name) {
    const auto isOk = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c >= 0x80; };
    return !name.empty() && std::isdigit(static_cast<unsigned char>(name[0])) == 0 &&
           std::all_of(name.begin(), name.end(), isOk) && Utf8::isValid(name);
}

/// Names with a special meaning in a request. An item can't have such a name: the service would
/// read its value as part of the frame.
const std::vector<std::string> FrameElements = {"Schema", "ReasonForMessage", "Context",
                                                "ResultCols", "Entry"};

/// The commands that send the reasons of @p schema.
std::string commandsFor(const KnownSchemas::Entry& schema) {
    const std::pair<const char*, const char*> commands[] = {{"update_request", "set"},
                                                            {"write_request", "write"},
                                                            {"delete_request", "delete"},
                                                            {"read_request", "read"}};
    std::vector<std::string> names;
    for (const auto& [reason, command] : commands) {
        if (schema.has(reason)) {
            names.emplace_back(command);
        }
    }
    return ClientUtils::join(names, ", ");
}

/**
 * Replaces @p value if it has a special form: "@FILE" becomes the contents of a file, "@-" standard
 * input (both without one line feed at the end), and "@@TEXT" becomes "@TEXT". So a secret need not
 * be on the command line, where every user of the machine can see it. False if the file can't be
 * read, which has been reported.
 */
bool readValueOf(const std::string& name, std::string& value) {
    if (value.rfind('@', 0) != 0) {
        return true;
    }
    const std::string source = value.substr(1);
    if (source.rfind('@', 0) == 0) {
        value = source;
        return true;
    }
    const int error = CallerFile::readLess(source, LargestValue, value);
    if (error != 0) {
        Complaint::reportError(name + "=@" + source, error,
                               error == EFBIG
                                   ? "a value has at most 8 MiB"
                                   : "@FILE is a file, @- standard input, @@TEXT the value @TEXT");
    }
    return error == 0;
}

}  // namespace

const KnownSchemas::Entry* RowArguments::findSchema(const std::string& name) {
    const KnownSchemas::Entry* const schema = KnownSchemas::find(name);
    if (schema == nullptr) {
        Complaint::report(
            name + ": no such schema",
            NearMisses::question(name, KnownSchemas::names(), "das schemas lists them"));
    }
    return schema;
}

bool RowArguments::checkApart(const std::string& command, const Arguments& arguments,
                              const std::vector<std::pair<const char*, const char*>>& pairs) {
    for (const auto& [one, other] : pairs) {
        if (arguments.has(one) && arguments.has(other)) {
            Complaint::report(command + ": " + one + " and " + other + " exclude each other",
                              "leave one of them out");
            return false;
        }
    }
    return true;
}

bool RowArguments::checkUser(const std::optional<std::string>& user) {
    if (!user || *user == "base" || *user == "visitor") {
        return true;
    }
    Complaint::report(*user + ": no such user",
                      NearMisses::question(*user, {"base", "visitor"}, "base or visitor"));
    return false;
}

bool RowArguments::isNumber(const std::string& text) {
    const std::size_t begin = text.rfind('-', 0) == 0 ? 1 : 0;
    return text.size() > begin && text.find_first_not_of("0123456789", begin) == std::string::npos;
}

bool RowArguments::readNumber(const Arguments& arguments, const std::string& name,
                              std::size_t& number) {
    const auto text = arguments.value(name);
    if (!text) {
        return true;
    }
    const char* const end = text->data() + text->size();
    int read = 0;
    const auto result = std::from_chars(text->data(), end, read);
    if (result.ec != std::errc() || result.ptr != end || read < 0) {
        const bool isTooLarge = result.ec == std::errc::result_out_of_range && (*text)[0] != '-';
        Complaint::report(name + " " + *text + (isTooLarge ? ": too large" : ": not a number"),
                          isTooLarge ? "at most 2147483647" : "a whole number from 0 on");
        return false;
    }
    number = static_cast<std::size_t>(read);
    return true;
}

bool RowArguments::read(const Arguments& arguments, const std::string& command,
                        const std::string& reason) {
    m_schema = findSchema(arguments.text("SCHEMA"));
    m_context = arguments.value("--context");
    if (m_schema == nullptr || !checkUser(m_context)) {
        return false;
    }
    m_what = command + " " + m_schema->name;
    return checkReason(command, reason) && readConditions(arguments, reason) &&
           readValues(arguments);
}

bool RowArguments::readValues(const Arguments& arguments) {
    bool isInputRead = false;
    // Checked twice: as it was typed, and again after it was replaced by the contents of a file.
    for (const std::string& text : arguments.all(ValuesName)) {
        if (!readPair(text, namesOf(*m_schema), m_values) || !checkRepeated(m_values)) {
            return false;
        }
        auto& [name, value] = m_values.back();
        if (value == FromInput && std::exchange(isInputRead, true)) {
            Complaint::report(name + "=@-: standard input can be read only once", "name a file");
            return false;
        }
        if (!readValueOf(name, value) || !checkValue(name, value)) {
            return false;
        }
    }
    return true;
}

bool RowArguments::takesStandardInput(const Arguments& arguments) {
    const auto& texts = arguments.all(ValuesName);
    return std::any_of(texts.begin(), texts.end(), [](const std::string& text) {
        return text.substr(text.find('=') + 1) == FromInput;
    });
}

bool RowArguments::checkRepeated(const RequestText::Values& values) const {
    const std::string& name = values.back().first;
    const bool isRepeated = std::any_of(values.begin(), values.end() - 1,
                                        [&](const auto& value) { return value.first == name; });
    if (isRepeated && !contains(m_schema->itemElements, name)) {
        Complaint::report(m_what + ": " + name + " is given twice", "give it one value");
        return false;
    }
    return true;
}

bool RowArguments::checkReason(const std::string& command, const std::string& reason) const {
    if (m_schema->has(reason)) {
        return true;
    }
    Complaint::report(m_what + ": " + m_schema->name + " has no " + reason,
                      "das " + command + " does not go there; it takes " + commandsFor(*m_schema));
    return false;
}

bool RowArguments::checkName(const std::string& name) const {
    return checkName(name, namesOf(*m_schema));
}

bool RowArguments::checkName(const std::string& name, const std::vector<std::string>& names) const {
    if (form() == RequestText::Form::Settings) {
        if (isElementName(name) && !contains(FrameElements, name)) {
            return true;
        }
        Complaint::report(name + ": an item can't have this name",
                          "use letters, digits and underscores, a letter first");
        return false;
    }
    if (contains(names, name)) {
        return true;
    }
    Complaint::report(name + ": " + m_schema->name + " has no such column",
                      columnAdvice(name, names));
    return false;
}

std::string RowArguments::columnAdvice(const std::string& name,
                                       const std::vector<std::string>& names) const {
    const auto& columns = m_schema->columns;
    const auto isMeant = [&](const KnownSchemas::Column& column) { return column.name == name; };
    const auto found = std::find_if(columns.begin(), columns.end(), isMeant);
    const std::size_t place = static_cast<std::size_t>(found - columns.begin());
    if (name == "UserContext") {
        return "the user is named by --context";
    }
    // The elements of contacts are the columns without the user; two have another name than their
    // column.
    if (found != columns.end() && columns.size() == m_schema->elements.size() + 1) {
        return "it is called " + m_schema->elements[place - 1] + " here";
    }
    return NearMisses::question(name, names, "it has " + ClientUtils::join(names, ", "));
}

bool RowArguments::readPair(const std::string& text, const std::vector<std::string>& names,
                            RequestText::Values& pairs) const {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        Complaint::report(text + ": not of the form NAME=VALUE",
                          isNumber(text) ? "name a row by --id " + text : "");
        return false;
    }
    std::string name = text.substr(0, sign);
    std::string value = text.substr(sign + 1);
    if (!checkName(name, names)) {
        return false;
    }
    if (!checkValue(name, value)) {
        return false;
    }
    pairs.emplace_back(std::move(name), std::move(value));
    return true;
}

bool RowArguments::checkValue(const std::string& name, const std::string& value) {
    if (Utf8::forXml(value) != value) {
        Complaint::report(name + ": the value is no UTF-8, or has a control character",
                          "a request can't carry it");
        return false;
    }
    return true;
}

bool RowArguments::readConditions(const Arguments& arguments, const std::string& reason) {
    const bool isSettings = form() == RequestText::Form::Settings;
    if (isSettings && (arguments.has("--id") || arguments.has("--where"))) {
        Complaint::report(m_what + ": settings have no rows for --id and --where",
                          "name the items themselves");
        return false;
    }
    const auto id = arguments.value("--id");
    if (arguments.all("--id").size() > 1) {
        Complaint::report(m_what + ": --id is given twice", "name one row");
        return false;
    }
    if (id && id->empty()) {
        Complaint::report(m_what + ": --id is empty", "name a row");
        return false;
    }
    // The number is an ordinary condition, on the element that names rows of this schema.
    if (id && !readCondition(RequestText::idElement(*m_schema) + "=" + *id, reason)) {
        return false;
    }
    for (const std::string& text : arguments.all("--where")) {
        if (!readCondition(text, reason)) {
            return false;
        }
    }
    return true;
}

bool RowArguments::readCondition(const std::string& text, const std::string& reason) {
    RequestText::Values read;
    const auto names = conditionsOf(*m_schema, reason);
    const std::string column = text.substr(0, text.find('='));
    if (contains(namesOf(*m_schema), column) && !contains(names, column)) {
        Complaint::report(m_what + ": the service does not search by " + column,
                          "search by " + ClientUtils::join(names, ", "));
        return false;
    }
    if (!readPair(text, names, read)) {
        return false;
    }
    const auto& [name, value] = read.front();
    if (std::any_of(m_conditions.begin(), m_conditions.end(),
                    [&name = name](const auto& one) { return one.first == name; })) {
        Complaint::report(m_what + ": " + name + " is named twice", "give each column one value");
        return false;
    }
    if (name == RequestText::idElement(*m_schema) && isNumbered(*m_schema) && !value.empty() &&
        !isNumber(value)) {
        Complaint::report(m_what + ": " + value + " is no number",
                          "the rows of " + m_schema->name + " are numbered");
        return false;
    }
    // The service ignores a blank condition, so the request would be about every row.
    if (value.empty() && form() == RequestText::Form::List && reason != "update_request") {
        Complaint::report(
            m_what + ": " + name + " is blank, and the service ignores a blank condition",
            "give a value");
        return false;
    }
    m_conditions.push_back(read.front());
    return true;
}
