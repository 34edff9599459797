// Settings of all schemas are rows of one table. A write must know whether its item exists, so the
// number of rows of each item is cached between requests, which saves a statement for each item.

#include "settings/GeneralConfigurationDAO.h"

#include <utility>

#include "ClientUtils.h"
#include "Secrets.h"
#include "Work.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "settings/CountCache.h"

namespace {

using namespace DASUtilsStrings;

const std::string ReadAllRequest = "readall_request";
const std::string ReadAllResponse = "readall_response";
const std::string SchemaColumn = "Schema";
const std::string NameColumn = "Name";
const std::string ValueColumn = "Value";
const std::string ContextElement = "Context";

// The blanks matter: a migration compares this string to see whether the table has its key.
const std::string CreateStatement =
    "CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, "
    "PRIMARY KEY( Schema, UserContext, Name ) )";

constexpr RequestParser Parser = {
    GeneralConfigurationDAOXmlStartElement, GeneralConfigurationDAOXmlEndElement,
    GeneralConfigurationDAOXmlCharacterDataHandler, "GeneralConfigurationDAO",
    "Parsing a GeneralConfigurationDAO request '%s' failed."};

const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = std::make_shared<const TableLayout>(
        TableLayout::of({}, GeneralConfigTableName,
                        {{SchemaColumn, columnTypeText},
                         {UserContextTagName, columnTypeText},
                         {NameColumn, columnTypeText},
                         {ValueColumn, columnTypeText}}));
    return shared;
}

constexpr int StatusOfReadRow = 1;

GeneralConfigurationDAO& self(void* dao) {
    return static_cast<GeneralConfigurationDAO&>(*static_cast<DataAccessObject*>(dao));
}

CountCache& knownCounts() {
    static CountCache cache;
    return cache;
}

const char* const ContextEnd = "</Context>";

void appendItem(std::string& text, const std::string& name, const std::string& value) {
    text.append("<").append(name).append(">");
    text += Secrets::isHidden(name, value) ? Secrets::Mask : std::string_view(value);
    text.append("</").append(name).append(">");
}

}  // namespace

void GeneralConfigurationDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    self(dao).startElement(name, attributes);
}

void GeneralConfigurationDAOXmlEndElement(void* dao, const char* name) {
    self(dao).endElement(name);
}

void GeneralConfigurationDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    self(dao).XmlCharacterDataHandler(text, length);
}

GeneralConfigurationDAO::GeneralConfigurationDAO(DatabaseAdapter* adapter)
    : DataAccessObject(adapter, layout()) {}

void GeneralConfigurationDAO::clearStaticCaches() {
    knownCounts().clear();
}

void GeneralConfigurationDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<GeneralConfigurationDAO> Operations[] = {
        {&WriteRequest, &GeneralConfigurationDAO::writeRequest, &WriteResponse},
        {&UpdateRequest, &GeneralConfigurationDAO::updateRequest, &UpdateResponse},
        {&ReadRequest, &GeneralConfigurationDAO::readRequest, &ReadResponse},
        {&ReadAllRequest, &GeneralConfigurationDAO::readAllRequest, &ReadAllResponse},
        {&DeleteRequest, &GeneralConfigurationDAO::deleteRequest, &DeleteResponse},
    };
    m_items.clear();
    if (parseRequest(text, length, Parser)) {
        dispatch(*this, Operations);
    }
}

void GeneralConfigurationDAO::startElement(std::string_view name, const char** attributes) {
    m_charData.clear();
    if (name == SchemaColumn) {
        m_schema = firstAttribute(attributes);
        m_schemaName = DASUtils::unescapeSqlReservedCharacters(m_schema);
        m_limits.checkName(m_schema);
    } else if (name == ContextElement) {
        m_requestContext = firstAttribute(attributes);
        m_itemContext = std::make_shared<const std::string>(m_requestContext);
        m_limits.checkName(m_requestContext);
    } else if (name == "ReasonForMessage") {
        m_parseState = ParseState::Reason;
    } else if (name == "ResultCols") {
        m_parseState = ParseState::ResultCols;
    } else {
        m_parseState = ParseState::Item;
        m_currentElement = name;
    }
}

void GeneralConfigurationDAO::endElement(std::string_view name) {
    const ParseState state = m_parseState;
    m_parseState = ParseState::None;
    if (name == ContextElement) {
        m_itemContext.reset();
        return;
    }
    std::string text = DASUtils::escapeSqlReservedCharacters(m_charData);
    switch (state) {
        case ParseState::Reason:
            m_reason = std::move(text);
            break;
        case ParseState::ResultCols:
            m_resultCols = std::move(text);
            m_limits.checkColumns(m_resultCols);
            break;
        case ParseState::Item:
            m_items.push_back({m_currentElement, m_itemContext, std::move(text)});
            m_limits.checkItems(m_items.size());
            break;
        case ParseState::None:
            break;
    }
}

std::string GeneralConfigurationDAO::contextOf(const Item& item, const std::string& name) {
    if (item.context != nullptr && !item.context->empty()) {
        return *item.context;
    }
    const bool isDeviceData = GenConfigDeviceDataItems::isItemDeviceData(
        m_schemaName, DASUtils::unescapeSqlReservedCharacters(name));
    return isDeviceData ? std::string() : DASUtils::escapeSqlReservedCharacters(currentUser());
}

std::string GeneralConfigurationDAO::cacheKey(const std::string& name) const {
    return m_schema + "/" + name;
}

PairList GeneralConfigurationDAO::itemConditions(const std::string& name,
                                                 const std::string& context) const {
    return {{SchemaColumn, DASUtils::convertToDBFormat(m_schema)},
            {UserContextTagName, DASUtils::convertToDBFormat(context)},
            {NameColumn, DASUtils::convertToDBFormat(name)}};
}

int GeneralConfigurationDAO::getRowCount(std::string& count) {
    return getDatabaseAdapter() == nullptr ? 1 : DASUtils::getRowCount(*m_dbAdapter, m_tableName, count);
}

int GeneralConfigurationDAO::getRowCountForItemWithContextInSchema(const std::string& name,
                                                                   const std::string& context,
                                                                   std::string& count) {
    count.clear();
    AdapterLock lock(*m_dbAdapter);
    const std::string key = cacheKey(name);
    CountCache::Entry entry;
    if (!knownCounts().find(context, key, entry)) {
        PairList conditions = itemConditions(name, context);
        entry.status = m_dbAdapter->countRows(m_tableName, conditions, entry.count);
        if (entry.status != 0) {
            return 1;
        }
        knownCounts().store(context, key, entry);
    }
    count = entry.count;
    return entry.status;
}

int GeneralConfigurationDAO::writeRequest() {
    return storeItems(false);
}

int GeneralConfigurationDAO::updateRequest() {
    return storeItems(true);
}

int GeneralConfigurationDAO::storeItems(bool overwrite) {
    if (m_items.empty()) {
        return getDatabaseAdapter() == nullptr ? 1 : 0;
    }
    // Locks at the begin: if another process blocks the items, this waits only once.
    TransactionGuard transaction(*m_dbAdapter, TransactionGuard::Locks::AtOnce);
    if (transaction.beginResult() != 0) {
        return transaction.beginResult();
    }
    int result = 0;
    try {
        for (const Item& item : m_items) {
            if (Work::isInterrupted()) {
                break;
            }
            const int stored = storeItem(item, overwrite);
            result = result != 0 ? result : stored;
        }
    } catch (...) {
        clearStaticCaches();  // under the lock: the result of the commit is not known yet
        throw;
    }
    const int ended = transaction.end();
    if (ended != 0) {
        clearStaticCaches();  // it is not known which rows of the batch are stored
    }
    return result != 0 ? result : ended;
}

int GeneralConfigurationDAO::storeItem(const Item& item, bool overwrite) {
    const std::string context = contextOf(item, item.name);
    std::string count;
    // Only the count decides. The status is 1 if a read has stored the count: kept on purpose.
    (void)getRowCountForItemWithContextInSchema(item.name, context, count);
    int result = 1;
    if (count == "0") {
        result = insertItem(item, context);
    } else if (overwrite && count == "1") {
        result = updateItem(item, context);
    }
    ChangeScope::noteSetting(*m_dbAdapter, item.name, context);
    return result;
}

int GeneralConfigurationDAO::insertItem(const Item& item, const std::string& context) {
    std::vector<std::string> values = {
        DASUtils::convertToDBFormat(m_schema), DASUtils::convertToDBFormat(context),
        DASUtils::convertToDBFormat(item.name), DASUtils::convertToDBFormat(item.value)};
    const int status = m_dbAdapter->insert(m_tableName, values, nullptr);
    if (status == 0) {
        knownCounts().store(context, cacheKey(item.name), {"1", 0});
    } else {
        knownCounts().drop(context, cacheKey(item.name));
    }
    return status;
}

int GeneralConfigurationDAO::updateItem(const Item& item, const std::string& context) {
    PairList conditions = itemConditions(item.name, context);
    PairList newValues = {{ValueColumn, DASUtils::convertToDBFormat(item.value)}};
    return m_dbAdapter->update(m_tableName, conditions, newValues, true);
}

int GeneralConfigurationDAO::readRequest() {
    const auto names = ClientUtils::tokenizeString(m_resultCols, " ", false, false);
    std::vector<std::string> columns = {NameColumn, ValueColumn};
    PairList conditions;
    conditions.reserve(2 + names.size());
    conditions.emplace_back(SchemaColumn, DASUtils::convertToDBFormat(m_schema));
    if (m_requestContext.empty()) {
        columns.insert(columns.begin(), UserContextTagName);
    } else {
        conditions.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_requestContext));
    }
    for (const std::string& name : names) {
        conditions.emplace_back(NameColumn, DASUtils::convertToDBFormat(name));
    }
    // If the request names several items, the statement also returns rows of other schemas, which
    // must not be cached for this one. Rows without their context can't be cached either.
    return readItems(columns, conditions, m_requestContext.empty() && names.size() <= 1);
}

int GeneralConfigurationDAO::readAllRequest() {
    return readItems({UserContextTagName, NameColumn, ValueColumn},
                     {{SchemaColumn, DASUtils::convertToDBFormat(m_schema)}}, true);
}

int GeneralConfigurationDAO::readItems(const std::vector<std::string>& columns,
                                       const PairList& conditions, bool fillCache) {
    m_openContext.clear();
    const auto read = [&] {
        return DASUtils::readRows(*m_dbAdapter, m_tableName, columns, conditions, m_resultRows);
    };
    AdapterLock lock(*m_dbAdapter);
    return readIntoBody(read, [&](std::string& body, const Rows& rows) {
        appendRows(body, rows);
        if (fillCache) {
            fileCounts(rows);
        }
    });
}

/// Rows that were read exist, even if the answer then exceeds its limit.
void GeneralConfigurationDAO::fileCounts(const Rows& rows) const {
    for (const auto& row : rows) {
        knownCounts().store(DASUtils::escapeSqlReservedCharacters(row.at(0)),
                            cacheKey(DASUtils::escapeSqlReservedCharacters(row.at(1))),
                            {"1", StatusOfReadRow});
    }
}

/// Rows of a read in one context have name and value; other rows have their context before these.
/// A Context element stays open for further rows of that context, except in a read of all items.
void GeneralConfigurationDAO::appendRows(std::string& body, const Rows& rows) {
    const bool isReadAll = m_responseReason == ReadAllResponse;
    for (const auto& row : rows) {
        if (row.size() < 3) {
            appendItem(body, row.at(0), row.at(1));
            continue;
        }
        const std::string& context = row[0];
        if (!m_openContext.empty() && (isReadAll || context != m_openContext)) {
            body += ContextEnd;
            m_openContext.clear();
        }
        if (context != m_openContext) {
            body.append("<Context currentUser=\"").append(context).append("\">");
            m_openContext = context;
        }
        appendItem(body, row[1], row[2]);
    }
}

int GeneralConfigurationDAO::deleteRequest() {
    m_limits.checkDeletion(m_items.size());
    if (m_items.empty() || isBeyondLimits()) {
        return 1;
    }
    AdapterLock lock(*m_dbAdapter);
    PairList conditions = {{SchemaColumn, DASUtils::convertToDBFormat(m_schema)}};
    const auto nameOf = [](const Item& item) -> const std::string& {
        return item.name == NameColumn && !item.value.empty() ? item.value : item.name;
    };
    for (const Item& item : m_items) {
        const std::string& name = nameOf(item);
        knownCounts().drop(contextOf(item, name), cacheKey(name));
        conditions.emplace_back(NameColumn, DASUtils::convertToDBFormat(name));
    }
    const int result = m_dbAdapter->deleteRow(m_tableName, conditions);
    if (m_items.size() == 1) {
        ChangeScope::noteSetting(*m_dbAdapter, nameOf(m_items.front()), {});  // for all users
    } else {
        ChangeScope::noteOtherSchemas();
    }
    return result;
}

std::string GeneralConfigurationDAO::responseData() {
    const bool isReadAll = m_responseReason == ReadAllResponse;
    if (m_body.empty() || !(isReadAll || m_responseReason == ReadResponse)) {
        return {};
    }
    if (!isReadAll && !m_requestContext.empty()) {
        return takeEntries();
    }
    if (!m_openContext.empty()) {
        m_body += ContextEnd;
    }
    return std::exchange(m_body, {});
}

/// Runs a statement that changes rows without a lookup of single items. Counts are stored only
/// under the lock, so clearing the cache inside the lock keeps it right, even if @p change throws.
template <typename Change>
int GeneralConfigurationDAO::changeTable(Change change) {
    AdapterLock lock(*m_dbAdapter);
    clearStaticCaches();
    return change();
}

int GeneralConfigurationDAO::createTable() {
    return changeTable([this] { return m_dbAdapter->executeNonQuery(CreateStatement); });
}

int GeneralConfigurationDAO::initialiseMobilityUserData(const std::string& context) {
    return deleteContextData(context);
}

int GeneralConfigurationDAO::copyBaseDataToVisitor() {
    return changeTable([this] { return DataAccessObject::copyBaseDataToVisitor(); });
}

int GeneralConfigurationDAO::deleteContextData(const std::string& context) {
    return changeTable([&] { return DataAccessObject::deleteContextData(context); });
}

int GeneralConfigurationDAO::deleteVisitorUserPassword() {
    return changeTable([this] { return deleteVisitorUserPassword(m_tableName); });
}

int GeneralConfigurationDAO::deleteUcCredentials() {
    return changeTable([this] { return deleteUcCredentials(m_tableName); });
}
