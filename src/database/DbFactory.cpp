// A reset replaces the adapter while other threads may still be inside the old one. An adapter that
// was replaced is therefore kept until destroyDatabase(); there is one for each reset, so they stay
// few.

#include "database/DbFactory.h"

DbFactory::DbFactory() = default;
DbFactory::~DbFactory() = default;

DatabaseAdapter* DbFactory::createDatabase() {
    auto adapter = std::make_unique<DatabaseAdapter>();
    if (m_adapter != nullptr) {
        m_retired.push_back(std::move(m_adapter));
    }
    m_adapter = std::move(adapter);
    return m_adapter.get();
}

void DbFactory::destroyDatabase() {
    m_adapter.reset();
    m_retired.clear();
}
