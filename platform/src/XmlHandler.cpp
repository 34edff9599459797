// The parser reads messages of clients. A document type is refused, because its entities could grow
// without limit. The parser is written in C, so an exception of a callback must not pass through
// it: the exception is stored and thrown again afterwards.

#include "XmlHandler.h"

#include <expat.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Work.h"

namespace {

/// How much this thread's parser has allocated, and how much it may. The parser keeps each new name
/// of an element or attribute until the end of the parse, which takes many times the memory of a
/// short name.
struct ParserMemory {
    std::size_t used = 0;
    std::size_t limit = 0;
    bool isExceeded = false;

    bool takes(std::size_t size) {
        isExceeded = isExceeded || size > limit || used > limit - size;
        return !isExceeded;
    }
};
thread_local ParserMemory s_memory;

/// Memory for the first blocks of a thread's parser, one after the other; all are freed together at
/// the end of the parse. A parser allocates dozens of small blocks for each message. Blocks that do
/// not fit are allocated from the system.
struct ParserBlocks {
    static constexpr std::size_t Unit = alignof(std::max_align_t);
    static constexpr std::size_t Units = 1536;

    struct alignas(Unit) Header {
        std::size_t size;
    };
    static_assert(sizeof(Header) == Unit);

    Header headers[Units];  ///< each header is followed by its block
    std::size_t used;       ///< in units

    bool holds(const void* block) const {
        return std::greater_equal<>()(block, static_cast<const void*>(headers)) &&
               std::less<>()(block, static_cast<const void*>(headers + Units));
    }
    void* take(std::size_t size) {
        if (size > (Units - used) * Unit) {
            return nullptr;
        }
        const std::size_t units = 1 + (size + Unit - 1) / Unit;
        if (units > Units - used) {
            return nullptr;
        }
        Header* const header = headers + std::exchange(used, used + units);
        header->size = size;
        return header + 1;
    }
    static std::size_t sizeOf(const void* block) {
        return (static_cast<const Header*>(block) - 1)->size;
    }
};
thread_local ParserBlocks s_blocks;

void* allocate(std::size_t size) {
    void* const kept = s_blocks.take(size);
    if (kept != nullptr) {
        return kept;
    }
    void* const block = s_memory.takes(size) ? std::malloc(size) : nullptr;
    s_memory.used += malloc_usable_size(block);
    return block;
}

void release(void* block) {
    // A parser also frees the empty slots of its tables, hundreds of them.
    if (block != nullptr && !s_blocks.holds(block)) {
        s_memory.used -= malloc_usable_size(block);
        std::free(block);
    }
}

void* reallocate(void* block, std::size_t size) {
    if (s_blocks.holds(block)) {
        const std::size_t before = ParserBlocks::sizeOf(block);
        void* const moved = size > before ? allocate(size) : block;
        if (moved != nullptr && moved != block) {
            std::memcpy(moved, block, before);
        }
        return moved;
    }
    const std::size_t before = malloc_usable_size(block);
    if (size > before && !s_memory.takes(size - before)) {
        return nullptr;
    }
    void* const moved = std::realloc(block, size);
    if (moved != nullptr) {
        s_memory.used += malloc_usable_size(moved) - before;
    }
    return moved;
}

constexpr XML_Memory_Handling_Suite CountedMemory = {allocate, reallocate, release};

/// Frees a parser within its CountingScope. If all its blocks are in ParserBlocks, they are dropped
/// together: freeing them one by one takes half as long as parsing a short message.
struct ParserEnd {
    void operator()(XML_Parser parser) const {
        if (s_memory.used != 0) {
            XML_ParserFree(parser);
        }
    }
};
using ParserPtr = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserEnd>;

/// One parse: the data that each callback gets.
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

    /// Calls @p handler. The parser is written in C, so an exception is stored until the parser has
    /// returned.
    template <typename Handler, typename... Arguments>
    void call(Handler handler, Arguments... arguments) {
        // A stopped parser may still report the end of the current element.
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

/// The parse that this thread is in; null outside of one.
thread_local Parse* s_current = nullptr;

/// Counts the parser's memory for a scope. A callback may parse another message.
class CountingScope {
public:
    explicit CountingScope(std::size_t limit)
        : m_outer(std::exchange(s_memory, {0, limit, false})), m_blocksBefore(s_blocks.used) {}
    ~CountingScope() {
        s_memory = m_outer;
        s_blocks.used = m_blocksBefore;
    }
    CountingScope(const CountingScope&) = delete;
    CountingScope& operator=(const CountingScope&) = delete;

private:
    const ParserMemory m_outer;
    const std::size_t m_blocksBefore;
};

void XMLCALL onStart(void* parse, const XML_Char* name, const XML_Char** attributes) {
    Parse* self = static_cast<Parse*>(parse);
    if (++self->depth > XmlHandler::DepthLimit || Work::isInterrupted()) {
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

/// Parses a message in parts, because the parser copies its input. The parts are large, because it
/// reads an unfinished token again with each part.
XML_Status parsePieces(XML_Parser parser, std::string_view text) {
    constexpr std::size_t piece = std::size_t{1024} * 1024;
    XML_Status status = XML_STATUS_OK;
    do {
        const std::string_view next = text.substr(0, piece);
        text.remove_prefix(next.size());
        status = XML_Parse(parser, next.data(), static_cast<int>(next.size()), text.empty());
    } while (status == XML_STATUS_OK && !text.empty());
    return status;
}

/// Without a salt, the parser would ask the system for random numbers at each message.
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

void XmlHandler::stop() {
    if (s_current != nullptr) {
        s_current->stop();
    }
}

int XmlHandler::parseMessage(const char* text, int length) {
    const std::size_t limit = length > 0 ? static_cast<std::size_t>(length) : 0;
    const CountingScope counting(LeastMemory + 2 * limit);
    const ParserPtr parser(XML_ParserCreate_MM(nullptr, &CountedMemory, nullptr));
    if (text == nullptr || parser == nullptr) {
        return 0;
    }
    Parse parse{parser.get(), m_userData, m_start, m_end, m_characters, 0, false, nullptr};
    XML_SetUserData(parser.get(), &parse);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetCharacterDataHandler(parser.get(), onCharacters);
    XML_SetStartDoctypeDeclHandler(parser.get(), onDoctype);
    (void)XML_SetHashSalt(parser.get(), saltOfProcess());
    Parse* const outer = std::exchange(s_current, &parse);
    const XML_Status status = parsePieces(parser.get(), {text, strnlen(text, limit)});
    s_current = outer;
    if (parse.thrown) {
        std::rethrow_exception(parse.thrown);
    }
    if (status != XML_STATUS_OK && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY &&
        !s_memory.isExceeded) {
        throw std::bad_alloc();  // the parsed half of a valid message must not count as the whole
    }
    return status == XML_STATUS_OK ? 1 : 0;
}
