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
