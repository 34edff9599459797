// The parse ends at the first element that exceeds a limit, because a request that is too large
// must not use up the memory that the limit protects.

#include "dao/RequestLimits.h"

#include <algorithm>

#include "Log.h"
#include "XmlHandler.h"

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
