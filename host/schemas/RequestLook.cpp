// Access rules examine each request before the service gets it, so this must cost less than the
// request itself. The usual form of clients' requests is read without a parser. Anything else goes
// to the same parser as in the service, so that both read it in the same way. If they differed, a
// request could pass that the rules should refuse.

#include "schemas/RequestLook.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "Secrets.h"
#include "XmlHandler.h"
#include "schemas/Answers.h"

namespace {

constexpr std::size_t LongestQuick = 4096;

constexpr std::string_view Frame[] = {"Schema", "Context", "ReasonForMessage", "ResultCols"};

const std::string SwitchStart = "setWhetherRequestContentShowableOnTheAurelTrace";
const std::pair<const char*, RequestLook::Kind> Words[] = {
    {"getCurrentUser", RequestLook::Kind::Harmless},
    {"getDefaultKeyData", RequestLook::Kind::Harmless},
    {"getWhetherRequestContentShowableOnTheAurelTrace", RequestLook::Kind::Harmless},
    {"saveContactsToCSV", RequestLook::Kind::SaveContacts},
};

/// The state of one parse. The service uses the text since the last start tag.
struct Reader {
    RequestLook& look;
    std::string element{};  ///< the last element that began; blank after any end tag
    std::string text{};
    int schemas = 0;
    int reasons = 0;
    int items = 0;
    bool isInReason = false;
    bool isInColumns = false;
    bool isSecret = false;  ///< of the last element that began

    void start(std::string_view name, const char* attribute) {
        // Elements inside the reason could change it, and a schema inside another element is taken
        // by the service as a part of that element.
        look.isClear = look.isClear && !isInReason && (schemas > 0 || name == "Schema");
        look.hasColumns = look.hasColumns || isInColumns;  // the service may read names from them
        element = name;
        text.clear();
        if (element == "Schema") {
            ++schemas;
            const bool hasName = attribute != nullptr && look.schema == attribute;
            look.isClear = look.isClear && hasName && schemas == 1;
        } else if (element == "ReasonForMessage") {
            ++reasons;
            isInReason = true;
            look.isClear = look.isClear && reasons == 1;
        } else if (element == "ResultCols") {
            isInColumns = true;
        }
        const bool isOfFrame =
            std::find(std::begin(Frame), std::end(Frame), element) != std::end(Frame);
        items += isOfFrame ? 0 : 1;
        isSecret = !isOfFrame && Secrets::isSecret(element);
        look.namesSecret = look.namesSecret || isSecret;
    }

    void end() {
        if (element == "ReasonForMessage") {
            look.reason = text;
        } else if (element == "ResultCols") {
            look.hasColumns = look.hasColumns || !text.empty();
            look.hasManyColumns = look.hasManyColumns || text.find(' ') != std::string::npos;
        } else if (isSecret) {
            look.writesMask = look.writesMask || text == Secrets::Mask;
        }
        element.clear();
        isSecret = isInReason = isInColumns = false;
    }
};

void onStart(void* reader, const char* name, const char** attributes) {
    static_cast<Reader*>(reader)->start(name, attributes[0] != nullptr ? attributes[1] : nullptr);
}

void onEnd(void* reader, const char* /*name*/) {
    static_cast<Reader*>(reader)->end();
}

void onCharacters(void* reader, const char* text, int length) {
    static_cast<Reader*>(reader)->text.append(text, static_cast<std::size_t>(length));
}

/// Reads messages in the usual form of clients, without a parser. It stops at anything else:
/// entities, comments, declarations, a second attribute, and characters outside of ASCII.
class QuickScan {
public:
    QuickScan(std::string_view text, Reader& reader) : m_rest(text), m_reader(reader) {}

    /// False if it has stopped; then the reader is not usable.
    bool run() {
        constexpr std::string_view prolog = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
        m_rest.remove_prefix(m_rest.rfind(prolog, 0) == 0 ? prolog.size() : 0);
        bool isGood = !m_rest.empty() && m_rest.front() == '<' && takeTag();
        while (isGood && !m_open.empty()) {
            isGood = !m_rest.empty() && (m_rest.front() == '<' ? takeTag() : takeText());
        }
        return isGood && m_rest.empty();
    }

private:
    static constexpr std::size_t DeepestElement = 16;

    static bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

    std::string_view takeName() {
        std::size_t size = 0;
        while (size < m_rest.size() && (isLetter(m_rest[size]) || m_rest[size] == '_' ||
                                        (size > 0 && m_rest[size] >= '0' && m_rest[size] <= '9'))) {
            ++size;
        }
        const std::string_view name = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return name;
    }

    bool take(char expected) {
        const bool isThere = !m_rest.empty() && m_rest.front() == expected;
        m_rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    static bool isPlain(std::string_view text) {
        return std::all_of(text.begin(), text.end(), [](char c) {
            return c == '\n' || (c >= ' ' && c <= '~' && c != '&' && c != ']' && c != '<');
        });
    }

    bool takeText() {
        const std::string_view text = m_rest.substr(0, m_rest.find('<'));
        m_rest.remove_prefix(text.size());
        m_reader.text += text;
        return isPlain(text);
    }

    bool takeTag() {
        m_rest.remove_prefix(1);
        if (take('/')) {
            if (m_open.empty() || takeName() != m_open.back() || !take('>')) {
                return false;
            }
            m_open.pop_back();
            m_reader.end();
            return true;
        }
        const std::string_view name = takeName();
        std::string attribute;
        const bool hasAttribute = take(' ');
        if (name.empty() || m_open.size() == DeepestElement ||
            (hasAttribute && !takeAttribute(attribute))) {
            return false;
        }
        m_open.push_back(name);
        m_reader.start(name, hasAttribute ? attribute.c_str() : nullptr);
        return take('>');
    }

    bool takeAttribute(std::string& value) {
        if (takeName().empty() || !take('=') || !take('"')) {
            return false;
        }
        value = m_rest.substr(0, m_rest.find('"'));
        m_rest.remove_prefix(value.size());
        return isPlain(value) && value.find('\n') == std::string::npos && take('"');
    }

    std::string_view m_rest;
    Reader& m_reader;
    std::vector<std::string_view> m_open;
};

/// Whether @p message is a service word; sets @p kind.
bool isWord(const char* message, RequestLook::Kind& kind) {
    if (std::strncmp(message, SwitchStart.c_str(), SwitchStart.size()) == 0) {
        kind = RequestLook::Kind::TraceSwitch;
        return true;
    }
    const auto* const found =
        std::find_if(std::begin(Words), std::end(Words), [message](const auto& word) {
            return std::strcmp(message, word.first) == 0;
        });
    kind = found != std::end(Words) ? found->second : kind;
    return found != std::end(Words);
}

RequestLook finished(RequestLook& look, const Reader& reader) {
    look.isClear = look.isClear && (reader.schemas == 1 || !look.isParsed);
    look.hasManyItems = reader.items > 1;
    return std::move(look);
}

}  // namespace

RequestLook RequestLook::of(const std::string& text, int length) {
    RequestLook look;
    if (isWord(text.c_str(), look.kind)) {
        return look;
    }
    if (text.size() <= LongestQuick && length >= 0 &&
        static_cast<std::size_t>(length) == text.size()) {
        look.schema = Answers::schemaOf(text);
        Reader reader{look};
        if (QuickScan(text, reader).run()) {
            look.isParsed = true;
            return finished(look, reader);
        }
    }
    return parsed(text, length);
}

RequestLook RequestLook::parsed(const std::string& text, int length) {
    RequestLook look;
    const char* const message = text.c_str();  // the service stops at a zero byte as well
    if (isWord(message, look.kind)) {
        return look;
    }
    look.schema = Answers::schemaOf(message);
    Reader reader{look};
    look.isParsed =
        XmlHandler(&reader, onStart, onEnd, onCharacters).parseMessage(message, length) != 0;
    return finished(look, reader);
}

bool RequestLook::operator==(const RequestLook& other) const {
    return kind == other.kind && isParsed == other.isParsed && isClear == other.isClear &&
           schema == other.schema && reason == other.reason && hasColumns == other.hasColumns &&
           hasManyColumns == other.hasManyColumns && hasManyItems == other.hasManyItems &&
           namesSecret == other.namesSecret && writesMask == other.writesMask;
}
