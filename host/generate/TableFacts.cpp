#include "TableFacts.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "Storage.h"
#include "calls/CallLogColumns.h"
#include "calls/CallLogWriter.h"
#include "contacts/ContactColumns.h"
#include "dao/DataAccessObject.h"
#include "database/DatabaseAdapter.h"
#include "schemas/DAOFactory.h"

namespace {

using Texts = std::vector<std::string>;

/// Writes numbers as ranges: "30", "32 to 35".
Texts inRanges(const Texts& ids) {
    Texts ranges;
    for (std::size_t first = 0; first < ids.size();) {
        std::size_t last = first;
        while (last + 1 < ids.size() && std::stoi(ids[last + 1]) == std::stoi(ids[last]) + 1) {
            ++last;
        }
        ranges.push_back(last > first ? ids[first] + " to " + ids[last] : ids[first]);
        first = last + 1;
    }
    return ranges;
}

/// While this object lives, it receives the log and finds there the reasons that a class supports.
class ReasonsEar {
public:
    ReasonsEar() : m_level(Log::level()) {
        Log::setLevel(LevelOfAll);
        Log::setSink([this](const Log::Entry& entry) {
            const std::string words = "is none of ";
            const std::size_t place = entry.message.find(words);
            if (place != std::string::npos) {
                m_heard = entry.message.substr(place + words.size());
            }
        });
    }
    ~ReasonsEar() {
        Log::setSink({});
        Log::setLevel(m_level);
    }
    ReasonsEar(const ReasonsEar&) = delete;
    ReasonsEar& operator=(const ReasonsEar&) = delete;

    Texts take() {
        return ClientUtils::tokenizeString(std::exchange(m_heard, {}), ", ", false, false);
    }

private:
    static constexpr int LevelOfAll = 6;

    const int m_level;
    std::string m_heard;
};

/// The reasons that a class supports. If a request has an unknown reason, the class logs the known
/// ones.
Texts reasonsOf(DataAccessObject& object, const std::string& schema, ReasonsEar& ear) {
    const std::string request = "<Schema name=\"" + schema +
                                "\"><ReasonForMessage>unknown_request</ReasonForMessage></Schema>";
    object.setCurrentUser(DASUtilsStrings::UserContextBase);
    object.handleRequest(request.c_str(), static_cast<int>(request.size()));
    return ear.take();
}

bool hasColumn(const DataAccessObject& object, const std::string& name) {
    const auto& all = object.columns();
    return std::any_of(all.begin(), all.end(),
                       [&](const auto& column) { return column.name == name; });
}

std::string usersOf(const DataAccessObject& object) {
    if (object.tableName() == DASUtilsStrings::GeneralConfigTableName) {
        return "base, visitor, and the telephone with a blank context";
    }
    return hasColumn(object, DASUtilsStrings::UserContextTagName) ? "base and visitor"
                                                                  : "the telephone";
}

Texts keyOf(DatabaseAdapter& adapter, const std::string& table) {
    Rows rows;
    (void)adapter.executeSQLQuery(
        "SELECT name FROM pragma_table_info('" + table + "') WHERE pk > 0 ORDER BY pk", rows);
    Texts names;
    for (const auto& row : rows) {
        names.push_back(row.at(0));
    }
    return names;
}

bool hasDataFile(DataAccessObject& object) {
    std::string path = "/tmp/rows.csv";
    PairList all;
    object.exportData(all, path);
    return std::filesystem::remove(Storage::devicePath(path));
}

std::vector<KnownSchemas::Column> columnsOf(const DataAccessObject& object) {
    std::vector<KnownSchemas::Column> columns;
    for (const auto& column : object.columns()) {
        const auto& all = column.defaults;
        const bool areEqual = std::all_of(
            all.begin(), all.end(), [&](const std::string& each) { return each == all.front(); });
        columns.push_back(
            {column.name, column.type, areEqual && !all.empty() ? Texts{all.front()} : Texts(all)});
    }
    return columns;
}

Texts callElements() {
    using namespace CallLogColumns;
    Texts names;
    for (const RowColumn column :
         {UniqueId, EntryId, Surname, Firstname, PictureClip, Viewed, JSGroupBy}) {
        names.push_back(element(column));
    }
    return names;
}

Texts callItemElements() {
    Texts names;
    for (std::size_t field = 0; field < CallLogColumns::FieldCount; ++field) {
        names.push_back(CallLogColumns::element(static_cast<CallLogColumns::Field>(field)));
    }
    return names;
}

/// The row of a call of @p category as the service writes it, with all its cells blank except two.
std::string writtenCall(const std::string& category, bool withContact) {
    using namespace CallLogColumns;
    Texts row(Count);
    row[Category] = category;
    row[position(TimeDate, 0)] = category;
    const auto kind = withContact ? CallLogWriter::AllWithContacts : CallLogWriter::All;
    std::string text;
    CallLogWriter::parseAllCallLogCols(text, row, 0, kind);
    if (withContact) {
        const Texts contact(ContactColumns::elements().size() + 1);
        CallLogWriter::parseAllPhoneBookCols(text, contact, 0, CallLogWriter::UserOfContact);
    }
    return text;
}

/// Adds the elements of a written row to @p columns, and those of its item to @p item.
void addElementsOf(const std::string& written, Texts& columns, Texts& item) {
    const std::size_t itemBegin = written.find("<Item>");
    const std::size_t itemEnd = written.find("</Item>");
    for (std::size_t begin = written.find('<'); begin != std::string::npos;
         begin = written.find('<', begin + 1)) {
        const std::string name = written.substr(begin + 1, written.find('>', begin) - begin - 1);
        if (name[0] != '/' && begin != itemBegin) {
            (begin > itemBegin && begin < itemEnd ? item : columns).push_back(name);
        }
    }
}

/// Calls have two forms: missed calls have one more column, and the items of all other calls are of
/// two kinds.
std::vector<KnownSchemas::AnswerForm> callForms(bool withContact) {
    std::vector<KnownSchemas::AnswerForm> forms(2);
    for (const auto kind :
         {CallLogWriter::Missed, CallLogWriter::Dialled, CallLogWriter::Received}) {
        KnownSchemas::AnswerForm& form = forms[kind == CallLogWriter::Missed ? 0 : 1];
        form.columns.clear();
        form.itemForms.emplace_back();
        addElementsOf(writtenCall(CallLogWriter::categoryOf(kind), withContact), form.columns,
                      form.itemForms.back());
    }
    return forms;
}

void addElements(KnownSchemas::Entry& facts) {
    if (facts.table == DASUtilsStrings::PhoneBookTableName) {
        facts.elements = ContactColumns::elements();
    } else if (facts.table == DASUtilsStrings::CallLogTableName) {
        facts.elements = callElements();
        facts.itemElements = callItemElements();
    } else if (facts.table != DASUtilsStrings::GeneralConfigTableName) {
        for (const KnownSchemas::Column& column : facts.columns) {
            if (column.name != DASUtilsStrings::UserContextTagName) {
                facts.elements.push_back(column.name);
            }
        }
    }
}

void addAnswerForms(KnownSchemas::Entry& facts) {
    if (facts.table == DASUtilsStrings::CallLogTableName) {
        facts.answerForms = callForms(facts.name == DASUtilsStrings::CallLogAndPhoneBookSchema);
    } else if (!facts.elements.empty()) {
        facts.answerForms = {{facts.elements, {}}};
    }
}

}  // namespace

std::vector<KnownSchemas::Entry> collectFacts(const std::vector<std::string>& schemas,
                                              DAOFactory& factory, DatabaseAdapter& adapter) {
    ReasonsEar ear;
    std::vector<KnownSchemas::Entry> all;
    for (const std::string& schema : schemas) {
        const std::unique_ptr<DataAccessObject> object(factory.createDAOInstance(schema));
        KnownSchemas::Entry facts;
        facts.name = schema;
        facts.table = object->tableName();
        (void)object->createTable();  // an existing table stays
        facts.reasons = reasonsOf(*object, schema, ear);
        facts.users = usersOf(*object);
        facts.key = keyOf(adapter, facts.table);
        facts.defaultRows = inRanges(object->defaultRowIds());
        facts.hasDataFile = hasDataFile(*object);
        facts.columns = columnsOf(*object);
        addElements(facts);
        addAnswerForms(facts);
        all.push_back(std::move(facts));
    }
    return all;
}
