#ifndef SENTENCES_H
#define SENTENCES_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

/**
 * What schemas, their columns and settings mean, a sentence each.
 *
 * The sentences stand in sentences.json next to this file, which the build puts into the program.
 * They are parsed at the first use, so that commands without help cost nothing. Columns of one name
 * share a sentence; "columnsOf" has those that differ in a schema or in a table. A build fails when
 * a sentence is missing or names nothing (see generate/WriteContracts.cpp).
 */
namespace Sentences {

struct Setting {
    std::string name;
    std::string text;
};

/// The sentence for the schema @p name; blank if it has none.
std::string ofSchema(const std::string& name);

/// The sentence for an element of requests and answers that is not a column; blank if it has none.
std::string ofElement(const std::string& name);

/// The sentence for a column of @p schema, or for its element in requests and answers: the schema's
/// own, else that of its table, else that of all columns with this name. The columns of the ten
/// calls of a row ("Number0" to "Number9") share the sentence of the name without its digit. Blank
/// if there is no sentence.
std::string ofColumn(const KnownSchemas::Entry& schema, const std::string& column);

/// The settings of the schema @p name that the service or its files know, by name. Clients may
/// store others. Empty for tables with columns.
const std::vector<Setting>& settingsOf(const std::string& name);

}  // namespace Sentences

#endif
