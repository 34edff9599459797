// Which fields of a call a client sees depends on the category of its row. So there is a list of
// fields for each category, and each call is written by its list.

#include "calls/CallLogWriter.h"

#include "DASUtilsStrings.h"
#include "contacts/ContactColumns.h"

namespace {

using namespace CallLogWriter;
using namespace CallLogColumns;
using Row = std::vector<std::string>;

/// Indexed by Kind, from the first category on.
const std::string Categories[] = {"Dialled", "Forwarded", "Missed", "Received", "", ""};

constexpr RowColumn ColumnsInFront[] = {CallLogColumns::UniqueId,  CallLogColumns::Category,
                                        CallLogColumns::EntryId,   CallLogColumns::Surname,
                                        CallLogColumns::Firstname, CallLogColumns::PictureClip};

// The fields of a call that are shown, by the category of its row.
constexpr Field DialledFields[] = {TimeFormat,     Number,   NumberType,
                                   ResolvedNumber, TimeDate, Duration};
constexpr Field MissedFields[] = {TimeFormat,          Number,     NumberType,   AuxiliaryNumber,
                                  AuxiliaryNumberType, AuxSurname, AuxFirstName, TimeDate,
                                  CompletedElsewhere,  GroupName,  GroupNumber};
constexpr Field OtherFields[] = {
    TimeFormat, Number,       NumberType, AuxiliaryNumber, AuxiliaryNumberType,
    AuxSurname, AuxFirstName, TimeDate,   Duration};

/// A list of fields of any length.
struct Fields {
    template <std::size_t N>
    constexpr Fields(const Field (&fields)[N]) : first(fields), behindLast(fields + N) {}
    const Field* begin() const { return first; }
    const Field* end() const { return behindLast; }

    const Field* first;
    const Field* behindLast;
};

const Tags ItemTags("Item");
const Tags LogListTags("LogList");
const Tags TransferTypeTags("TransferType");

const Tags& tagsOfField(Field field) {
    static const std::vector<Tags> all = [] {
        std::vector<Tags> tags;
        for (std::size_t i = 0; i < FieldCount; ++i) {
            tags.emplace_back(element(static_cast<Field>(i)));
        }
        return tags;
    }();
    return all[field];
}

/// Indexed by column of the phone book, including the user.
const std::vector<Tags>& contactTags() {
    static const std::vector<Tags> all = [] {
        std::vector<Tags> tags = {Tags(DASUtilsStrings::UserContextTagName)};
        for (const std::string& element : ContactColumns::elements()) {
            tags.emplace_back(element);
        }
        return tags;
    }();
    return all;
}

/// The category of a row of the call log: that of the kind or, if the kind has all, the row's own.
const std::string& categoryOfRow(const Row& row, std::size_t offset, Kind kind) {
    const std::string& ofAllRows = categoryOf(kind);
    const bool isInRow = ofAllRows.empty() && offset + Category < row.size();
    return isInRow ? row[offset + Category] : ofAllRows;
}

/// The parts of each call that are shown.
struct ShownCall {
    Fields fields;
    bool withTransferType;
};

void appendItem(std::string& out, const Row& row, std::size_t offset, std::size_t place,
                const ShownCall& shown) {
    const std::size_t time = offset + position(TimeDate, place);
    if (time >= row.size() || row[time].empty()) {
        return;
    }
    out += ItemTags.start;
    for (const Field field : shown.fields) {
        appendCell(out, row, offset + position(field, place), tagsOfField(field));
    }
    if (shown.withTransferType) {
        // One column holds both: a missed call is never transferred.
        appendCell(out, row, offset + position(CompletedElsewhere, place), TransferTypeTags);
    }
    out += ItemTags.end;
}

}  // namespace

CallLogWriter::Tags::Tags(const std::string& element)
    : start("<" + element + ">"), end("</" + element + ">") {}

const std::string& CallLogWriter::categoryOf(Kind kind) {
    return Categories[kind - Dialled];
}

const std::string& CallLogWriter::allOfCallLog() {
    static const std::string word = DASUtilsStrings::CallLogTableName + ".*";
    return word;
}

const std::string& CallLogWriter::allOfPhoneBook() {
    static const std::string word = DASUtilsStrings::PhoneBookTableName + ".*";
    return word;
}

const Tags& CallLogWriter::tagsOf(RowColumn column) {
    static const std::vector<Tags> all = [] {
        std::vector<Tags> tags;
        for (std::size_t i = 0; i <= Viewed; ++i) {
            tags.emplace_back(element(static_cast<RowColumn>(i)));
        }
        tags.emplace_back(element(JSGroupBy));
        return tags;
    }();
    return column == JSGroupBy ? all.back() : all[column];
}

void CallLogWriter::appendCell(std::string& out, const Row& row, std::size_t place,
                               const Tags& tags) {
    if (place < row.size()) {
        out += tags.start;
        out += row[place];
        out += tags.end;
    }
}

void CallLogWriter::parseAllCallLogCols(std::string& out, const Row& row, std::size_t offset,
                                        Kind kind) {
    const std::string& category = categoryOfRow(row, offset, kind);
    const bool isDialled = category == categoryOf(Dialled);
    const bool isMissed = category == categoryOf(Missed);
    for (const RowColumn column : ColumnsInFront) {
        appendCell(out, row, offset + column, tagsOf(column));
    }
    if (isMissed) {
        appendCell(out, row, offset + Viewed, tagsOf(Viewed));
    }
    const ShownCall shown = {isDialled  ? Fields(DialledFields)
                             : isMissed ? Fields(MissedFields)
                                        : Fields(OtherFields),
                             kind == AllWithContacts && !isMissed};
    out += LogListTags.start;
    for (std::size_t place = 0; place < Places; ++place) {
        appendItem(out, row, offset, place, shown);
    }
    out += LogListTags.end;
    appendCell(out, row, offset + JSGroupBy, tagsOf(JSGroupBy));
}

void CallLogWriter::parseAllPhoneBookCols(std::string& out, const Row& row, std::size_t offset,
                                          std::size_t first) {
    const std::vector<Tags>& tags = contactTags();
    for (std::size_t column = first; column < tags.size(); ++column) {
        appendCell(out, row, offset + column, tags[column]);
    }
}
