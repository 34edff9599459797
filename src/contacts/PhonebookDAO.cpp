// The phone book as clients see it: how a request becomes SQL, and the files of management.
// ContactFields holds the fields of a request.

#define DAS_LOG_COMPONENT "PhonebookDAO"

#include "contacts/PhonebookDAO.h"

#include <algorithm>
#include <iterator>

#include "ClientUtils.h"
#include "Log.h"
#include "Storage.h"
#include "contacts/ConversationsTable.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"

namespace {

using namespace DASUtilsStrings;

const std::string SearchNumberReason = "search_phone_number";
const std::string SearchExternalIdReason = "search_by_external_id";

const char* const DataDirectory = "/data/";
constexpr int HighestDiskUsage = 90;
const AssignedNumbers::Key NumberKey = {PhoneBookTableName, PhonebookUniqueIDTagName};
/// A value of a data file in database form.
std::string cellOfFile(DatabaseAdapter& adapter, const std::string& column,
                       const std::string& value) {
    if (column == PhonebookUniqueIDTagName) {
        return AssignedNumbers::ofFile(adapter, NumberKey, ClientUtils::unescapeXMLString(value));
    }
    return DASUtils::escapeAndQuote(column == PhonebookPictureTagName
                                        ? Storage::getStorageName(value)
                                        : ClientUtils::unescapeXMLString(value));
}

const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = [] {
        PairList columns;
        for (const ContactColumns::Column& column : ContactColumns::All) {
            columns.emplace_back(*column.name, *column.type);
        }
        return std::make_shared<const TableLayout>(
            TableLayout::of(PhoneBookSchema, PhoneBookTableName, columns));
    }();
    return shared;
}

constexpr RequestParser Parser = {PhonebookDAOXmlStartElement, PhonebookDAOXmlEndElement,
                                  PhonebookDAOXmlCharacterDataHandler, "PhonebookDAO",
                                  "Parsing a PhonebookDAO request '%s' failed."};

}  // namespace

void PhonebookDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    static_cast<PhonebookDAO*>(dao)->startElement(name, attributes);
}

void PhonebookDAOXmlEndElement(void* dao, const char* name) {
    static_cast<PhonebookDAO*>(dao)->endElement(name);
}

void PhonebookDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    static_cast<PhonebookDAO*>(dao)->characters(text, length);
}

PhonebookDAO::PhonebookDAO() : PhonebookDAO(nullptr) {}

PhonebookDAO::PhonebookDAO(DatabaseAdapter* adapter)
    : ListDAO(adapter, layout(), ContactFields::elements()) {}

PhonebookDAO::PhonebookDAO(DatabaseAdapter* adapter, std::vector<std::string> columnsToSkip)
    : PhonebookDAO(adapter) {
    (void)createTable(std::move(columnsToSkip));  // a failure is in the log
}

void PhonebookDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<PhonebookDAO> Operations[] = {
        {&WriteRequest, &PhonebookDAO::writeWithTable, &WriteResponse},
        {&UpdateRequest, &PhonebookDAO::updateRequest, &UpdateResponse},
        {&ReadRequest, &PhonebookDAO::readRequest, &ReadResponse},
        {&DeleteRequest, &PhonebookDAO::deleteRequest, &DeleteResponse},
        {&RowCountRequest, &PhonebookDAO::rowCountRequest, &RowCountResponse},
        {&SearchNumberReason, &PhonebookDAO::searchPhoneNumberRequest, &ReadResponse},
        {&SearchExternalIdReason, &PhonebookDAO::searchByExternalIdRequest, &ReadResponse},
    };
    DAS_LOG(5, "handleRequest: %s", LoggedText::request(text != nullptr ? text : "").c_str());
    if (!parseRequest(text, length, Parser)) {
        return;
    }
    if (!settleUser()) {
        DAS_LOG(2, "handleRequest - User context empty");
        return;
    }
    (void)createMissingTable();
    if (!dispatch(*this, Operations)) {
        DAS_LOG(2, "handleRequest - Failed to find request type");
    }
}

void PhonebookDAO::startElement(const char* name, const char** attributes) {
    m_request.startElement(name, attributes);
    if (ListRequest::isEntry(name)) {
        m_fields.beginEntry();
    }
}

void PhonebookDAO::endElement(const char* name) {
    const int element = m_request.endElement(name);
    if (ListRequest::isEntry(name)) {
        m_fields.endEntry();
    }
    if (element != ListRequest::NoField) {
        m_fields.add(static_cast<std::size_t>(element), m_request.text(), m_request.isInEntry());
        m_limits.checkValues(m_fields.selected());
    }
}

int PhonebookDAO::buildParams(PairList& params) const {
    params.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    return m_fields.appendConditions(params) ? 0 : 1;
}

void PhonebookDAO::extractResultColumns() {
    m_resultColumns = m_request.resultColumns();
}

std::vector<std::string> PhonebookDAO::columnsToRead() const {
    std::vector<std::string> columns = m_resultColumns;
    // The only element whose column has another name.
    std::replace(columns.begin(), columns.end(), ContactColumns::GroupElement,
                 PhonebookCallGroupTagName);
    return columns;
}

int PhonebookDAO::buildReadQuery(PairList& params) {
    DAS_LOG(5, "buildReadQuery");
    extractResultColumns();
    m_request.settlePaging();
    return DASUtils::areResultColumns(m_resultColumns) ? buildParams(params) : 1;
}

int PhonebookDAO::readRequest() {
    PairList params;
    if (buildReadQuery(params) != 0) {
        return 1;
    }
    PairList hidden;
    // A read hides the contacts of conversations only if it names all columns: kept on purpose,
    // clients count everything by a read without ResultCols.
    if (calculateIfReadAll(m_tableName) && !m_resultColumns.empty()) {
        (void)ConversationsTable(m_dbAdapter).createMissingTable();
        hidden.emplace_back("PHONE_BOOK.UniqueID",
                            ConversationsTable::allNamedIn(ConversationsColumns::ContactColumn));
    }
    PairList none;
    PairList orderBy = {{"UPPER(" + PhonebookSurnameTagName + ")", ""}};
    const auto read = [&] {
        return m_dbAdapter->executeQuery(m_tableName, columnsToRead(), params, none, hidden,
                                         orderBy, m_resultRows, m_request.offset(),
                                         m_request.rowLimit());
    };
    return readEntries(read, ContactColumns::elements(), true);
}

int PhonebookDAO::search(const char* logLine) {
    DAS_LOG(5, "%s", logLine);
    PairList params;
    const bool isGood = buildReadQuery(params) == 0 &&
                        (m_request.rowLimit().empty() || DASUtils::isNumber(m_request.rowLimit()));
    const auto read = [&] {
        PairList orderBy;
        return m_dbAdapter->actualSearchQuery(m_tableName, columnsToRead(), params, orderBy,
                                              m_resultRows, m_request.offset(),
                                              m_request.rowLimit());
    };
    return isGood ? readEntries(read, ContactColumns::elements(), true) : 1;
}

int PhonebookDAO::searchPhoneNumberRequest() {
    return search("searchPhoneNumberRequest");
}

int PhonebookDAO::searchByExternalIdRequest() {
    return search("searchByExternalIdRequest");
}

int PhonebookDAO::rowCountRequest() {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    PairList params;
    if (buildParams(params) != 0) {
        return 1;
    }
    return m_dbAdapter->getRowCount(m_tableName, params, m_count);
}

int PhonebookDAO::deleteRequest() {
    PairList params;
    const ContactFields::Fields fields = m_fields.last();
    const bool hasPattern = std::any_of(fields.begin(), fields.end(),
                                        [](const auto* field) { return field->isPattern; });
    if (hasPattern || buildParams(params) != 0) {
        return 1;
    }
    const auto selected = std::find_if(params.begin(), params.end(), [](const auto& pair) {
        return pair.first == PhonebookUniqueIDTagName;
    });
    const std::string number = selected != params.end() ? selected->second : std::string();
    const int result = m_dbAdapter->deleteRow(m_tableName, params);
    ChangeScope::noteNumber(*m_dbAdapter, number, m_responseUser);
    return result;
}

int PhonebookDAO::updateRequest() {
    PairList conditions;
    PairList newValues;
    for (const ContactFields::Field& field : m_fields.all()) {
        if (!field.isPattern) {
            (field.inEntry ? newValues : conditions)
                .emplace_back(*ContactFields::Columns[field.place].name,
                              DASUtils::convertToDBFormat(field.text));
        }
    }
    // Without a condition the update would change every contact of every user.
    if (conditions.empty()) {
        return 1;
    }
    const bool numbersAreGood =
        std::all_of(newValues.begin(), newValues.end(), [this](const auto& value) {
            return value.first != PhonebookUniqueIDTagName ||
                   AssignedNumbers::mayBeStored(*m_dbAdapter, NumberKey, value.second);
        });
    if (!numbersAreGood) {
        return 1;
    }
    const int result = m_dbAdapter->update(m_tableName, conditions, newValues, false);
    noteUpdate();
    return result;
}

/// An update may reach contacts of any user, so the owner is read from the contact itself.
void PhonebookDAO::noteUpdate() {
    if (ChangeScope::heard() == nullptr) {
        return;
    }
    const std::string number = m_fields.updatedNumber();
    Rows rows;
    const bool isKnown =
        !number.empty() &&
        DASUtils::readRows(*m_dbAdapter, m_tableName, {UserContextTagName},
                           {{PhonebookUniqueIDTagName, DASUtils::convertToDBFormat(number)}},
                           rows) == 0 &&
        rows.size() == 1;
    ChangeScope::noteNumber(*m_dbAdapter, isKnown ? number : std::string(),
                            isKnown ? rows[0].at(0) : std::string());
}

int PhonebookDAO::writeWithTable() {
    int status = writeRequest();
    if (status != 0 && !couldNotBegin()) {
        (void)createTable();  // fails if the missing table was not the cause
        status = writeRequest();
    }
    setStatus(status);
    return status;
}

int PhonebookDAO::writeRequest() {
    DAS_LOG(5, "writeRequest");
    m_lastNumber = 0;
    // The phone book grows with what users type. The remaining disk space is needed for the
    // journals of all other writes; without a journal, nothing could even be deleted.
    const int usage = Storage::checkDiskUsage(DataDirectory);
    if (usage > HighestDiskUsage) {
        DAS_LOG(2, "writeRequest Out of disk space %d%% full\n", usage);
        return -1;
    }
    const int result = insertContacts();
    DAS_LOG(5, "writeRequest returning with an rc of %d", result);
    return result;
}

int PhonebookDAO::insertContacts() {
    const std::size_t count = m_fields.contacts();
    if (count > 1) {
        return forEachEntry(count, [this](std::size_t index) { return insertContact(index); });
    }
    return count == 0 ? -1 : insertContact(0);
}

int PhonebookDAO::insertContact(std::size_t index) {
    const ContactFields::Fields fields = m_fields.of(index);
    const std::string& number = fields[ContactFields::Number]->text;
    const bool hasPattern = fields[ContactFields::Surname]->isPattern ||
                            fields[ContactFields::Firstname]->isPattern;
    if (hasPattern || !(number.empty() ||
                        (DASUtils::isIdentifier(number) && mayStore(NumberKey, number)))) {
        return 1;
    }
    std::vector<std::string> values;
    values.reserve(ContactColumns::Count);
    values.push_back(DASUtils::convertToDBFormat(m_responseUser));
    values.push_back(number.empty() ? m_numbers.valueOf(index) : number);
    for (std::size_t field = ContactFields::Surname; field < ContactFields::Count; ++field) {
        values.push_back(DASUtils::convertToDBFormat(fields[field]->text));
    }
    return noteStored(index, number.empty(),
                      m_dbAdapter->insert(m_tableName, values, &m_lastNumber));
}

std::string PhonebookDAO::responseData() {
    if (m_responseReason == WriteResponse) {
        return ListRequest::numberAnswer(PhonebookUniqueIDTagName, m_lastNumber);
    }
    if (m_responseReason == RowCountResponse) {
        return ListRequest::countAnswer(m_count);
    }
    return takeEntries();
}

bool PhonebookDAO::tagIsInVector(std::string tag, std::vector<std::string>& tags) {
    return DASUtils::columnIsInColumnList(tag, tags);
}

int PhonebookDAO::createTable() {
    return createTable(std::vector<std::string>());
}

int PhonebookDAO::createTable(std::vector<std::string> columnsToSkip) {
    DAS_LOG(6, "createTable - columnsToSki.size[%d]", static_cast<int>(columnsToSkip.size()));
    if (tagIsInVector(UserContextTagName, columnsToSkip)) {
        DAS_LOG(2, "createTable - UserContextTagName cannot be skipped");
    }
    PairList made;
    for (const auto& column : columns()) {
        if (column.name == UserContextTagName || !tagIsInVector(column.name, columnsToSkip)) {
            made.emplace_back(column.name, column.type);
        }
    }
    return m_dbAdapter->createTable(m_tableName, made);
}

int PhonebookDAO::createPhonenumberIndices() {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    (void)createMissingTable();
    m_dbAdapter->createIndicesForTable(
        m_tableName, {PhonebookOfficeTagName, PhonebookMobileTagName, PhonebookPrivateTagName,
                      PhonebookOffice2TagName, PhonebookExternalIDTagName});
    return 0;
}

int PhonebookDAO::deleteVisitorPhonebook() {
    return deleteVisitorPhonebook(m_tableName);
}

int PhonebookDAO::importDataForUser(const std::string& location, eUserCategory category) {
    const std::string& context = category == visitor ? UserContextVisitor : UserContextBase;
    std::vector<std::string> columns = columnNames();
    columns.erase(columns.begin() + ContactColumns::NumberPlace);
    (void)createMissingTable();
    return replaceRowsOfUser(context, location, [&](std::vector<std::string>& fields) {
        fields.front() = context;
        if (fields.size() > 1) {
            fields.erase(fields.begin() + 1);  // numbers are assigned by each telephone itself
        }
        return updateItemInTable(m_tableName, columns, fields);
    });
}

int PhonebookDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                    std::vector<std::string>& values) {
    if (names.size() != values.size()) {
        DAS_LOG(3,
                "updateItemInTable() columnNames.size()=%d does not match parseResults.size()=%d",
                static_cast<int>(names.size()), static_cast<int>(values.size()));
        DAS_LOG(3, "updateItemInTable() parseResults = { '%s' }",
                ClientUtils::join(values, ",").c_str());
        DAS_LOG(3, "updateItemInTable() columnNames  = { '%s' }",
                ClientUtils::join(names, ",").c_str());
    }
    std::vector<std::string> row;
    row.reserve(names.size());
    for (std::size_t i = 0; i < std::max(names.size(), values.size()); ++i) {
        row.push_back(
            cellOfFile(*m_dbAdapter, names.at(i), i < values.size() ? values[i] : std::string()));
    }
    return m_dbAdapter->insertRow(table, names, row, nullptr);
}
