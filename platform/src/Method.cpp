// Parameters keep the order of the message. They are found by a linear search, since a method has
// only a few.

#include "Method.h"

#include <algorithm>
#include <utility>

namespace {

template <typename Value>
bool take(const Parameter* parameter, Value Parameter::*member, Value& value) {
    if (parameter != nullptr) {
        value = parameter->*member;
    }
    return parameter != nullptr;
}

}  // namespace

Method::Method(std::string name, int type) : m_name(std::move(name)), m_type(type) {}

const Parameter* Method::find(const std::string& name, Parameter::Type type) const {
    const auto found =
        std::find_if(m_parameters.begin(), m_parameters.end(),
                     [&](const Parameter& parameter) { return parameter.name == name; });
    return found != m_parameters.end() && found->type == type ? &*found : nullptr;
}

bool Method::getStringParameter(const std::string& name, std::string& value) const {
    return take(find(name, Parameter::Type::String), &Parameter::text, value);
}

bool Method::getIntParameter(const std::string& name, int& value) const {
    return take(find(name, Parameter::Type::Int), &Parameter::number, value);
}

bool Method::getBoolParameter(const std::string& name, bool& value) const {
    return take(find(name, Parameter::Type::Bool), &Parameter::flag, value);
}

bool Method::getXMLParameter(const std::string& name, std::string& value) const {
    return take(find(name, Parameter::Type::Xml), &Parameter::text, value);
}

void Method::addStringParameter(const std::string& name, const std::string& value,
                                Parameter::directions direction) {
    addStringParameter(name, std::string(value), direction);
}

void Method::addStringParameter(const std::string& name, std::string&& value,
                                Parameter::directions direction) {
    m_parameters.push_back({name, Parameter::Type::String, direction, std::move(value), 0, false});
}

void Method::addIntParameter(const std::string& name, int value, Parameter::directions direction) {
    m_parameters.push_back({name, Parameter::Type::Int, direction, "", value, false});
}

void Method::addBoolParameter(const std::string& name, bool value,
                              Parameter::directions direction) {
    m_parameters.push_back({name, Parameter::Type::Bool, direction, "", 0, value});
}

void Method::addXMLParameter(const std::string& name, const std::string& value,
                             Parameter::directions direction) {
    addXMLParameter(name, std::string(value), direction);
}

void Method::addXMLParameter(const std::string& name, std::string&& value,
                             Parameter::directions direction) {
    m_parameters.push_back({name, Parameter::Type::Xml, direction, std::move(value), 0, false});
}
