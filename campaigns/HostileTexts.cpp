#include "HostileTexts.h"

#include <fstream>
#include <map>

namespace {

using Texts = std::vector<std::string>;

/// Texts that may end the surrounding literal ...
const Texts Openings = {"'", "''", "'''", "\"", "`", "]", "x'", "x')", "99991", "99991)", "%'"};
/// ... and texts that could follow.
const Texts Payloads = {
    " OR 1=1",
    " OR '1'='1",
    " OR UserContext='visitor'",
    "; DROP TABLE PHONE_BOOK;",
    "; DELETE FROM GENERAL_CONFIG; --",
    "; UPDATE CALL_LOG SET Surname='x'; --",
    " UNION SELECT sql FROM sqlite_master --",
    " UNION ALL SELECT Value,Value,Value FROM GENERAL_CONFIG --",
    " AND (SELECT COUNT(*) FROM PHONE_BOOK)>0 --",
    "/**/OR/**/1=1/**/",
    "; ATTACH DATABASE '/tmp/x.db' AS x; --",
    "; PRAGMA writable_schema=1; --",
};

/// The bytes for an escaped line of the file.
std::string bytesOf(const std::string& line) {
    static const std::map<char, char> letters = {
        {'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'\\', '\\'}};
    std::string bytes;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '\\') {
            bytes += line[i];
        } else if (line[++i] == 'x') {
            bytes += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else if (line[i] != 'e') {
            bytes += letters.at(line[i]);
        }
    }
    return bytes;
}

Texts textsOfFile() {
    std::ifstream file(DAS_SOURCE_DIR "/campaigns/hostile_texts.txt");
    Texts texts;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("#!", 0) != 0) {
            texts.push_back(bytesOf(line));
        }
    }
    return texts;
}

Texts makeTexts() {
    Texts texts = textsOfFile();
    for (const std::string& opening : Openings) {
        texts.push_back(opening);
        for (const std::string& payload : Payloads) {
            texts.push_back(opening + payload);
        }
    }
    for (const char* part : {"a", "'", "''a", "%", "\xc3\xa9", "&", " ", "9"}) {
        std::string text;
        while (text.size() < 20000) {
            text += part;
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

/// The length of the character at the position @p place; 0 if XML can't carry it.
std::size_t characterLength(const std::string& text, std::size_t place) {
    const auto byte = [&](std::size_t i) -> unsigned {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const unsigned lead = byte(place);
    if (lead < 0x80) {
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    }
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    unsigned code = lead & (0xffu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(place + i) & 0xc0u) != 0x80u) {
            return 0;
        }
        code = (code << 6) | (byte(place + i) & 0x3fu);
    }
    constexpr unsigned lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isGood = lead >= 0xc2 && lead < 0xf5 && code >= lowest[length] && code <= 0x10ffff &&
                        (code < 0xd800 || code > 0xdfff) && code != 0xfffe && code != 0xffff;
    return isGood ? length : 0;
}

}  // namespace

const std::vector<std::string>& hostileTexts() {
    static const Texts texts = makeTexts();
    return texts;
}

std::vector<std::string> hostilePaths(const std::string& outside) {
    const Texts starts = {
        "..",      "/..",           "/data/..",   "/data/../..", "//..//..",
        "/./../.", "/data/link/..", "/data/link", "/tmp/linkup", "/data/ringtones/../../../"};
    const Texts ends = {
        "/outside/@", "/../outside/@", "/../../outside/@",         "/../../../../../outside/@",
        "/outside",   "/outside/",     "/../outside/../outside/@", "/./outside/./@"};
    Texts paths;
    for (const std::string& start : starts) {
        for (const std::string& end : ends) {
            paths.push_back(start + end);
        }
    }
    const Texts odd = {
        outside + "/@",
        outside,
        outside + "/../outside/@",
        "/data/filelink",
        "/data/loop/x",
        "",
        "/",
        "//",
        ".",
        "/.",
        "@",
        "outside/@",
        "%2e%2e/outside/@",
        "..\\outside\\@",
        "/data/\xc0\xae\xc0\xae/outside/@",
        "/data/..;/outside/@",
        "file://" + outside + "/@",
        "~/@",
        "/proc/self/root" + outside + "/@",
        "/proc/self/cwd/@",
        "/dev/null",
        "/dev/zero",
        std::string("/data/\0/../../outside/@", 24),
        "/data/a\nb",
        "/data/'; DROP TABLE PHONE_BOOK;",
        "/data/" + std::string(300, 'x'),
        std::string(5000, '/') + "../outside/@",
        "/data/link/sub/@",
        "/data/chain/@",
        "/data/filelink/x",
    };
    paths.insert(paths.end(), odd.begin(), odd.end());
    for (std::string& path : paths) {
        const std::size_t sign = path.find('@');
        if (sign != std::string::npos) {
            path.replace(sign, 1, "canary.csv");
        }
    }
    return paths;
}

bool isCarriedByXml(const std::string& text) {
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t length = characterLength(text, place);
        if (length == 0) {
            return false;
        }
        place += length;
    }
    return true;
}
