// The whole file is checked before the service gets any of it, and the first wrong lines are
// reported together, so that a person can correct several at a time. The service would store the
// valid lines and log the others. That is right for a data file of management, and wrong for a file
// that a person has typed.

#include "schemas/ImportFile.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

#include "ClientUtils.h"
#include "schemas/QuotedCsv.h"
#include "schemas/RequestText.h"
#include "terminal/NearMisses.h"
#include "terminal/Utf8.h"

namespace {

constexpr std::size_t NoPlace = static_cast<std::size_t>(-1);
constexpr long long HighestNumber = 9007199254740991;
const std::string UserColumn = "UserContext";
const std::string NumberedKey = "INTEGER PRIMARY KEY";
const std::string Contacts = "PHONE_BOOK";
const std::string Calls = "CALL_LOG";
const std::string_view ByteOrderMark = "\xEF\xBB\xBF";
const char* const OtherProgram = "das-contacts import FILE reads lists of other programs";

bool isUser(const std::string& text) {
    return text == "base" || text == "visitor";
}

std::size_t placeOf(const KnownSchemas::Entry& schema, const std::string& column) {
    const auto& columns = schema.columns;
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const auto& each) { return each.name == column; });
    return found == columns.end() ? NoPlace : static_cast<std::size_t>(found - columns.begin());
}

/// No line of names has more fields. One more is read, to see that a line has too many.
std::size_t mostNamesOf(const KnownSchemas::Entry& schema) {
    return schema.elements.size() + schema.itemElements.size() + 1;
}

/// The column that identifies a row: the first one except the user's.
std::size_t keyPlaceOf(const KnownSchemas::Entry& schema) {
    return placeOf(schema, UserColumn) == 0 ? 1 : 0;
}

bool isNumbered(const KnownSchemas::Entry& schema) {
    return schema.columns[keyPlaceOf(schema)].type.rfind(NumberedKey, 0) == 0;
}

/// The column for an element of requests and answers: elements are in the order of columns.
const std::string& columnOf(const KnownSchemas::Entry& schema, std::size_t element) {
    const std::size_t user = placeOf(schema, UserColumn);
    return schema.columns[element + (element >= user ? 1 : 0)].name;
}

std::size_t elementOf(const KnownSchemas::Entry& schema, const std::string& name) {
    const auto found = std::find(schema.elements.begin(), schema.elements.end(), name);
    return found == schema.elements.end()
               ? NoPlace
               : static_cast<std::size_t>(found - schema.elements.begin());
}

/// What is wrong with the number of a row; blank if it is valid.
std::string wrongWithNumber(const std::string& number) {
    const char* const begin = number.data() + (number[0] == '+' ? 1 : 0);
    const char* const end = number.data() + number.size();
    long long value = 0;
    const auto read = std::from_chars(begin, end, value);
    if (read.ptr != end || read.ec == std::errc::invalid_argument) {
        return number.substr(0, 40) + " is no number of a row";
    }
    return read.ec != std::errc() || value > HighestNumber
               ? "the number " + number.substr(0, 40) + " is above " + std::to_string(HighestNumber)
               : "";
}

/// Whether @p number is in one of the ranges of default rows, such as "1 to 16" or "9".
bool isOfDefaultRow(const KnownSchemas::Entry& schema, const std::string& number) {
    return std::any_of(
        schema.defaultRows.begin(), schema.defaultRows.end(), [&](const std::string& range) {
            const int first = ClientUtils::stoi(range);
            const std::size_t word = range.find(" to ");
            const int last = word == range.npos ? first : ClientUtils::stoi(range.substr(word + 4));
            const int value = ClientUtils::stoi(number);
            return std::to_string(value) == number && first <= value && value <= last;
        });
}

std::string wrongWithFixedRow(const KnownSchemas::Entry& schema, const std::string& number) {
    return schema.defaultRows.empty() || isOfDefaultRow(schema, number)
               ? ""
               : schema.name + " has no row " + number.substr(0, 40);
}

std::string countOf(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

struct ImportFile::LineForm {
    std::size_t columns;
    bool isFilledUp;
    std::size_t userPlace;
    std::size_t numberPlace;  ///< no value if rows have no numbers
};

std::string ImportFile::Refusal::text() const {
    return "line " + std::to_string(line) + ": " + reason;
}

std::string ImportFile::refusalOf(const KnownSchemas::Entry& schema, const std::string& user) {
    if (!schema.hasDataFile) {
        return "this schema has no data files";
    }
    if (!user.empty() && placeOf(schema, UserColumn) == NoPlace) {
        return "its rows belong to the telephone and not to a user";
    }
    return !user.empty() && schema.table == "CONVERSATIONS"
               ? "conversations are imported for all users together"
               : "";
}

ImportFile::ImportFile(const KnownSchemas::Entry& schema, const std::string& user,
                       std::string_view text)
    : m_schema(schema) {
    if (text.substr(0, ByteOrderMark.size()) == ByteOrderMark) {
        text.remove_prefix(ByteOrderMark.size());
    }
    if (isOfOtherProgram(text) || hasOtherSeparator(text)) {
        return;
    }
    checkEncoding(text);
    QuotedCsv first(text);
    std::vector<std::string> names;
    if (first.next(mostNamesOf(m_schema), names) && hasNameInFront(names)) {
        takeNames(names);
        readNamedRows(text);
    } else {
        readLines(text, !user.empty());
    }
    std::sort(m_refusals.begin(), m_refusals.end(),
              [](const Refusal& one, const Refusal& other) { return one.line < other.line; });
    m_refusals.resize(std::min(m_refusals.size(), MostRefusals));
}

void ImportFile::refuse(std::size_t line, const std::string& reason) {
    const bool isThere = std::any_of(m_refusals.begin(), m_refusals.end(),
                                     [line](const Refusal& each) { return each.line == line; });
    if (!isThere) {
        m_refusals.push_back({line, reason});
    }
}

bool ImportFile::isOfOtherProgram(std::string_view text) {
    constexpr std::string_view begin = "BEGIN:VCARD";
    const std::size_t place = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const std::string word(text.substr(place, begin.size()));
    if (::strcasecmp(word.c_str(), begin.data()) == 0) {
        refuse(1, std::string("this is a vCard; ") + OtherProgram);
    }
    return !m_refusals.empty();
}

bool ImportFile::hasOtherSeparator(std::string_view text) {
    // Spreadsheets use semicolons in countries where the comma is the decimal mark.
    std::string line(text.substr(0, text.find_first_of("\r\n")));
    if (line.find(',') != std::string::npos || line.find_first_of(";\t") == std::string::npos) {
        return false;
    }
    std::replace_if(
        line.begin(), line.end(), [](char each) { return each == ';' || each == '\t'; }, ',');
    std::vector<std::string> names;
    if (QuotedCsv(line).next(mostNamesOf(m_schema), names) && hasNameInFront(names)) {
        const bool isOwn = std::all_of(names.begin(), names.end(), [this](const auto& name) {
            return elementOf(m_schema, name) != NoPlace;
        });
        refuse(1, std::string("semicolons or tabs separate its columns; ") +
                      (isOwn || m_schema.table != Contacts ? "save it with commas between them"
                                                           : OtherProgram));
    }
    return !m_refusals.empty();
}

void ImportFile::checkEncoding(std::string_view text) {
    if (Utf8::isValid(text)) {
        return;
    }
    for (std::size_t line = 1; !text.empty() && m_refusals.size() < MostRefusals; ++line) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (!Utf8::isValid(text.substr(0, end))) {
            refuse(line, "it is not UTF-8");
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// Texts with the names of columns
// --------------------------------------------------------------------

bool ImportFile::hasNameInFront(const std::vector<std::string>& fields) const {
    // An exported row may contain the name of a column as a value. But no column has the name of a
    // user.
    return !isUser(fields.front()) &&
           std::any_of(fields.begin(), fields.end(), [this](const std::string& field) {
               return elementOf(m_schema, field) != NoPlace;
           });
}

void ImportFile::takeNames(const std::vector<std::string>& names) {
    m_keyPlace = names.size();
    for (const std::string& name : names) {
        const std::size_t element = elementOf(m_schema, name);
        if (m_schema.table == Calls || m_schema.name.find("Key") != std::string::npos) {
            refuse(1, "calls and keys are not imported by the names of columns");
        } else if (element == NoPlace) {
            refuse(1, name.substr(0, 40) + " is no column of " + m_schema.name + "; " +
                          (m_schema.table == Contacts
                               ? OtherProgram
                               : NearMisses::question(
                                     name, m_schema.elements,
                                     "das schemas " + m_schema.name + " lists them")));
        } else if (elementOf(m_schema, name) != NoPlace &&
                   std::count(names.begin(), names.end(), name) > 1) {
            refuse(1, name + " is named twice");
        } else {
            m_columns.push_back(columnOf(m_schema, element));
            const bool isKey = m_columns.back() == m_schema.columns[keyPlaceOf(m_schema)].name;
            m_keyPlace = isKey ? m_columns.size() - 1 : m_keyPlace;
        }
    }
}

void ImportFile::readNamedRows(std::string_view text) {
    QuotedCsv file(text);
    std::vector<std::string> cells;
    (void)file.next(0, cells);
    const bool namesAreGood = m_refusals.empty() || m_refusals.front().line != 1;
    while (namesAreGood && m_refusals.size() < MostRefusals) {
        const bool isRead = file.next(m_columns.size(), cells);
        if (!isRead && file.error().empty()) {
            break;
        }
        if (!isRead) {
            refuse(file.line(), file.error());
            break;
        }
        if (++m_rowCount > MostRows) {
            refuse(file.line(),
                   "a file with column names has at most " + std::to_string(MostRows) + " rows");
            break;
        }
        const std::string wrong = wrongWithNamed(cells, file.count());
        if (!wrong.empty()) {
            refuse(file.line(), wrong);
        }
        m_rows.push_back(cells);
        m_lines.push_back(file.line());
    }
}

std::string ImportFile::wrongWithNamed(const std::vector<std::string>& cells,
                                       std::size_t count) const {
    if (count != m_columns.size()) {
        return countOf(count, "field") + "; the first line names " +
               std::to_string(m_columns.size());
    }
    const std::string key = m_keyPlace < cells.size() ? cells[m_keyPlace] : "";
    if (key.empty()) {
        return isNumbered(m_schema) ? ""
                                    : "it has no " + m_schema.columns[keyPlaceOf(m_schema)].name;
    }
    return isNumbered(m_schema) ? wrongWithNumber(key) : wrongWithFixedRow(m_schema, key);
}

// Texts in the form of docs/csv.md
// -------------------------------------------------------------------

void ImportFile::readLines(std::string_view text, bool isForUser) {
    const bool isOfCalls = m_schema.table == Calls;
    const LineForm usual = {m_schema.columns.size(), isOfCalls || m_schema.table == Contacts,
                            placeOf(m_schema, UserColumn),
                            isNumbered(m_schema) ? keyPlaceOf(m_schema) : NoPlace};
    // In files of older software, lines of calls begin with the number. An import for one user can
    // read these.
    const LineForm older = {usual.columns, true, 4, 0};
    // In other tables such a line may be a row.
    const bool hasComments = usual.userPlace == 0 || usual.numberPlace == 0;
    m_text.reserve(text.size());
    for (std::size_t number = 1; !text.empty() && m_refusals.size() < MostRefusals; ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string line(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line == "\r" || (hasComments && line.front() == '#')) {
            continue;
        }
        const bool isOlder =
            isOfCalls && isForUser && std::isdigit(static_cast<unsigned char>(line[0]));
        const std::string wrong = wrongWithLine(line, isOlder ? older : usual);
        if (!wrong.empty()) {
            const bool isForeign = number == 1 && m_schema.table == Contacts &&
                                   !isUser(line.substr(0, line.find(',')));
            refuse(number, isForeign ? wrong + "; " + OtherProgram : wrong);
        }
        ++m_rowCount;
        m_text.append(line).append("\n");
    }
}

std::string ImportFile::wrongWithLine(const std::string& line, const LineForm& form) const {
    if (line.size() > ClientUtils::LongestLine) {
        return "it is longer than 1 MiB";
    }
    if (line.find('\0') != std::string::npos) {
        return "it has a NUL byte";
    }
    std::vector<std::string> fields;
    ClientUtils::splitString(line, fields);
    if (form.userPlace < fields.size() && !isUser(fields[form.userPlace])) {
        return form.userPlace == 0 ? "it does not begin with base or visitor"
                                   : "its user is neither base nor visitor";
    }
    if (fields.size() > form.columns || (fields.size() < form.columns && !form.isFilledUp)) {
        return countOf(fields.size(), "field") + "; a row of " + m_schema.name + " has " +
               (form.isFilledUp ? "at most " : "") + std::to_string(form.columns);
    }
    const std::string number =
        form.numberPlace < fields.size() ? fields[form.numberPlace] : std::string();
    if (!number.empty()) {
        return wrongWithNumber(number);
    }
    const bool hasFixedRows = RequestText::formOf(m_schema) == RequestText::Form::List;
    return hasFixedRows && form.numberPlace == NoPlace
               ? wrongWithFixedRow(m_schema, fields[keyPlaceOf(m_schema)])
               : "";
}
