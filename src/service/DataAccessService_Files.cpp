// The file operations for web management.

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "ClientUtils.h"
#include "Context.h"
#include "CriticalSection.h"
#include "DASUtilsStrings.h"
#include "DeviceFile.h"
#include "LocalMgmtIfc.h"
#include "Log.h"
#include "ManageableData.h"
#include "MediaControlServiceIfc.h"
#include "Storage.h"
#include "database/DatabaseAdapter.h"
#include "service/DataAccessService.h"

namespace {

const char* const ContactsFile = "/tmp/VX_contacts.csv";
const char* const ContactsStatusItem = "contacts-status";
const char* const ContactsWritten = "4";
const char* const ContactsNotWritten = "3";

constexpr int RingtoneFile = 11;
constexpr int UnknownFile = -1;

struct DirectoryType {
    const char* name;
    int fileType;
};

/// Chosen by the last component of a directory's path.
constexpr DirectoryType DirectoryTypes[] = {
    {"ringtones", RingtoneFile}, {"screensavers", 9}, {"images", 3}};

struct StatusItem {
    const char* pathPart;
    const char* item;
};

/// The first entry whose name is contained in the path decides.
constexpr StatusItem DownloadItems[] = {{"ringtones", "dl-rng-last-status"},
                                        {"screensavers", "dl-scr-last-status"}};

/// A directory is skipped if its path contains one of these anywhere: kept on purpose, web
/// management shows no devices and relies on the other exclusions too.
constexpr const char* SkippedParts[] = {"dev", "proc", "sys"};

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

int fileTypeOf(std::string directory) {
    std::replace(directory.begin(), directory.end(), '\\', '/');
    const auto components = ClientUtils::tokenizeString(directory, "/", false, false);
    for (const DirectoryType& type : DirectoryTypes) {
        if (!components.empty() && components.back() == type.name) {
            return type.fileType;
        }
    }
    return UnknownFile;
}

bool isSkipped(const std::string& directory) {
    return std::any_of(std::begin(SkippedParts), std::end(SkippedParts),
                       [&](const char* part) { return contains(directory, part); });
}

/// The directories that are still to be walked. The rule is that of findNextUnexploredDir, but they
/// are indexed by name: a linear search for each would take time that grows with the square of
/// their number.
class UnexploredDirectories {
public:
    void add(const std::string& directory) {
        const auto added = m_inOrder.emplace_hint(m_inOrder.end(), m_added++, directory);
        m_byName.emplace(added->second, added->first);
    }

    /// The first directory; there must be one.
    [[nodiscard]] const std::string& front() const { return m_inOrder.begin()->second; }

    /// Removes the next directory to walk after @p directory and stores it there. False if there is
    /// no further one.
    bool takeNext(std::string& directory) {
        const auto next = nextAfter(directory);
        if (next == m_inOrder.end()) {
            return false;
        }
        directory = next->second;
        m_byName.erase({next->second, next->first});
        m_inOrder.erase(next);
        return true;
    }

private:
    using InOrder = std::map<std::size_t, std::string>;

    [[nodiscard]] InOrder::const_iterator nextAfter(const std::string& prefix) const {
        std::size_t first = m_added;
        for (auto each = m_byName.lower_bound({prefix, 0});
             each != m_byName.end() && each->first.substr(0, prefix.size()) == prefix; ++each) {
            first = std::min(first, each->second);
        }
        if (first < m_added) {
            return m_inOrder.find(first);
        }
        // The second one and never the first: kept on purpose, a single remaining directory waits
        // for the next walk.
        return m_inOrder.size() < 2 ? m_inOrder.end() : std::next(m_inOrder.begin());
    }

    std::size_t m_added = 0;
    InOrder m_inOrder;
    std::set<std::pair<std::string_view, std::size_t>> m_byName;  ///< the names point into the list
                                                                  ///< above
};

void listFiles(const std::string& directory, DirectoryList* files) {
    std::list<std::string> names;
    Storage::getListOfFilesAndLinksByDirectory(directory, names, false);
    files->emplace_back(directory, std::move(names));
}

/// A service of the framework by its name; null, with two log lines, if it is missing.
template <typename Interface>
Interface* findOther(Context* context, const char* name) {
    Executable* found = context->findService(name);
    if (found == nullptr) {
        DAS_LOG(2, "Cannot find %s", name);
    }
    auto* service = dynamic_cast<Interface*>(found);
    if (service == nullptr) {
        DAS_LOG(2, "Service returned by context is not a %s", name);
    }
    return service;
}

/// Walks from the first unexplored directory until no further directory is found.
void walkDirectory(UnexploredDirectories& unexplored, bool fileRead, DirectoryList* directories,
                   DirectoryList* files) {
    std::string directory = unexplored.front();
    while (unexplored.takeNext(directory)) {
        std::list<std::string> subdirectories;
        Storage::getListOfDirectoriesByDirectoryWithPath(directory, subdirectories);
        directories->emplace_back(directory, subdirectories);
        if (fileRead) {
            listFiles(directory, files);
        }
        for (const std::string& subdirectory : subdirectories) {
            unexplored.add(subdirectory);
        }
    }
}

}  // namespace

bool DataAccessService::findNextUnexploredDir(std::vector<std::string>* unexplored,
                                              std::vector<std::string>::iterator& position,
                                              std::string prefix) {
    position = std::find_if(unexplored->begin(), unexplored->end(), [&](const std::string& dir) {
        return dir.compare(0, prefix.size(), prefix) == 0;
    });
    if (position != unexplored->end()) {
        return true;
    }
    if (unexplored->size() < 2) {
        return false;
    }
    // The second one and never the first: kept on purpose, a single remaining directory waits for
    // the next walk.
    position = unexplored->begin() + 1;
    return true;
}

bool DataAccessService::readDirectory(std::string directory, bool dirRead, bool subDirRead,
                                      bool fileRead, DirectoryList* directories,
                                      DirectoryList* files) {
    if (subDirRead && !dirRead) {
        DAS_LOG(2, "Not a valid readDirectory combination");
        return false;
    }
    if (directories == nullptr || files == nullptr) {
        DAS_LOG(2, "readDirectory: no lists to fill");
        return false;
    }
    CriticalSection section(m_directorySema);
    DAS_LOG(6, "Get dirs from %s", directory.c_str());
    std::list<std::string> root;
    Storage::getListOfDirectoriesByDirectoryWithPath(directory, root);
    if (fileRead) {
        DAS_LOG(6, "Get files from %s", directory.c_str());
        listFiles(directory, files);
    }
    if (dirRead) {
        DAS_LOG(6, "Get dirs from root");
        directories->emplace_back(directory, root);
    }
    UnexploredDirectories unexplored;
    for (const std::string& entry : root) {
        if (isSkipped(entry)) {
            DAS_LOG(6, " Found needle (dev) in haystack (%s) - SKIPPING %s", entry.c_str(),
                    entry.c_str());
            continue;
        }
        DAS_LOG(6, "RootDirItr = %s", entry.c_str());
        unexplored.add(entry);
        if (!subDirRead) {
            continue;
        }
        if (fileRead) {
            // The walk lists these files a second time: kept on purpose, clients merge both.
            DAS_LOG(6, "Get files in %s", entry.c_str());
            listFiles(entry, files);
        }
        walkDirectory(unexplored, fileRead, directories, files);
    }
    return true;
}

bool DataAccessService::readDirectoryTree(std::string directory, bool dirRead, bool subDirRead,
                                          bool fileRead, DirectoryList* directories,
                                          DirectoryList* files) {
    DAS_LOG(5, "DataAccessService::readDirectoryTree DEPRECATED! - use readDirectory instead");
    const std::string user = currentUser();
    if (user == DASUtilsStrings::UserContextBase) {
        return readDirectory(directory, dirRead, subDirRead, fileRead, directories, files);
    }
    DAS_LOG(5, "DEPRECATED readDirectoryTree for %s by %s ignored\n", directory.c_str(),
            user.c_str());
    return false;
}

bool DataAccessService::deleteFile(std::string path, std::string filename) {
    DAS_LOG(5, "DataAccessService::deleteFile deleting path: %s,  filename: %s", path.c_str(),
            filename.c_str());
    const int type = fileTypeOf(path);
    if (type == UnknownFile) {
        DAS_LOG(2,
                "Could not determine file type from path.\nThe method "
                "DataAccessService::deleteFile is deprecated. Please use LocalMgmtIfc::deleteFile "
                "method instead");
        return false;
    }
    Context* context = m_context;
    auto* management =
        context != nullptr ? findOther<LocalMgmtIfc>(context, "LocalMgmtIfc") : nullptr;
    if (management == nullptr) {
        return false;
    }
    const bool deleted = management->deleteFile(type, filename);
    DAS_LOG(5, "Deleting file via ACMS");
    if (deleted) {
        notifyDLS(path);
    }
    return deleted;
}

bool DataAccessService::isDistinctiveRingerFile(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    Context* context = m_context;
    if (slash == std::string::npos || fileTypeOf(path.substr(0, slash)) != RingtoneFile ||
        context == nullptr) {
        return false;
    }
    auto* media = findOther<MediaControlServiceIfc>(context, "MediaControlServiceIfc");
    if (media == nullptr) {
        return false;
    }
    const std::string name = path.substr(slash + 1);
    DAS_LOG(5, "ringer filename is %s", name.c_str());
    return media->isDistinctiveRingerInUse(name);
}

bool DataAccessService::moveFile(std::string oldName, std::string newName) {
    DAS_LOG(5, "DataAccessService::moveFile moving %s to %s", oldName.c_str(), newName.c_str());
    if (isDistinctiveRingerFile(oldName) || !Storage::renameFile(oldName, newName)) {
        return false;
    }
    notifyDLS(newName);
    return true;
}

bool DataAccessService::renameFile(std::string oldName, std::string newName) {
    DAS_LOG(5, "DataAccessService::renameFile DEPRECATED! - use moveFile instead old:%s  new:%s",
            oldName.c_str(), newName.c_str());
    if (isDistinctiveRingerFile(oldName)) {
        return false;
    }
    const std::string user = currentUser();
    const bool isAllowed =
        user == DASUtilsStrings::UserContextBase ||
        (user == DASUtilsStrings::UserContextVisitor && contains(newName, "/visitor"));
    return isAllowed && moveFile(oldName, newName);
}

void DataAccessService::notifyDLS(const std::string& path) {
    const auto* found =
        std::find_if(std::begin(DownloadItems), std::end(DownloadItems),
                     [&](const StatusItem& i) { return contains(path, i.pathPart); });
    if (found == std::end(DownloadItems)) {
        return;
    }
    DAS_LOG(5, "ringtone or screensaver file changed");
    ManageableData data;
    data.populate(found->item, found->item, "1");
    if (LocalMgmtIfc* management = managementForStatus()) {
        management->sendStatusToDLS(data);
    }
}

bool DataAccessService::doesFileExist(const std::string& path) {
    return DeviceFile(path).isOpen();
}

LocalMgmtIfc* DataAccessService::managementForStatus() {
    if (!findACMS()) {
        DAS_LOG(5, "DataAccessService ERROR  Failed to find ACMS");
    }
    return m_localMgmt;
}

void DataAccessService::notifyWBM(const std::string& path) {
    notifyOfContacts(path, doesFileExist(path));
}

void DataAccessService::notifyOfContacts(const std::string& path, bool isWritten) {
    DAS_LOG(5, "notifyWBM");
    if (isWritten) {
        DAS_LOG(5, "contacts csv has been created in: %s", path.c_str());
    } else {
        DAS_LOG(2, "csv contacts file creation is not successful");
    }
    if (LocalMgmtIfc* management = managementForStatus()) {
        ManageableData status;
        status.populate(ContactsStatusItem, ContactsStatusItem,
                        isWritten ? ContactsWritten : ContactsNotWritten);
        management->sendStatusToWBM(status);
    }
}

void DataAccessService::saveContactsToCSV() {
    saveContactsToCSV(ContactsFile);
}

void DataAccessService::saveContactsToCSV(const std::string& path) {
    DatabaseAdapter* adapter = m_dbAdapter;
    if (adapter == nullptr) {
        DAS_LOG(2, "saveContactsToCSV: no database adapter");
    }
    // An older file may still exist, but it is not a new one.
    notifyOfContacts(path, adapter != nullptr && adapter->createContactsCSV(path));
}
