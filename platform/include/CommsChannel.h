#ifndef COMMSCHANNEL_H
#define COMMSCHANNEL_H

#include <string>

/// The channel over which a raw message reached a service. Owned by the framework and valid during
/// the call that passes it.
class CommsChannelIfc {
public:
    virtual ~CommsChannelIfc();

    /// Sends @p text back over the channel; false if the peer has disconnected.
    virtual bool send(const std::string& text) = 0;
};

/// A raw message together with the name of the peer that sent it; owned by the framework.
class CommsChannelDataContainerMessage {
public:
    virtual ~CommsChannelDataContainerMessage();

    std::string sender;   ///< name of the peer, as the framework knows it
    std::string payload;  ///< bytes of the message
};

#endif
