#ifndef GENCONFIGDEVICEDATAITEMS_H
#define GENCONFIGDEVICEDATAITEMS_H

#include <map>
#include <string>
#include <vector>

/**
 * Which settings belong to the telephone itself rather than to a user.
 *
 * The list comes with the software image and is read once, before the service takes requests; from
 * then on it is only read, by any thread. There is no lock. Names are compared exactly.
 */
class GenConfigDeviceDataItems {
public:
    /// The entries of the list for one schema.
    struct SchemaItem {
        std::vector<std::string> included;  ///< items that are device data
        std::vector<std::string> excluded;  ///< items that are not device data; used only if
                                            ///< included is empty
    };

    /// Replaces the list by that of the file @p path of the telephone. If the file can't be read,
    /// the list is empty, and no item is device data.
    static void populateDeviceDataItemMapFromFile(const std::string& path);

    /// Replaces the list by a copy of @p items, which may be the list itself.
    static void initialiseDeviceItemMap(const std::map<std::string, SchemaItem>& items);

    /// Replaces @p out by a copy of the list, by schema.
    static void getDeviceItemMap(std::map<std::string, SchemaItem>& out);

    static void clearDeviceItemMap();

    /**
     * Whether @p item of @p schema is device data. If the schema has included items, only these
     * are. Otherwise all items that are not excluded are. If the list does not name the schema,
     * none is.
     */
    static bool isItemDeviceData(const std::string& schema, const std::string& item);

    /// Whether @p items holds @p item.
    static bool findItem(const std::vector<std::string>& items, const std::string& item);

private:
    static std::map<std::string, SchemaItem> deviceItemMap;
};

#endif
