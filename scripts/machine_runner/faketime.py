# SPDX-License-Identifier: Apache-2.0
"""Clocks that are years ahead, by the library of the package libfaketime."""
import pathlib
import sysconfig

from errors import MachineError

# Of 365.2425 days a year has, so that each shift completes a year wherever in a day the first one began.
DAYS_OF_A_SHIFT = 366
# Beyond, the days by which the shifts are longer could make a year of their own, or the service's 32 bits of seconds end.
MAX_YEARS = 100


# Of this repository: keeps libfaketime away from timers.
KERNEL_TIMERS = "libkernel_timers.so"


def clock_of(year, programs):
    """The environment in which it is the year-th year, the first being the present one. Waiting takes its time as ever."""
    timers = programs / KERNEL_TIMERS
    library = pathlib.Path("/usr/lib", sysconfig.get_config_var("MULTIARCH"), "faketime/libfaketime.so.1")
    for file, origin in (timers, "the build is incomplete"), (library, "the package libfaketime is not installed"):
        if not file.exists():
            raise MachineError(f"{file} is not there: {origin}")
    return {"LD_PRELOAD": f"{timers} {library}", "FAKETIME": f"+{DAYS_OF_A_SHIFT * (year - 1)}d",
            "FAKETIME_DONT_FAKE_MONOTONIC": "1"}
