#ifndef SERIALIZER_H
#define SERIALIZER_H

#include <map>
#include <string>

/// The text form of a map of strings in parameters: a JSON object whose values are all strings,
/// such as {"PhoneNumber":"4711"}. Maps of tags and values use this form in remote methods, since
/// no parameter type has several values.
class Serializer {
public:
    /// The text for @p values, in the order of the keys. Bytes that are not UTF-8 are replaced.
    static std::string serialize(const std::map<std::string, std::string>& values);

    /// Parses @p text into @p values, which is emptied first and stays empty on failure. False if
    /// the text is not such an object.
    static bool deserialize(const std::string& text, std::map<std::string, std::string>& values);
};

#endif
