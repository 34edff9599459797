#ifndef MEDIACONTROLSERVICEIFC_H
#define MEDIACONTROLSERVICEIFC_H

#include <string>

/// The media control service, registered as "MediaControlServiceIfc". Any thread may call; it sends
/// no request to the data access service.
/// The data access service asks it before it moves a ringtone: one that is in use must stay where
/// it is. Owned by the framework.
class MediaControlServiceIfc {
public:
    virtual ~MediaControlServiceIfc();

    /// Whether the ringtone @p fileName, a name without a path, is assigned as a distinctive
    /// ringer.
    virtual bool isDistinctiveRingerInUse(const std::string& fileName) = 0;
};

#endif
