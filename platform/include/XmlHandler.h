#ifndef XMLHANDLER_H
#define XMLHANDLER_H

#include <cstddef>

/// Start of an element: attributes are name, value, name, value …, then a null pointer.
using XmlStartHandler = void (*)(void* userData, const char* name, const char** attributes);
/// End of an element.
using XmlEndHandler = void (*)(void* userData, const char* name);
/// A part of @p length bytes of an element's content, not terminated by zero. The content may come
/// in several parts.
using XmlCharacterHandler = void (*)(void* userData, const char* text, int length);

/**
 * A SAX parser for one message.
 *
 * Events arrive in document order, up to the position of an error. A document type declaration is
 * refused as an error, so entities that a message defines are never expanded. Elements that are
 * nested too deep are refused, because each takes many times the memory of its text. So are too
 * many different names, because the parser stores them: its own memory is limited to twice the
 * length of the message plus LeastMemory. An exception in a callback passes through. If the system
 * has no memory for the parser, std::bad_alloc is thrown.
 */
class XmlHandler {
public:
    /// How deep elements may be nested.
    static constexpr int DepthLimit = 100000;

    /// Bytes that the parser itself may use, however short the message is.
    static constexpr std::size_t LeastMemory = std::size_t{20} * 1024 * 1024;

    /// @p userData is passed to each callback; not owned, may be null if the callbacks allow it.
    XmlHandler(void* userData, XmlStartHandler start, XmlEndHandler end,
               XmlCharacterHandler characters);

    /**
     * Parses the first @p length bytes of @p text, but not beyond its terminating zero.
     *
     * @return 1 if it was a well-formed document, else 0, also for null
     */
    int parseMessage(const char* text, int length);

    /// For callbacks: ends the current parse, which then returns 0. No further callback is called.
    /// Outside of a parse it does nothing.
    static void stop();

private:
    void* m_userData;  // not owned
    XmlStartHandler m_start;
    XmlEndHandler m_end;
    XmlCharacterHandler m_characters;
};

#endif
