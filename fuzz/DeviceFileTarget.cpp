// Files of the telephone's image, and strings with versions. The first byte of an input selects
// one.

#include <string>

#include "ClientUtils.h"
#include "Proxy.h"
#include "Serializer.h"
#include "Stage.h"
#include "Target.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "framework/HostFramework.h"
#include "framework/HostServices.h"
#include "service/ACMSTagMapper.h"
#include "upgrade/DASMigrator.h"

namespace {

const char* const DeviceItems = "/Aurel_Deploy/DasGenConfigDeviceDataItems.csv";
const char* const TagMappings = "/Aurel_Deploy/DasTagMappings.csv";
const char* const Ringers = "/data/distinctive-ringers.txt";
const char* const PreviousVersion = "/.QuilldeskRootFileSystemImageVersion.prev.txt";

std::unique_ptr<Stage> stage;

void readDeviceItems() {
    GenConfigDeviceDataItems::populateDeviceDataItemMapFromFile(DeviceItems);
    std::map<std::string, GenConfigDeviceDataItems::SchemaItem> items;
    GenConfigDeviceDataItems::getDeviceItemMap(items);
    for (const auto& [schema, item] : items) {
        for (const std::string& name : item.included) {
            require(GenConfigDeviceDataItems::isItemDeviceData(schema, name),
                    "an included item that is not the device's");
        }
    }
    GenConfigDeviceDataItems::clearDeviceItemMap();
}

void readTagMappings() {
    const ACMSTagMapper mapper;
    std::string schema;
    std::string tag;
    (void)mapper.findDASTags("terminal-number", schema, tag);
}

void readRingers() {
    (void)MediaControl().isDistinctiveRingerInUse("bell.mp3");
}

/// The two steps of a start that read the previous version.
void readPreviousVersion() {
    DASMigrator::checkAndMigrateQFADatabase(&stage->service());
    DASMigrator::distinctiveRingerTableCleanup(&stage->service());
}

void compareVersions(const std::string& text) {
    const std::string known = "V1 R8.7.111";
    const bool above = DataAccessService::isNewVersionHigher(text, known, false);
    const bool notBelow = DataAccessService::isNewVersionHigher(text, known, true);
    require(notBelow || !above, "a version that is higher and lower");
    stage->service().checkDatabaseNeedsChange(eSwType(1), eSwType(2), text);
}

/// A map of values in the form of parameters.
void readMap(const std::string& text) {
    std::map<std::string, std::string> values;
    if (Serializer::deserialize(text, values)) {
        std::map<std::string, std::string> again;
        require(Serializer::deserialize(Serializer::serialize(values), again) && again == values,
                "a map that its own text does not carry");
        (void)stage->service().importUserData(values, true);
        (void)stage->service().exportUserData(values, false);
    }
}

struct Reader {
    const char* file;  ///< null if the input is a string and not a file
    void (*read)();
    void (*readText)(const std::string& text);
};

const Reader Readers[] = {
    {DeviceItems, readDeviceItems, nullptr}, {TagMappings, readTagMappings, nullptr},
    {Ringers, readRingers, nullptr},         {PreviousVersion, readPreviousVersion, nullptr},
    {nullptr, nullptr, compareVersions},     {nullptr, nullptr, readMap},
};

}  // namespace

void beginDeviceFiles() {
    stage = std::make_unique<Stage>();
}

void takeDeviceFile(std::string_view input) {
    const std::size_t chosen =
        input.empty() ? 0 : static_cast<unsigned char>(input.front()) - std::size_t{'A'};
    if (input.empty() || chosen >= std::size(Readers)) {
        return;
    }
    const Reader& reader = Readers[chosen];
    try {
        if (reader.file == nullptr) {
            reader.readText(std::string(input.substr(1)));
        } else {
            writeFile(FuzzPlace::get().onDevice(reader.file), input.substr(1));
            reader.read();
        }
    } catch (const std::exception&) {
        // A start continues after exceptions of the standard library.
    }
    stage->restore();
}
