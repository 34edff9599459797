// The repair of the phone book: duplicate contacts, stray signs, a table with other columns, and
// the phone book of an older release.

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "contacts/ContactColumns.h"
#include "contacts/PhonebookDAO.h"
#include "dao/AssignedNumbers.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/TableRebuild.h"

namespace {

using namespace DASUtilsStrings;
using StepHelpers::execute;

const char* const OldPhoneBook = "PHONE_BOOK_OLD";

// Searches by other columns than the deletion below groups by: kept on purpose, a contact that
// differs in its second number is not deleted. Numbers that only one contact has are sorted out
// first, which is cheap. A join of the contacts with their groups would take time that grows with
// the square of their number.
const char* const DoubledContacts =
    "SELECT 1 FROM PHONE_BOOK WHERE Office IN ( SELECT Office FROM PHONE_BOOK WHERE Office IN ("
    " SELECT Office FROM PHONE_BOOK GROUP BY Office HAVING COUNT(Office) > 1 )"
    " GROUP BY Surname, Firstname, Office, Office, Mobile, Picture, Private"
    " HAVING COUNT(Office) > 1 )";

const char* const DeleteDoubledContacts =
    " DELETE FROM PHONE_BOOK"
    " WHERE UniqueID NOT IN (  SELECT MAX(UniqueID) FROM PHONE_BOOK GROUP BY Surname,Firstname , "
    "Office, Office2, Mobile, Private, Picture )";

/// In the order in which they are cleaned.
const std::string* const NumberColumns[] = {&PhonebookOfficeTagName, &PhonebookOffice2TagName,
                                            &PhonebookMobileTagName, &PhonebookPrivateTagName};

}  // namespace

int DASMigrator::readPhoneBookDuplicateRows(DataAccessServiceIfc* service) {
    Rows rows;
    (void)service->getAdapter()->executeSQLQuery(DoubledContacts, rows);  // no rows if it fails
    return static_cast<int>(rows.size());
}

void DASMigrator::deleteDuplicateItemsFromPhoneBook(DataAccessServiceIfc* service) {
    execute(service, DeleteDoubledContacts);
}

namespace {

std::string withoutDigits(const std::string& column) {
    std::string condition;
    for (char digit = '0'; digit <= '9'; ++digit) {
        condition += condition.empty() ? "" : " AND ";
        condition += column + " NOT LIKE '%" + digit + "%'";
    }
    return condition;
}

/// Whether the cleanup would change something. The check for the character comes before the check
/// for digits: few numbers contain it, and the check for ten digits takes the most time.
bool holdsBare(DataAccessServiceIfc* service, const std::string& column,
               const std::string& character) {
    std::string count;
    service->getAdapter()->getRowCount("SELECT COUNT(*) FROM PHONE_BOOK WHERE " + column +
                                           " LIKE '%" + character + "%' AND " +
                                           withoutDigits(column) + ";",
                                       count);
    return count != "0";
}

}  // namespace

std::string DASMigrator::buildPhonebookTableCleanupQuery(const std::string& column,
                                                         const std::string& character) {
    return "UPDATE PHONE_BOOK SET " + column + " = REPLACE(" + column + ", '" + character +
           "', '') WHERE " + withoutDigits(column) + ";";
}

void DASMigrator::phonebookTableCleanup(DataAccessServiceIfc* service) {
    DAS_LOG(6,
            "phonebookTableCleanup() removing all + characters from Office, Office2, Mobile, "
            "Private column");
    for (const std::string* column : NumberColumns) {
        if (holdsBare(service, *column, "+")) {
            execute(service, buildPhonebookTableCleanupQuery(*column, "+"));
        }
    }
}

namespace {

/// The number after which the next contact is numbered, as a string; empty if none was ever
/// assigned.
std::string numberingOf(DatabaseAdapter& adapter) {
    Rows rows;
    (void)adapter.executeSQLQuery("SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'",
                                  rows);
    return rows.empty() ? std::string() : rows.front().at(0);
}

void carryNumbering(DatabaseAdapter& adapter, const std::string& numbering) {
    if (!DASUtils::isNumber(numbering)) {
        return;
    }
    (void)adapter.executeNonQuery("DELETE FROM sqlite_sequence WHERE name = 'PHONE_BOOK';");
    (void)adapter.executeNonQuery("INSERT INTO sqlite_sequence (name, seq) VALUES ('PHONE_BOOK', " +
                                  numbering + ");");
}

bool hasIndices(DatabaseAdapter& adapter, const std::string& table) {
    Rows rows;
    (void)adapter.executeSQLQuery(
        "SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = " +
            DASUtils::convertToDBFormat(table),
        rows);
    return !rows.empty();
}

/// Rebuilds the phone book in the caller's transaction, which is rolled back if the result is
/// false.
bool renewBook(DatabaseAdapter& adapter, const std::vector<std::string>& leftOut) {
    if (adapter.isKnownToBeEmpty(PhoneBookTableName)) {
        if (adapter.executeNonQuery("DROP TABLE PHONE_BOOK;") != 0) {
            return false;
        }
        PhonebookDAO dao(&adapter, leftOut);
        return true;
    }
    if (adapter.alterTableName(PhoneBookTableName, OldPhoneBook) != 0) {
        return false;
    }
    PhonebookDAO dao(&adapter, leftOut);
    if (adapter.copyDataOfTableToAnother(OldPhoneBook, PhoneBookTableName, leftOut) != 0 ||
        !StepHelpers::haveEqualCounts(adapter, OldPhoneBook, PhoneBookTableName)) {
        DAS_LOG(2, "The contacts can't be copied, the table %s stays as it was",
                PhoneBookTableName.c_str());
        return false;
    }
    return adapter.executeNonQuery(std::string("DROP TABLE ") + OldPhoneBook + ";") == 0;
}

}  // namespace

bool DASMigrator::rebuildPhoneBook(DataAccessServiceIfc* service,
                                   const std::vector<std::string>& leftOut) {
    DatabaseAdapter& adapter = *service->getAdapter();
    return runWholeOrNot(adapter, [&] {
        const std::string numbering = numberingOf(adapter);
        const bool indexed = hasIndices(adapter, PhoneBookTableName);
        if (!renewBook(adapter, leftOut)) {
            return false;
        }
        carryNumbering(adapter, numbering);
        if (indexed) {
            PhonebookDAO(&adapter).createPhonenumberIndices();
        }
        return true;
    });
}

namespace {

/// Whether the contacts can keep their numbers. With a number above the highest one, no new contact
/// could be added.
bool mayKeepNumbers(DatabaseAdapter& adapter) {
    std::string high = "0";
    adapter.getRowCount("SELECT COUNT(*) FROM PHONE_BOOK_OLD WHERE CAST(UniqueID AS NUMERIC) > " +
                            ClientUtils::int64tos(AssignedNumbers::Highest) + ";",
                        high);
    return high == "0" && adapter.isKnownToBeEmpty(PhoneBookTableName);
}

/// Copies the contacts back into the phone book, in the caller's transaction.
bool bringBack(DatabaseAdapter& adapter, DataAccessObject& dao) {
    const std::vector<std::string> columns = StepHelpers::columnsOf(adapter, OldPhoneBook);
    StepHelpers::logGivenUpColumns(adapter, OldPhoneBook, columns, dao.columnNames());
    TableRebuild book(adapter, dao, columns);
    const bool isBack =
        mayKeepNumbers(adapter) ? book.copyFrom(OldPhoneBook) : book.addFrom(OldPhoneBook);
    return isBack && adapter.executeNonQuery(std::string("DROP TABLE ") + OldPhoneBook + ";") == 0;
}

/// If earlier software could not copy a row, it left all contacts in the renamed table and the
/// phone book empty. No release reads that table, and its name stays in use.
void bringBackOldBook(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const bool isDue =
        adapter.isTableKnown(OldPhoneBook) &&
        StepHelpers::hasColumn(StepHelpers::columnsOf(adapter, OldPhoneBook),
                               PhonebookSurnameTagName) &&
        DASMigrator::formOf(service, PhoneBookSchema, PhoneBookTableName).isInOrder();
    if (!isDue) {
        return;
    }
    const auto dao = DASMigrator::createDao(service, PhoneBookSchema);
    const bool indexed = hasIndices(adapter, OldPhoneBook);
    if (!runWholeOrNot(adapter, [&] { return bringBack(adapter, *dao); })) {
        DAS_LOG(2, "The contacts of %s can't be brought back, they stay there", OldPhoneBook);
    } else if (indexed) {
        PhonebookDAO(&adapter).createPhonenumberIndices();
    }
}

}  // namespace

void DASMigrator::migratePhoneBookTable(DataAccessServiceIfc* service) {
    constexpr std::size_t columnsBeforeMobility = 17;
    std::vector<std::string> names;
    (void)service->getAdapter()->getColumnNames(PhoneBookTableName, names);
    const bool isBeforeMobility = names.size() == columnsBeforeMobility &&
                                  !DASUtils::columnIsInColumnList(UserContextTagName, names);
    if (names.size() <= ContactColumns::Count && !isBeforeMobility) {
        (void)rebuildIntoDaoColumns(service, PhoneBookSchema, PhoneBookTableName);
    }
    bringBackOldBook(service);
}

void DASMigrator::checkValidityOfPhoneBookTable(DataAccessServiceIfc* service) {
    constexpr int expected = static_cast<int>(ContactColumns::Count);
    const int count = service->getAdapter()->getColumnCount("SELECT * FROM PHONE_BOOK;");
    if (count == expected) {
        DAS_LOG(6, "PHONE_BOOK table has expected number of elements");
        return;
    }
    if (count < expected) {
        DAS_LOG(2,
                "PHONE_BOOK table migration has failed - there is less than expected amount of "
                "data");
        return;
    }
    std::vector<std::string> names;
    if (service->getAdapter()->getColumnNames(PhoneBookTableName, names) != 1) {
        DAS_LOG(2, "PHONE_BOOK table cannot be read");
        return;
    }
    for (const std::string& name : names) {
        if (!ContactColumns::isColumn(name)) {
            DAS_LOG(2, "PHONE_BOOK table has unexpected column[%s]", name.c_str());
        }
    }
    (void)rebuildIntoDaoColumns(service, PhoneBookSchema, PhoneBookTableName);
}
