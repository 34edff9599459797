#ifndef JSONADAPTER_H
#define JSONADAPTER_H

#include "ProtocolAdapter.h"

/// The protocol SERVICE_JSON: the method and its parameters of a message of JSON-RPC 2.0. The id
/// belongs to the connection, which adds it to what is encoded here.
class JsonAdapter : public ProtocolAdapter {
public:
    bool decode(std::istream& stream, Method& method) override;
    void encode(const Method& method, std::ostream& stream) override;
};

#endif
