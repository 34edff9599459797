#include "tables/ForwardingKeyDestinationsDAO.h"

#include "dao/KeyIds.h"

using namespace DASUtilsStrings;

ForwardingKeyDestinationsDAO::ForwardingKeyDestinationsDAO(DatabaseAdapter* adapter)
    : UserTableDAO(adapter, layoutOfTable()) {}

ForwardingKeyDestinationsDAO::~ForwardingKeyDestinationsDAO() = default;

const std::shared_ptr<const TableLayout>& ForwardingKeyDestinationsDAO::layoutOfTable() {
    static const auto layout =
        makeLayout(ForwardingKeyDestinationsSchema, ForwardingKeyDestinationsTableName,
                   KeyIds::allKeys(), {{"ForwardingDialNumber", ""}, {"ForwardingType", "0"}});
    return layout;
}
