// The reset of the telephone's data, and the gate to other software versions.

#include "DataAccessService.h"

bool DataAccessService::factoryReset() {
    return notAvailable("factoryReset");
}

void DataAccessService::checkDatabaseNeedsChange(eSwType, eSwType, const std::string&) {
    (void)notAvailable("checkDatabaseNeedsChange");
}
