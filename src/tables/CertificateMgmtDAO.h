#ifndef CERTIFICATEMGMTDAO_H
#define CERTIFICATEMGMTDAO_H

#include <string>
#include <vector>

#include "dao/KeyedTableDAO.h"

/**
 * The telephone's data about its certificates and their keys: two tables, one of which is named by
 * the schema of the request. The certificates themselves are files.
 */
class CertificateMgmtDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null. Works on the certificates until a request names
    /// another schema.
    explicit CertificateMgmtDAO(DatabaseAdapter* adapter);
    /// Works on the table of @p schema from the start, for operations without a request.
    CertificateMgmtDAO(DatabaseAdapter* adapter, const std::string& schema);
    ~CertificateMgmtDAO() override = default;

    /// A read of all rows has its rows in the same form as any read.
    std::string responseData() override;
    /// Reads all rows, whatever the request names.
    int readAllRequest();

    /// Switches to the table that the root element names. Further elements of that name are
    /// ignored.
    void startElement(const char* name, const char** attributes) override;

protected:
    void serve() override;

private:
    static const Operation<CertificateMgmtDAO> ReadAll[1];

    bool m_isTableNamed = false;  ///< by the request
};

#endif
