#include "RequestFields.h"

#include <expat.h>

#include <algorithm>

namespace Bench {

namespace {

struct Reader {
    RequestFields fields;
    std::string text;
    bool isLeaf = false;
};

void onStart(void* data, const char* name, const char** attributes) {
    auto& reader = *static_cast<Reader*>(data);
    if (reader.fields.schema.empty() && attributes[0] != nullptr) {
        reader.fields.schema = attributes[1];
    }
    (void)name;
    reader.text.clear();
    reader.isLeaf = true;
}

void onText(void* data, const char* text, int length) {
    static_cast<Reader*>(data)->text.append(text, static_cast<std::size_t>(length));
}

void onEnd(void* data, const char* name) {
    auto& reader = *static_cast<Reader*>(data);
    if (reader.isLeaf && std::string_view(name) != "ReasonForMessage") {
        reader.fields.leaves.emplace_back(name, reader.text);
    }
    reader.isLeaf = false;
}

}  // namespace

RequestFields RequestFields::of(const std::string& request) {
    Reader reader;
    XML_ParserStruct* const parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &reader);
    (void)XML_SetHashSalt(parser, 1);  // otherwise it asks the system for one
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    (void)XML_Parse(parser, request.data(), static_cast<int>(request.size()), 1);
    XML_ParserFree(parser);
    return std::move(reader.fields);
}

const std::string& RequestFields::value(const char* name) const {
    static const std::string blank;
    const auto found = std::find_if(leaves.begin(), leaves.end(),
                                    [name](const auto& leaf) { return leaf.first == name; });
    return found != leaves.end() ? found->second : blank;
}

std::string quoted(const std::string& text) {
    std::string value;
    value.reserve(text.size() + 2);
    value += '\'';
    for (const char c : text) {
        value.append(c == '\'' ? 2 : 1, c);
    }
    return value += '\'';
}

}  // namespace Bench
