#include "schemas/RequestLook.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Secrets.h"
#include "XmlHandler.h"
#include "schemas/Answers.h"

namespace {

constexpr std::string_view Frame[] = {"Schema", "Context", "ReasonForMessage", "ResultCols"};

const std::string SwitchStart = "setWhetherRequestContentShowableOnTheAurelTrace";
const std::pair<const char*, RequestLook::Kind> Words[] = {
    {"getCurrentUser", RequestLook::Kind::Harmless},
    {"getDefaultKeyData", RequestLook::Kind::Harmless},
    {"getWhetherRequestContentShowableOnTheAurelTrace", RequestLook::Kind::Harmless},
    {"saveContactsToCSV", RequestLook::Kind::SaveContacts},
};

/// One parse. What the service takes is the text since the last start tag.
struct Reader {
    RequestLook& look;
    std::string element{};  ///< that which began last; blank once one has ended
    std::string text{};
    int schemas = 0;
    int reasons = 0;
    int items = 0;
    bool isInReason = false;

    void start(const char* name, const char** attributes) {
        look.isClear = look.isClear && !isInReason;  // elements in it could change what it is
        element = name;
        text.clear();
        if (element == "Schema") {
            ++schemas;
            const bool hasName = attributes[0] != nullptr && look.schema == attributes[1];
            look.isClear = look.isClear && hasName && schemas == 1;
        } else if (element == "ReasonForMessage") {
            ++reasons;
            isInReason = true;
            look.isClear = look.isClear && reasons == 1;
        }
        const bool isOfFrame =
            std::find(std::begin(Frame), std::end(Frame), element) != std::end(Frame);
        items += isOfFrame ? 0 : 1;
        look.namesSecret = look.namesSecret || Secrets::isSecret(element);
    }

    void end() {
        if (element == "ReasonForMessage") {
            look.reason = text;
        } else if (element == "ResultCols") {
            look.hasColumns = look.hasColumns || !text.empty();
            look.hasManyColumns = look.hasManyColumns || text.find(' ') != std::string::npos;
        } else if (Secrets::isSecret(element)) {
            look.writesMask = look.writesMask || text == Secrets::Mask;
        }
        element.clear();
        isInReason = false;
    }
};

void onStart(void* reader, const char* name, const char** attributes) {
    static_cast<Reader*>(reader)->start(name, attributes);
}

void onEnd(void* reader, const char* /*name*/) {
    static_cast<Reader*>(reader)->end();
}

void onCharacters(void* reader, const char* text, int length) {
    static_cast<Reader*>(reader)->text.append(text, static_cast<std::size_t>(length));
}

}  // namespace

RequestLook RequestLook::of(const std::string& text, int length) {
    RequestLook look;
    const char* const message = text.c_str();  // the service stops at a zero byte as well
    if (std::strncmp(message, SwitchStart.c_str(), SwitchStart.size()) == 0) {
        look.kind = Kind::TraceSwitch;
        return look;
    }
    for (const auto& [word, kind] : Words) {
        if (std::strcmp(message, word) == 0) {
            look.kind = kind;
            return look;
        }
    }
    look.schema = Answers::schemaOf(message);
    Reader reader{look};
    look.isParsed =
        XmlHandler(&reader, onStart, onEnd, onCharacters).parseMessage(message, length) != 0;
    look.isClear = look.isClear && (reader.schemas == 1 || !look.isParsed);
    look.hasManyItems = reader.items > 1;
    return look;
}
