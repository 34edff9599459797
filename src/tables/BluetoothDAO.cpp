#include "tables/BluetoothDAO.h"

namespace {

using namespace DASUtilsStrings;

KeyedTable deviceTable(const std::string& schema, const std::string& table) {
    return {{schema,
             table,
             false,
             true,
             {{UserContextTagName, columnTypeText, ""},
              {IdTagName, columnTypeText, ""},
              {"DeviceName", columnTypeText, ""},
              {"DeviceClass", columnTypeText, ""}},
             {},
             "PRIMARY KEY (" + UserContextTagName + ", " + IdTagName + ")",
             true},
            {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement,
             KeyedTableDAOXmlCharacterDataHandler, "DataAccessService",
             "Parsing a BluetoothDAO '%s' request failed."},
            {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest}};
}

const KeyedTable TrustedDevices = deviceTable(BluetoothTrustedSchema, BluetoothTrustedTableName);
const KeyedTable BlacklistedDevices =
    deviceTable(BluetoothBlacklistedSchema, BluetoothBlacklistedTableName);

}  // namespace

BluetoothDAO::BluetoothDAO(DatabaseAdapter* adapter, const std::string& schema)
    : KeyedTableDAO(adapter,
                    schema == BluetoothBlacklistedSchema ? BlacklistedDevices : TrustedDevices) {}

BluetoothDAO::~BluetoothDAO() = default;
