#include "SceneRequests.h"

#include "testkit/Schemas.h"

namespace SceneRequests {

std::string entry(const std::string& content) {
    return element("Entry", content);
}

std::string contact(const std::string& number, const std::string& surname) {
    return entry((number.empty() ? "" : element("UniqueID", number)) + element("Surname", surname) +
                 element("Firstname", "Ann " + surname) +
                 element("Office", "+49 89 722 " + number) +
                 element("Address", "5 High Street, Newtown"));
}

std::string callRow(const std::string& number, const std::string& phone) {
    return entry(
        (number.empty() ? "" : element("UniqueId", number)) + element("EntryId", "U" + phone) +
        element("Viewed", "false") +
        element("LogList", element("Item", element("Number", phone) +
                                               element("TimeDate", "2014-03-07T09:15:30+01:00"))));
}

std::string key(const std::string& id, const std::string& label) {
    return entry(element("Id", id) + element("Label", label));
}

std::string contactsFile(int lines, const std::string& surname, std::size_t size) {
    std::string text;
    for (int line = 0; line < lines; ++line) {
        text += "base,," + surname + std::to_string(line) + ",Ann,1,2,3,a@b,,,Co,,";
        text += std::string(size, 'a') + ",,,,,,,\n";
    }
    return text;
}

void fill(Scene& scene) {
    for (const std::string& schema : allSchemas()) {
        (void)scene.call(message(schema, "read_request"));
    }
    std::string contacts;
    std::string calls;
    std::string ties;
    for (int i = 1; i <= 12; ++i) {
        const std::string number = std::to_string(i);
        contacts += contact(number, "Name" + number);
        calls += callRow(number, "49897220" + number);
        ties += entry(element("UniqueId", number) + element("PhonebookId", number) +
                      element("CallLogId", number));
    }
    (void)scene.call(message("PhoneBook", "write_request", contacts));
    (void)scene.call(message("CallLogMissedCalls", "write_request", calls));
    (void)scene.call(message("Conversations", "write_request", ties));
    for (const char* const schema : {"AudioSettings", "SipBaseSettings", "Locale"}) {
        (void)scene.call(
            message(schema, "write_request", element("Volume", "5") + element("Tone", "3")));
    }
    (void)scene.call(message("Certificates", "write_request",
                             entry(element("Id", "c1") + element("FileName", "f1"))));
    (void)scene.call(message("BluetoothTrusted", "write_request",
                             entry(element("Id", "00:1B") + element("DeviceName", "d"))));
    (void)scene.call(message("DialPlanEntries", "write_request",
                             entry(element("Id", "7") + element("DigitString", "1"))));
}

std::string oldDatabase(const std::string& name) {
    return readFile(std::string(DAS_DATABASES_DIR "/") + name + ".sql");
}

std::string oldestDatabase(int contacts) {
    std::string text = oldDatabase("settings_3") + oldDatabase("phone_book_17") +
                       oldDatabase("call_group_3") + oldDatabase("bluetooth_devices_3");
    const std::string count = std::to_string(contacts);
    text += "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + count +
            ") INSERT INTO PHONE_BOOK (Surname, Firstname, Office, Address) SELECT 'Name' || i, "
            "'Ann', '+49 ' || i, 'Street ' || hex(zeroblob(100)) || i FROM n;";
    text +=
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 16) INSERT "
        "INTO CallGroup SELECT i, 'Group ' || i, i FROM n;";
    text += "INSERT INTO BLUETOOTH_TRUSTED VALUES ('00:1B:2', 'Headset', '4');";
    text +=
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 40) INSERT "
        "INTO GENERAL_CONFIG SELECT 'AudioSettings', 'Item' || i, 'Value, ' || i FROM n;";
    return text;
}

std::string probe(Scene& scene) {
    static int number = 0;
    const std::string mark = "probe" + std::to_string(++number);
    const Outcome written = scene.call(message("FeatureKeys", "update_request", key("100", mark)));
    if (written.reason() != "update_response") {
        return "the next update is answered '" + written.response() + "'" +
               (written.threw ? " (threw)" : "");
    }
    const Outcome read = scene.call(message("FeatureKeys", "read_request", element("Id", "100")));
    if (read.reason() != "read_response" || read.response().find(mark) == std::string::npos) {
        return "the next read is answered '" + read.response() + "'";
    }
    const Contents now = scene.contents();
    const auto table = now.find("FEATURE_KEYS");
    if (table == now.end()) {
        return "the table of the next update is not there";
    }
    for (const std::string& row : table->second) {
        if (row.find("'" + mark + "'") != std::string::npos) {
            return {};
        }
    }
    return "the next update is not in the database";
}

}  // namespace SceneRequests
