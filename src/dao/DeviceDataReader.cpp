// A line of the list names a schema, alone, with an item of the device or with one that is not of
// the device. What has another form is passed over: the list is the image's, and newer ones may say
// more.

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
        (void)ClientUtils::readLineFromCsvFileAndParse(*m_stream, fields);  // no line has no fields
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
