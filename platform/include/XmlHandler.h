#ifndef XMLHANDLER_H
#define XMLHANDLER_H

#include <cstddef>

/// Start of an element: attributes are name, value, name, value …, then a null pointer.
using XmlStartHandler = void (*)(void* userData, const char* name, const char** attributes);
/// End of an element.
using XmlEndHandler = void (*)(void* userData, const char* name);
/// A piece of text of @p length bytes, not terminated; one text may come in several pieces.
using XmlCharacterHandler = void (*)(void* userData, const char* text, int length);

/**
 * A SAX parser for one message.
 *
 * Events arrive in document order, up to the place of an error. A document type declaration is
 * refused as an error, so no entity of a message's own is ever expanded; so are elements that stand
 * in one another without end, each of which takes many times its text, and names without number,
 * which the parser keeps: its own memory is limited to twice the length of the message and
 * LeastMemory. An exception out of a callback passes through, and std::bad_alloc is thrown when the
 * system has no memory for the parser.
 */
class XmlHandler {
public:
    /// How many elements may stand in one another.
    static constexpr int DepthLimit = 100000;

    /// Bytes that the parser may have of its own, however short the message is.
    static constexpr std::size_t LeastMemory = std::size_t{20} * 1024 * 1024;

    /// @p userData goes to each callback as it is; not owned, may be null if the callbacks allow
    /// it.
    XmlHandler(void* userData, XmlStartHandler start, XmlEndHandler end,
               XmlCharacterHandler characters);

    /**
     * Parses the first @p length bytes of @p text, but no further than its terminating zero.
     *
     * @return 1 when it was a well-formed document, 0 otherwise. Text that is null is not.
     */
    int parseMessage(const char* text, int length);

    /// For callbacks: ends the parse that has called, which returns 0 then. No other callback is
    /// called. Nothing happens outside of a parse.
    static void stop();

private:
    void* m_userData;  // not owned
    XmlStartHandler m_start;
    XmlEndHandler m_end;
    XmlCharacterHandler m_characters;
};

#endif
