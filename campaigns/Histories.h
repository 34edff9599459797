#ifndef HISTORIES_H
#define HISTORIES_H

#include <cstdint>
#include <functional>

class Campaign;

/// Sends one random history to a service of its own, up to the first answer that is not the one of
/// ServiceModel; that is a finding. Calls @p moved after each operation.
void runHistory(Campaign& campaign, std::uint32_t seed, const std::function<void()>& moved);

#endif
