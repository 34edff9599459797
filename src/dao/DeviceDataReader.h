#ifndef DEVICEDATAREADER_H
#define DEVICEDATAREADER_H

#include <istream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dao/GenConfigDeviceDataItems.h"

/**
 * Reads the list of device items, a file of lines with fields between commas:
 *
 *     # text             a comment; the "#" is the first character of the line
 *     schema             all items of the schema, less its excluded ones
 *     schema,item        an included item
 *     schema,item,false  an excluded item
 *
 * Any other line has no effect, even one with the third field "true": kept on purpose. Existing
 * lists have such lines, and if they counted, their whole schema would become device data.
 */
class DeviceDataReader {
public:
    DeviceDataReader() = default;

    /// Adds the entries of the file @p path of the telephone, up to its end or the first failure. A
    /// missing file adds nothing and is not logged: a telephone may have no list.
    void readFile(const std::string& path);

    /// Reads one line of the open file and applies it.
    void processLine();

    /// Whether the line is a comment. A line without fields throws std::out_of_range.
    bool isComment(const std::vector<std::string>& fields);

    /// Whether the line is empty or a comment.
    bool isLineIgnored(const std::vector<std::string>& fields);

    /// What was read so far.
    std::map<std::string, GenConfigDeviceDataItems::SchemaItem> getDeviceItemMap() const {
        return m_items;
    }

private:
    std::unique_ptr<std::istream> m_stream;  ///< null when no file is open
    std::map<std::string, GenConfigDeviceDataItems::SchemaItem> m_items;
};

#endif
