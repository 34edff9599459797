// The file operations for web management.

#include "DataAccessService.h"

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
