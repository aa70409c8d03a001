// SPDX-License-Identifier: MIT
// Replays a scenario file of solver operations through the public interface and records what a client sees.
#pragma once

#include <nlohmann/json.hpp>

namespace support {

/// The records of a scenario, one per repetition of an action, in the form of the reference traces. Throws
/// std::runtime_error for an operation that is not known.
nlohmann::json replayScenario(const nlohmann::json& scenario);

} // namespace support
