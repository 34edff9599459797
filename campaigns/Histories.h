#ifndef HISTORIES_H
#define HISTORIES_H

#include <cstdint>
#include <functional>

class Campaign;

/// Sends one random history of operations to a new service, up to the first answer that differs
/// from ServiceModel, which is a finding. Calls @p moved after each operation.
void runHistory(Campaign& campaign, std::uint32_t seed, const std::function<void()>& moved);

#endif
