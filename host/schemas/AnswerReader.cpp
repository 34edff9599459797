// Reads an answer from outside to inside: schema, contexts, rows, the list of a row. Each step only
// splits the text at the tags that it knows. A value may contain any tag, so the columns decide
// about everything inside a row.

#include "schemas/AnswerReader.h"

#include <algorithm>
#include <string_view>

#include "schemas/AnswerRecords.h"

namespace {

using AnswerReader::Cells;
using AnswerReader::Row;
using std::string_view;

const std::string Entry = "Entry";
const std::string Item = "Item";
const std::string List = "LogList";
const string_view ContextBegin = "<Context currentUser=\"";
const string_view ContextEnd = "</Context>";
const string_view SchemaEnd = "</Schema>";

bool take(string_view& text, string_view part) {
    const bool isThere = text.substr(0, part.size()) == part;
    text.remove_prefix(isThere ? part.size() : 0);
    return isThere;
}

void dropEnd(string_view& text, string_view part) {
    if (text.size() >= part.size() && text.substr(text.size() - part.size()) == part) {
        text.remove_suffix(part.size());
    }
}

/// Consumes the start of a context, if it is next, and stores its user.
bool takeContext(string_view& text, std::string& user) {
    string_view rest = text;
    const std::size_t end = take(rest, ContextBegin) ? rest.find("\">") : string_view::npos;
    if (end == string_view::npos || rest.substr(0, end).find_first_of("\"<") != string_view::npos) {
        return false;
    }
    user = rest.substr(0, end);
    text = rest.substr(end + 2);
    return true;
}

// Rows
// ----------------------------------------------------------------------------------------------

using Forms = std::vector<KnownSchemas::AnswerForm>;

/// The records of @p text, with the columns of @p forms, or else with those of the first record.
std::vector<AnswerRecords::Record> recordsOf(const std::string& frame,
                                             std::vector<AnswerRecords::Columns> forms,
                                             string_view text) {
    std::vector<AnswerRecords::Record> records;
    const auto isEmpty = [](const auto& columns) { return columns.empty(); };
    forms.erase(std::remove_if(forms.begin(), forms.end(), isEmpty), forms.end());
    const std::string begin = forms.empty() ? "" : "<" + frame + "><" + forms[0][0] + ">";
    string_view rest = text;
    if (!forms.empty() && take(rest, begin) &&
        AnswerRecords(frame, std::move(forms), List).read(text, records)) {
        return records;
    }
    const auto columns = AnswerRecords::columnsOf(frame, text);
    if (!columns.empty()) {
        (void)AnswerRecords(frame, {columns}, List).read(text, records);
    }
    return records;
}

Cells copied(const AnswerRecords::Cells& cells) {
    return Cells(cells.begin(), cells.end());
}

/// The possible forms of a row. For calls, the category of the row selects the form.
std::vector<AnswerRecords::Columns> columnsOf(const Forms& forms) {
    std::vector<AnswerRecords::Columns> all;
    for (const auto& form : forms) {
        all.push_back(form.columns);
    }
    return all;
}

Row rowOf(const AnswerRecords::Record& record, const Forms& forms, const std::string& user) {
    Row row{user, false, {}, {}};
    for (const auto& [name, value] : record.cells) {
        if (name != List) {
            row.cells.emplace_back(name, value);
        } else if (!value.empty()) {
            std::vector<AnswerRecords::Columns> columns;
            if (record.form < forms.size()) {
                columns = forms[record.form].itemForms;
            }
            for (const auto& item : recordsOf(Item, std::move(columns), value)) {
                row.items.push_back(copied(item.cells));
            }
        }
    }
    return row;
}

// Settings
// ------------------------------------------------------------------------------------------

/// Removes the element name at the start of @p text and returns it; blank without one.
std::string takeName(string_view& text) {
    const std::size_t end = text.find('>');
    const string_view name = end == string_view::npos ? "" : text.substr(0, end).substr(1);
    const bool isName =
        !name.empty() && text.front() == '<' && name.find_first_of("</ \"=") == string_view::npos;
    text.remove_prefix(isName ? end + 1 : 0);
    return std::string(isName ? name : "");
}

/// Consumes the tags that may stand between two items.
void takeFrames(string_view& text, std::string& user) {
    bool isFrame = true;
    while (isFrame) {
        isFrame = takeContext(text, user);
        if (take(text, ContextEnd)) {
            user.clear();
            isFrame = true;
        }
    }
}

/// Whether @p text begins with an item whose value does not contain @p other, the end tag of the
/// previous item.
bool beginsItem(string_view text, string_view other) {
    const std::string name = takeName(text);
    const std::size_t limit = std::min(text.find(other), text.size());
    return !name.empty() &&
           text.substr(0, limit + name.size() + 3).find("</" + name + ">") != string_view::npos;
}

/// Consumes the value of the item @p name. It ends at the first end tag after which the answer ends
/// or another complete item follows.
string_view takeValue(string_view& text, const std::string& name) {
    const std::string tag = "</" + name + ">";
    for (std::size_t place = text.find(tag); place != string_view::npos;
         place = text.find(tag, place + 1)) {
        string_view rest = text.substr(place + tag.size());
        const string_view after = rest;
        std::string ignored;
        takeFrames(rest, ignored);
        if (rest.empty() || beginsItem(rest, tag + "<")) {
            const string_view value = text.substr(0, place);
            text = after;
            return value;
        }
    }
    const string_view value = text;
    text = {};
    return value;
}

std::vector<Row> settingsOf(string_view text) {
    std::vector<Row> rows;
    std::string user;
    for (takeFrames(text, user); !text.empty(); takeFrames(text, user)) {
        const std::string name = takeName(text);
        if (name.empty()) {
            break;
        }
        const std::string value(takeValue(text, name));
        rows.push_back({user, true, {{name, value}}, {}});
    }
    return rows;
}

}  // namespace

std::vector<Row> AnswerReader::rowsOf(const KnownSchemas::Entry& schema,
                                      const std::vector<std::string>& asked,
                                      const std::string& answer) {
    const string_view reasonEnd = "</ReasonForMessage>";
    string_view text = answer;
    text.remove_prefix(std::min(text.find(reasonEnd), text.size()));
    if (!take(text, reasonEnd)) {
        return {};
    }
    dropEnd(text, SchemaEnd);
    if (schema.elements.empty()) {
        return settingsOf(text);
    }
    std::string user;
    if (takeContext(text, user)) {
        dropEnd(text, ContextEnd);
    }
    const Forms forms = asked.empty() ? schema.answerForms : Forms{{asked, {}}};
    std::vector<Row> rows;
    for (const auto& record : recordsOf(Entry, columnsOf(forms), text)) {
        rows.push_back(rowOf(record, forms, user));
    }
    return rows;
}
