#ifndef SCHEMACONTRACT_H
#define SCHEMACONTRACT_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

/// The form of a schema's messages, for programs that check or generate them. It is made from the
/// tables of schemas, so it always agrees with the service.
namespace SchemaContract {

/// Requests and answers have the same root, so each side has a contract of its own.
enum class Side { Request, Answer };

/**
 * An XML Schema 1.0 of one side of @p schema's messages.
 *
 * It describes what a careful client sends: no elements that the service would ignore, and the
 * order of the documentation. Values are strings, since the tables store them unchanged. Cells of
 * an answer are not escaped, so an answer whose cells hold markup may be no XML at all.
 */
std::string xsd(const KnownSchemas::Entry& schema, Side side);

/// Every name of a column, and of an element in requests and answers, that @p schema has.
std::vector<std::string> namesOf(const KnownSchemas::Entry& schema);

/// A JSON schema of what "das read SCHEMA --output json" prints.
std::string rowsJson(const KnownSchemas::Entry& schema);

/// For each schema with rows, the possible forms of a row in answers: its elements in order and,
/// under "items", those of the items of its list.
std::string answersJson();

}  // namespace SchemaContract

#endif
