"""What can go wrong. Every error of the package is an ``Error``."""

from __future__ import annotations


class Error(Exception):
    """Anything that this package raises by itself."""


class Refused(Error, ValueError):
    """The caller asked for what the rings cannot carry as it stands; nothing was sent."""


class TooLong(Refused):
    """A text has more UTF-16 units than its field."""


class BadText(Refused):
    """A text is empty, or holds what cannot stand there."""


class BadValue(Refused):
    """A number lies outside its range, or options do not go together."""


class NoWorker(Error):
    """No worker runs, and the time is over."""


class Stalled(Error):
    """A worker runs, but did not take or answer the command in time."""


class Busy(Error):
    """Another client reads the hits, or kept writing commands."""


class SystemRefused(Error, OSError):
    """The system refused an object of the rings."""
