# SPDX-License-Identifier: Apache-2.0
"""What ends a run before its time."""


class MachineError(Exception):
    """The machine cannot go on; the text says what was being done, on what, and what was wrong."""


class StopRequested(Exception):
    """Somebody asked the machine to stop, by a signal or by closing its output."""
