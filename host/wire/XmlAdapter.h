#ifndef XMLADAPTER_H
#define XMLADAPTER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ProtocolAdapter.h"

/**
 * The protocol SERVICE_XML: an element Method with the attribute "name". It contains, for each
 * parameter, an element String, Int, Bool or Xml with the attribute "name" and the value as
 * content.
 *
 * When a message is decoded, an int that does not fit into 32 bits, and a bool that is neither
 * "true" nor "false", are ignored. Encoded text is one line.
 */
class XmlAdapter : public ProtocolAdapter {
public:
    bool decode(std::istream& stream, Method& method) override;
    void encode(const Method& method, std::ostream& stream) override;

    /// How many parameters a message may have, because each takes many times the memory of its
    /// text. A message with more is not decoded.
    static constexpr std::size_t ParameterLimit = 1000;

    /// Decodes one line, without its line feed. False if it is not a document, is not UTF-8, has an
    /// unknown element, or has more than ParameterLimit parameters; @p method does not change then.
    static bool read(std::string_view line, Method& method);

    /// @p method as a line. No value if it would be longer than @p limit.
    static std::optional<std::string> write(const Method& method, std::size_t limit);
};

#endif
