#ifndef RECORDINGMANAGEMENT_H
#define RECORDINGMANAGEMENT_H

#include "Executable.h"
#include "LocalMgmtIfc.h"

/// The local management service, which counts the resets that it is asked for.
class RecordingManagement : public Executable, public LocalMgmtIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool deleteFile(int, const std::string&) override { return false; }
    void sendStatusToDLS(const ManageableData&) override {}
    void sendStatusToWBM(const ManageableData&) override {}
    void factoryReset(const std::string&, int) override { ++resets; }

    int resets = 0;
};

#endif
