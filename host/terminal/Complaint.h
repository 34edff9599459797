#ifndef COMPLAINT_H
#define COMPLAINT_H

#include <string>

/// Lines on standard error for people: what failed, with what, why, and what to try.
namespace Complaint {

/// Writes "das: WHAT", and behind a semicolon what to try, if anything. Control characters in it
/// are made visible.
void tell(const std::string& what, const std::string& advice = "");

/// The same with the words of the system for @p error behind the subject.
void tellError(const std::string& subject, int error, const std::string& advice = "");

/// Reports that answers could not be written, for the reason that errno holds. A reader that has
/// gone is no error worth a line. Returns the exit status.
int outputFailed();

}  // namespace Complaint

#endif
