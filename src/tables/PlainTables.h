#ifndef PLAINTABLES_H
#define PLAINTABLES_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dao/DataAccessObject.h"
#include "dao/KeyIds.h"

/// The properties of the hardware that decide the default keys of a model. Read once from
/// HardwareVersion.
struct KeyHardware {
    static KeyHardware ofThisDevice();

    bool subVariant2;
    bool subVariant3;
    bool subVariant4;
    bool subPlatform1;
    bool isVX100Any;
};

/**
 * The fifteen small tables that have no class of their own: their columns, default rows and the
 * default keys of each model, all as data. A generic DataAccessObject serves each.
 */
namespace PlainTables {

/// Function and label of a programmable key.
struct KeyFunction {
    int code;
    const char* label;
};

/// A key of a model that has a function from the start: key id and function.
using DefaultKeys = std::vector<std::pair<const char*, KeyFunction>>;

using KeyIds::allKeys;
using KeyIds::normalKeys;

/// The keys that have a function in the default rows of the feature keys; empty for most models.
/// Asks HardwareVersion about the models that @p hardware does not name.
const DefaultKeys& defaultFeatureKeys(const KeyHardware& hardware);

/**
 * The description of the table of @p schema; null if it is not one of the fifteen. A description is
 * made once for each combination of the parts of @p hardware that it depends on, and then shared.
 * Any thread may call.
 */
std::shared_ptr<const TableLayout> layoutOf(const std::string& schema, const KeyHardware& hardware);

/// Schemas of the fifteen tables, in the order in which they are tried.
std::vector<std::string> schemas();

/// The string of a model's default keys, in the form "ID:FUNCTION:LABEL;" for each key.
std::string defaultKeyData(const KeyHardware& hardware);

}  // namespace PlainTables

#endif
