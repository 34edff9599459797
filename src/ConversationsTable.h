#ifndef CONVERSATIONSTABLE_H
#define CONVERSATIONSTABLE_H

#include <memory>

struct TableLayout;

/// The table that ties contacts to calls.
namespace ConversationsTable {

/// Its description: schema, name and the four columns. Shared, never changed.
const std::shared_ptr<const TableLayout>& layout();

}  // namespace ConversationsTable

#endif
