"""The controller's side of both rings."""

from __future__ import annotations

import secrets
import sys
import time
from collections import deque
from dataclasses import dataclass
from typing import Deque, Optional, Type

from . import _wire
from ._errors import Busy, Error, NoWorker, Stalled, SystemRefused
from ._records import Dropped, Hit, Record, Reply, WorkerGone, WorkerStarted
from ._spec import Spec, command_for, removal_of

if sys.platform == "win32":
    from ._windows import Ring, WorkerProbe, take_role
else:
    from ._linux import Ring, WorkerProbe, take_role

_QUEUE_LIMIT = 65536
_LOOK_INTERVAL = 0.1
_TAKEOVER_PATIENCE = 1.0  # the control tool takes the role for moments
_POLL_INTERVAL = 0.005
_VERSION_REPLY = "__ver__:"
_WRITER_ROLE, _READER_ROLE = "QuillmarkctlCommands", "QuillmarkctlHits"


def now_ms() -> int:
    """The wall clock in the unit of records."""
    return time.time_ns() // 1_000_000


@dataclass(frozen=True)
class State:
    """The state of the rings and the worker."""

    worker_running: bool
    worker_starts: int  # seen since the client was opened
    unread_commands: int  # not yet taken by the worker
    queued_records: int  # for read
    dropped: int  # hits lost since the client was opened


class Client:
    """Sends commands, waits for replies, and hands out one ordered stream of records.

    A call that waits keeps reading the hit ring into a queue, so that the ring does not fill up, and checks for a
    worker every 100 ms. Only one client in a session can read hits; opening another raises ``Busy``. Earlier hits
    are discarded unless ``keep_unread`` is set. Close the client, or use it in a ``with`` statement.
    """

    def __init__(self, keep_unread: bool = False) -> None:
        try:
            self._role = take_role(_READER_ROLE, time.monotonic() + _TAKEOVER_PATIENCE)
            if self._role is None:
                raise Busy("another client of this session is reading the hits; only one can")
            self._take_rings(keep_unread)
        except SystemRefused:
            raise
        except OSError as error:
            raise SystemRefused(error.errno, f"the rings cannot be opened: {error}") from error

    def _take_rings(self, keep_unread: bool) -> None:
        self._hits: Optional[Ring] = None
        self._commands: Optional[Ring] = None
        self._probe: Optional[WorkerProbe] = None
        self._queue: Deque[Record] = deque()
        self._awaited = ""  # start of the awaited reply; empty for none
        self._answer: Optional[str] = None
        self._dropped = 0
        self._barrier_prefix = f"__hb__:{secrets.token_hex(4)}"
        self._barriers = 0
        self._worker_starts = 0
        self._next_look = 0.0
        try:
            self._hits = Ring("HitRingMMF", "HitRingEvent", _wire.HIT_RING_BYTES)
            self._commands = Ring("CmdRingMMF", "CmdRingEvent", _wire.COMMAND_RING_BYTES)
            self._probe = WorkerProbe()
            words = self._hits.words
            if not keep_unread:
                words[_wire.READ_INDEX] = words[_wire.WRITE_INDEX]
            self._dropped_by_worker = words[_wire.DROPPED_COUNT]
            self._running, self._identity = self._probe.look()
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Closes the rings. Can be called more than once."""
        for part in (self._probe, self._commands, self._hits, self._role):
            if part is not None:
                part.close()
        self._probe = self._commands = self._hits = self._role = None

    def __enter__(self) -> Client:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def add(self, spec: Spec, timeout: float = 2.0) -> None:
        """Sends a spec, replacing one with the same name.

        Returns when the command is published; use ``barrier`` to wait until the worker has executed it. There is no
        reply about an image that the worker cannot read; that is in its log. While 64 commands are unread, the call
        waits up to ``timeout`` for the worker to take one, then raises ``NoWorker`` or ``Stalled``. Raises
        ``Refused`` if the spec cannot be sent as it is, and ``Busy`` if other clients keep writing.
        """
        self._send(command_for(spec), time.monotonic() + timeout)

    def remove(self, name: str, timeout: float = 2.0) -> None:
        """Removes the spec with this name, without options; it need not exist. Otherwise like ``add``."""
        self._send(removal_of(name), time.monotonic() + timeout)

    def clear(self, timeout: float = 2.0) -> None:
        """Removes all specs. Otherwise like ``add``."""
        self._send(_wire.command(_wire.CLEAR), time.monotonic() + timeout)

    def barrier(self, timeout: float = 2.0) -> None:
        """Waits until the worker has executed all commands sent before.

        Raises ``NoWorker``, ``Stalled`` or ``Busy`` on timeout; the commands stay sent.
        """
        self._barriers += 1
        text = f"{self._barrier_prefix}{self._barriers & 0xFFFFFFFF:08x}"
        command = _wire.command(_wire.HEARTBEAT, name=_wire.field("text", text, _wire.HIT_NAME_UNITS))
        self._ask(command, text, timeout)

    def version(self, timeout: float = 2.0) -> str:
        """Returns the worker's version. Otherwise like ``barrier``."""
        answer = self._ask(_wire.command(_wire.VERSION), _VERSION_REPLY, timeout)
        return answer[len(_VERSION_REPLY) :]

    def read(self, timeout: Optional[float] = None) -> list[Record]:
        """Returns all waiting records as soon as there are any; an empty list on timeout. Without a timeout it waits
        for the first. Call it continually, since the ring holds only 64 hits."""
        deadline = float("inf") if timeout is None else time.monotonic() + timeout
        self._pump()
        while not self._queue and time.monotonic() < deadline:
            self._wait(deadline)
            self._pump()
        records = list(self._queue)
        self._queue.clear()
        return records

    def look(self) -> State:
        """Returns the current state without waiting."""
        self._pump()
        self._watch_worker()
        return State(
            self._running, self._worker_starts, self._unread_commands(), len(self._queue), self._dropped
        )

    def _open(self) -> tuple[Ring, Ring, WorkerProbe]:
        if self._hits is None or self._commands is None or self._probe is None:
            raise Error("the client is closed")
        return self._hits, self._commands, self._probe

    def _unread_commands(self) -> int:
        words = self._open()[1].words
        return (words[_wire.WRITE_INDEX] - words[_wire.READ_INDEX]) & _wire.MASK

    def _send(self, slot: bytes, deadline: float) -> None:
        _, commands, probe = self._open()
        role = take_role(_WRITER_ROLE, deadline)
        if role is None:
            raise Busy("another client kept writing commands")
        try:
            while self._unread_commands() >= _wire.SLOTS:
                if time.monotonic() >= deadline:
                    raise self._silence(probe.look()[0])
                time.sleep(_POLL_INTERVAL)
            index = commands.words[_wire.WRITE_INDEX]
            at = _wire.HEADER_BYTES + _wire.COMMAND.size * (index % _wire.SLOTS)
            commands.bytes[at : at + len(slot)] = slot
            commands.words[_wire.WRITE_INDEX] = (index + 1) & _wire.MASK
            commands.signal()
        finally:
            role.close()

    @staticmethod
    def _silence(running: bool) -> Error:
        kind: Type[Error] = Stalled if running else NoWorker
        stalled = "timed out: a worker is running, but did not take the command or reply"
        return kind(stalled if running else "no worker is running")

    def _ask(self, slot: bytes, reply: str, timeout: float) -> str:
        deadline = time.monotonic() + timeout
        self._pump()  # late replies to earlier commands
        self._answer = None
        self._send(slot, deadline)
        self._awaited = reply
        try:
            self._pump()
            while self._answer is None and time.monotonic() < deadline:
                self._wait(deadline)
                self._pump()
        finally:
            self._awaited = ""
        self._watch_worker()  # the caller should learn of a new worker before it relies on the reply
        if self._answer is None:
            raise self._silence(self._running)
        return self._answer

    def _wait(self, deadline: float) -> None:
        self._open()[0].wait(min(deadline - time.monotonic(), _LOOK_INTERVAL))

    def _pump(self) -> None:
        hits = self._open()[0]
        written = hits.words[_wire.WRITE_INDEX]
        unread = (written - hits.words[_wire.READ_INDEX]) & _wire.MASK
        lost = max(unread - _wire.SLOTS, 0)  # another program has changed the indices
        # Read after the write index, so it includes every hit dropped before the newest record.
        refused = hits.words[_wire.DROPPED_COUNT]
        lost += (refused - self._dropped_by_worker) & _wire.MASK
        self._dropped_by_worker = refused
        if lost:
            self._dropped += lost
            self._queue.append(Dropped(lost, now_ms()))

        for index in range(written - min(unread, _wire.SLOTS), written):
            at = _wire.HEADER_BYTES + _wire.HIT.size * (index % _wire.SLOTS)
            self._push(_wire.record(bytes(hits.bytes[at : at + _wire.HIT.size])))
        hits.words[_wire.READ_INDEX] = written
        if time.monotonic() >= self._next_look:
            self._watch_worker()

    def _push(self, record: Record) -> None:
        if isinstance(record, Reply):
            if self._awaited and self._answer is None and record.text.startswith(self._awaited):
                self._answer = record.text
                return
            if record.text.startswith(self._barrier_prefix):
                return  # the reply to a barrier that timed out
        if len(self._queue) >= _QUEUE_LIMIT:
            self._let_go()
        self._queue.append(record)

    def _let_go(self) -> None:
        hits = sum(isinstance(record, Hit) for record in self._queue)
        known = sum(record.count for record in self._queue if isinstance(record, Dropped))
        self._dropped += hits
        self._queue = deque(r for r in self._queue if isinstance(r, (WorkerGone, WorkerStarted)))
        self._queue.append(Dropped(hits + known, now_ms()))

    def _watch_worker(self) -> None:
        self._next_look = time.monotonic() + _LOOK_INTERVAL
        running, identity = self._open()[2].look()
        another = bool(identity and self._identity and identity != self._identity)
        if self._running and not running:
            self._queue.append(WorkerGone(now_ms()))
        if running and (not self._running or another):
            self._worker_starts += 1
            self._queue.append(WorkerStarted(now_ms()))
        self._running = running
        self._identity = identity or self._identity
