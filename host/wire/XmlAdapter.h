#ifndef XMLADAPTER_H
#define XMLADAPTER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ProtocolAdapter.h"

/**
 * The protocol SERVICE_XML: one element Method with the attribute "name", in it one element String,
 * Int, Bool or Xml a parameter, with the attribute "name" and the value as text.
 *
 * An int that is no number of 32 bits, and a bool that is neither "true" nor "false", are left out
 * when a message is decoded. Encoded text is one line.
 */
class XmlAdapter : public ProtocolAdapter {
public:
    bool decode(std::istream& stream, Method& method) override;
    void encode(const Method& method, std::ostream& stream) override;

    /// How many parameters a message may have: each takes many times its text. What has more is not
    /// decoded.
    static constexpr std::size_t ParameterLimit = 1000;

    /// Decodes one line, without its line feed.
    /// False for what is no document, no UTF-8, holds another element, or has more than
    /// ParameterLimit parameters; @p method is untouched then.
    static bool read(std::string_view line, Method& method);

    /// @p method as a line. None when it would be longer than @p limit.
    static std::optional<std::string> write(const Method& method, std::size_t limit);
};

#endif
