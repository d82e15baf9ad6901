"""Controls the Quillmark worker and reads the hits it reports.

A ``Client`` holds both rings of the session: it sends specs and reads records. A ``Tracker`` makes events of
the records: appeared, moved, stable, lost, unknown. Nothing is ever cut to fit: what the rings cannot carry
raises an error that says why.

Times are UTC milliseconds since 1970-01-01, as records carry them; time-outs are seconds. A client and a
tracker are each used by one thread at a time. A child process that is forked without exec keeps the rings
alive.
"""

from ._client import Client, State
from ._errors import (
    BadText,
    BadValue,
    Busy,
    Error,
    NoWorker,
    Refused,
    Stalled,
    SystemRefused,
    TooLong,
)
from ._records import Dropped, Hit, Record, Reply, WorkerGone, WorkerStarted
from ._spec import Mode, Preset, Spec
from ._tracker import Event, EventKind, Reason, Sight, Tracker, Watch

__version__ = "0.1.4"

__all__ = [
    "BadText",
    "BadValue",
    "Busy",
    "Client",
    "Dropped",
    "Error",
    "Event",
    "EventKind",
    "Hit",
    "Mode",
    "NoWorker",
    "Preset",
    "Reason",
    "Record",
    "Refused",
    "Reply",
    "Sight",
    "Spec",
    "Stalled",
    "State",
    "SystemRefused",
    "TooLong",
    "Tracker",
    "Watch",
    "WorkerGone",
    "WorkerStarted",
]
