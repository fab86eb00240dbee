# SPDX-License-Identifier: Apache-2.0
"""Clocks that are years ahead, by the library of the package libfaketime."""
import pathlib
import sysconfig

from errors import MachineError

# Of 365.2425 days a year has, so that each shift completes a year wherever in a day the first one began.
DAYS_OF_A_SHIFT = 366
# The service counts seconds with 32 bits, 136 years, and the surplus of the shifts must stay below a year.
MAX_YEARS = 100


# Of this repository: keeps libfaketime away from timers.
KERNEL_TIMERS = "libkernel_timers.so"


def clock_of(year, programs):
    """The environment in which it is the year-th year, the present one being the first. Waiting is not shortened."""
    timers = programs / KERNEL_TIMERS
    library = pathlib.Path("/usr/lib", sysconfig.get_config_var("MULTIARCH"), "faketime/libfaketime.so.1")
    for file, origin in (timers, "the build is incomplete"), (library, "the package libfaketime is not installed"):
        if not file.exists():
            raise MachineError(f"{file} is not there: {origin}")
    return {"LD_PRELOAD": f"{timers} {library}", "FAKETIME": f"+{DAYS_OF_A_SHIFT * (year - 1)}d",
            "FAKETIME_DONT_FAKE_MONOTONIC": "1"}
