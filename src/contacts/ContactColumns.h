#ifndef CONTACTCOLUMNS_H
#define CONTACTCOLUMNS_H

#include <iterator>
#include <string>
#include <vector>

#include "DASUtilsStrings.h"

/**
 * The columns of a contact: the one list for requests and answers, data files, the repair of the
 * table and the answers of the call log. To add a column, add a row to All.
 */
namespace ContactColumns {

/// Types of the two columns that are not plain texts, and the element of the call group, whose
/// column has another name. A number is assigned once and never again, even after its contact was
/// deleted.
extern const std::string NumberType;
extern const std::string SurnameType;
extern const std::string GroupElement;

/// A column of the table, and its element in requests and answers. The strings live as long as the
/// process. The list holds only their addresses, so it needs no code at start-up.
struct Column {
    const std::string* name;
    const std::string* type;     ///< in SQL
    const std::string* element;  ///< null for the user, which is no element
};

/// A column of plain text, whose element has its name.
constexpr Column text(const std::string& name) {
    return {&name, &DASUtilsStrings::columnTypeText, &name};
}

/// In the order of the table.
inline constexpr Column All[] = {
    {&DASUtilsStrings::UserContextTagName, &DASUtilsStrings::columnTypeText, nullptr},
    {&DASUtilsStrings::PhonebookUniqueIDTagName, &NumberType,
     &DASUtilsStrings::PhonebookUniqueIDTagName},
    {&DASUtilsStrings::PhonebookSurnameTagName, &SurnameType,
     &DASUtilsStrings::PhonebookSurnameTagName},
    text(DASUtilsStrings::PhonebookFirstnameTagName),
    text(DASUtilsStrings::PhonebookOfficeTagName),
    text(DASUtilsStrings::PhonebookMobileTagName),
    text(DASUtilsStrings::PhonebookPrivateTagName),
    text(DASUtilsStrings::PhonebookEmailTagName),
    {&DASUtilsStrings::PhonebookCallGroupTagName, &DASUtilsStrings::columnTypeText, &GroupElement},
    text(DASUtilsStrings::PhonebookDefaultNumberTagName),
    text(DASUtilsStrings::PhonebookCompanyTagName),
    text(DASUtilsStrings::PhonebookOffice2TagName),
    text(DASUtilsStrings::PhonebookAddressTagName),
    text(DASUtilsStrings::PhonebookAddress2TagName),
    text(DASUtilsStrings::PhonebookJobFunctionTagName),
    text(DASUtilsStrings::PhonebookVoiceDialTagName),
    text(DASUtilsStrings::PhonebookPictureTagName),
    text(DASUtilsStrings::PhonebookExternalIDTagName),
    text(DASUtilsStrings::PhonebookContactSourceTagName),
    text(DASUtilsStrings::PhonebookSpeedDialIDTagName),
};

constexpr std::size_t Count = std::size(All);

/// Positions of columns that need special handling.
enum Place : std::size_t { UserPlace, NumberPlace, SurnamePlace, FirstnamePlace };

/// Whether the table has a column @p name, in whatever case.
bool isColumn(const std::string& name);

/// The elements of requests and answers, in the order of the columns from the number on.
const std::vector<std::string>& elements();

}  // namespace ContactColumns

#endif
