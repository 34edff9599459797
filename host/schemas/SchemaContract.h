#ifndef SCHEMACONTRACT_H
#define SCHEMACONTRACT_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

/// What a schema's messages look like, for programs that check or generate them. Made from the
/// tables of schemas, so that it follows the service.
namespace SchemaContract {

/// Requests and answers have the same root, so each side has a contract of its own.
enum class Side { Request, Answer };

/**
 * An XML Schema 1.0 of one side of @p schema's messages.
 *
 * It is as narrow as a careful client: it has no elements that the service would ignore, and the
 * order is that of the documentation. Values are texts, since the tables keep them
 * as they come. Cells of an answer are not escaped, so an answer whose cells hold markup may be no
 * XML at all.
 */
std::string xsd(const KnownSchemas::Entry& schema, Side side);

/// Every name of a column, and of an element in requests and answers, that @p schema has.
std::vector<std::string> namesOf(const KnownSchemas::Entry& schema);

/// A JSON schema of what "das read SCHEMA --output json" prints.
std::string rowsJson(const KnownSchemas::Entry& schema);

/// For each schema with rows, the forms that a row has in answers: its elements in order, and in
/// "items" those of the items of its list.
std::string answersJson();

}  // namespace SchemaContract

#endif
