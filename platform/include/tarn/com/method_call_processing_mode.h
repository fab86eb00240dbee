// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_METHOD_CALL_PROCESSING_MODE_H
#define TARN_COM_METHOD_CALL_PROCESSING_MODE_H

#include <cstdint>

namespace tarn::com {

/// On whose initiative and on which threads a skeleton's methods run. This platform serves kEvent only.
enum class Method_call_processing_mode : std::uint8_t {
  kPoll = 0,               ///< the application asks for the next call
  kEvent = 1,              ///< each call runs at once on a thread of the runtime; calls run in parallel
  kEventSingleThread = 2,  ///< as kEvent, but one call at a time
};

}  // namespace tarn::com

#endif
