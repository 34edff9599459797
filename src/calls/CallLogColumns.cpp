// Names are made once and returned by reference, because a request with thousands of calls needs
// each name many times.

#include "calls/CallLogColumns.h"

#include "ClientUtils.h"
#include "DASUtilsStrings.h"

namespace {

using namespace CallLogColumns;

struct RowColumnNames {
    RowColumn column;
    std::string name;
    std::string type;
    std::string element;
};

const std::vector<RowColumnNames>& rowColumns() {
    const std::string& text = DASUtilsStrings::columnTypeText;
    static const std::vector<RowColumnNames> columns = {
        {UserContext, DASUtilsStrings::UserContextTagName, text, ""},
        {UniqueId, "UniqueId", "INTEGER PRIMARY KEY AUTOINCREMENT", "UniqueId"},
        {Category, "Category", "TEXT DEFAULT empty", "Category"},
        {EntryId, "EntryId", text, "EntryId"},
        {Surname, "Surname", text, "Surname"},
        {Firstname, "Firstname", text, "Firstname"},
        {PictureClip, "PictureClip", text, "Picture"},
        {Viewed, "Viewed", text, "Viewed"},
        {JSGroupBy, "JSGroupBy", text, "JSGroupBy"}};
    return columns;
}

struct FieldNames {
    std::string stem;
    std::string element;
};

/// Indexed by Field.
const std::vector<FieldNames>& fields() {
    static const std::vector<FieldNames> names = {{"MornetTStimeFormat", "MornetTStimeFormat"},
                                                  {"Number", "Number"},
                                                  {"NumberType", "NumberType"},
                                                  {"AuxiliaryNumber", "ConnectedNumber"},
                                                  {"AuxiliaryNumberType", "ConnectedNumberType"},
                                                  {"AuxSurname", "ConnectedSurname"},
                                                  {"AuxFirstName", "ConnectedFirstName"},
                                                  {"TimeDate", "TimeDate"},
                                                  {"Duration", "Duration"},
                                                  {"ResolvedNumber", "ResolvedNumber"},
                                                  {"CompletedElsewhere", "CompletedElsewhere"},
                                                  {"GroupName", "GroupName"},
                                                  {"GroupNumber", "GroupNumber"}};
    return names;
}

const RowColumnNames& namesOf(RowColumn column) {
    const auto& all = rowColumns();
    return column == JSGroupBy ? all.back() : all[column];
}

constexpr std::size_t FirstItem = Viewed + 1;
constexpr std::size_t FirstExtra = FirstItem + Places * InterleavedFields;

void appendAllPlaces(PairList& columns, Field field) {
    for (std::size_t place = 0; place < Places; ++place) {
        columns.emplace_back(name(field, place), DASUtilsStrings::columnTypeText);
    }
}

PairList makeEntryColumns() {
    PairList columns;
    for (const RowColumnNames& column : rowColumns()) {
        if (column.column != JSGroupBy) {
            columns.emplace_back(column.name, column.type);
        }
    }
    return columns;
}

PairList makeItemColumns() {
    PairList columns;
    for (std::size_t place = 0; place < Places; ++place) {
        for (std::size_t field = 0; field < InterleavedFields; ++field) {
            columns.emplace_back(name(static_cast<Field>(field), place),
                                 DASUtilsStrings::columnTypeText);
        }
    }
    return columns;
}

PairList makeExtraColumns() {
    PairList columns;
    appendAllPlaces(columns, ResolvedNumber);
    columns.emplace_back(name(JSGroupBy), DASUtilsStrings::columnTypeText);
    for (const Field field : {CompletedElsewhere, GroupName, GroupNumber}) {
        appendAllPlaces(columns, field);
    }
    return columns;
}

}  // namespace

const std::string& CallLogColumns::name(RowColumn column) {
    return namesOf(column).name;
}

const std::string& CallLogColumns::element(RowColumn column) {
    return namesOf(column).element;
}

const std::string& CallLogColumns::stem(Field field) {
    return fields()[field].stem;
}

const std::string& CallLogColumns::element(Field field) {
    return fields()[field].element;
}

std::string CallLogColumns::name(Field field, std::size_t place) {
    return stem(field) + ClientUtils::itos(static_cast<int>(place));
}

std::size_t CallLogColumns::position(Field field, std::size_t place) {
    if (field < InterleavedFields) {
        return FirstItem + place * InterleavedFields + field;
    }
    // The grouping key stands after the first of the fields that were added later.
    const std::size_t groupingKey = field > ResolvedNumber ? 1 : 0;
    return FirstExtra + (field - InterleavedFields) * Places + groupingKey + place;
}

const PairList& CallLogColumns::entryColumns() {
    static const PairList columns = makeEntryColumns();
    return columns;
}

const PairList& CallLogColumns::itemColumns() {
    static const PairList columns = makeItemColumns();
    return columns;
}

const PairList& CallLogColumns::extraColumns() {
    static const PairList columns = makeExtraColumns();
    return columns;
}
