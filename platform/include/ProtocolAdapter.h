#ifndef PROTOCOLADAPTER_H
#define PROTOCOLADAPTER_H

#include <iosfwd>

class Method;

/// Codes methods in one protocol. Any thread may call; an adapter keeps no state between calls, and
/// leaves the format flags and the locale of a stream as they were.
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

    /// Writes the name and the parameters of @p method to @p stream. What the protocol can't carry
    /// is replaced, so that the text is a message in every case.
    virtual void encode(const Method& method, std::ostream& stream) = 0;
};

#endif
