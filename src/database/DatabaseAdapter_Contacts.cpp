// Writes the contacts to a file that other programs read.

#include "ClientUtils.h"
#include "DeviceFile.h"
#include "Log.h"
#include "Storage.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/SqlText.h"

namespace {

const char* const ContactsQuery =
    "select Surname, Firstname, Office, Office2, Mobile, Private, Company, Address, Address2, "
    "JobFunction, Email, DefaultNumber from PHONE_BOOK;";

const char* const ContactsHeader =
    "\"LastName\",\"FirstName\",\"Business1\",\"Business2\",\"Mobile1\",\"Private1\",\"Company1\","
    "\"Address1\",\"Address2\",\"Position\",\"Email1\",\"DefaultDial\"\n";

/// A cell of the file; empty, without quotes, for an empty value.
std::string quotedCell(const std::string& cell) {
    if (cell.empty()) {
        return {};
    }
    return "\"" + SqlText::escaped(ClientUtils::unescapeXMLString(cell), '"', '"') + "\"";
}

void writeQuoted(DeviceFileWriter& file, const std::vector<std::string>& row) {
    const char* separator = "";
    for (const std::string& cell : row) {
        file.write(separator);
        file.write(quotedCell(cell));
        separator = ",";
    }
    file.write("\n");
}

}  // namespace

bool DatabaseAdapter::createContactsCSV(const std::string& path) {
    DeviceFileWriter file(path);
    if (!file.isOpen()) {
        DAS_LOG(2, "error in the creation/opening of the %s file", path.c_str());
        return false;
    }
    DAS_LOG(5, "creation of %s has begun", path.c_str());
    file.write(ContactsHeader);
    Rows rows;
    const auto write = [&file](Rows& piece) {
        for (const auto& row : piece) {
            writeQuoted(file, row);
        }
        piece.clear();
        return true;
    };
    const auto read = [&] { return executeActualSearchQuery(ContactsQuery, rows); };
    if (readInPieces(*this, rows, read, write) != 0) {
        DAS_LOG(2, "error in the query of the contacts information");
        if (Storage::exists(path)) {
            return false;  // an older file is more useful than a header alone
        }
        (void)write(rows);  // only the rows that could be read
    }
    return file.finish();
}
