#ifndef JSONADAPTER_H
#define JSONADAPTER_H

#include "ProtocolAdapter.h"

/// The protocol SERVICE_JSON: the method and the parameters of a JSON-RPC 2.0 message. The
/// connection adds the id to the result of encode().
class JsonAdapter : public ProtocolAdapter {
public:
    /// False also for JSON that is not a call, such as an answer.
    bool decode(std::istream& stream, Method& method) override;
    /// Writes a message without an id and without a line feed.
    void encode(const Method& method, std::ostream& stream) override;
};

#endif
