// Requests are masked by a separate reader and not by the XML parser, because most logged requests
// are ones that the parser refused. In doubt the reader masks more: a tag that is not closed hides
// the rest of the request.

#include "database/LoggedText.h"

#include <algorithm>
#include <utility>

#include "Secrets.h"

namespace {

using LoggedText::Stretches;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isInName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':' || static_cast<unsigned char>(c) >= 0x80;
}

/// The largest size up to @p limit at which @p text can be cut between two characters.
std::size_t cutSize(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text.size();
    }
    constexpr std::size_t longestCharacter = 4;
    std::size_t size = limit;
    while (size > 0 && limit - size < longestCharacter &&
           (static_cast<unsigned char>(text[size]) & 0xc0) == 0x80) {
        --size;
    }
    return size;
}

/// Finds the secrets of a request. It works on malformed XML too, because malformed requests are
/// logged more often than others.
class RequestReader {
public:
    explicit RequestReader(std::string_view text) : m_text(text) {}

    /// The secrets in that part of the request which fills @p limit bytes of masked output.
    Stretches secrets(std::size_t limit) {
        while (m_place < m_text.size() && m_place - m_masked < limit) {
            const bool isTag = m_text[m_place] == '<';
            if (isTag) {
                ++m_place;
                skipBlanks();
            }
            const std::string_view name = nextName();
            if (name.empty()) {
                m_place += isTag ? 0 : 1;
            } else if (!Secrets::isSecret(name)) {
                continue;
            } else if (isTag) {
                takeElement(name);
            } else {
                takeAttribute();
            }
        }
        return std::move(m_secrets);
    }

private:
    /// Moves to the end of the name that begins here and returns it; empty without a name.
    std::string_view nextName() {
        const std::size_t begin = m_place;
        while (m_place < m_text.size() && isInName(m_text[m_place])) {
            ++m_place;
        }
        return m_text.substr(begin, m_place - begin);
    }

    void takeTo(std::size_t end) {
        if (end > m_place) {
            m_secrets.push_back({m_place, end - m_place});
            m_masked += end - m_place;
            m_place = end;
        }
    }

    void skipBlanks() {
        while (m_place < m_text.size() && isBlank(m_text[m_place])) {
            ++m_place;
        }
    }

    std::size_t endOr(std::size_t found) const { return std::min(found, m_text.size()); }

    /// Where the content of the element @p name ends. The end tag of a longer name does not count.
    std::size_t endOfContent(std::string_view name) const {
        const std::string endTag = "</" + std::string(name);
        std::size_t found = m_text.find(endTag, m_place);
        while (found < m_text.size() && found + endTag.size() < m_text.size() &&
               isInName(m_text[found + endTag.size()])) {
            found = m_text.find(endTag, found + endTag.size());
        }
        return endOr(found);
    }

    void takeElement(std::string_view name) {
        skipBlanks();
        const std::size_t tagEnd = endOr(m_text.find('>', m_place));
        const bool isClosed = tagEnd > m_place && m_text[tagEnd - 1] == '/';
        takeTo(isClosed ? tagEnd - 1 : tagEnd);  // its attributes may be secret as well
        m_place = endOr(tagEnd + 1);
        if (!isClosed) {
            takeTo(endOfContent(name));
        }
    }

    void takeAttribute() {
        skipBlanks();
        if (m_place >= m_text.size() || m_text[m_place] != '=') {
            return;
        }
        ++m_place;
        skipBlanks();
        const char quote = m_place < m_text.size() ? m_text[m_place] : '\0';
        if (quote == '"' || quote == '\'') {
            ++m_place;
            takeTo(endOr(m_text.find(quote, m_place)));
        } else {
            takeTo(endOr(m_text.find_first_of(" \t\r\n/>", m_place)));
        }
    }

    std::string_view m_text;
    std::size_t m_place = 0;
    std::size_t m_masked = 0;  ///< bytes of the secrets so far
    Stretches m_secrets;
};

}  // namespace

std::string LoggedText::masked(std::string_view text, const Stretches& secrets,
                               std::string_view mask, std::size_t limit) {
    std::string result;
    std::size_t taken = 0;
    const auto takeTo = [&](std::size_t end) {
        const std::string_view piece = text.substr(taken, end - taken);
        const std::size_t size = cutSize(piece, limit - std::min(limit, result.size()));
        result += piece.substr(0, size);
        taken += size;
        return size == piece.size();
    };
    bool isWhole = true;
    for (const Stretch& secret : secrets) {
        isWhole = takeTo(secret.begin) && result.size() < limit;
        if (!isWhole) {
            break;
        }
        result += mask;
        taken = secret.begin + secret.size;
    }
    if (isWhole) {
        takeTo(text.size());
    }
    if (taken < text.size()) {
        result += "... and " + std::to_string(text.size() - taken) + " more bytes";
    }
    return result;
}

std::string LoggedText::request(std::string_view text, std::size_t limit) {
    return masked(text, RequestReader(text).secrets(limit), Secrets::Mask, limit);
}
