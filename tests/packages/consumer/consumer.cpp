// A program that loads nothing by hand: it links the library as a framework may.
#include <das/Client.h>
#include <dataaccessservice/DataAccessServiceIfc.h>
#include <dataaccessservice/Service.h>

#include <cstdlib>
#include <iostream>
#include <memory>

extern "C" Service* createDataAccessService();

int main() {
    const std::unique_ptr<Service> service(createDataAccessService());
    auto* const clients = dynamic_cast<DataAccessServiceIfc*>(service.get());
    std::cout << clients->processRequest("getCurrentUser", 14) << std::endl;

    // What a program without the library does, where DAS_SOCKET names a host.
    if (std::getenv("DAS_SOCKET") == nullptr) {
        return 0;
    }
    das::Client client;
    client.request("FeatureKeys", "update_request",
                   "<Entry><Id>100</Id>" + das::element("Label", "<a & b>") + "</Entry>");
    const auto keys = client.read("FeatureKeys", {"Id", "Label"});
    std::cout << keys.size() << " keys, the first " << keys.front().at("Label") << std::endl;
}
