// The names are part of the contract with the framework, which chooses an adapter by them.

#include "AurelProtocols.h"

namespace AurelProtocols {

const std::string SERVICE_XML = "SERVICE_XML";
const std::string SERVICE_JSON = "SERVICE_JSON";

}  // namespace AurelProtocols
