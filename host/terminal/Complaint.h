#ifndef COMPLAINT_H
#define COMPLAINT_H

#include <string>

/**
 * Lines on standard error for people: what failed, with what, why, and what to try.
 *
 * One line a failure, so that a script can show it and a person finds the reason without the log.
 * The word that the user typed comes first, since that is what they look for.
 */
namespace Complaint {

/// Writes "das: WHAT", and after a semicolon what to try, if anything. Control characters in it
/// are made visible.
void report(const std::string& what, const std::string& advice = "");

/// The same with the system's message for @p error after the subject.
void reportError(const std::string& subject, int error, const std::string& advice = "");

/// Reports that answers could not be written, for the reason that errno holds. A reader that has
/// gone is no error worth a line. Returns the exit status.
int outputFailed();

}  // namespace Complaint

#endif
