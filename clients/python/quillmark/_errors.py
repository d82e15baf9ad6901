"""The package's errors; all are an ``Error``."""

from __future__ import annotations


class Error(Exception):
    """The base of all errors that this package raises itself."""


class Refused(Error, ValueError):
    """The rings cannot carry an argument; nothing was sent."""


class TooLong(Refused):
    """A text does not fit its field."""


class BadText(Refused):
    """A text is empty, or contains something not allowed there."""


class BadValue(Refused):
    """A number is out of range, or options cannot be combined."""


class NoWorker(Error):
    """Timed out, and no worker is running."""


class Stalled(Error):
    """Timed out: a worker is running, but did not take the command or reply."""


class Busy(Error):
    """Another client is reading the hits, or kept writing commands."""


class SystemRefused(Error, OSError):
    """A system call for the rings failed."""
