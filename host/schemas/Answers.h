#ifndef ANSWERS_H
#define ANSWERS_H

#include <string>

/// What the host needs to know of the text of requests and answers.
namespace Answers {

/// Whether the reason in the header of @p answer is "failure". What stands in the cells, which come
/// unescaped, is not looked at; the answer of a service word never counts as a failure.
bool isFailure(const std::string& answer);

/// The reason that @p message names; blank for none.
std::string reasonOf(const std::string& message);
/// The schema by which the service chooses the table for @p message: the first quoted text after
/// the first "Schema", wherever it stands. Blank without one.
std::string schemaOf(const std::string& message);

/// The answer to a request that its sender is not allowed to make.
std::string refusalFor(const std::string& message);

/// The answer of a request that the service could not finish: the schema of @p message, which may
/// be blank, and the reason "failure".
std::string failureFor(const std::string& message);

}  // namespace Answers

#endif
