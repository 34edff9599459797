#include "Calls.h"

Method Calls::method(const std::string& name,
                     const std::vector<std::pair<std::string, std::string>>& in) {
    Method made(name);
    for (const auto& [parameter, value] : in) {
        if (value == "true" || value == "false") {
            made.addBoolParameter(parameter, value == "true", Parameter::in);
        } else if (!value.empty() && value.find_first_not_of("-0123456789") == std::string::npos) {
            made.addIntParameter(parameter, std::stoi(value), Parameter::in);
        } else {
            made.addStringParameter(parameter, value, Parameter::in);
        }
    }
    return made;
}

Method Calls::request(const std::string& text) {
    Method made("processRequest");
    made.addStringParameter("Request", text, Parameter::in);
    made.addIntParameter("RequestLength", static_cast<int>(text.size()), Parameter::in);
    return made;
}

std::string Calls::responseIn(const Method& answer) {
    std::string text;
    (void)answer.getStringParameter("Response", text);
    return text;
}
