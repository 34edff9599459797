#include "XmlHandler.h"

#include <expat.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <type_traits>

namespace {

using ParserPtr = std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;

/// One parse: what the parser hands to each callback.
struct Parse {
    XML_Parser parser;
    void* userData;
    XmlStartHandler start;
    XmlEndHandler end;
    XmlCharacterHandler characters;
    int depth;
    bool stopped;
    std::exception_ptr thrown;

    void stop() {
        stopped = true;
        XML_StopParser(parser, XML_FALSE);
    }

    /// Calls @p handler. The parser is C: an exception waits here until the parser has returned.
    template <typename Handler, typename... Arguments>
    void call(Handler handler, Arguments... arguments) {
        // A stopped parser may still send the end of the element that it is in.
        if (handler == nullptr || stopped) {
            return;
        }
        try {
            handler(userData, arguments...);
        } catch (...) {
            thrown = std::current_exception();
            stop();
        }
    }
};

void XMLCALL onStart(void* parse, const XML_Char* name, const XML_Char** attributes) {
    Parse* self = static_cast<Parse*>(parse);
    if (++self->depth > XmlHandler::DepthLimit) {
        self->stop();
    }
    self->call(self->start, name, attributes);
}

void XMLCALL onEnd(void* parse, const XML_Char* name) {
    Parse* self = static_cast<Parse*>(parse);
    --self->depth;
    self->call(self->end, name);
}

void XMLCALL onCharacters(void* parse, const XML_Char* text, int length) {
    Parse* self = static_cast<Parse*>(parse);
    self->call(self->characters, text, length);
}

void XMLCALL onDoctype(void* parse, const XML_Char* /*name*/, const XML_Char* /*systemId*/,
                       const XML_Char* /*publicId*/, int /*hasInternalSubset*/) {
    static_cast<Parse*>(parse)->stop();
}

/// Without a salt the parser asks the system for random numbers at each message.
unsigned long saltOfProcess() {
    static const unsigned long salt = [] {
        unsigned long made = 0;
        return ::getentropy(&made, sizeof made) == 0 ? made : 0;
    }();
    return salt;
}

}  // namespace

XmlHandler::XmlHandler(void* userData, XmlStartHandler start, XmlEndHandler end,
                       XmlCharacterHandler characters)
    : m_userData(userData), m_start(start), m_end(end), m_characters(characters) {}

int XmlHandler::parseMessage(const char* text, int length) {
    const ParserPtr parser(XML_ParserCreate(nullptr), &XML_ParserFree);
    if (text == nullptr || parser == nullptr) {
        return 0;
    }
    Parse parse{parser.get(), m_userData, m_start, m_end, m_characters, 0, false, nullptr};
    XML_SetUserData(parser.get(), &parse);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetCharacterDataHandler(parser.get(), onCharacters);
    XML_SetStartDoctypeDeclHandler(parser.get(), onDoctype);
    (void)XML_SetHashSalt(parser.get(), saltOfProcess());
    const std::size_t limit = length > 0 ? static_cast<std::size_t>(length) : 0;
    const int size = static_cast<int>(strnlen(text, limit));
    const XML_Status status = XML_Parse(parser.get(), text, size, XML_TRUE);
    if (parse.thrown) {
        std::rethrow_exception(parse.thrown);
    }
    if (status != XML_STATUS_OK && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();  // half of a sound message must not be taken for the whole
    }
    return status == XML_STATUS_OK ? 1 : 0;
}
