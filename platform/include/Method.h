#ifndef METHOD_H
#define METHOD_H

#include <string>
#include <vector>

#include "Parameter.h"

/**
 * A remote method's name with its parameters: a call, a reply, or what a listener hears.
 *
 * Parameters stay in the order in which they were added. Two of one name are both kept; the getters
 * see the first.
 */
class Method {
public:
    /// @p type is the kind of message that a framework distinguishes; 0 expects no answer.
    /// Without parameters. A copy has copies of all texts, which may be megabytes: hand methods
    /// over by moving them.
    explicit Method(std::string name = "", int type = 0);

    const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    int getType() const { return m_type; }

    /// The getters give false, and leave @p value alone, when there is no parameter of that name or
    /// it has another type.
    [[nodiscard]] bool getStringParameter(const std::string& name, std::string& value) const;
    [[nodiscard]] bool getIntParameter(const std::string& name, int& value) const;
    [[nodiscard]] bool getBoolParameter(const std::string& name, bool& value) const;
    [[nodiscard]] bool getXMLParameter(const std::string& name, std::string& value) const;

    /// Each of these appends one parameter, also when there is one of that name. @p direction says
    /// whose value it is; a call has those that go in, a reply those that come out.
    void addStringParameter(const std::string& name, const std::string& value,
                            Parameter::directions direction);
    void addStringParameter(const std::string& name, std::string&& value,
                            Parameter::directions direction);
    void addIntParameter(const std::string& name, int value, Parameter::directions direction);
    void addBoolParameter(const std::string& name, bool value, Parameter::directions direction);
    /// @p value is a text in XML, carried like a string but told apart from one.
    void addXMLParameter(const std::string& name, const std::string& value,
                         Parameter::directions direction);
    void addXMLParameter(const std::string& name, std::string&& value,
                         Parameter::directions direction);

    /// All parameters, for those who encode them.
    const std::vector<Parameter>& parameters() const { return m_parameters; }

private:
    const Parameter* find(const std::string& name, Parameter::Type type) const;

    std::string m_name;
    int m_type;
    std::vector<Parameter> m_parameters;
};

#endif
