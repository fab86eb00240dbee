# SPDX-License-Identifier: Apache-2.0
"""Clocks that are years ahead, by the library of the package libfaketime."""
import pathlib
import sysconfig

from errors import MachineError

# More than the 365.2425 days of a year: each shift completes one, even when the host's clock is set meanwhile.
DAYS_OF_A_SHIFT = 366
# The service counts seconds with 32 bits, 136 years, and the surplus of the shifts must stay below a year.
MAX_YEARS = 100
# Of this repository: keeps libfaketime away from timers.
KERNEL_TIMERS = "libkernel_timers.so"


def clock_of(year, programs):
    """The environment in which it is the year-th year, the present one being the first. Waiting is not shortened.
    It is for processes that start in the directory of the programs, whose name may have blanks or colons."""
    library = pathlib.Path("/usr/lib", sysconfig.get_config_var("MULTIARCH"), "faketime/libfaketime.so.1")
    for file, origin in ((programs / KERNEL_TIMERS, "the build is incomplete"),
                         (library, "the package libfaketime is not installed")):
        if not file.exists():
            raise MachineError(f"{file} is not there: {origin}")
    return {"LD_PRELOAD": f"./{KERNEL_TIMERS} {library}", "FAKETIME": f"+{DAYS_OF_A_SHIFT * (year - 1)}d",
            "FAKETIME_DONT_FAKE_MONOTONIC": "1"}
