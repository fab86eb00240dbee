// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_WATCH_H
#define MACHINE_FLASHWATCH_READ_WATCH_H

#include <chrono>

#include "machine/flashwatch_read/display_if.h"
#include "machine/flashwatch_read/exit_code.h"
#include "machine/flashwatch_read/figure_source_if.h"
#include "machine/flashwatch_read/overview.h"
#include "machine/flashwatch_read/scid_names.h"

namespace flashwatch_read {

/// Reads and shows once per interval until the user stops it, and returns what the last attempt came to. A reading that
/// fails is shown as trouble and tried again after the interval, but for the first: there the Read_error leaves, since
/// a wrong address is no connection that was lost. Rates go back to the last reading that succeeded.
Exit_code watch(Figure_source_if& source, Display_if& display, Scid_names const& names, Overview_context const& context,
                std::chrono::milliseconds interval);

}  // namespace flashwatch_read

#endif
