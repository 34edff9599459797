#ifndef PROTOCOLADAPTER_H
#define PROTOCOLADAPTER_H

#include <iosfwd>

class Method;

/// Encodes and decodes methods in one protocol. Any thread may call. An adapter keeps no state
/// between calls, and does not change the format flags or the locale of a stream.
class ProtocolAdapter {
public:
    virtual ~ProtocolAdapter();

    /**
     * Reads a message up to the end of @p stream.
     *
     * @param method takes the name and the parameters; a value of a type that the protocol has, but
     *               out of the range of its parameter type, is left out
     * @return false when the text is no message of this protocol; @p method is untouched then
     */
    [[nodiscard]] virtual bool decode(std::istream& stream, Method& method) = 0;

    /// Writes the name and the parameters of @p method to @p stream. Characters that the protocol
    /// can't carry are replaced, so the result is always a valid message.
    virtual void encode(const Method& method, std::ostream& stream) = 0;
};

#endif
