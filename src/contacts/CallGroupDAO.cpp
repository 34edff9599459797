// Logs under the component of the phone book: kept on purpose, readers of the log see both as
// contacts.
#define DAS_LOG_COMPONENT "PhonebookDAO"

#include "contacts/CallGroupDAO.h"

#include <algorithm>

#include "ClientUtils.h"
#include "Log.h"
#include "dao/KeyIds.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

const std::string NumberColumn = "CallGroup";  // the table has the same name
const std::string NameColumn = "CallGroupName";
const std::string RingToneColumn = "RingToneID";

const std::string ResetRequestReason = "reset_request";

/// Columns after the user, which are the elements of requests and answers.
const std::vector<std::string>& fieldNames() {
    static const std::vector<std::string> names = {NumberColumn, NameColumn, RingToneColumn};
    return names;
}

const std::shared_ptr<const TableLayout>& layout() {
    static const std::shared_ptr<const TableLayout> shared = [] {
        auto made =
            std::make_shared<TableLayout>(TableLayout::of(CallGroupSchema, CallGroupTableName,
                                                          {{UserContextTagName, columnTypeText},
                                                           {NumberColumn, columnTypeText},
                                                           {NameColumn, columnTypeText},
                                                           {RingToneColumn, columnTypeText}}));
        made->defaultRowIds = KeyIds::texts({{1, 16}});
        return made;
    }();
    return shared;
}

/// The numbers of the groups, in database form.
const std::vector<std::string>& groupNumbers() {
    static const std::vector<std::string> numbers = [] {
        std::vector<std::string> all;
        for (const std::string& number : layout()->defaultRowIds) {
            all.push_back(DASUtils::convertToDBFormat(number));
        }
        return all;
    }();
    return numbers;
}

PairList blankValues() {
    return {{NameColumn, EmptyDBString}, {RingToneColumn, EmptyDBString}};
}

constexpr RequestParser Parser = {CallGroupDAOXmlStartElement, CallGroupDAOXmlEndElement,
                                  CallGroupDAOXmlCharacterDataHandler, "PhonebookDAO",
                                  "Parsing a CallGroupDAO '%s' request failed."};

}  // namespace

void CallGroupDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    static_cast<CallGroupDAO*>(dao)->startElement(name, attributes);
}

void CallGroupDAOXmlEndElement(void* dao, const char* name) {
    static_cast<CallGroupDAO*>(dao)->endElement(name);
}

void CallGroupDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    static_cast<CallGroupDAO*>(dao)->characters(text, length);
}

CallGroupDAO::CallGroupDAO() : CallGroupDAO(nullptr) {}

CallGroupDAO::CallGroupDAO(DatabaseAdapter* adapter) : ListDAO(adapter, layout(), fieldNames()) {}

void CallGroupDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<CallGroupDAO> Operations[] = {
        {&UpdateRequest, &CallGroupDAO::updateRequest, &UpdateResponse},
        {&ReadRequest, &CallGroupDAO::readRequest, &ReadResponse},
        {&ResetRequestReason, &CallGroupDAO::resetRequest, &UpdateResponse},
        {&RowCountRequest, &CallGroupDAO::rowCountRequest, &RowCountResponse},
    };
    if (!parseRequest(text, length, Parser)) {
        return;
    }
    if (!settleUser()) {
        DAS_LOG(2, "handleRequest - User context empty");
        return;
    }
    (void)createMissingGroups();
    (void)dispatch(*this, Operations);  // an unknown reason is answered as a failure
}

void CallGroupDAO::startElement(const char* name, const char** attributes) {
    m_request.startElement(name, attributes);
}

void CallGroupDAO::endElement(const char* name) {
    const int field = m_request.endElement(name);
    if (field != ListRequest::NoField) {
        m_request.addPair(fieldNames()[static_cast<std::size_t>(field)],
                          DASUtils::convertToDBFormat(m_request.text()));
    }
}

PairList CallGroupDAO::readConditions() const {
    PairList conditions = m_request.selectPairs();
    conditions.insert(conditions.end(), m_request.entryPairs().begin(),
                      m_request.entryPairs().end());
    conditions.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    return conditions;
}

int CallGroupDAO::updateRequest() {
    PairList conditions = m_request.selectPairs();
    conditions.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    PairList newValues = m_request.entryPairs();
    const int result = m_dbAdapter->update(m_tableName, conditions, newValues, false);
    ChangeScope::noteRow(*m_dbAdapter, numberOfGroup(), m_responseUser);
    return result;
}

/// The group that the request selects only by its number and does not renumber; blank if there is
/// none.
std::string CallGroupDAO::numberOfGroup() const {
    const auto isNumber = [](const auto& pair) { return pair.first == NumberColumn; };
    const PairList& selected = m_request.selectPairs();
    const PairList& values = m_request.entryPairs();
    const auto found = std::find_if(selected.begin(), selected.end(), isNumber);
    return std::count_if(selected.begin(), selected.end(), isNumber) == 1 &&
                   std::none_of(values.begin(), values.end(), isNumber)
               ? found->second.substr(1, found->second.size() - 2)  // without its quotes
               : std::string();
}

int CallGroupDAO::readRequest() {
    m_resultColumns = m_request.resultColumns();
    if (!DASUtils::areResultColumns(m_resultColumns)) {
        return 1;
    }
    const auto read = [this] {
        return DASUtils::readRows(*m_dbAdapter, m_tableName, m_resultColumns, readConditions(),
                                  m_resultRows);
    };
    return readEntries(read, fieldNames(), true);
}

int CallGroupDAO::rowCountRequest() {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    PairList conditions = readConditions();
    return m_dbAdapter->getRowCount(m_tableName, conditions, m_count);
}

int CallGroupDAO::getRowCount(std::string& count) {
    count = "0";
    return DASUtils::getRowCount(*m_dbAdapter, m_tableName, count);
}

int CallGroupDAO::resetRequest() {
    const std::vector<std::string>& numbers = groupNumbers();
    return forEachEntry(numbers.size(), [&](std::size_t i) {
        PairList conditions = {{UserContextTagName, DASUtils::convertToDBFormat(m_responseUser)},
                               {NumberColumn, numbers[i]}};
        PairList newValues = blankValues();
        const int result = m_dbAdapter->update(m_tableName, conditions, newValues, false);
        ChangeScope::noteRow(*m_dbAdapter, {}, m_responseUser);
        return result;
    });
}

std::string CallGroupDAO::responseData() {
    if (m_responseReason == RowCountResponse) {
        return ListRequest::countAnswer(m_count);
    }
    return takeEntries();
}

/// The table is created together with its groups or not at all, because missing groups of a user
/// are never added later.
bool CallGroupDAO::createMissingGroups() {
    if (m_dbAdapter->isTableThere(m_tableName)) {
        return false;
    }
    const ChangeScope::Unreported unreported(*m_dbAdapter);
    const auto create = [this] {
        return createTable() == 0 && insertGroupsOf({UserContextBase, UserContextVisitor}) == 0;
    };
    return runWholeOrNot(*m_dbAdapter, create, TransactionGuard::Locks::AtOnce);
}

int CallGroupDAO::insertGroup(const std::string& context, const std::string& number) {
    std::vector<std::string> values = {DASUtils::escapeAndQuote(context), number, EmptyDBString,
                                       EmptyDBString};
    return m_dbAdapter->insert(m_tableName, values, nullptr);
}

int CallGroupDAO::insertDefaultRows() {
    return insertDefaultRows(false);
}

/// A user has all groups or none. If all are missing, the next start notices this and inserts them.
int CallGroupDAO::insertTogether(const std::function<int()>& insert) {
    return runWhole(*m_dbAdapter, insert, TransactionGuard::Locks::AtOnce);
}

int CallGroupDAO::insertDefaultRows(bool onlyMissing) {
    return insertTogether([&] {
        const bool isMissing = !onlyMissing || m_dbAdapter->isKnownToBeEmpty(m_tableName);
        return isMissing ? insertGroupsOf({UserContextBase, UserContextVisitor}) : 0;
    });
}

int CallGroupDAO::insertGroupsOf(const std::vector<std::string>& contexts) {
    for (const std::string& number : groupNumbers()) {
        for (const std::string& context : contexts) {
            const int result = insertGroup(context, number);
            if (result != 0) {
                return result;
            }
        }
    }
    return 0;
}

int CallGroupDAO::insertDefaultRows(const std::string& context) {
    if (createMissingGroups()) {
        return 0;
    }
    return insertTogether([&] {
        const int removed = deleteContextData(context);
        if (removed == 0) {
            return insertGroupsOf({context});
        }
        // A start on a full disk may have left the table without groups of any user.
        return m_dbAdapter->isKnownToBeEmpty(m_tableName)
                   ? insertGroupsOf({UserContextBase, UserContextVisitor})
                   : removed;
    });
}

int CallGroupDAO::initialiseMobilityUserData(const std::string& context) {
    (void)createMissingGroups();
    PairList conditions = {{UserContextTagName, DASUtils::escapeAndQuote(context)}};
    PairList newValues = blankValues();
    return m_dbAdapter->update(m_tableName, conditions, newValues, false);
}

int CallGroupDAO::importData(std::string& location) {
    (void)createMissingGroups();
    std::vector<std::string> columns = columnNames();
    return importDataFromFile(m_tableName, columns, location) ? 0 : 1;
}

int CallGroupDAO::importDataForUser(const std::string& location, eUserCategory category) {
    (void)createMissingGroups();
    const bool isVisitor =
        category == visitor && !DASUtils::isActiveMobilityModeIsBasic(m_dbAdapter);
    const std::string& context = isVisitor ? UserContextVisitor : UserContextBase;
    std::vector<std::string> columns = columnNames();
    return importRowsOfUser(location, [&](std::vector<std::string>& fields) {
        fields.front() = context;
        const int result = updateItemInTable(m_tableName, columns, fields);
        ChangeScope::noteRow(*m_dbAdapter, {}, context);
        return result;
    });
}

int CallGroupDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                    std::vector<std::string>& values) {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    PairList conditions;
    PairList newValues;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool selects = names[i] == UserContextTagName || names[i] == NumberColumn;
        (selects ? conditions : newValues)
            .emplace_back(names[i],
                          DASUtils::escapeAndQuote(ClientUtils::unescapeXMLString(values.at(i))));
    }
    return m_dbAdapter->update(table, conditions, newValues, false);
}
