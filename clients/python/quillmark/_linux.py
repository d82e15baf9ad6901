"""The named objects of a session on Linux: files with locks, as docs/protocol.md describes them.

The rings' words must be stored and loaded one by one, in program order. Only x86-64 guarantees that.
"""

from __future__ import annotations

import ctypes
import errno
import fcntl
import mmap
import os
import stat
import struct
import sys
import time
from typing import Optional

from ._errors import SystemRefused

assert sys.platform == "linux"

if os.uname().machine != "x86_64":
    raise ImportError("quillmark needs a 64-bit x86 machine")

_GATE, _LIFE, _OWNER = 2**40, 2**40 + 1, 2**40 + 2
_FLOCK = struct.Struct("hhqqi0q")

_SYS_FUTEX, _FUTEX_WAIT, _FUTEX_WAKE = 202, 0, 1
_syscall = ctypes.CDLL(None, use_errno=True).syscall
_syscall.restype = ctypes.c_long


class _Timespec(ctypes.Structure):
    _fields_ = [("seconds", ctypes.c_long), ("nanoseconds", ctypes.c_long)]


def _lock(fd: int, command: int, kind: int, byte: int) -> int:
    """Makes the locking call for one byte and returns the resulting kind of lock."""
    request = _FLOCK.pack(kind, os.SEEK_SET, byte, 1, 0)
    return int(_FLOCK.unpack(fcntl.fcntl(fd, command, request))[0])


def _is_locked(fd: int, byte: int) -> bool:
    """Whether the byte is locked through another open file."""
    return _lock(fd, fcntl.F_OFD_GETLK, fcntl.F_WRLCK, byte) != fcntl.F_UNLCK


def _open_private_folder(parent: int, name: bytes) -> int:
    try:
        os.mkdir(name, 0o700, dir_fd=parent)
    except FileExistsError:
        pass
    fd = os.open(name, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW, dir_fd=parent)
    facts = os.fstat(fd)
    if facts.st_uid != os.geteuid() or facts.st_mode & 0o077:
        os.close(fd)
        raise SystemRefused(errno.EACCES, f"the session's folder {os.fsdecode(name)!r} is not private")
    return fd


def _open_session_folder() -> int:
    kept = b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-"
    base = os.environb.get(b"XDG_RUNTIME_DIR", b"")
    product = b"quillmark"
    if not base:
        base, product = b"/dev/shm", b"quillmark-%d" % os.geteuid()
    display = bytes(c if c in kept else ord("_") for c in os.environb.get(b"DISPLAY", b"")) or b"none"
    if display in (b".", b".."):
        display = b"_" * len(display)

    folder = os.open(base, os.O_RDONLY | os.O_DIRECTORY)
    for name in (product, display):
        try:
            inner = _open_private_folder(folder, name)
        finally:
            os.close(folder)
        folder = inner
    return folder


class _SharedFile:
    """The file of one object, which exists until it is closed."""

    def __init__(self, name: str, size: int) -> None:
        self.fd = -1
        self._name = name
        self._folder = _open_session_folder()
        try:
            self.existed = self._open(size)
        except BaseException:
            self.close()
            raise

    def _open(self, size: int) -> bool:
        while True:
            flags = os.O_RDWR | os.O_CREAT | os.O_NOFOLLOW | os.O_NONBLOCK
            self.fd = os.open(self._name, flags, 0o600, dir_fd=self._folder)
            if not stat.S_ISREG(os.fstat(self.fd).st_mode):
                raise SystemRefused(errno.EACCES, f"{self._name} is not a regular file")
            _lock(self.fd, fcntl.F_OFD_SETLKW, fcntl.F_WRLCK, _GATE)
            if os.fstat(self.fd).st_nlink:
                break
            os.close(self.fd)  # its last user removed it during the wait

        _lock(self.fd, fcntl.F_OFD_SETLK, fcntl.F_RDLCK, _LIFE)
        existed = _is_locked(self.fd, _LIFE)
        if not existed:
            os.ftruncate(self.fd, 0)
            os.ftruncate(self.fd, size)
            os.posix_fallocate(self.fd, 0, size)
        _lock(self.fd, fcntl.F_OFD_SETLK, fcntl.F_UNLCK, _GATE)
        return existed

    def close(self) -> None:
        if self.fd >= 0:
            _lock(self.fd, fcntl.F_OFD_SETLKW, fcntl.F_WRLCK, _GATE)
            if os.fstat(self.fd).st_nlink and not _is_locked(self.fd, _LIFE):
                os.unlink(self._name, dir_fd=self._folder)
            os.close(self.fd)
            self.fd = -1
        if self._folder >= 0:
            os.close(self._folder)
            self._folder = -1


class _Mapped:
    """An object's bytes, and the same as 32-bit words."""

    def __init__(self, name: str, size: int) -> None:
        self._file = _SharedFile(name, size)
        try:
            if os.fstat(self._file.fd).st_size < size:
                raise SystemRefused(errno.EINVAL, f"{name} is smaller than its layout")
            self._map = mmap.mmap(self._file.fd, size)
        except BaseException:
            self._file.close()
            raise
        self.bytes = memoryview(self._map)
        self.words = self.bytes[: size // 4 * 4].cast("I")

    def close(self) -> None:
        self.words.release()
        self.bytes.release()
        # The mapping has a copy of the descriptor, which would keep the object alive.
        self._map.close()
        self._file.close()


class Ring:
    """A ring's section and event. The event is opened first: it tells a worker that a controller owns the
    section's contents."""

    def __init__(self, section: str, event: str, size: int) -> None:
        self._event = _Mapped(f"{event}.event", 8)
        try:
            self._section = _Mapped(f"{section}.section", size)
        except BaseException:
            self._event.close()
            raise
        self.bytes = self._section.bytes
        self.words = self._section.words
        # No ctypes object may remain: it would keep the mapping open.
        self._state = ctypes.addressof(ctypes.c_uint32.from_buffer(self._event.bytes))

    def signal(self) -> None:
        self._event.words[0] = 1
        _syscall(_SYS_FUTEX, ctypes.c_void_p(self._state), _FUTEX_WAKE, 1, None, None, 0)

    def wait(self, timeout: float) -> None:
        """Waits until the worker signals, at most this many seconds; may return early."""
        if not self._event.words[0] and timeout > 0:
            limit = _Timespec(int(timeout), int(timeout % 1 * 1e9))
            _syscall(_SYS_FUTEX, ctypes.c_void_p(self._state), _FUTEX_WAIT, 0, ctypes.byref(limit), None, 0)
        # Nobody else waits, so no signal can be taken in between; the write index is loaded after this.
        if self._event.words[0]:
            self._event.words[0] = 0

    def close(self) -> None:
        self._section.close()
        self._event.close()


def take_role(name: str, deadline: float) -> Optional[_SharedFile]:
    """The mutex with this name, owned by at most one client of the session; None if another client still owns it
    at the deadline (monotonic clock)."""
    while True:
        role = _SharedFile(f"{name}.mutex", 4)
        if not role.existed:
            return role
        role.close()
        if time.monotonic() >= deadline:
            return None
        time.sleep(0.005)


class WorkerProbe:
    """Detects a running worker without leaving a trace that a worker could take for another instance."""

    def __init__(self) -> None:
        self._folder = _open_session_folder()

    def look(self) -> tuple[bool, int]:
        """Whether a worker owns the single-instance mutex, and a number that differs from worker to worker."""
        try:
            fd = os.open("KXRQTLV1_Quillmark.mutex", os.O_RDWR | os.O_NOFOLLOW | os.O_NONBLOCK, dir_fd=self._folder)
        except OSError:
            return False, 0
        try:
            if not _is_locked(fd, _OWNER):
                return False, 0
            owner = os.pread(fd, 4, 0)
            return True, int.from_bytes(owner, "little") if len(owner) == 4 else 0
        finally:
            os.close(fd)

    def close(self) -> None:
        if self._folder >= 0:
            os.close(self._folder)
            self._folder = -1
