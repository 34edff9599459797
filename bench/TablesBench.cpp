// The tables of keys and media: the stimulus keys, which have the most default rows, and the
// codecs.

#include "Bench.h"
#include "tables/StimulusKeySettingsDAO.h"

namespace {

using namespace Bench;

const char* const stimulusSchema = "StimulusKeySettings";
const char* const lookForStimulus = "SELECT COUNT(*) FROM (SELECT 1 FROM STIMULUS_KEY_SETTINGS LIMIT 1)";
const char* const readStimulus = "SELECT * FROM STIMULUS_KEY_SETTINGS WHERE UserContext = 'base';";

const char* const codecSchema = "CodecSettings";
const std::vector<Tags> codecTags =
    tagsOf({"CodecType", "CodecRank", "CodecAllowed", "CodecPacketSize"});

std::vector<Tags> stimulusTags() {
    std::vector<std::string> names;
    for (const auto& column : StimulusKeySettingsDAO().columns()) {
        names.push_back(column.name);
    }
    names.erase(names.begin());  // the user is not shown
    return tagsOf(names);
}

/// Creates the table and its 362 rows in one transaction, as the first request does.
Texts firstRequestStatements() {
    const StimulusKeySettingsDAO keys;
    std::string create = "CREATE TABLE STIMULUS_KEY_SETTINGS (";
    std::string values;
    for (const auto& column : keys.columns()) {
        create += (create.back() == '(' ? "" : ", ") + column.name + " " + column.type;
        if (column.name != "UserContext" && column.name != "Id") {
            values += ", '" + column.defaults.front() + "'";
        }
    }
    Texts texts = {lookForStimulus, create + ");", "BEGIN IMMEDIATE TRANSACTION;", lookForStimulus};
    for (const std::string& id : keys.defaultRowIds()) {
        for (const char* user : {"'base'", "'visitor'"}) {
            texts.push_back(std::string("INSERT OR REPLACE INTO STIMULUS_KEY_SETTINGS VALUES (") +
                            user + ", '" + id + "'" + values + ");");
        }
    }
    texts.insert(texts.end(), {"END TRANSACTION;", lookForStimulus, readStimulus});
    return texts;
}

void sendRead(DataAccessService& service, const char* schema) {
    (void)service.processRequest(message(schema, "read_request", ""));
}

Operation firstRequest() {
    Operation operation;
    operation.name = "Tables/FirstRequestOnMissingStimulusTable";
    operation.prepare = [](DataAccessService& service) { sendRead(service, stimulusSchema); };
    operation.reset = [](int) { return Texts{"DROP TABLE STIMULUS_KEY_SETTINGS;"}; };
    operation.request = [](int) { return message(stimulusSchema, "read_request", ""); };
    operation.statements = [](int) { return firstRequestStatements(); };
    operation.floor = [tags = stimulusTags()](FloorDatabase& db, const Texts& sql) {
        for (std::size_t i = 0; i + 1 < sql.size(); ++i) {
            if (sql[i] == sql.front()) {
                (void)db.count(sql[i]);
            } else {
                db.run(sql[i]);
            }
        }
        return readAnswer(stimulusSchema, db.rows(sql.back()), tags, 1);
    };
    return operation;
}

Operation readCodecs() {
    Operation operation;
    operation.name = "Tables/ReadCodecs";
    operation.prepare = [](DataAccessService& service) { sendRead(service, codecSchema); };
    operation.request = [](int) { return message(codecSchema, "read_request", ""); };
    operation.statements = [](int) {
        return Texts{"SELECT COUNT(*) FROM CODEC_SETTINGS",
                     "SELECT CodecType, CodecRank, CodecAllowed, CodecPacketSize FROM "
                     "CODEC_SETTINGS ORDER BY CodecRank ASC;"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        (void)db.count(sql[0]);
        return readAnswer(codecSchema, db.rows(sql[1]), codecTags, 0);
    };
    return operation;
}

const Registration registration({firstRequest(), readCodecs()});

}  // namespace
