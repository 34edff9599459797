// The older protocol, used by web management. A message is one line, so line ends inside a value
// become character references. Unlike in answers of the service, values are escaped here, and an
// XML parser returns them unchanged.

#include "wire/XmlAdapter.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <iterator>
#include <sstream>
#include <utility>

#include "ClientUtils.h"
#include "Method.h"
#include "XmlHandler.h"
#include "terminal/Utf8.h"
#include "wire/ParameterText.h"

namespace {

struct TypeName {
    Parameter::Type type;
    const char* element;
};

constexpr TypeName TypeNames[] = {
    {Parameter::Type::String, "String"},
    {Parameter::Type::Int, "Int"},
    {Parameter::Type::Bool, "Bool"},
    {Parameter::Type::Xml, "Xml"},
};

/// The state of a parse.
struct Reader {
    Method method;
    int depth = 0;
    std::size_t parameters = 0;
    bool isMessage = true;
    const TypeName* type = nullptr;  ///< type of the open parameter
    std::string name;
    std::string value;
};

const char* findName(const char** attributes) {
    for (; *attributes != nullptr; attributes += 2) {
        if (std::strcmp(attributes[0], "name") == 0) {
            return attributes[1];
        }
    }
    return nullptr;
}

void addInt(Reader& reader) {
    int number = 0;
    const char* const end = reader.value.data() + reader.value.size();
    const auto [stop, error] = std::from_chars(reader.value.data(), end, number);
    if (error == std::errc() && stop == end) {
        reader.method.addIntParameter(reader.name, number, Parameter::in);
    }
}

void addParameter(Reader& reader) {
    switch (reader.type->type) {
        case Parameter::Type::Int:
            addInt(reader);
            break;
        case Parameter::Type::Bool:
            if (reader.value == "true" || reader.value == "false") {
                reader.method.addBoolParameter(reader.name, reader.value == "true", Parameter::in);
            }
            break;
        case Parameter::Type::String:
            reader.method.addStringParameter(reader.name, std::move(reader.value), Parameter::in);
            break;
        case Parameter::Type::Xml:
            reader.method.addXMLParameter(reader.name, std::move(reader.value), Parameter::in);
            break;
    }
}

void onStart(void* userData, const char* element, const char** attributes) {
    Reader& reader = *static_cast<Reader*>(userData);
    const char* const name = findName(attributes);
    const auto* const type = std::find_if(
        std::begin(TypeNames), std::end(TypeNames),
        [element](const TypeName& each) { return std::strcmp(each.element, element) == 0; });
    ++reader.depth;
    const bool isRoot = reader.depth == 1 && std::strcmp(element, "Method") == 0;
    const bool isParameter = reader.depth == 2 && type != std::end(TypeNames);
    reader.parameters += isParameter ? 1 : 0;
    if (name == nullptr || !(isRoot || isParameter) ||
        reader.parameters > XmlAdapter::ParameterLimit) {
        reader.isMessage = false;
        XmlHandler::stop();
    } else if (isRoot) {
        reader.method.setName(name);
    } else {
        reader.type = type;
        reader.name = name;
        reader.value.clear();
    }
}

void onEnd(void* userData, const char* /*element*/) {
    Reader& reader = *static_cast<Reader*>(userData);
    if (reader.depth-- == 2 && reader.isMessage) {
        addParameter(reader);
    }
}

void onCharacters(void* userData, const char* text, int length) {
    Reader& reader = *static_cast<Reader*>(userData);
    if (reader.depth == 2) {
        reader.value.append(text, static_cast<std::size_t>(length));
    }
}

/// Escapes text for an attribute or an element of a message, which is one line. Characters that a
/// parser would change become references.
std::string escaped(std::string_view text) {
    const std::string named = ClientUtils::escapeXMLString(Utf8::forXml(text));
    std::string line;
    line.reserve(named.size());
    for (const char character : named) {
        if (character == '\n' || character == '\r' || character == '\t') {
            line.append("&#").append(std::to_string(+character)).append(";");
        } else {
            line += character;
        }
    }
    return line;
}

/// Appends @p text in pieces, so that a long text is not in memory twice. False if @p out would be
/// longer than @p limit.
bool appendEscaped(std::string& out, std::string_view text, std::size_t limit) {
    constexpr std::size_t piece = 64 * 1024;
    while (!text.empty() && out.size() <= limit) {
        const std::size_t length = Utf8::endOfPiece(text, piece);
        out += escaped(text.substr(0, length));
        text.remove_prefix(length);
    }
    return out.size() <= limit;
}

/// The approximate length of @p text when escaped. A long answer that grows step by step would be
/// in memory twice.
std::size_t escapedSize(const std::string& text) {
    constexpr std::pair<char, int> longer[] = {{'&', 4}, {'<', 3}, {'>', 3}, {'"', 5}, {'\'', 5}};
    auto size = text.size();
    for (const auto& [character, more] : longer) {
        size += static_cast<std::size_t>(more * std::count(text.begin(), text.end(), character));
    }
    return size;
}

const char* elementOf(const Parameter& parameter) {
    return std::find_if(std::begin(TypeNames), std::end(TypeNames),
                        [&parameter](const TypeName& each) { return each.type == parameter.type; })
        ->element;
}

}  // namespace

bool XmlAdapter::decode(std::istream& stream, Method& method) {
    std::ostringstream copy;
    copy << stream.rdbuf();
    return read(copy.str(), method);
}

bool XmlAdapter::read(std::string_view line, Method& method) {
    Reader reader;
    // The parser would stop at a zero byte and treat the text before it as the whole message.
    if (line.size() > INT_MAX || line.find('\0') != std::string::npos || !Utf8::isValid(line) ||
        XmlHandler(&reader, onStart, onEnd, onCharacters)
                .parseMessage(line.data(), static_cast<int>(line.size())) == 0 ||
        !reader.isMessage) {
        return false;
    }
    method = std::move(reader.method);
    return true;
}

void XmlAdapter::encode(const Method& method, std::ostream& stream) {
    stream << write(method, std::string::npos).value_or(std::string());
}

std::optional<std::string> XmlAdapter::write(const Method& method, std::size_t limit) {
    constexpr std::size_t sizeOfFrame = 64;  // of the message and of each parameter, at least
    std::size_t size = sizeOfFrame;
    for (const Parameter& parameter : method.parameters()) {
        size += sizeOfFrame + escapedSize(parameter.text);
    }
    std::string line;
    line.reserve(std::min(size, limit));
    line.append("<Method name=\"").append(escaped(method.getName())).append("\">");
    for (const Parameter& parameter : method.parameters()) {
        const std::string element = elementOf(parameter);
        line += "<" + element + " name=\"" + escaped(parameter.name) + "\">";
        const bool isText =
            parameter.type == Parameter::Type::String || parameter.type == Parameter::Type::Xml;
        if (isText && !appendEscaped(line, parameter.text, limit)) {
            return std::nullopt;
        }
        line += isText ? std::string() : textOf(parameter, escaped);
        line += "</" + element + ">";
    }
    line += "</Method>";
    return line.size() <= limit ? std::optional(std::move(line)) : std::nullopt;
}
