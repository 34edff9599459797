#ifndef SCHEMAJSON_H
#define SCHEMAJSON_H

#include <nlohmann/json.hpp>

#include "schemas/KnownSchemas.h"

/// The form in which the table of schemas goes from the program that makes it to das. Both sides
/// include this, so that a field that is added is written and read.
namespace KnownSchemas {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Column, name, type, defaults)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(AnswerForm, columns, itemForms)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Entry, name, table, reasons, users, key, defaultRows, hasDataFile,
                                   columns, elements, itemElements, answerForms)

}  // namespace KnownSchemas

#endif
