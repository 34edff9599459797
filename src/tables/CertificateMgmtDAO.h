#ifndef CERTIFICATEMGMTDAO_H
#define CERTIFICATEMGMTDAO_H

#include <string>
#include <vector>

#include "dao/KeyedTableDAO.h"

/**
 * What the telephone knows of its certificates and of their keys: two tables, of which the schema
 * of the request names one. The certificates themselves are files.
 */
class CertificateMgmtDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null. Works on the certificates until a request names
    /// another schema.
    explicit CertificateMgmtDAO(DatabaseAdapter* adapter);
    /// Works on the table of @p schema from the start, for operations without a request.
    CertificateMgmtDAO(DatabaseAdapter* adapter, const std::string& schema);
    ~CertificateMgmtDAO() override = default;

    /// The rows of a read of all stand in the answer as those of any read.
    std::string responseData() override;
    /// Reads all rows, whatever the request names.
    int readAllRequest();

    /// Goes over to the table that the root element names; further elements of that name count for
    /// nothing.
    void startElement(const char* name, const char** attributes) override;

protected:
    void serve() override;

private:
    static const Operation<CertificateMgmtDAO> ReadAll[1];

    bool m_isTableNamed = false;  ///< by the request
};

#endif
