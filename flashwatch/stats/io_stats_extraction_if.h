// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_IO_STATS_EXTRACTION_IF_H
#define FLASHWATCH_STATS_IO_STATS_EXTRACTION_IF_H

#include "flashwatch/stats/io_stats_provider_if.h"
#include "flashwatch/stats/proxy_initializer_if.h"

namespace orvel::flashwatch {

/// The client of the statistics service, seen by its two owners.
class Io_stats_extraction_if : public Io_stats_provider_if, public Proxy_initializer_if {};

}  // namespace orvel::flashwatch

#endif
