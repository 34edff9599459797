#include "Histories.h"

#include "Campaign.h"
#include "ModelTexts.h"
#include "RaceHost.h"
#include "ServiceModel.h"
#include "testkit/Place.h"
#include "service/DataAccessService.h"

namespace {

constexpr long OperationsOfHistory = 10000;

std::string runCall(DataAccessService& service, const ServiceModel::Operation& operation) {
    if (operation.call == "setProfile") {
        return service.setProfile(operation.argument) ? "true" : "false";
    }
    const struct {
        const char* name;
        void (DataAccessService::*call)();
    } calls[] = {
        {"clearMobileUserdata", &DataAccessService::clearMobileUserdata},
        {"clearMobileUserDLSdata", &DataAccessService::clearMobileUserDLSdata},
        {"copyBaseDataToVisitor", &DataAccessService::copyBaseDataToVisitor},
        {"deleteVisitorUserPassword", &DataAccessService::deleteVisitorUserPassword},
        {"deleteUcCredentials", &DataAccessService::deleteUcCredentials},
    };
    for (const auto& row : calls) {
        if (operation.call == row.name) {
            (service.*row.call)();
            return "";
        }
    }
    return "no such call";
}

}  // namespace

void runHistory(Campaign& campaign, std::uint32_t seed, const std::function<void()>& moved) {
    const ScratchPlace place;
    RaceManagement services;
    DataAccessService service;
    service.init(services);
    for (const std::string& message : ServiceModel::beginning()) {
        (void)service.processRequest(message);
    }
    service.clearMobileUserdata();
    ServiceModel model(seed);
    for (long i = 0; i < OperationsOfHistory; ++i) {
        const ServiceModel::Operation operation = model.next();
        const std::string answer =
            operation.call.empty()
                ? ModelTexts::canonical(service.processRequest(operation.message))
                : runCall(service, operation);
        moved();
        if (answer != operation.answer) {
            campaign.found("history " + std::to_string(seed) + ", operation " + std::to_string(i) +
                           ": " + operation.call + operation.message + "\n  was answered " +
                           answer + "\n  and not          " + operation.answer);
            return;
        }
    }
}
