#include "RowArguments.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "Arguments.h"
#include "Complaint.h"
#include "NearMisses.h"
#include "Utf8.h"

namespace {

/// Parts of a name that a read of contacts may look for.
const std::vector<std::string> Patterns = {"SurnameLike", "FirstnameLike"};

std::vector<std::string> namesOf(const KnownSchemas::Entry& schema) {
    std::vector<std::string> names = schema.elements;
    names.insert(names.end(), schema.itemElements.begin(), schema.itemElements.end());
    if (schema.table == "PHONE_BOOK") {
        names.insert(names.end(), Patterns.begin(), Patterns.end());
    }
    if (!schema.elements.empty() && RequestText::formOf(schema) == RequestText::Form::Rows) {
        names.emplace_back("Id");  // names a row also where the key has a name of its own
    }
    return names;
}

/// Whether an element may have this name at all.
bool isElementName(const std::string& name) {
    const auto isOk = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c >= 0x80; };
    return !name.empty() && std::isdigit(static_cast<unsigned char>(name[0])) == 0 &&
           std::all_of(name.begin(), name.end(), isOk) && Utf8::isValid(name);
}

const std::vector<std::string> FrameElements = {"Schema", "ReasonForMessage", "Context",
                                                "ResultCols", "Entry"};

/// The command that sends a reason.
std::string commandsFor(const KnownSchemas::Entry& schema) {
    const std::pair<const char*, const char*> commands[] = {{"update_request", "set"},
                                                            {"write_request", "write"},
                                                            {"delete_request", "delete"},
                                                            {"read_request", "read"}};
    std::string text;
    for (const auto& [reason, command] : commands) {
        text += schema.has(reason) ? (text.empty() ? "" : ", ") + std::string(command) : "";
    }
    return text;
}

}  // namespace

const KnownSchemas::Entry* RowArguments::findSchema(const std::string& name) {
    const KnownSchemas::Entry* const schema = KnownSchemas::find(name);
    if (schema == nullptr) {
        Complaint::tell(name + ": no such schema", NearMisses::question(name, KnownSchemas::names(),
                                                                        "das schemas lists them"));
    }
    return schema;
}

bool RowArguments::checkUser(const std::optional<std::string>& user) {
    if (!user || *user == "base" || *user == "visitor") {
        return true;
    }
    Complaint::tell(*user + ": no such user",
                    NearMisses::question(*user, {"base", "visitor"}, "base or visitor"));
    return false;
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
        Complaint::tell(name + " " + *text + ": not a number", "a whole number from 0 on");
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
    if (!checkReason(command, reason) || !readConditions(arguments)) {
        return false;
    }
    for (const std::string& text : arguments.all("NAME=VALUE")) {
        if (!readPair(text, m_values)) {
            return false;
        }
    }
    return true;
}

bool RowArguments::checkReason(const std::string& command, const std::string& reason) const {
    if (m_schema->has(reason)) {
        return true;
    }
    Complaint::tell(m_what + ": " + m_schema->name + " has no " + reason,
                    "das " + command + " does not go there; it takes " + commandsFor(*m_schema));
    return false;
}

bool RowArguments::checkName(const std::string& name) const {
    if (form() == RequestText::Form::Settings) {
        const bool isFrame =
            std::find(FrameElements.begin(), FrameElements.end(), name) != FrameElements.end();
        if (isElementName(name) && !isFrame) {
            return true;
        }
        Complaint::tell(name + ": no item can have this name",
                        "letters, digits and underscores, a letter in front");
        return false;
    }
    const auto names = namesOf(*m_schema);
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return true;
    }
    Complaint::tell(
        name + ": " + m_schema->name + " has no such column",
        NearMisses::question(name, names, "das schemas " + m_schema->name + " lists them"));
    return false;
}

bool RowArguments::readPair(const std::string& text, RequestText::Values& pairs) const {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        Complaint::tell(text + ": not of the form NAME=VALUE");
        return false;
    }
    std::string name = text.substr(0, sign);
    std::string value = text.substr(sign + 1);
    if (!checkName(name)) {
        return false;
    }
    if (Utf8::forXml(value) != value) {
        Complaint::tell(name + ": the value is no UTF-8, or has a control character",
                        "a request can't carry it");
        return false;
    }
    pairs.emplace_back(std::move(name), std::move(value));
    return true;
}

bool RowArguments::readConditions(const Arguments& arguments) {
    const bool isSettings = form() == RequestText::Form::Settings;
    if (isSettings && (arguments.has("--id") || arguments.has("--where"))) {
        Complaint::tell(m_what + ": settings have no rows, so --id and --where name nothing",
                        "items are named by their names");
        return false;
    }
    if (const auto id = arguments.value("--id")) {
        if (!readPair(RequestText::idElement(*m_schema) + "=" + *id, m_conditions)) {
            return false;
        }
    }
    for (const std::string& text : arguments.all("--where")) {
        if (!readPair(text, m_conditions)) {
            return false;
        }
    }
    return true;
}
