// A line names a schema, or a schema and an item, or an item that is excluded. Other lines are
// ignored: the list comes with the software image, and newer images may use more forms.

#include "dao/DeviceDataReader.h"

#include "ClientUtils.h"
#include "DeviceFile.h"

namespace {

constexpr char CommentMark = '#';
const char* const ExcludedWord = "false";

}  // namespace

void DeviceDataReader::readFile(const std::string& path) {
    m_stream = std::make_unique<DeviceFile>(path);
    while (m_stream->good()) {
        processLine();
    }
    m_stream.reset();
}

void DeviceDataReader::processLine() {
    std::vector<std::string> fields;
    if (m_stream != nullptr) {
        // A line that can't be read has no fields.
        (void)ClientUtils::readLineFromCsvFileAndParse(*m_stream, fields);
    }
    if (isLineIgnored(fields)) {
        return;
    }
    const std::string& schema = fields[0];
    if (fields.size() == 1) {
        m_items[schema];
    } else if (fields.size() == 2) {
        m_items[schema].included.push_back(fields[1]);
    } else if (fields.size() == 3 && fields[2] == ExcludedWord) {
        m_items[schema].excluded.push_back(fields[1]);
    }
}

bool DeviceDataReader::isComment(const std::vector<std::string>& fields) {
    const std::string& first = fields.at(0);
    return !first.empty() && first.front() == CommentMark;
}

bool DeviceDataReader::isLineIgnored(const std::vector<std::string>& fields) {
    return fields.empty() || isComment(fields);
}
