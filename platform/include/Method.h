#ifndef METHOD_H
#define METHOD_H

#include <string>
#include <vector>

#include "Parameter.h"

/**
 * A remote method's name with its parameters: a call, a reply, or a message for a listener.
 *
 * Parameters keep the order in which they were added. If two have the same name, both are kept; the
 * getters return the first.
 */
class Method {
public:
    /// @p type is the kind of message for the framework; 0 expects no answer. The method has no
    /// parameters yet. A copy copies all strings, which may be megabytes, so pass methods on by
    /// moving them.
    explicit Method(std::string name = "", int type = 0);

    const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    int getType() const { return m_type; }

    /// If there is no parameter of that name, or it has another type, the getters return false and
    /// do not change @p value.
    [[nodiscard]] bool getStringParameter(const std::string& name, std::string& value) const;
    [[nodiscard]] bool getIntParameter(const std::string& name, int& value) const;
    [[nodiscard]] bool getBoolParameter(const std::string& name, bool& value) const;
    [[nodiscard]] bool getXMLParameter(const std::string& name, std::string& value) const;

    /// Each of these appends one parameter, even if there is one of that name. @p direction says
    /// who sets the value: the parameters of a call go in, those of a reply come out.
    void addStringParameter(const std::string& name, const std::string& value,
                            Parameter::directions direction);
    void addStringParameter(const std::string& name, std::string&& value,
                            Parameter::directions direction);
    void addIntParameter(const std::string& name, int value, Parameter::directions direction);
    void addBoolParameter(const std::string& name, bool value, Parameter::directions direction);
    /// @p value is a string in XML. It is sent like a string, but has a type of its own.
    void addXMLParameter(const std::string& name, const std::string& value,
                         Parameter::directions direction);
    void addXMLParameter(const std::string& name, std::string&& value,
                         Parameter::directions direction);

    /// All parameters, for code that encodes them.
    const std::vector<Parameter>& parameters() const { return m_parameters; }

private:
    const Parameter* find(const std::string& name, Parameter::Type type) const;

    std::string m_name;
    int m_type;
    std::vector<Parameter> m_parameters;
};

#endif
