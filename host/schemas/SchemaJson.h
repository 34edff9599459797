#ifndef SCHEMAJSON_H
#define SCHEMAJSON_H

#include <nlohmann/json.hpp>

#include "schemas/KnownSchemas.h"

/// The JSON form in which the program that collects the schemas passes them to das. Both include
/// this file, so that a new field is both written and read.
namespace KnownSchemas {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Column, name, type, defaults)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(AnswerForm, columns, itemForms)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Entry, name, table, reasons, users, key, defaultRows, hasDataFile,
                                   columns, elements, itemElements, answerForms)

}  // namespace KnownSchemas

#endif
