#ifndef SENTENCES_H
#define SENTENCES_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

/**
 * What schemas, their columns and settings mean, a sentence each.
 *
 * The sentences stand in sentences.json next to this file, which the build puts into the program.
 * They are read when the first one is asked for, so that commands without help cost nothing.
 * Columns of one name share a sentence; "columnsOf" has those that differ in a schema or in a
 * table. A build fails when a sentence is missing or names nothing (see
 * generate/WriteContracts.cpp).
 */
namespace Sentences {

struct Setting {
    std::string name;
    std::string text;
};

/// The sentence of the schema @p name; blank for one that has none.
std::string ofSchema(const std::string& name);

/// The sentence of an element that requests and answers have besides columns; blank if it has none.
std::string ofElement(const std::string& name);

/// The sentence of a column, or of its element in requests and answers, of @p schema: that of the
/// schema, else that of its table, else that of all columns of the name. The columns of the ten
/// calls of a row ("Number0" to "Number9") share that of the name without its digit. Blank for one
/// without.
std::string ofColumn(const KnownSchemas::Entry& schema, const std::string& column);

/// The settings of the schema @p name that the service or its files know, by name. Clients may
/// store others. None for tables with columns.
const std::vector<Setting>& settingsOf(const std::string& name);

}  // namespace Sentences

#endif
