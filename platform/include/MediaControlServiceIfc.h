#ifndef MEDIACONTROLSERVICEIFC_H
#define MEDIACONTROLSERVICEIFC_H

#include <string>

/// The media control service, registered as "MediaControlServiceIfc". Any thread may call; it sends
/// no request to the data access service. Before the data access service moves a ringtone, it asks
/// here whether the ringtone is in use, since such a file must not be moved. Owned by the
/// framework.
class MediaControlServiceIfc {
public:
    virtual ~MediaControlServiceIfc();

    /// Whether the ringtone @p fileName, a name without a path, is assigned as a distinctive
    /// ringer.
    virtual bool isDistinctiveRingerInUse(const std::string& fileName) = 0;
};

#endif
