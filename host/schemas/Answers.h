#ifndef ANSWERS_H
#define ANSWERS_H

#include <string>

/// What the host needs to know about the text of requests and answers.
namespace Answers {

/// Whether the reason in the header of @p answer is "failure". The cells are not examined, because
/// they are not escaped. The answer to a service word is never a failure.
bool isFailure(const std::string& answer);

/// The reason in @p message; blank if it has no reason.
std::string reasonOf(const std::string& message);
/// The schema by which the service selects the table for @p message: the first quoted string after
/// the first "Schema", wherever it is. Blank if there is no such string.
std::string schemaOf(const std::string& message);

/// The answer to a request that its sender may not make.
std::string refusalFor(const std::string& message);

/// The answer of a request that the service could not finish: the schema of @p message, which may
/// be blank, and the reason "failure".
std::string failureFor(const std::string& message);

}  // namespace Answers

#endif
