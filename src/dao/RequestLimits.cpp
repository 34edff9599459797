#include "dao/RequestLimits.h"

#include <algorithm>

#include "XmlHandler.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/RequestLimits";

}  // namespace

void RequestLimits::checkColumns(const std::string& resultCols) {
    const auto blanks = std::count(resultCols.begin(), resultCols.end(), ' ');
    check(static_cast<std::size_t>(blanks) + 1, Names, "names in ResultCols");
}

void RequestLimits::check(std::size_t count, std::size_t limit, const char* what) {
    if (count <= limit || m_isExceeded) {
        return;
    }
    m_isExceeded = true;
    DAS_LOG(2, "A request is refused whole: it holds more than %zu %s. Send it in several.", limit,
            what);
    XmlHandler::stop();
}
