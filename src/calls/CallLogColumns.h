#ifndef CALLLOGCOLUMNS_H
#define CALLLOGCOLUMNS_H

#include <cstddef>
#include <string>
#include <vector>

#include "DASTypes.h"

/**
 * The columns of the call log, in one place. A row stands for one number in one category and has
 * places for ten calls; each call has a field in one column a place, "Number0" to "Number9". The
 * order is the one that growth of the table has left: later fields do not follow the earlier
 * ones.
 */
namespace CallLogColumns {

constexpr std::size_t Places = 10;  ///< calls that a row can hold
constexpr std::size_t Count = 139;  ///< columns of the table

/// Columns of the row itself, by their position in it.
/// The gap before JSGroupBy is that of the fields of calls, which stand between.
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
    AuxiliaryNumber,  ///< who was connected, or whom the call was deflected to
    AuxiliaryNumberType,
    AuxSurname,
    AuxFirstName,
    TimeDate,  ///< ISO 8601; empty at a place without a call
    Duration,
    ResolvedNumber,      ///< the number that was dialled in the end
    CompletedElsewhere,  ///< of a missed call; the kind of transfer of any other
    GroupName,
    GroupNumber,
    FieldCount
};

/// Fields that a row holds call by call; the others follow, field by field.
constexpr std::size_t InterleavedFields = ResolvedNumber;

/// Name of a column of the row.
/// All of these are made once, before the first request, and live as long as the process: a request
/// to the call log asks for hundreds of names.
const std::string& name(RowColumn column);
/// Name that a field's columns share, without the digit of the place.
const std::string& stem(Field field);
/// Name of a field's column at a place, 0 to 9; no column has the name for a higher place.
std::string name(Field field, std::size_t place);
/// Element that holds a column of the row in requests and answers; none for the user's context.
const std::string& element(RowColumn column);
/// Element that holds a field of a call in requests and answers.
const std::string& element(Field field);
/// Position in a row of a field at a place, 0 to 9.
std::size_t position(Field field, std::size_t place);

// Column and SQL type of the three parts of the table, in order; together they are the table.
const PairList& entryColumns();  ///< the eight columns of the row itself
const PairList& itemColumns();   ///< the interleaved fields of ten calls
const PairList& extraColumns();  ///< the fields that came later, with the grouping key among them

}  // namespace CallLogColumns

#endif
