// The list is read once at the start and never changes afterwards, so requests read it without a
// lock.

#include "dao/GenConfigDeviceDataItems.h"

#include <algorithm>

#include "dao/DeviceDataReader.h"

std::map<std::string, GenConfigDeviceDataItems::SchemaItem> GenConfigDeviceDataItems::deviceItemMap;

void GenConfigDeviceDataItems::populateDeviceDataItemMapFromFile(const std::string& path) {
    DeviceDataReader reader;
    reader.readFile(path);
    initialiseDeviceItemMap(reader.getDeviceItemMap());
}

void GenConfigDeviceDataItems::initialiseDeviceItemMap(
    const std::map<std::string, SchemaItem>& items) {
    deviceItemMap = items;
}

void GenConfigDeviceDataItems::getDeviceItemMap(std::map<std::string, SchemaItem>& out) {
    out = deviceItemMap;
}

void GenConfigDeviceDataItems::clearDeviceItemMap() {
    deviceItemMap.clear();
}

bool GenConfigDeviceDataItems::isItemDeviceData(const std::string& schema,
                                                const std::string& item) {
    const auto found = deviceItemMap.find(schema);
    if (found == deviceItemMap.end()) {
        return false;
    }
    const SchemaItem& items = found->second;
    return items.included.empty() ? !findItem(items.excluded, item)
                                  : findItem(items.included, item);
}

bool GenConfigDeviceDataItems::findItem(const std::vector<std::string>& items,
                                        const std::string& item) {
    return std::find(items.begin(), items.end(), item) != items.end();
}
