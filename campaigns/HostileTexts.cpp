#include "HostileTexts.h"

namespace {

using Texts = std::vector<std::string>;

/// Ways out of where a text stands ...
const Texts Openings = {"'", "''", "'''", "\"", "`", "]", "x'", "x')", "99991", "99991)", "%'"};
/// ... and what could follow.
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

const Texts Singles = {
    // Statements without a way out.
    "(SELECT Surname FROM PHONE_BOOK)",
    "(SELECT Value FROM GENERAL_CONFIG)",
    "SELECT FROM",
    "NULL",
    "rowid",
    "_rowid_",
    "*",
    "COUNT(*)",
    "1;SELECT 1",
    "DROP TABLE CALL_LOG",
    "CURRENT_TIMESTAMP",
    "load_extension('x')",
    "randomblob(9)",
    "CASE WHEN 1 THEN 1 END",
    "IN (1,2)",
    "BETWEEN 0 AND 9",
    "IS NOT NULL",
    "COLLATE NOCASE",
    "LIMIT 9",
    "RAISE(ABORT,'x')",
    "?1",
    ":a",
    "@a",
    "$a",
    "x'00'",
    "--",
    "/*",
    "*/",
    "/* x */",
    ";",
    ";;",
    "BEGIN",
    "ROLLBACK;",
    "END TRANSACTION;",
    "VACUUM",
    "REINDEX",
    "EXPLAIN SELECT 1",
    // Patterns.
    "%",
    "_",
    "%%",
    "LIKE",
    "LIKE '%'",
    "LIKE '%' OR 1=1",
    "x LIKE '%",
    "NOT LIKE 'x'",
    "GLOB '*'",
    "%_%",
    "\\%",
    "LIKE 'a' ESCAPE 'b'",
    "aLIKEb",
    "like '%'",
    // Numbers at limits, and what is nearly one.
    "4294967296",
    "-2147483649",
    "2147483648",
    "9223372036854775807",
    "9223372036854775808",
    "-9223372036854775808",
    "99999999999999999999999999999999",
    "0x7fffffff",
    "1e308",
    "1e999",
    "-1e-5",
    "77777.0",
    " 77777 ",
    "+77777",
    "--77777",
    "77777 77777",
    "77777,77777",
    "077777",
    "NaN",
    "Infinity",
    "77_777",
    "\xd9\xa1\xd9\xa2",
    "\xef\xbc\x97",
    // Names of columns and tables.
    "UserContext",
    "UserContext UserContext",
    "PHONE_BOOK.Surname",
    "GENERAL_CONFIG.*",
    "CALL_LOG.*",
    "CONVERSATIONS.PhonebookId",
    "sqlite_master.sql",
    "main.PHONE_BOOK.Surname",
    "Value",
    "Schema",
    "Surname",
    "SpeedDialID Surname",
    "LineSipPassword",
    "Id Id Id",
    "PHONE_BOOK",
    "temp.x",
    "a.b.c",
    ".",
    ".*",
    "*.*",
    "PHONE_BOOK.",
    "\"Surname\"",
    "[Surname]",
    "Surname,Value",
    "Surname AS x",
    "Surname--",
    "UPPER(Surname)",
    "Surname Surname; --",
    // Formats of printf.
    "%s",
    "%n",
    "%s%s%s%s%s%s%s%s%n",
    "%99999999d",
    "%*.*s",
    "%1$n",
    "%q",
    "%Q",
    "%w",
    "%z",
    // Markup, and what it is made of.
    "<",
    ">",
    "&",
    "&amp;",
    "&lt;",
    "&#39;",
    "&#x27;",
    "&apos;",
    "&apos;&apos; OR 1=1",
    "&#0;",
    "&lol;",
    "&",
    "]]>",
    "<![CDATA[x]]>",
    "<![CDATA[' OR 1=1 --]]>",
    "<!-- x -->",
    "<?x y?>",
    "</Entry>",
    "</Schema>",
    "<Entry>",
    "<x/>",
    "<!DOCTYPE a [<!ENTITY b \"c\">]>",
    "<x y='z'>",
    "</Id>",
    "<Context>",
    "<<>>",
    "\"><x",
    "<Schema name=\"PhoneBook\">",
    // Blanks, lines, and characters that are no text.
    "",
    " ",
    "  ",
    "\t",
    "\n",
    "\r",
    "\r\n",
    "a\nb",
    "a\r\nb",
    " a",
    "a ",
    "\xc2\xa0",
    "\xe2\x80\xa8",
    "\x01",
    "\x07",
    "\x0b",
    "\x1b[2J",
    "\x7f",
    std::string("\0", 1),
    std::string("a\0b", 3),
    std::string("'\0' OR 1=1", 10),
    // UTF-8: good, cut off, too long, too high, halves of pairs.
    "\xc3\xa9",
    "\xe2\x82\xac",
    "\xf0\x9f\x93\x9e",
    "\xef\xbb\xbf",
    "\xe2\x80\xae' OR 1=1",
    "\xca\xbc OR 1=1",
    "\xef\xbc\x87 OR 1=1",
    "\xc3",
    "\xe2\x82",
    "\xf0\x9f\x93",
    "\x80",
    "\xff",
    "\xfe\xff",
    "\xc0\xa7",
    "\xc0\x80",
    "\xe0\x80\xa7",
    "\xf0\x80\x80\xa7",
    "\xf4\x90\x80\x80",
    "\xed\xa0\x80",
    "\xef\xbf\xbe",
    "\xef\xbf\xbf",
    "a\xcc\x81\xcc\x81\xcc\x81",
    "\xc3'",
    // Commas, backslashes and heads of data files.
    ",",
    ",,,,",
    "a,b",
    "\\,",
    "\\",
    "a\\",
    "\\'",
    "\\\\'",
    "#",
    "#$VERSION=1",
    "#$COLUMNS=UserContext,Name",
    "a,'b",
    "=1+1",
    "@SUM(1)",
    // Paths and shells.
    "../../etc/passwd",
    "/etc/passwd",
    "$(id)",
    "`id`",
    "| id",
    "& id",
    "C:\\x",
    "file:x?mode=rw",
};

Texts makeTexts() {
    Texts texts = Singles;
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

/// The length of the character that begins at @p place; 0 when there is none that XML carries.
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
