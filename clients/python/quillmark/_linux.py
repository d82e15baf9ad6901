"""The named objects of a session on Linux: files whose holders keep locks, as docs/protocol.md gives them.

The rings' words are stored and loaded one by one, in program order; x86-64 keeps that order, so that is the
machine this needs.
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
    raise ImportError("quillmark needs a machine that keeps the order of stores: x86-64")

_GATE, _LIFE, _OWNER = 2**40, 2**40 + 1, 2**40 + 2
_FLOCK = struct.Struct("hhqqi0q")

_SYS_FUTEX, _FUTEX_WAIT, _FUTEX_WAKE = 202, 0, 1
_syscall = ctypes.CDLL(None, use_errno=True).syscall
_syscall.restype = ctypes.c_long


class _Timespec(ctypes.Structure):
    _fields_ = [("seconds", ctypes.c_long), ("nanoseconds", ctypes.c_long)]


def _lock(fd: int, command: int, kind: int, byte: int) -> int:
    """The lock's kind that the call answers."""
    request = _FLOCK.pack(kind, os.SEEK_SET, byte, 1, 0)
    return int(_FLOCK.unpack(fcntl.fcntl(fd, command, request))[0])


def _is_locked(fd: int, byte: int) -> bool:
    """Whether another open file holds the byte."""
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
    """The file of one object, held until it is closed."""

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
                raise SystemRefused(errno.EACCES, f"{self._name} is no regular file")
            _lock(self.fd, fcntl.F_OFD_SETLKW, fcntl.F_WRLCK, _GATE)
            if os.fstat(self.fd).st_nlink:
                break
            os.close(self.fd)  # its last holder removed it while this one waited at the gate

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
    """An object's bytes, and its 32-bit words as far as they are aligned."""

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
        # The mapping has a copy of the descriptor, which would hold the object on.
        self._map.close()
        self._file.close()


class Ring:
    """A ring's section and its event. The event comes first: by it a worker knows that a controller owns the
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
        # No object of ctypes may stay: it would keep the mapping from being closed.
        self._state = ctypes.addressof(ctypes.c_uint32.from_buffer(self._event.bytes))

    def signal(self) -> None:
        self._event.words[0] = 1
        _syscall(_SYS_FUTEX, ctypes.c_void_p(self._state), _FUTEX_WAKE, 1, None, None, 0)

    def wait(self, timeout: float) -> None:
        """Until the worker signals, for so many seconds at most; may return early."""
        if not self._event.words[0] and timeout > 0:
            limit = _Timespec(int(timeout), int(timeout % 1 * 1e9))
            _syscall(_SYS_FUTEX, ctypes.c_void_p(self._state), _FUTEX_WAIT, 0, ctypes.byref(limit), None, 0)
        # There is no other who waits, so nothing can come between; the write index is loaded after this.
        if self._event.words[0]:
            self._event.words[0] = 0

    def close(self) -> None:
        self._section.close()
        self._event.close()


def take_role(name: str, deadline: float) -> Optional[_SharedFile]:
    """A mutex of that name, held by one client of the session; None when another keeps it until the deadline
    of the monotonic clock."""
    while True:
        role = _SharedFile(f"{name}.mutex", 4)
        if not role.existed:
            return role
        role.close()
        if time.monotonic() >= deadline:
            return None
        time.sleep(0.005)


class WorkerProbe:
    """Sees whether a worker runs, without leaving a trace that one could take for another instance."""

    def __init__(self) -> None:
        self._folder = _open_session_folder()

    def look(self) -> tuple[bool, int]:
        """Whether a worker owns the mutex of the single instance, and what tells it from another worker."""
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
