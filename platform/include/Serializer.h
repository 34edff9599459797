#ifndef SERIALIZER_H
#define SERIALIZER_H

#include <map>
#include <string>

/// The text form of a map of strings, as parameters carry it: a JSON object whose values are all
/// strings, such as {"PhoneNumber":"4711"}.
/// Maps of tags and values go through remote methods in this form, since a method has no parameter
/// of many values.
class Serializer {
public:
    /// The text of @p values, in the order of the keys. Bytes that are no UTF-8 are replaced.
    static std::string serialize(const std::map<std::string, std::string>& values);

    /// Reads @p text into @p values, which is emptied first and stays empty on failure. False when
    /// the text is no such object.
    static bool deserialize(const std::string& text, std::map<std::string, std::string>& values);
};

#endif
