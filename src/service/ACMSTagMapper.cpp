// A file of the image maps the management tags to schemas and items. A line that can't be used is
// skipped, because the other tags must work nevertheless.

#define DAS_LOG_COMPONENT "DAS_ACMSTagMapper"

#include "service/ACMSTagMapper.h"

#include <algorithm>
#include <vector>

#include "ClientUtils.h"
#include "DeviceFile.h"
#include "Log.h"

namespace {

const char* const MappingFile = "/Aurel_Deploy/DasTagMappings.csv";
constexpr std::size_t FewestFields = 3;

/// The columns of the file. The values are indices in the list of names below.
enum Column { DasSchema, DasTag, AcmsTag };
const std::vector<std::string> ColumnNames = {"<DASschema>", "<DAStag>", "<ACMStag>"};

bool isComment(const std::vector<std::string>& fields) {
    return !fields.front().empty() && fields.front().front() == '#';
}

}  // namespace

ACMSTagMapper::ACMSTagMapper() {
    createTable();
}

void ACMSTagMapper::createTable() {
    DeviceFile file(MappingFile);
    if (!file.isOpen()) {
        return;
    }
    DAS_LOG(5, "Opening %s", MappingFile);
    int version = 0;
    if (!ClientUtils::getVersion(file, version)) {
        DAS_LOG(2, "Version no. missing");
        return;
    }
    std::vector<int> positions;
    if (!ClientUtils::getColumnPositions(file, ColumnNames, positions)) {
        DAS_LOG(2, "File too short, data tags missing?");
        return;
    }
    DAS_LOG(5, "Scanning file...");
    const auto highest =
        static_cast<std::size_t>(*std::max_element(positions.begin(), positions.end()));
    const auto field = [&positions](const std::vector<std::string>& fields, Column column) {
        return fields[static_cast<std::size_t>(positions[column])];
    };
    std::vector<std::string> fields;
    while (ClientUtils::readLineFromCsvFileAndParse(file, fields)) {
        const bool isData = fields.size() >= FewestFields && fields.size() > highest;
        if (isData && !isComment(fields)) {
            m_tags[field(fields, AcmsTag)] = {field(fields, DasSchema), field(fields, DasTag)};
        }
    }
    DAS_LOG(5, "Scanning complete");
}

bool ACMSTagMapper::findDASTags(const std::string& acmsTag, std::string& schema,
                                std::string& dasTag) const {
    const auto found = m_tags.find(acmsTag);
    if (found == m_tags.end()) {
        return false;
    }
    schema = found->second.first;
    dasTag = found->second.second;
    return true;
}
