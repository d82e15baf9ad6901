"""The records that a client hands out, in one ordered stream."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Union


@dataclass(frozen=True)
class Hit:
    """A match of a spec's template."""

    name: str
    ts_ms: int
    cx: int  # centre of the match, in pixels of the target's client area
    cy: int
    w: int
    h: int
    score: float  # 1 is perfect
    edge: float  # edge correlation; 0 if not computed


@dataclass(frozen=True)
class Reply:
    """A reply to another client's command; can be ignored."""

    text: str
    ts_ms: int


@dataclass(frozen=True)
class Dropped:
    """``count`` hits were lost: 64 were unread, or this client had queued 65536. The exact time is unknown."""

    count: int
    ts_ms: int


@dataclass(frozen=True)
class WorkerGone:
    """No worker is running any more."""

    ts_ms: int


@dataclass(frozen=True)
class WorkerStarted:
    """A new worker is running: it knows no specs, send them again."""

    ts_ms: int


Record = Union[Hit, Reply, Dropped, WorkerGone, WorkerStarted]
