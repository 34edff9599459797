// One message to the service. It must be answered, and without kept statements in the same way: the
// answer is the same, and so is what it leaves in the database.

#include <exception>
#include <string>

#include "Stage.h"
#include "Target.h"
#include "database/DatabaseAdapter.h"

namespace {

std::unique_ptr<Stage> stage;

/// The answer to @p message and the rows after it.
std::string outcome(const std::string& message, bool keepsStatements) {
    std::string answer = "none";
    StatementCache& cache = stage->service().getAdapter()->statementCache();
    cache.setUsed(keepsStatements);
    try {
        answer = stage->service().processRequest(message);
    } catch (const std::exception&) {
        // The caller of the process gets what the standard library throws; others get a failure.
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
