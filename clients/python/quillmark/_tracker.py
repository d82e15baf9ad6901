"""Turns the stream of records into events per spec: appeared, moved, stable, lost, unknown.

Silence proves nothing: an unchanged screen gives no frames, repetitions are suppressed, and hits may be dropped. A
spec is lost when frames were searched without a hit, which a witness shows: another spec on the same monitor, best
in the same window. The worker finishes each frame before the next, and suppresses repetitions for at most 300 ms (or
0.6 of the spec's interval). So after that time, the first hit of a witness shows that a hit would be reported, the
second that the spec was searched for again, and the third that this search is over. Without a witness, only the
caller knows that its screen always changes.
"""

from __future__ import annotations

from dataclasses import dataclass, field
from enum import Enum
from typing import Optional

from . import _wire
from ._client import now_ms
from ._errors import BadValue
from ._records import Dropped, Hit, Record, Reply, WorkerGone

_HOLD_BACK_MS = 300  # the maximum time for which the worker suppresses weaker repetitions
_LEAST_GAP_MS = 1000
# An interval starts when a frame is captured; a hit's time is when it was searched.
_INTERVAL_SLACK_MS = 250


class Sight(Enum):
    """The state of a spec."""

    UNKNOWN = "unknown"
    PRESENT = "present"
    LOST = "lost"


class EventKind(Enum):
    APPEARED = "appeared"  # a hit, and it was not known to be present
    MOVED = "moved"  # a hit at another place than last reported
    STABLE = "stable"  # hits at that place for ``stable_ms``; reported once per place
    LOST = "lost"  # gone, according to a witness or to ``lost_ms``
    UNKNOWN = "unknown"  # no longer known; an unchanged screen gives no hits


class Reason(Enum):
    HIT = "hit"
    WITNESS = "witness"  # frames were searched without a hit
    SILENCE = "silence"  # no hit for unknown_ms or lost_ms
    WORKER_GONE = "worker_gone"
    WORKER_STARTED = "worker_started"  # a new worker knows no specs


@dataclass(frozen=True)
class Watch:
    """How to track a spec; durations in milliseconds."""

    name: str  # of the spec, as in its hits
    witnesses: tuple[str, ...] = ()  # names of other specs on the same monitor
    move_tolerance: int = 1  # largest change in pixels, on each axis, that is not a move
    stable_ms: int = 0  # 0: never reported
    interval_ms: int = 0  # the spec's interval
    gap_ms: int = 0  # silence that restarts stable_ms; 0: 1000, or 3 intervals if longer
    unknown_ms: int = 2000  # silence after which it is unknown; 0: never
    lost_ms: int = 0  # silence that means a loss; 0: never


@dataclass(frozen=True)
class Event:
    kind: EventKind
    reason: Reason
    was: Sight  # before
    ts_ms: int  # of the record that caused it; for silence, the time passed to ``advance``
    hit: Hit  # the last one, with the spec's name
    stable_ms: int = 0  # of STABLE


@dataclass
class _Proof:
    """A witness's progress in proving a loss."""

    hits: int = 0
    first_ms: int = 0


@dataclass
class _Watched:
    watch: Watch
    sight: Sight = Sight.UNKNOWN
    last: Optional[Hit] = None  # from the current worker
    before: Optional[Hit] = None  # from any worker
    place: tuple[int, int] = (0, 0)  # the last reported one
    stay_ms: int = 0  # time of the first hit there
    stay_told: bool = False
    proofs: dict[str, _Proof] = field(default_factory=dict)

    def reset_proofs(self) -> None:
        self.proofs = {witness: _Proof() for witness in self.watch.witnesses}


class Tracker:
    """Turns records into events. Feed it all records in order, and the time."""

    def __init__(self) -> None:
        self._specs: dict[str, _Watched] = {}
        self._evidence_from_ms = 0  # hits before this may have been lost

    def watch(self, watch: Watch) -> None:
        """Starts tracking a spec, or restarts with nothing known, for example when the spec was sent again."""
        _wire.field("name", watch.name, _wire.HIT_NAME_UNITS)
        numbers = ("move_tolerance", "stable_ms", "interval_ms", "gap_ms", "unknown_ms", "lost_ms")
        for number in numbers:
            if getattr(watch, number) < 0:
                raise BadValue(f"{number} must not be negative")
        if watch.name in watch.witnesses:
            raise BadValue("witnesses must not include the spec itself")
        watched = _Watched(watch)
        watched.reset_proofs()
        self._specs[watch.name] = watched

    def forget(self, name: str) -> None:
        self._specs.pop(name, None)

    def sight(self, name: str) -> Sight:
        """The state of the spec; UNKNOWN if it is not tracked."""
        watched = self._specs.get(name)
        return watched.sight if watched else Sight.UNKNOWN

    def feed(self, record: Record) -> list[Event]:
        """The events that the record causes."""
        events: list[Event] = []
        if isinstance(record, Hit):
            for name, watched in sorted(self._specs.items()):
                if name == record.name:
                    self._sighted(watched, record, events)
                proof = watched.proofs.get(record.name)
                if proof:
                    self._testified(watched, proof, record, events)
        elif isinstance(record, Dropped):
            self._evidence_from_ms = max(self._evidence_from_ms, record.ts_ms)
            for watched in self._specs.values():
                watched.reset_proofs()
                watched.stay_ms = record.ts_ms
        elif not isinstance(record, Reply):
            gone = isinstance(record, WorkerGone)
            self._forget_all(Reason.WORKER_GONE if gone else Reason.WORKER_STARTED, record.ts_ms, events)
        return events

    def advance(self, time_ms: Optional[int] = None) -> list[Event]:
        """The events caused by silence up to this time; by default, up to now."""
        now = now_ms() if time_ms is None else time_ms
        events: list[Event] = []
        for _, watched in sorted(self._specs.items()):
            watch, last, was = watched.watch, watched.last, watched.sight
            if last is None or was is Sight.LOST:
                continue
            silence = now - last.ts_ms
            if watch.lost_ms and silence >= watch.lost_ms:
                kind, watched.sight = EventKind.LOST, Sight.LOST
            elif watch.unknown_ms and silence >= watch.unknown_ms and was is Sight.PRESENT:
                kind, watched.sight = EventKind.UNKNOWN, Sight.UNKNOWN
            else:
                continue
            events.append(Event(kind, Reason.SILENCE, was, now, last))
        return events

    @staticmethod
    def _sighted(watched: _Watched, hit: Hit, events: list[Event]) -> None:
        watch, was, last = watched.watch, watched.sight, watched.last
        x, y = watched.place
        moved = max(abs(hit.cx - x), abs(hit.cy - y)) > watch.move_tolerance
        gap_ms = watch.gap_ms or max(_LEAST_GAP_MS, 3 * watch.interval_ms)
        gap = last is not None and hit.ts_ms - last.ts_ms > gap_ms
        watched.reset_proofs()
        watched.sight = Sight.PRESENT
        watched.last = watched.before = hit

        if was is not Sight.PRESENT or moved:
            kind = EventKind.MOVED if was is Sight.PRESENT else EventKind.APPEARED
            events.append(Event(kind, Reason.HIT, was, hit.ts_ms, hit))
            watched.place = (hit.cx, hit.cy)
            watched.stay_told = False
        if was is not Sight.PRESENT or moved or gap:
            watched.stay_ms = hit.ts_ms
        stay = max(hit.ts_ms - watched.stay_ms, 0)
        if watch.stable_ms and not watched.stay_told and stay >= watch.stable_ms:
            watched.stay_told = True
            events.append(Event(EventKind.STABLE, Reason.HIT, was, hit.ts_ms, hit, stay))

    def _testified(self, watched: _Watched, proof: _Proof, hit: Hit, events: list[Event]) -> None:
        watch, last, was = watched.watch, watched.last, watched.sight
        if last is None or was is Sight.LOST:
            return
        if hit.ts_ms < proof.first_ms:  # the clock was set back
            proof.hits = proof.first_ms = 0
        if proof.hits == 0:
            quiet_ms = max(_HOLD_BACK_MS, watch.interval_ms * 6 // 10)
            if hit.ts_ms >= max(last.ts_ms, self._evidence_from_ms) + quiet_ms:
                proof.hits, proof.first_ms = 1, hit.ts_ms
        elif proof.hits == 1:
            needed_ms = watch.interval_ms + _INTERVAL_SLACK_MS if watch.interval_ms else 0
            if hit.ts_ms >= proof.first_ms + needed_ms:
                proof.hits = 2
        else:
            watched.sight = Sight.LOST
            events.append(Event(EventKind.LOST, Reason.WITNESS, was, hit.ts_ms, last))

    def _forget_all(self, reason: Reason, ts_ms: int, events: list[Event]) -> None:
        self._evidence_from_ms = max(self._evidence_from_ms, ts_ms)
        for _, watched in sorted(self._specs.items()):
            was, watched.sight, watched.last = watched.sight, Sight.UNKNOWN, None
            watched.reset_proofs()
            if was is not Sight.UNKNOWN and watched.before:
                events.append(Event(EventKind.UNKNOWN, reason, was, ts_ms, watched.before))
