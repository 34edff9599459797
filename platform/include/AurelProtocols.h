#ifndef AURELPROTOCOLS_H
#define AURELPROTOCOLS_H

#include <string>

/// Names of the protocols in which a remote method can be encoded.
namespace AurelProtocols {

extern const std::string SERVICE_XML;   ///< one element Method, as web management speaks
extern const std::string SERVICE_JSON;  ///< typed parameters

}  // namespace AurelProtocols

#endif
