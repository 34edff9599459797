// One message to the service.

#include <exception>
#include <string>

#include "Stage.h"
#include "Target.h"

namespace {

std::unique_ptr<Stage> stage;

}  // namespace

void beginRequests() {
    stage = std::make_unique<Stage>();
}

void takeRequest(std::string_view input) {
    const std::string message(input);
    std::string answer = "none";
    try {
        answer = stage->service().processRequest(message);
    } catch (const std::exception&) {
        // The caller of the process gets what the standard library raises; others get a failure.
    }
    require(!answer.empty(), "a request is not answered");
    stage->restore();
}
