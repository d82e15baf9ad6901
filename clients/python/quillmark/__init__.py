"""Controls the Quillmark worker and reads the hits it reports.

A ``Client`` opens both rings of the session: it sends specs and reads records. A ``Tracker`` turns the records
into events: appeared, moved, stable, lost, unknown. Nothing is ever truncated to fit: an argument that the rings
cannot carry raises an error that says why.

Times are UTC milliseconds since 1970-01-01; timeouts are in seconds. Use each client and each tracker from one
thread at a time. Do not fork without exec while a client is open: the child would keep the rings alive.
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
