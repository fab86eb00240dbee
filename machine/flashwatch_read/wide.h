// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_WIDE_H
#define MACHINE_FLASHWATCH_READ_WIDE_H

namespace flashwatch_read {

/// Wide enough for the product of two 64-bit counters, so that no share, rate or forecast can overflow.
// NOLINTNEXTLINE(modernize-use-using): only a typedef can carry __extension__, which -Wpedantic asks for.
__extension__ typedef unsigned __int128 Wide;

}  // namespace flashwatch_read

#endif
