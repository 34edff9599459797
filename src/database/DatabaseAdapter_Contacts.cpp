// The contacts as a file that other programs read.

#include <fstream>

#include "ClientUtils.h"
#include "Storage.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "database/SqlText.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DatabaseAdapter";

const char* const contactsQuery =
    "select Surname, Firstname, Office, Office2, Mobile, Private, Company, Address, Address2, "
    "JobFunction, Email, DefaultNumber from PHONE_BOOK;";

const char* const contactsHeader =
    "\"LastName\",\"FirstName\",\"Business1\",\"Business2\",\"Mobile1\",\"Private1\",\"Company1\","
    "\"Address1\",\"Address2\",\"Position\",\"Email1\",\"DefaultDial\"\n";

/// A cell of the file: nothing at all for an empty one.
std::string quotedCell(const std::string& cell) {
    if (cell.empty()) {
        return {};
    }
    return "\"" + SqlText::escaped(ClientUtils::unescapeXMLString(cell), '"', '"') + "\"";
}

}  // namespace

void DatabaseAdapter::createContactsCSV(const std::string& path) {
    std::ofstream file(Storage::devicePath(path));
    if (!file) {
        DAS_LOG(2, "error in the creation/opening of the %s file", path.c_str());
        return;
    }
    DAS_LOG(5, "creation of %s has begun", path.c_str());
    AdapterLock lock(*this);
    Rows rows;
    if (executeActualSearchQuery(contactsQuery, rows) != 0) {
        DAS_LOG(2, "error in the query of the contacts information");
    }
    file << contactsHeader;
    for (const auto& row : rows) {
        const char* separator = "";
        for (const std::string& cell : row) {
            file << separator << quotedCell(cell);
            separator = ",";
        }
        file << std::endl;  // each line is flushed: a reader sees whole lines only
    }
}
