#include "HostServices.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "ClientUtils.h"
#include "HostContext.h"
#include "HostFramework.h"
#include "Log.h"
#include "ManageableData.h"
#include "Storage.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* LogSource = "./host/HostServices";

const std::pair<int, const char*> FileTypes[] = {
    {11, "/data/ringtones"}, {9, "/data/screensavers"}, {3, "/data/images"}};

const char* const RingersFile = "/data/distinctive-ringers.txt";

const char* directoryOf(int type) {
    const auto* const found = std::find_if(std::begin(FileTypes), std::end(FileTypes),
                                           [type](const auto& each) { return each.first == type; });
    return found != std::end(FileTypes) ? found->second : nullptr;
}

bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

/// Whether @p path of the telephone, all links followed, stands below the telephone's root.
bool isOnDevice(const std::string& path) {
    std::error_code error;
    const fs::path root = fs::canonical(Storage::devicePath("/"), error);
    const fs::path place =
        error ? fs::path() : fs::weakly_canonical(Storage::devicePath(path), error);
    return !error &&
           std::mismatch(root.begin(), root.end(), place.begin(), place.end()).first == root.end();
}

bool refuse(int type, const std::string& name, const char* reason) {
    logAppUni("das", LogSource, 2, __LINE__, "File '%s' of type %d is not deleted: %s",
              name.c_str(), type, reason);
    return false;
}

}  // namespace

bool LocalManagement::deleteFile(int type, const std::string& name) {
    const char* const directory = directoryOf(type);
    if (directory == nullptr || !isPlainName(name)) {
        return refuse(type, name, directory == nullptr ? "unknown type" : "no plain name");
    }
    const std::string path = std::string(directory) + "/" + name;
    if (!isOnDevice(path)) {
        return refuse(type, name, "it leads out of the telephone");
    }
    if (unlink(Storage::devicePath(path).c_str()) != 0) {
        return refuse(type, name, std::generic_category().message(errno).c_str());
    }
    return true;
}

void LocalManagement::sendStatusToDLS(const ManageableData& status) {
    m_framework.sendStatus(status);
}

void LocalManagement::sendStatusToWBM(const ManageableData& status) {
    m_framework.sendStatus(status);
}

void LocalManagement::factoryReset(const std::string& reason, int kind) {
    logAppUni("das", LogSource, 2, __LINE__, "Factory reset '%s', %d", reason.c_str(), kind);
}

bool MediaControl::isDistinctiveRingerInUse(const std::string& fileName) {
    std::ifstream lines(Storage::devicePath(RingersFile));
    std::string line;
    while (std::getline(lines, line)) {
        if (line == fileName) {
            return true;
        }
    }
    return false;
}

void HostServices::enter(HostContext& context) {
    const char* const text = std::getenv("DAS_WITHOUT");
    const auto without = ClientUtils::tokenizeString(text == nullptr ? "" : text, ",", false, true);
    const std::pair<const char*, Executable*> services[] = {
        {"LocalMgmtIfc", &m_management}, {"MediaControlServiceIfc", &m_mediaControl}};
    for (const auto& [name, service] : services) {
        if (std::find(without.begin(), without.end(), name) == without.end()) {
            context.add(name, service);
        }
    }
}
