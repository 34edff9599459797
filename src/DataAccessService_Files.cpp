// The file operations for web management.

#include <fstream>

#include "DataAccessService.h"
#include "DatabaseAdapter.h"
#include "LocalMgmtIfc.h"
#include "Logging.h"
#include "ManageableData.h"
#include "Storage.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DataAccessService_Files";

const char* const contactsFile = "/tmp/VX_contacts.csv";
const char* const contactsStatusItem = "contacts-status";
const char* const contactsWritten = "4";
const char* const contactsNotWritten = "3";

}  // namespace

bool DataAccessService::deleteFile(std::string, std::string) {
    return notAvailable("deleteFile");
}

bool DataAccessService::renameFile(std::string, std::string) {
    return notAvailable("renameFile");
}

bool DataAccessService::moveFile(std::string, std::string) {
    return notAvailable("moveFile");
}

bool DataAccessService::readDirectoryTree(std::string, bool, bool, bool, DirectoryList*,
                                          DirectoryList*) {
    return notAvailable("readDirectoryTree");
}

bool DataAccessService::readDirectory(std::string, bool, bool, bool, DirectoryList*,
                                      DirectoryList*) {
    return notAvailable("readDirectory");
}

bool DataAccessService::doesFileExist(const std::string& path) {
    return std::ifstream(Storage::devicePath(path)).is_open();
}

void DataAccessService::notifyWBM(const std::string& path) {
    DAS_LOG(5, "notifyWBM");
    const bool isThere = doesFileExist(path);
    if (isThere) {
        DAS_LOG(5, "contacts csv has been created in: %s", path.c_str());
    } else {
        DAS_LOG(2, "csv contacts file creation is not successful");
    }
    if (!findACMS()) {
        DAS_LOG(5, "DataAccessService ERROR  Failed to find ACMS");
    }
    if (LocalMgmtIfc* management = m_localMgmt) {
        ManageableData status;
        status.populate(contactsStatusItem, contactsStatusItem,
                        isThere ? contactsWritten : contactsNotWritten);
        management->sendStatusToWBM(status);
    }
}

void DataAccessService::saveContactsToCSV() {
    saveContactsToCSV(contactsFile);
}

void DataAccessService::saveContactsToCSV(const std::string& path) {
    if (DatabaseAdapter* adapter = m_dbAdapter) {
        adapter->createContactsCSV(path);
    } else {
        DAS_LOG(2, "saveContactsToCSV: no database adapter");
    }
    notifyWBM(path);
}
