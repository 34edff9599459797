// Values of requests become part of SQL strings. So every quoted value is escaped first, and every
// value that can't be quoted must have a checked form.

#include "dao/DASUtils.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

#include "database/DatabaseAdapter.h"
#include "database/SqlText.h"

namespace {

const std::string SingleQuote = "'";
const std::string StartTagOpening = "<";
const std::string EndTagOpening = "</";
const std::string TagClosing = ">";

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

template <typename Iterator>
bool isSignedDigits(Iterator begin, Iterator end) {
    if (begin != end && (*begin == '+' || *begin == '-')) {
        ++begin;
    }
    return begin != end && std::all_of(begin, end, [](char c) { return c >= '0' && c <= '9'; });
}

void appendTag(std::string& out, const std::string& opening, const std::string& name) {
    out.clear();
    out.reserve(opening.size() + name.size() + TagClosing.size());
    out.append(opening).append(name).append(TagClosing);
}

/// Number of cells of a word of ResultCols; 0 for all columns of a table that is not in @p tables.
/// SQLite ignores the case of table names.
std::size_t widthOfWord(const std::string& word, const std::vector<DASUtils::TableWidth>& tables) {
    if (word.size() < 2 || word.compare(word.size() - 2, 2, ".*") != 0) {
        return 1;
    }
    const std::string name = word.substr(0, word.size() - 2);
    const auto found = std::find_if(tables.begin(), tables.end(), [&](const auto& table) {
        return ::strcasecmp(table.first.c_str(), name.c_str()) == 0;
    });
    return found != tables.end() ? found->second : 0;
}

/// Replaces each @p from in @p text by @p to in one pass.
std::string replaceAll(const std::string& text, const std::string& from, const std::string& to) {
    std::size_t place = text.find(from);
    if (place == std::string::npos) {
        return text;
    }
    std::string result;
    result.reserve(text.size());
    std::size_t next = 0;
    for (; place != std::string::npos; place = text.find(from, next)) {
        result.append(text, next, place - next);
        result += to;
        next = place + from.size();
    }
    result.append(text, next);
    return result;
}

}  // namespace

DASUtils::ColumnInfo::ColumnInfo(const std::string& columnName, std::string sqlType,
                                 const std::string& defaultValue)
    : name(columnName), type(std::move(sqlType)), defaults{defaultValue} {}

DASUtils::ColumnInfo::ColumnInfo(const std::string& columnName, std::string sqlType,
                                 const std::vector<std::string>& defaultValues)
    : name(columnName), type(std::move(sqlType)), defaults(defaultValues) {}

std::string DASUtils::escapeSqlReservedCharacters(const std::string& text) {
    return escapeReservedCharacter(text, '\'', '\'');
}

std::string DASUtils::unescapeSqlReservedCharacters(const std::string& text) {
    return replaceAll(text, "''", SingleQuote);
}

std::string DASUtils::escapeSqlReservedString(const std::string& text) {
    return replaceAll(text, "&apos;", SingleQuote);
}

std::string DASUtils::escapeReservedCharacter(const std::string& text, char reserved, char escape) {
    return SqlText::escaped(text, reserved, escape);
}

std::string DASUtils::convertToDBFormat(const std::string& value) {
    std::string quoted;
    quoted.reserve(value.size() + 2 * SingleQuote.size());
    quoted.append(SingleQuote).append(value).append(SingleQuote);
    return quoted;  // the reference that append() returns would cause a copy
}

void DASUtils::convertToDBFormat(const std::string& value, std::string& out) {
    out = convertToDBFormat(value);
}

std::string DASUtils::escapeAndQuote(const std::string& text) {
    return convertToDBFormat(escapeSqlReservedCharacters(text));
}

/// Doubled quotes are harmless and a single one would end the literal. If unescaping and escaping
/// leave a value unchanged, it has no single quote. SQLite stops reading at a zero byte, so the
/// rest of the statement would be lost.
bool DASUtils::isSafeBetweenQuotes(const std::string& value) {
    return value.find('\0') == std::string::npos &&
           escapeSqlReservedCharacters(unescapeSqlReservedCharacters(value)) == value;
}

void DASUtils::createXMLStartTag(const std::string& name, std::string& out) {
    appendTag(out, StartTagOpening, name);
}

void DASUtils::createXMLEndTag(const std::string& name, std::string& out) {
    appendTag(out, EndTagOpening, name);
}

bool DASUtils::isIdentifier(const std::string& text) {
    const auto begin = std::find_if_not(text.begin(), text.end(), isBlank);
    const auto end = std::find_if_not(text.rbegin(), text.rend(), isBlank).base();
    return begin < end && isSignedDigits(begin, end);
}

bool DASUtils::isNumber(const std::string& text) {
    return isSignedDigits(text.begin(), text.end());
}

/// Words of ResultCols become part of the statement without quotes, so only three forms are
/// allowed: a name, a name with its table, or all columns of a table.
bool DASUtils::isResultColumn(const std::string& word) {
    const auto dot = std::find(word.begin(), word.end(), '.');
    if (dot == word.begin() || !std::all_of(word.begin(), dot, isNameCharacter)) {
        return false;
    }
    if (dot == word.end()) {
        return true;
    }
    const std::string column(dot + 1, word.end());
    return column == "*" ||
           (!column.empty() && std::all_of(column.begin(), column.end(), isNameCharacter));
}

bool DASUtils::areResultColumns(const std::vector<std::string>& words) {
    return std::all_of(words.begin(), words.end(), isResultColumn);
}

/// A word such as "TABLE.*" stands for as many cells as that table has now; the table may still
/// have an older form. So the cells that the known words leave over are shared among the other
/// words.
std::vector<std::size_t> DASUtils::positionsOfWords(const std::vector<std::string>& words,
                                                    std::size_t rowWidth,
                                                    const std::vector<TableWidth>& tables) {
    std::vector<std::size_t> widths;
    std::size_t known = 0;
    std::size_t others = 0;
    for (const std::string& word : words) {
        widths.push_back(widthOfWord(word, tables));
        known += widths.back();
        others += widths.back() == 0 ? 1 : 0;
    }
    const std::size_t left = rowWidth > known && others > 0 ? (rowWidth - known) / others : 0;
    std::size_t position = 0;
    for (std::size_t& width : widths) {
        const std::size_t next = position + (width != 0 ? width : left);
        width = position;
        position = next;
    }
    return widths;
}

bool DASUtils::isPattern(const std::string& text) {
    static const std::string opening = "LIKE '";
    if (text.compare(0, opening.size(), opening) != 0 || text.size() == opening.size() ||
        text.back() != '\'') {
        return false;
    }
    return isSafeBetweenQuotes(text.substr(opening.size(), text.size() - opening.size() - 1));
}

bool DASUtils::columnIsInColumnList(const std::string& name,
                                    const std::vector<std::string>& columns) {
    return std::find(columns.begin(), columns.end(), name) != columns.end();
}

bool DASUtils::createColumnNameListFromDbFile(DatabaseAdapter* adapter, const std::string& table,
                                              std::vector<std::string>& columns) {
    columns.clear();
    return adapter != nullptr && adapter->readColumnNames(table, columns);
}

std::string DASUtils::countOf(DatabaseAdapter& adapter, const std::string& table,
                              PairList conditions) {
    std::string count;
    return adapter.countRows(table, conditions, count) == 0 ? count : std::string();
}

int DASUtils::readRows(DatabaseAdapter& adapter, const std::string& table,
                       const std::vector<std::string>& columns, const PairList& conditions,
                       Rows& rows) {
    PairList orderBy;
    return adapter.executeQuery(table, columns, conditions, orderBy, rows, "", "");
}

int DASUtils::getRowCount(DatabaseAdapter& adapter, const std::string& table, std::string& count) {
    PairList all;
    return adapter.getRowCount(table, all, count);
}

bool DASUtils::mayInsertDefaultRows(DatabaseAdapter& adapter, const std::string& table,
                                    int createResult) {
    return createResult == 0 || adapter.isKnownToBeEmpty(table);
}
