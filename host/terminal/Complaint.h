#ifndef COMPLAINT_H
#define COMPLAINT_H

#include <string>

/**
 * Error messages for people: what failed, with what, why, and what to do.
 *
 * Each failure has one line, so that a script can show it and a person finds the reason without the
 * log. The word that the user typed comes first, since users look for it.
 */
namespace Complaint {

/// Writes "das: WHAT" and, after a semicolon, the advice, if any. Control characters are made
/// visible.
void report(const std::string& what, const std::string& advice = "");

/// The same with the system's message for @p error after the subject.
void reportError(const std::string& subject, int error, const std::string& advice = "");

/// Reports that answers could not be written, with the reason in errno. A closed pipe is not
/// reported. Returns the exit status.
int outputFailed();

}  // namespace Complaint

#endif
