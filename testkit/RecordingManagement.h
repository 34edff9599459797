#ifndef RECORDINGMANAGEMENT_H
#define RECORDINGMANAGEMENT_H

#include <string>
#include <vector>

#include "Executable.h"
#include "LocalMgmtIfc.h"
#include "ManageableData.h"

/// A management service that records its calls.
class RecordingManagement : public Executable, public LocalMgmtIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool deleteFile(int type, const std::string&) override {
        deletedTypes.push_back(type);
        return succeeds;
    }
    void sendStatusToDLS(const ManageableData& data) override { toDls += textOf(data); }
    void sendStatusToWBM(const ManageableData& data) override { toWbm += textOf(data); }
    void factoryReset(const std::string&, int) override { ++resets; }

    bool succeeds = true;
    std::vector<int> deletedTypes;
    std::string toDls;  ///< each as "item=value;"
    std::string toWbm;
    int resets = 0;

private:
    static std::string textOf(const ManageableData& data) {
        return data.getItem() + "=" + data.getValue() + ";";
    }
};

#endif
