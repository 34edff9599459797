// One message to the service. It must be answered. With and without the statement cache, the answer
// and the contents of the database afterwards must be the same.

#include <exception>
#include <string>

#include "Stage.h"
#include "Target.h"
#include "database/DatabaseAdapter.h"

namespace {

std::unique_ptr<Stage> stage;

/// The answer to @p message, followed by the rows of the database.
std::string outcome(const std::string& message, bool keepsStatements) {
    std::string answer = "none";
    StatementCache& cache = stage->service().getAdapter()->statementCache();
    cache.setUsed(keepsStatements);
    try {
        answer = stage->service().processRequest(message);
    } catch (const std::exception&) {
        // A caller in the process gets exceptions of the standard library; other callers get a
        // failure.
    }
    require(!answer.empty(), "a request is not answered");
    cache.setUsed(true);
    answer += stage->change();
    stage->restore();
    return answer;
}

}  // namespace

void beginRequests() {
    stage = std::make_unique<Stage>();
}

void takeRequest(std::string_view input) {
    const std::string message(input);
    const std::string kept = outcome(message, true);
    require(outcome(message, false) == kept, "kept statements have another outcome");
}
