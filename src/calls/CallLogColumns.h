#ifndef CALLLOGCOLUMNS_H
#define CALLLOGCOLUMNS_H

#include <cstddef>
#include <string>
#include <vector>

#include "DASTypes.h"

/**
 * The columns of the call log, in one place. A row stands for one number in one category and has
 * space for ten calls. Each field of a call has ten columns, one for each call: "Number0" to
 * "Number9". The order of the columns has historical reasons: fields that were added later come
 * last.
 */
namespace CallLogColumns {

constexpr std::size_t Places = 10;  ///< calls that a row can hold
constexpr std::size_t Count = 139;  ///< columns of the table

/// Columns of the row itself, by their position. The columns of the calls lie in the gap before
/// JSGroupBy.
enum RowColumn : std::size_t {
    UserContext = 0,
    UniqueId = 1,
    Category = 2,
    EntryId = 3,
    Surname = 4,
    Firstname = 5,
    PictureClip = 6,
    Viewed = 7,
    JSGroupBy = 108
};

/// Fields of one call, in the order in which a call is written.
enum Field : std::size_t {
    TimeFormat,
    Number,
    NumberType,
    AuxiliaryNumber,  ///< who was connected, or to whom the call was deflected
    AuxiliaryNumberType,
    AuxSurname,
    AuxFirstName,
    TimeDate,  ///< ISO 8601; empty at a place without a call
    Duration,
    ResolvedNumber,      ///< the number that was finally dialled
    CompletedElsewhere,  ///< for a missed call; for any other call, the kind of transfer
    GroupName,
    GroupNumber,
    FieldCount
};

/// These fields are stored call by call; the fields after them are stored field by field.
constexpr std::size_t InterleavedFields = ResolvedNumber;

/// Name of a column of the row. The names are made once, before the first request, and live as long
/// as the process, because a request to the call log uses hundreds of names.
const std::string& name(RowColumn column);
/// Name that a field's columns share, without the digit of the place.
const std::string& stem(Field field);
/// Name of a field's column for the call 0 to 9. For a higher number it is the name of no column.
std::string name(Field field, std::size_t place);
/// Element that holds a column of the row in requests and answers; blank for the user's context,
/// which has none.
const std::string& element(RowColumn column);
/// Element that holds a field of a call in requests and answers.
const std::string& element(Field field);
/// Position of a field of the call 0 to 9 in a row.
std::size_t position(Field field, std::size_t place);

// Columns and SQL types of the three parts of the table, in order. Together they are the whole
// table.
const PairList& entryColumns();  ///< the eight columns of the row itself
const PairList& itemColumns();   ///< the interleaved fields of ten calls
const PairList& extraColumns();  ///< the fields that were added later, including the grouping key

}  // namespace CallLogColumns

#endif
