"""What a client hands out, in one stream and in order."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Union


@dataclass(frozen=True)
class Hit:
    """The worker saw a spec's template."""

    name: str
    ts_ms: int
    cx: int  # centre of the match, in pixels of the target's client area
    cy: int
    w: int
    h: int
    score: float  # 1 is perfect
    edge: float  # edge correlation; 0 where none was computed


@dataclass(frozen=True)
class Reply:
    """An answer to a question of another client; of no concern."""

    text: str
    ts_ms: int


@dataclass(frozen=True)
class Dropped:
    """So many hits are lost, as 64 lay unread or this client kept 65536; when exactly cannot be known."""

    count: int
    ts_ms: int


@dataclass(frozen=True)
class WorkerGone:
    """No worker runs any more."""

    ts_ms: int


@dataclass(frozen=True)
class WorkerStarted:
    """One runs that did not before: it knows no spec, send them again."""

    ts_ms: int


Record = Union[Hit, Reply, Dropped, WorkerGone, WorkerStarted]
