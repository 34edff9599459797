#ifndef ANSWERS_H
#define ANSWERS_H

#include <string>

/// What the host needs to know of the text of requests and answers.
namespace Answers {

/// Whether the reason in the header of @p answer is "failure". What stands in the cells, which come
/// unescaped, is not looked at; the answer of a service word never counts as a failure.
bool isFailure(const std::string& answer);

/// The schema and the reason that @p message names, as the service finds them; blank for none.
std::string schemaOf(const std::string& message);
std::string reasonOf(const std::string& message);

/// The answer of a request that the service could not finish: the schema of @p message, which may
/// be blank, and the reason "failure".
std::string failureFor(const std::string& message);

}  // namespace Answers

#endif
