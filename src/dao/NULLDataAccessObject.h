#ifndef NULLDATAACCESSOBJECT_H
#define NULLDATAACCESSOBJECT_H

#include <string>

#include "dao/DataAccessObject.h"

/// Answers for an unknown schema, or while no schemas are served: the schema's name, the reason
/// "failure" and no data. It has no adapter and uses no table. Because of it the service has an
/// object for every request, and callers need no check for null.
class NULLDataAccessObject : public DataAccessObject {
public:
    /// @p schema is shown in the answer as it is.
    explicit NULLDataAccessObject(const std::string& schema);
    ~NULLDataAccessObject() override;

    void handleRequest(const char* text, int length) override;  ///< does nothing
    std::string schemaName() override;
    std::string responseData() override;  ///< always empty
    int createTable() override;           ///< 0 without action
    int writeRequest() override;          ///< 0 without action
    int readRequest() override;           ///< 0 without action

private:
    std::string m_schema;
};

#endif
