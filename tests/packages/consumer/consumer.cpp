// A program that loads nothing by hand: it links the library as a framework may.
#include <DataAccessServiceIfc.h>
#include <Service.h>

#include <iostream>
#include <memory>

extern "C" Service* createDataAccessService();

int main() {
    const std::unique_ptr<Service> service(createDataAccessService());
    auto* const clients = dynamic_cast<DataAccessServiceIfc*>(service.get());
    std::cout << clients->processRequest("getCurrentUser", 14) << std::endl;
}
