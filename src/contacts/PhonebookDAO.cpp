#include "contacts/PhonebookDAO.h"

#include <algorithm>
#include <iterator>

#include "ClientUtils.h"
#include "Storage.h"
#include "contacts/ConversationsTable.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"
#include "database/Logging.h"

namespace {

using namespace DASUtilsStrings;

constexpr const char* LogComponent = "PhonebookDAO";
constexpr const char* LogSource = "./src/PhonebookDAO";

/// The columns that a request may name: all but the user's.
const ContactColumns::Column* const FieldColumns =
    ContactColumns::All + ContactColumns::NumberPlace;

/// Places of fields, one less than those of their columns.
enum FieldPlace : std::size_t {
    NumberField = ContactColumns::NumberPlace - 1,
    SurnameField = ContactColumns::SurnamePlace - 1,
    FirstnameField = ContactColumns::FirstnamePlace - 1
};

/// Elements after those of the columns: a part of a name, and the field that it searches.
struct Pattern {
    const char* element;
    FieldPlace field;
};
constexpr Pattern Patterns[] = {{"SurnameLike", SurnameField}, {"FirstnameLike", FirstnameField}};

const std::string rowCountRequestReason = "rowcount_request";
const std::string rowCountResponse = "rowcount_response";
const std::string searchNumberReason = "search_phone_number";
const std::string searchExternalIdReason = "search_by_external_id";

const char* const dataDirectory = "/data/";
constexpr int highestDiskUsage = 90;
const AssignedNumbers::Key NumberKey = {PhoneBookTableName, PhonebookUniqueIDTagName};
const std::string patternWord = "LIKE";

/// The elements of requests.
const std::vector<std::string>& requestNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all = ContactColumns::elements();
        for (const Pattern& pattern : Patterns) {
            all.emplace_back(pattern.element);
        }
        return all;
    }();
    return names;
}

/// The columns of a data file: the user, and those from the place @p first on.
std::vector<std::string> fileColumns(ContactColumns::Place first) {
    std::vector<std::string> names = {UserContextTagName};
    for (std::size_t place = first; place < ContactColumns::Count; ++place) {
        names.push_back(*ContactColumns::All[place].name);
    }
    return names;
}

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
    static const std::shared_ptr<const TableLayout> shared = [] {
        auto made = std::make_shared<TableLayout>();
        made->schema = PhoneBookSchema;
        made->table = PhoneBookTableName;
        for (const ContactColumns::Column& column : ContactColumns::All) {
            made->columns.emplace_back(*column.name, *column.type, "");
        }
        return made;
    }();
    return shared;
}

constexpr RequestParser Parser = {PhonebookDAOXmlStartElement, PhonebookDAOXmlEndElement,
                                  PhonebookDAOXmlCharacterDataHandler, LogComponent,
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
    : DataAccessObject(adapter, layout()),
      m_request(requestNames(), m_schemaName, m_requestContext, m_reason, m_limits) {}

PhonebookDAO::PhonebookDAO(DatabaseAdapter* adapter, std::vector<std::string> columnsToSkip)
    : PhonebookDAO(adapter) {
    (void)createTable(std::move(columnsToSkip));  // a failure is in the log
}

PhonebookDAO::~PhonebookDAO() = default;

void PhonebookDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<PhonebookDAO> Operations[] = {
        {&WriteRequest, &PhonebookDAO::writeWithTable, &WriteResponse},
        {&UpdateRequest, &PhonebookDAO::updateRequest, &UpdateResponse},
        {&ReadRequest, &PhonebookDAO::readRequest, &ReadResponse},
        {&DeleteRequest, &PhonebookDAO::deleteRequest, &DeleteResponse},
        {&rowCountRequestReason, &PhonebookDAO::rowCountRequest, &rowCountResponse},
        {&searchNumberReason, &PhonebookDAO::searchPhoneNumberRequest, &ReadResponse},
        {&searchExternalIdReason, &PhonebookDAO::searchByExternalIdRequest, &ReadResponse},
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
        m_entryBegin = m_fields.size();
    }
}

void PhonebookDAO::characters(const char* text, int length) {
    m_request.addCharacters(text, length);
}

void PhonebookDAO::endElement(const char* name) {
    const int element = m_request.endElement(name);
    if (ListRequest::isEntry(name)) {
        m_contacts.emplace_back(m_entryBegin, m_fields.size());
    }
    if (element == ListRequest::NoField) {
        return;
    }
    const auto place = static_cast<std::size_t>(element);
    if (place < FieldCount) {
        addField(place, m_request.text(), false);
    } else {
        addField(Patterns[place - FieldCount].field,
                 patternWord + " " + DASUtils::convertToDBFormat("%" + m_request.text() + "%"),
                 true);
    }
}

void PhonebookDAO::addField(std::size_t place, std::string text, bool isPattern) {
    m_fields.push_back(
        {std::move(text), static_cast<unsigned char>(place), isPattern, m_request.isInEntry()});
    m_selected += m_request.isInEntry() ? 0 : 1;
    m_limits.checkValues(m_selected);
}

PhonebookDAO::Fields PhonebookDAO::fieldsOf(const Stretch& entry) const {
    static const Field none;
    Fields fields;
    fields.fill(&none);
    for (std::size_t i = entry.first; i < entry.second; ++i) {
        fields[m_fields[i].place] = &m_fields[i];
    }
    return fields;
}

PhonebookDAO::Fields PhonebookDAO::lastFields() const {
    return fieldsOf({m_entryBegin, m_fields.size()});
}

int PhonebookDAO::buildParams(PairList& params) const {
    params.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    if (m_contacts.empty()) {
        return 0;
    }
    const Fields first = fieldsOf(m_contacts.front());
    const Fields last = lastFields();
    for (std::size_t place = 0; place < FieldCount; ++place) {
        if (first[place]->text.empty()) {
            continue;
        }
        const Field& field = *last[place];
        const bool isNumber = place == NumberField;
        const bool isName = place == SurnameField || place == FirstnameField;
        // A plain name that holds the word would go into the statement as it is: refused.
        const bool isBare =
            isNumber || (isName && field.text.find(patternWord) != std::string::npos);
        if (isBare && !(isNumber ? DASUtils::isIdentifier(field.text)
                                 : field.isPattern && DASUtils::isPattern(field.text))) {
            return 1;
        }
        params.emplace_back(*FieldColumns[place].name,
                            isBare ? field.text : DASUtils::convertToDBFormat(field.text));
    }
    return 0;
}

void PhonebookDAO::extractResultColumns() {
    m_resultColumns = m_request.resultColumns();
}

std::vector<std::string> PhonebookDAO::columnsToRead() const {
    std::vector<std::string> columns = m_resultColumns;
    std::replace(columns.begin(), columns.end(), ContactColumns::groupElement,
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
    if (m_dbAdapter == nullptr || buildReadQuery(params) != 0) {
        return 1;
    }
    PairList hidden;
    // Only a read that names all columns hides what conversations show: kept on purpose, one
    // without ResultCols is how clients count everything.
    if (calculateIfReadAll(m_tableName) && !m_resultColumns.empty()) {
        (void)ConversationsTable(m_dbAdapter).createMissingTable();
        hidden.emplace_back("PHONE_BOOK.UniqueID",
                            ConversationsTable::allNamedIn(ConversationsColumns::contactColumn));
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
    const bool isGood = m_dbAdapter != nullptr && buildReadQuery(params) == 0 &&
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
    PairList params;
    if (m_dbAdapter == nullptr || buildParams(params) != 0) {
        return 1;
    }
    return m_dbAdapter->getRowCount(m_tableName, params, m_count);
}

int PhonebookDAO::deleteRequest() {
    PairList params;
    const Fields fields = lastFields();
    const bool hasPattern = std::any_of(fields.begin(), fields.end(),
                                        [](const Field* field) { return field->isPattern; });
    if (m_dbAdapter == nullptr || hasPattern || buildParams(params) != 0) {
        return 1;
    }
    const auto selected =
        std::find_if(params.begin(), params.end(),
                     [](const auto& pair) { return pair.first == PhonebookUniqueIDTagName; });
    const std::string number = selected != params.end() ? selected->second : std::string();
    const int result = m_dbAdapter->deleteRow(m_tableName, params);
    ChangeScope::noteNumber(*m_dbAdapter, number, m_responseUser);
    return result;
}

int PhonebookDAO::updateRequest() {
    PairList conditions;
    PairList newValues;
    for (const Field& field : m_fields) {
        if (!field.isPattern) {
            (field.inEntry ? newValues : conditions)
                .emplace_back(*FieldColumns[field.place].name,
                              DASUtils::convertToDBFormat(field.text));
        }
    }
    // Without a condition the update would reach every contact of every user.
    if (m_dbAdapter == nullptr || conditions.empty()) {
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

/// An update reaches contacts of any user, so the contact itself is asked whose it is.
void PhonebookDAO::noteUpdate() {
    if (ChangeScope::heard() == nullptr) {
        return;
    }
    std::string number;
    bool isNumberKept = true;
    for (const Field& field : m_fields) {
        if (field.place == NumberField && !field.inEntry) {
            isNumberKept = isNumberKept && number.empty();
            number = field.text;
        } else if (field.place == NumberField) {
            isNumberKept = isNumberKept && field.text == number;
        }
    }
    Rows rows;
    PairList orderBy;
    const bool isKnown =
        isNumberKept && !number.empty() &&
        m_dbAdapter->executeQuery(m_tableName, {UserContextTagName},
                                  {{PhonebookUniqueIDTagName, DASUtils::convertToDBFormat(number)}},
                                  orderBy, rows, "", "") == 0 &&
        rows.size() == 1;
    ChangeScope::noteNumber(*m_dbAdapter, isKnown ? number : std::string(),
                            isKnown ? rows[0].at(0) : std::string());
}

int PhonebookDAO::writeWithTable() {
    int status = writeRequest();
    if (status != 0 && !couldNotBegin()) {
        (void)createTable();  // fails when the table was not the reason
        status = writeRequest();
    }
    setStatus(status);
    return status;
}

int PhonebookDAO::writeRequest() {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    DAS_LOG(5, "writeRequest");
    m_lastNumber = 0;
    const int usage = Storage::checkDiskUsage(dataDirectory);
    if (usage > highestDiskUsage) {
        DAS_LOG(2, "writeRequest Out of disk space %d%% full\n", usage);
        return -1;
    }
    const int result = insertContacts();
    DAS_LOG(5, "writeRequest returning with an rc of %d", result);
    return result;
}

int PhonebookDAO::insertContacts() {
    if (m_contacts.size() > 1) {
        return forEachEntry(m_contacts.size(),
                            [this](std::size_t index) { return insertContact(index); });
    }
    return m_contacts.empty() ? -1 : insertContact(0);
}

int PhonebookDAO::insertContact(std::size_t index) {
    const Fields fields = fieldsOf(m_contacts[index]);
    const std::string& number = fields[NumberField]->text;
    const bool isGood =
        number.empty() || (DASUtils::isIdentifier(number) &&
                           AssignedNumbers::mayBeStored(*m_dbAdapter, NumberKey, number));
    if (!isGood || fields[SurnameField]->isPattern || fields[FirstnameField]->isPattern) {
        return 1;
    }
    std::vector<std::string> values;
    values.reserve(1 + FieldCount);
    values.push_back(DASUtils::convertToDBFormat(m_responseUser));
    values.push_back(number.empty() ? m_numbers.valueOf(index) : number);
    for (std::size_t field = SurnameField; field < FieldCount; ++field) {
        values.push_back(DASUtils::convertToDBFormat(fields[field]->text));
    }
    const int result = m_dbAdapter->insert(m_tableName, values, &m_lastNumber);
    if (result == 0 && number.empty()) {
        m_numbers.keep(index, m_lastNumber);
    }
    ChangeScope::noteNumber(*m_dbAdapter, m_lastNumber, m_responseUser);
    return result;
}

std::string PhonebookDAO::schemaName() {
    return m_schemaName;
}

std::string PhonebookDAO::responseData() {
    if (m_responseReason == WriteResponse) {
        return ListRequest::numberAnswer(PhonebookUniqueIDTagName, m_lastNumber);
    }
    if (m_responseReason == rowCountResponse) {
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
    if (m_dbAdapter == nullptr) {
        return 1;
    }
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
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    (void)createMissingTable();
    m_dbAdapter->createIndicesForTable(
        m_tableName, {PhonebookOfficeTagName, PhonebookMobileTagName, PhonebookPrivateTagName,
                      PhonebookOffice2TagName, PhonebookExternalIDTagName});
    return 0;
}

int PhonebookDAO::initialiseMobilityUserData(const std::string& context) {
    return deleteContextData(context);
}

int PhonebookDAO::copyBaseDataToVisitor() {
    return copyBaseDataToVisitor(UserContextTagName, m_tableName);
}

int PhonebookDAO::deleteContextData(const std::string& context) {
    return deleteContextData(context, UserContextTagName, m_tableName);
}

int PhonebookDAO::deleteVisitorPhonebook() {
    return deleteVisitorPhonebook(m_tableName);
}

int PhonebookDAO::exportData(PairList& conditions, std::string& location) {
    (void)DASUtils::readAllItemsFromTableAndWriteToFile(m_dbAdapter, m_tableName, location,
                                                        conditions);
    return 0;
}

int PhonebookDAO::importData(std::string& location) {
    (void)createMissingTable();
    std::vector<std::string> columns = fileColumns(ContactColumns::NumberPlace);
    return importDataFromFile(m_tableName, columns, location) ? 0 : 1;
}

int PhonebookDAO::importDataForUser(const std::string& location, eUserCategory category) {
    const std::string& context = category == visitor ? UserContextVisitor : UserContextBase;
    std::vector<std::string> columns = fileColumns(ContactColumns::SurnamePlace);
    (void)createMissingTable();
    return replaceRowsOfUser(context, location, [&](std::vector<std::string>& fields) {
        fields.front() = context;
        if (fields.size() > 1) {
            fields.erase(fields.begin() + 1);  // the number of another telephone
        }
        return updateItemInTable(m_tableName, columns, fields);
    });
}

int PhonebookDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                    std::vector<std::string>& values) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
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
