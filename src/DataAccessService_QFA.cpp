// What the service does for user mobility: the user at start, profiles, and the reset.

#include "DataAccessService.h"

void DataAccessService::initInternal() {}

bool DataAccessService::setProfile(std::string) {
    return notAvailable("setProfile");
}

bool DataAccessService::invokeACMSFactoryReset(bool) {
    return notAvailable("invokeACMSFactoryReset");
}
