#ifndef MANAGEABLEDATA_H
#define MANAGEABLEDATA_H

#include <string>

/// One named value for management, such as the item "contacts-status" with "4". There are two kinds
/// of management: the deployment server gets the status of files, web management that of contacts.
class ManageableData {
public:
    /**
     * Replaces the contents of this object.
     *
     * @param item  the item as management knows it
     * @param name  the name of the value within the item; for an item of one value the same text
     * @param value any text
     */
    void populate(const std::string& item, const std::string& name, const std::string& value);

    const std::string& getItem() const { return m_item; }
    const std::string& getName() const { return m_name; }
    const std::string& getValue() const { return m_value; }

private:
    std::string m_item;
    std::string m_name;
    std::string m_value;
};

#endif
