#ifndef XMLADAPTER_H
#define XMLADAPTER_H

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
};

#endif
