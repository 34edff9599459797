#ifndef JSONADAPTER_H
#define JSONADAPTER_H

#include "ProtocolAdapter.h"

/// The protocol SERVICE_JSON: the method and its parameters of a message of JSON-RPC 2.0. The id
/// belongs to the connection, which adds it to what is encoded here.
class JsonAdapter : public ProtocolAdapter {
public:
    /// False also for JSON that is no call, such as an answer.
    bool decode(std::istream& stream, Method& method) override;
    /// Writes a message without an id and without a line feed.
    void encode(const Method& method, std::ostream& stream) override;
};

#endif
