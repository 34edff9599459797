#include "schemas/SchemaContract.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "schemas/RequestText.h"
#include "schemas/Sentences.h"

namespace {

using KnownSchemas::Entry;
using Texts = std::vector<std::string>;
using SchemaContract::Side;

/// A text whose lines are indented by nesting depth.
class Lines {
public:
    Lines& add(const std::string& line) {
        m_text += std::string(m_depth * 2, ' ') + line + "\n";
        return *this;
    }
    Lines& open(const std::string& element, const std::string& attributes = {}) {
        add("<xs:" + element + (attributes.empty() ? "" : " " + attributes) + ">");
        ++m_depth;
        m_open.push_back(element);
        return *this;
    }
    Lines& close(std::size_t count = 1) {
        for (; count > 0; --count) {
            --m_depth;
            add("</xs:" + m_open.back() + ">");
            m_open.pop_back();
        }
        return *this;
    }
    /// Documents the element that was just opened; does nothing if @p sentence is blank.
    Lines& explain(const std::string& sentence) {
        if (!sentence.empty()) {
            add("<xs:annotation><xs:documentation>" + ClientUtils::escapeXMLString(sentence) +
                "</xs:documentation></xs:annotation>");
        }
        return *this;
    }
    const std::string& text() const { return m_text; }

private:
    std::size_t m_depth = 0;
    Texts m_open;
    std::string m_text;
};

const char* const Any = "minOccurs=\"0\" maxOccurs=\"unbounded\"";
const char* const Optional = "minOccurs=\"0\"";
const char* const ListElement = "LogList";  ///< the list of a row's calls

std::string named(const std::string& name, const std::string& more = {}) {
    return "name=\"" + name + "\"" + (more.empty() ? "" : " " + more);
}

/// An element of every schema's messages.
void addTyped(Lines& lines, const std::string& name, const std::string& type,
              const std::string& more = {}) {
    lines.open("element", named(name, "type=\"" + type + "\"" + (more.empty() ? "" : " ") + more));
    lines.explain(Sentences::ofElement(name)).close();
}

/// A cell of a row, or a setting.
void addText(Lines& lines, const std::string& name, const std::string& sentence) {
    lines.open("element", named(name, "type=\"xs:string\"")).explain(sentence).close();
}

void addWords(Lines& lines, const Texts& words) {
    lines.open("simpleType").open("restriction", "base=\"xs:string\"");
    for (const std::string& word : words) {
        lines.add("<xs:enumeration value=\"" + word + "\"/>");
    }
    lines.close(2);
}

// ---- What the tables say

bool isOfLists(const Entry& schema) {
    return RequestText::formOf(schema) == RequestText::Form::List;
}

std::string answerTo(const std::string& reason) {
    static const Texts alike = {"search_phone_number", "search_by_external_id"};
    if (std::find(alike.begin(), alike.end(), reason) != alike.end()) {
        return "read_response";
    }
    const std::string verb = reason.substr(0, reason.find('_'));
    return (verb == "reset" ? "update" : verb) + "_response";
}

Texts answersOf(const Entry& schema) {
    Texts answers;
    for (const std::string& reason : schema.reasons) {
        const std::string answer = answerTo(reason);
        if (std::find(answers.begin(), answers.end(), answer) == answers.end()) {
            answers.push_back(answer);
        }
    }
    if (schema.table == DASUtilsStrings::ConversationsTableName) {
        answers.emplace_back("read_response_with_join");
    }
    answers.emplace_back("failure");
    return answers;
}

void addNames(Texts& names, const Texts& more) {
    for (const std::string& name : more) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
}

Texts itemElements(const Entry& schema, Side side) {
    const bool isJoined =
        schema.table == DASUtilsStrings::ConversationsTableName && side == Side::Answer;
    Texts names = isJoined ? KnownSchemas::find("CallLog")->itemElements : schema.itemElements;
    if (!names.empty()) {
        addNames(names, {"DeflectNumber", "TransferType"});
    }
    return names;
}

/// Elements of a row; in answers also those of joined rows.
Texts rowElements(const Entry& schema, Side side) {
    Texts names = schema.elements;
    if (side == Side::Request) {
        if (!isOfLists(schema)) {
            addNames(names, {"Id"});
        } else if (schema.table == DASUtilsStrings::PhoneBookTableName) {
            addNames(names, {"SurnameLike", "FirstnameLike"});
        }
    } else if (schema.name == "CallLogAndPhoneBook" ||
               schema.table == DASUtilsStrings::ConversationsTableName) {
        addNames(names, KnownSchemas::find("PhoneBook")->elements);
        addNames(names, KnownSchemas::find("CallLog")->elements);
    }
    if (side == Side::Answer && !itemElements(schema, side).empty()) {
        addNames(names, {"Category"});  // not in requests, where the schema's name decides it
    }
    if (side == Side::Answer && schema.name == "CallLogAndPhoneBook") {
        addNames(names, {DASUtilsStrings::UserContextTagName});  // of the contact
    }
    return names;
}

// ---- Elements

void addReason(Lines& lines, const Texts& reasons) {
    lines.open("element", named("ReasonForMessage"));
    lines.explain(Sentences::ofElement("ReasonForMessage"));
    addWords(lines, reasons);
    lines.close();
}

void addUserAttribute(Lines& lines) {
    lines.open("attribute", named("currentUser", "use=\"required\""));
    addWords(lines, {"base", "visitor"});
    lines.close();
}

void addNameAttribute(Lines& lines, const Entry& schema) {
    lines.add("<xs:attribute " +
              named("name", "type=\"xs:string\" use=\"required\" fixed=\"" + schema.name + "\"") +
              "/>");
}

/// Names of columns with one blank between them.
void addResultColsType(Lines& lines) {
    const std::string word = "[A-Za-z0-9_]+(\\.([A-Za-z0-9_]+|\\*))?";
    lines.open("simpleType", named("Columns")).open("restriction", "base=\"xs:string\"");
    lines.add("<xs:pattern value=\"(" + word + "( " + word + ")*)?\"/>");
    lines.close(2);
}

void addRowTypes(Lines& lines, const Entry& schema, Side side) {
    lines.open("group", named("Row")).open("choice");
    for (const std::string& name : rowElements(schema, side)) {
        addText(lines, name, Sentences::ofColumn(schema, name));
    }
    const Texts items = itemElements(schema, side);
    if (!items.empty()) {
        lines.open("element", named(ListElement));
        lines.explain(Sentences::ofColumn(schema, ListElement));
        lines.open("complexType").open("sequence").open("element", named("Item", Any));
        lines.explain(Sentences::ofElement("Item")).open("complexType").open("choice", Any);
        for (const std::string& name : items) {
            addText(lines, name, Sentences::ofColumn(schema, name));
        }
        lines.close(6);
    }
    lines.close(2);
    lines.open("complexType", named("Entry"));
    lines.add("<xs:group ref=\"Row\" " + std::string(Any) + "/>").close();
}

/// What follows the reason, outside of a context and inside.
void addRequestBody(Lines& lines, const Entry& schema) {
    lines.open("group", named("Body"));
    if (isOfLists(schema)) {
        lines.open("sequence").open("choice", Any);
        addTyped(lines, "ResultCols", "Columns");
        addTyped(lines, "Offset", "xs:integer");
        addTyped(lines, "RowLimit", "xs:integer");
        addTyped(lines, "Select", "Entry");
        addTyped(lines, "Entry", "Entry");
        lines.close(2);
    } else {
        lines.open("sequence");
        addTyped(lines, "ResultCols", "Columns", Optional);
        lines.open("choice", Optional);
        addTyped(lines, "Entry", "Entry", "maxOccurs=\"unbounded\"");
        lines.add("<xs:group ref=\"Row\" maxOccurs=\"unbounded\"/>").close(2);
    }
    lines.close();
}

void addAnswerBody(Lines& lines, const Entry& schema) {
    lines.open("group", named("Body")).open("choice");
    addTyped(lines, "Entry", "Entry", Any);
    const auto& reasons = schema.reasons;
    if (std::find(reasons.begin(), reasons.end(), "rowcount_request") != reasons.end()) {
        addTyped(lines, "count", "xs:nonNegativeInteger");
    }
    lines.close(2);
}

void addTableMessage(Lines& lines, const Entry& schema, Side side) {
    lines.open("element", named("Schema")).explain(Sentences::ofSchema(schema.name));
    lines.open("complexType").open("sequence");
    addReason(lines, side == Side::Request ? schema.reasons : answersOf(schema));
    if (side == Side::Answer) {
        addTyped(lines, "FailureMessage", "xs:string", Optional);
    }
    lines.open("element", named("Context", Optional)).explain(Sentences::ofElement("Context"));
    lines.open("complexType");
    lines.add("<xs:group ref=\"Body\"/>");
    addUserAttribute(lines);
    lines.close(2).add("<xs:group ref=\"Body\"/>").close();
    addNameAttribute(lines, schema);
    lines.close(2);
    if (side == Side::Request) {
        addResultColsType(lines);
        addRequestBody(lines, schema);
    } else {
        addAnswerBody(lines, schema);
    }
    addRowTypes(lines, schema, side);
}

/// Items may have any name, so elements with another meaning are recognised by name. The known
/// settings are listed as well, with their meaning.
void addSettingsMessage(Lines& lines, const Entry& schema, Side side) {
    const std::string items =
        "<xs:any namespace=\"##local\" processContents=\"lax\" " + std::string(Any) + "/>";
    lines.open("element", named("Schema")).explain(Sentences::ofSchema(schema.name));
    lines.open("complexType").open("sequence");
    addReason(lines, side == Side::Request ? schema.reasons : answersOf(schema));
    lines.add(items).close();
    addNameAttribute(lines, schema);
    lines.close(2);
    lines.open("element", named("Context")).explain(Sentences::ofElement("Context"));
    lines.open("complexType").open("sequence").add(items).close();
    addUserAttribute(lines);
    lines.close(2);
    for (const Sentences::Setting& setting : Sentences::settingsOf(schema.name)) {
        addText(lines, setting.name, setting.text);
    }
    if (side == Side::Request) {
        addTyped(lines, "ResultCols", "Columns");
        addResultColsType(lines);
    }
}

// ---- JSON

using Json = nlohmann::ordered_json;

Json described(const char* type, const std::string& sentence) {
    return {{"type", type}, {"description", sentence}};
}

/// The columns of a printed setting. Any name is allowed; the known ones are given as examples with
/// their meaning.
Json settingProperties(const Entry& schema) {
    Json properties = Json::object();
    properties["Context"] = described("string", Sentences::ofColumn(schema, "UserContext"));
    properties["Name"] = described("string", Sentences::ofColumn(schema, "Name"));
    properties["Value"] = described("string", Sentences::ofColumn(schema, "Value"));
    Json known = Json::array();
    for (const Sentences::Setting& setting : Sentences::settingsOf(schema.name)) {
        known.push_back({{"const", setting.name}, {"description", setting.text}});
    }
    if (!known.empty()) {
        known.push_back({{"type", "string"}});
        properties["Name"]["anyOf"] = known;
    }
    return properties;
}

}  // namespace

std::string SchemaContract::xsd(const Entry& schema, Side side) {
    Lines lines;
    lines.add("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    lines.add(std::string("<!-- ") + (side == Side::Request ? "Requests to " : "Answers of ") +
              schema.name + ", written from the tables of the service. -->");
    lines.open("schema", "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"");
    if (RequestText::formOf(schema) == RequestText::Form::Settings) {
        addSettingsMessage(lines, schema, side);
    } else {
        addTableMessage(lines, schema, side);
    }
    return lines.close().text();
}

std::vector<std::string> SchemaContract::namesOf(const Entry& schema) {
    Texts names;
    for (const KnownSchemas::Column& column : schema.columns) {
        addNames(names, {column.name});
    }
    for (const Side side : {Side::Request, Side::Answer}) {
        addNames(names, rowElements(schema, side));
        addNames(names, itemElements(schema, side));
    }
    if (!schema.itemElements.empty()) {
        addNames(names, {ListElement});
    }
    return names;
}

std::string SchemaContract::rowsJson(const Entry& schema) {
    Json properties = Json::object();
    if (RequestText::formOf(schema) == RequestText::Form::Settings) {
        properties = settingProperties(schema);
    } else {
        Texts names = rowElements(schema, Side::Answer);
        addNames(names, itemElements(schema, Side::Answer));
        for (const std::string& name : names) {
            properties[name] = described("string", Sentences::ofColumn(schema, name));
        }
    }
    const Json row = {
        {"type", "object"}, {"properties", properties}, {"additionalProperties", false}};
    const Json all = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                      {"title", "Rows of " + schema.name + ", as das read prints them"},
                      {"description", Sentences::ofSchema(schema.name)},
                      {"type", "array"},
                      {"items", row}};
    return all.dump(2) + "\n";
}

std::string SchemaContract::answersJson() {
    auto all = nlohmann::ordered_json::object();
    for (const Entry& schema : KnownSchemas::all()) {
        for (const KnownSchemas::AnswerForm& form : schema.answerForms) {
            auto written = nlohmann::ordered_json{{"columns", form.columns}};
            if (!form.itemForms.empty()) {
                written["items"] = form.itemForms;
            }
            all[schema.name].push_back(std::move(written));
        }
    }
    return all.dump(1) + "\n";
}
