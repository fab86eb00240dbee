// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_SAMPLE_APPLICATIONS_SAMPLE_APPLICATION_H
#define MACHINE_SAMPLE_APPLICATIONS_SAMPLE_APPLICATION_H

#include "machine/sample_applications/workload.h"

namespace sample_applications {

/// Runs the workload until SIGTERM or SIGINT: the whole of a sample application's main function. Reports running after
/// its first sync and terminating at the end. A storage that cannot be opened or written is logged and tried again.
/// Returns the exit code: 0 after a signal, 1 when the process is set up wrongly (logged), what answer_command_line()
/// says when there are arguments.
int run(Workload const& workload, int argc, char const* const* argv) noexcept;

}  // namespace sample_applications

#endif
