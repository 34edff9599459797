#ifndef THREADSTREAM_H
#define THREADSTREAM_H

#include <sstream>
#include <string>

/// The stream of this thread for what a protocol adapter reads or writes, with @p text in it. It is
/// valid until the next call on this thread. To make two streams for each message would take half
/// as long as to parse a short one. Adapters leave the format of a stream as it was.
inline std::stringstream& threadStream(const std::string& text) {
    thread_local std::stringstream stream;
    stream.clear();
    stream.str(text);
    return stream;
}

#endif
