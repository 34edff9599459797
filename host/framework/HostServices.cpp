// The services of the telephone that the data access service uses, as far as a Linux machine can
// offer them. Management may delete files of three kinds, each in its own directory. A name from
// outside must not lead out of this directory, so a name with a slash is refused.

#include "framework/HostServices.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "ClientUtils.h"
#include "DeviceFile.h"
#include "Log.h"
#include "ManageableData.h"
#include "Storage.h"
#include "framework/HostFramework.h"

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

/// Whether a name can't lead out of its directory.
bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string("/\0", 2)) == std::string::npos;
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
    const int error = Storage::removeFile(std::string(directory) + "/" + name);
    return error == 0 || refuse(type, name, std::generic_category().message(error).c_str());
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
    DeviceFile lines(RingersFile);
    std::string line;
    ClientUtils::Line read = ClientUtils::Line::Read;
    do {
        read = ClientUtils::readLine(lines, line);
    } while (read != ClientUtils::Line::End && line != fileName);
    return read == ClientUtils::Line::Read;
}

HostServices::HostServices(HostFramework& framework)
    : m_management(framework),
      m_services({{"LocalMgmtIfc", &m_management}, {"MediaControlServiceIfc", &m_mediaControl}}) {
    const char* const without = std::getenv("DAS_WITHOUT");
    for (const std::string& name :
         ClientUtils::tokenizeString(without == nullptr ? "" : without, ",", false, true)) {
        m_services.erase(name);
    }
}

Executable* HostServices::findService(const std::string& name) {
    const auto found = m_services.find(name);
    return found == m_services.end() ? nullptr : found->second;
}
