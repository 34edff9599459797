// The reset of the telephone's data, and the gate to other software versions.

#include "DataAccessService.h"
#include "DatabaseAdapter.h"
#include "GeneralConfigurationDAO.h"
#include "Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DataAccessService";

}  // namespace

bool DataAccessService::factoryReset() {
    DatabaseAdapter* adapter = m_dbAdapter;
    if (adapter == nullptr) {
        DAS_LOG(2, "factoryReset: no database adapter");
        return false;
    }
    adapter->removeDbFile();
    GeneralConfigurationDAO::clearStaticCaches();
    m_initialised = false;
    return true;
}

void DataAccessService::checkDatabaseNeedsChange(eSwType, eSwType, const std::string&) {
    (void)notAvailable("checkDatabaseNeedsChange");
}
