// Cells of secret columns are masked by position: names are looked up once, not for each row of an
// export.

#include "dao/SecretCells.h"

#include "Secrets.h"
#include "dao/DASUtils.h"

SecretCells::SecretCells(DatabaseAdapter& adapter, const std::string& table) {
    if (!Secrets::areHidden()) {
        return;
    }
    std::vector<std::string> names;
    m_areKnown = DASUtils::createColumnNameListFromDbFile(&adapter, table, names);
    for (std::size_t place = 0; place < names.size(); ++place) {
        if (Secrets::isSecret(names[place])) {
            m_places.push_back(place);
        }
    }
}

void SecretCells::hide(std::vector<std::string>& row) const {
    for (const std::size_t place : m_places) {
        if (place < row.size() && !row[place].empty()) {
            row[place] = Secrets::Mask;
        }
    }
}
