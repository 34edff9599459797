// Export and import have the same arguments and refuse them for the same reasons, so both read them
// here. All errors are found before a service is called, so a refused command line changes nothing.

#include "commands/DataFileArguments.h"

#include "cli/Arguments.h"
#include "cli/CallerFile.h"
#include "cli/RowArguments.h"
#include "terminal/Complaint.h"

bool DataFileArguments::read(const Arguments& arguments) {
    m_schema = RowArguments::findSchema(arguments.text("SCHEMA"));
    if (m_schema == nullptr || !RowArguments::checkUser(arguments.value("--context"))) {
        return false;
    }
    m_user = arguments.text("--context");
    m_file = arguments.text("FILE");
    m_device = CallerFile::devicePath(m_file);
    if (!m_schema->hasDataFile) {
        Complaint::report(what() + ": this schema has no data files",
                          "das schemas " + m_schema->name + " says so");
        return false;
    }
    if (m_file.empty() || (m_device && m_device->rfind('/', 0) != 0)) {
        Complaint::report(what() + ": " + m_file + ": no path of the telephone",
                          "device:/PATH, such as device:/tmp/rows.csv");
        return false;
    }
    return true;
}

std::string DataFileArguments::what() const {
    return std::string(m_command) + " " + m_schema->name;
}

Method DataFileArguments::method(const char* name) const {
    Method method(name);
    method.addStringParameter("Schema", m_schema->name, Parameter::in);
    method.addStringParameter("User", m_user, Parameter::in);
    if (m_device) {
        method.addStringParameter("File", *m_device, Parameter::in);
    }
    return method;
}
