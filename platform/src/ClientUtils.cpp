// Strings and numbers as the telephone has always read them: text that is not a number counts as 0,
// and a line that is too long is skipped, because files and stored values may contain anything.

#include "ClientUtils.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "Log.h"
#include "Secrets.h"

namespace {

struct Entity {
    char character;
    std::string_view text;
};

constexpr Entity Entities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"},
};

constexpr std::string_view VersionTag = "#$VERSION=";
constexpr std::string_view ColumnsTag = "#$COLUMNS=";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// The entity at the position @p place of @p text; null if no entity is there.
const Entity* entityAt(std::string_view text, std::size_t place) {
    const std::string_view rest = text.substr(place);
    const Entity* const found =
        std::find_if(std::begin(Entities), std::end(Entities),
                     [rest](const Entity& entity) { return startsWith(rest, entity.text); });
    return found != std::end(Entities) ? found : nullptr;
}

std::vector<std::string> cutLine(std::string_view line) {
    std::vector<std::string> fields;
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    if (line.empty()) {
        return fields;
    }
    fields.emplace_back();
    for (const char character : line) {
        if (character != ',') {
            fields.back() += character;
        } else if (!fields.back().empty() && fields.back().back() == '\\') {
            fields.back().back() = ',';
        } else {
            fields.emplace_back();
        }
    }
    return fields;
}

/// Reads a header line and stores the part after @p tag in @p rest.
bool readHeader(std::istream& stream, std::string_view tag, std::string& rest) {
    if (ClientUtils::readLine(stream, rest) != ClientUtils::Line::Read || !startsWith(rest, tag)) {
        return false;
    }
    rest.erase(0, tag.size());
    return true;
}

}  // namespace

std::string ClientUtils::itos(int value) {
    return std::to_string(value);
}

std::string ClientUtils::int64tos(long long value) {
    return std::to_string(value);
}

int ClientUtils::stoi(const std::string& text) {
    const long number = std::strtol(text.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

bool ClientUtils::stob(const std::string& text) {
    return text == "1" || (text.size() == 4 && strcasecmp(text.c_str(), "true") == 0);
}

std::string ClientUtils::join(const std::vector<std::string>& parts, const std::string& separator) {
    std::size_t size = parts.size() * separator.size();
    for (const std::string& part : parts) {
        size += part.size();
    }
    std::string joined;
    joined.reserve(size);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        joined.append(i == 0 ? std::string_view() : separator).append(parts[i]);
    }
    return joined;
}

std::vector<std::string> ClientUtils::tokenizeString(const std::string& text,
                                                     const std::string& separators, bool keepEmpty,
                                                     bool trim) {
    std::vector<std::string> pieces;
    std::size_t begin = text.empty() ? std::string::npos : 0;
    while (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(separators, begin);
        const std::size_t length = end == std::string::npos ? end : end - begin;
        std::string_view piece = std::string_view(text).substr(begin, length);
        if (trim) {
            piece = withoutBlanks(piece);
        }
        if (keepEmpty || !piece.empty()) {
            pieces.emplace_back(piece);
        }
        begin = end == std::string::npos ? end : end + 1;
    }
    return pieces;
}

std::string ClientUtils::escapeXMLString(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    std::size_t begin = 0;
    for (std::size_t at; (at = text.find_first_of("&<>\"'", begin)) != std::string::npos;) {
        const Entity* const entity =
            std::find_if(std::begin(Entities), std::end(Entities),
                         [&](const Entity& each) { return each.character == text[at]; });
        escaped.append(text, begin, at - begin).append(entity->text);
        begin = at + 1;
    }
    escaped.append(text, begin);
    return escaped;
}

// One pass has the same result as five replacements with "&amp;" last, since no other replacement
// makes an "&".
std::string ClientUtils::unescapeXMLString(const std::string& text) {
    std::string plain;
    plain.reserve(text.size());
    std::size_t begin = 0;
    for (std::size_t at; (at = text.find('&', begin)) != std::string::npos;) {
        const Entity* const entity = entityAt(text, at);
        plain.append(text, begin, at - begin) += entity != nullptr ? entity->character : '&';
        begin = at + (entity != nullptr ? entity->text.size() : 1);
    }
    plain.append(text, begin);
    return plain;
}

void ClientUtils::splitString(const std::string& line, std::vector<std::string>& fields) {
    fields = cutLine(line);
}

ClientUtils::Line ClientUtils::readLine(std::istream& stream, std::string& line) {
    std::array<char, 4096> piece;
    bool isWhole = false;
    bool isTooLong = false;
    bool isThere = false;
    line.clear();
    while (!isWhole) {
        stream.getline(piece.data(), piece.size());
        auto count = static_cast<std::size_t>(stream.gcount());
        // If reading failed before the end of the file, the buffer is full and the line continues.
        isWhole = !stream.fail() || stream.eof() || count == 0;
        isThere = isThere || count > 0;
        count -= isWhole && !stream.eof() && count > 0 ? 1 : 0;
        isTooLong = isTooLong || line.size() + count > LongestLine;
        line.append(piece.data(), isTooLong ? 0 : count);
        if (!isWhole) {
            stream.clear(stream.rdstate() & ~std::ios::failbit);
        }
    }
    if (isTooLong) {
        line.clear();
    }
    return isTooLong ? Line::TooLong : isThere ? Line::Read : Line::End;
}

bool ClientUtils::readLineFromCsvFileAndParse(std::istream& stream,
                                              std::vector<std::string>& fields) {
    std::string line;
    const Line read = readLine(stream, line);
    if (read == Line::TooLong) {
        DAS_LOG(2, "A line of more than %zu bytes is passed over", LongestLine);
    }
    splitString(line, fields);
    return read != Line::End;
}

bool ClientUtils::getVersion(std::istream& stream, int& version) {
    std::string number;
    if (!readHeader(stream, VersionTag, number) || number.empty() || number[0] < '0' ||
        number[0] > '9') {
        return false;
    }
    version = stoi(number);
    return true;
}

bool ClientUtils::getColumnPositions(std::istream& stream, const std::vector<std::string>& names,
                                     std::vector<int>& positions) {
    positions.clear();
    std::string rest;
    if (!readHeader(stream, ColumnsTag, rest)) {
        return false;
    }
    const std::vector<std::string> columns = cutLine(rest);
    for (const std::string& name : names) {
        const auto found = std::find(columns.begin(), columns.end(), name);
        if (found == columns.end()) {
            return false;
        }
        positions.push_back(static_cast<int>(found - columns.begin()));
    }
    return true;
}

bool ClientUtils::isKnownPasswordDAS(const std::string& name) {
    return Secrets::isKnownPassword(name);
}

std::string ClientUtils::hidePasswordDAS(const std::string& name, const std::string& value) {
    return Secrets::isSecret(name) ? std::string(Secrets::Mask) : value;
}
