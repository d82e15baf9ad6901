"""The named objects of a session on Windows."""

from __future__ import annotations

import ctypes
import platform
import sys
import time
from ctypes import wintypes
from typing import Any, Optional

from ._errors import SystemRefused

assert sys.platform == "win32"

if platform.machine() != "AMD64":
    raise ImportError("quillmark needs a 64-bit x86 machine")

_kernel32 = ctypes.WinDLL("kernel32", use_last_error=True)
_user32 = ctypes.WinDLL("user32", use_last_error=True)

_PAGE_READWRITE = 0x04
_FILE_MAP_ALL_ACCESS = 0xF001F
_ERROR_BAD_LENGTH, _ERROR_ALREADY_EXISTS = 24, 183
_WAIT_OBJECT_0, _WAIT_ABANDONED, _WAIT_TIMEOUT = 0, 0x80, 0x102
_SYNCHRONIZE, _MUTEX_MODIFY_STATE = 0x00100000, 0x0001


class _MemoryInformation(ctypes.Structure):
    _fields_ = [
        ("BaseAddress", ctypes.c_void_p),
        ("AllocationBase", ctypes.c_void_p),
        ("AllocationProtect", wintypes.DWORD),
        ("PartitionId", wintypes.WORD),
        ("RegionSize", ctypes.c_size_t),
        ("State", wintypes.DWORD),
        ("Protect", wintypes.DWORD),
        ("Type", wintypes.DWORD),
    ]


def _declare(library: Any, name: str, result: Any, *arguments: Any) -> Any:
    function = getattr(library, name)
    function.restype = result
    function.argtypes = arguments
    return function


_H, _B, _D, _S = wintypes.HANDLE, wintypes.BOOL, wintypes.DWORD, wintypes.LPCWSTR
_P, _Z = ctypes.c_void_p, ctypes.c_size_t
_CreateFileMappingW = _declare(_kernel32, "CreateFileMappingW", _H, _H, _P, _D, _D, _D, _S)
_MapViewOfFile = _declare(_kernel32, "MapViewOfFile", _P, _H, _D, _D, _D, _Z)
_UnmapViewOfFile = _declare(_kernel32, "UnmapViewOfFile", _B, _P)
_VirtualQuery = _declare(_kernel32, "VirtualQuery", _Z, _P, ctypes.POINTER(_MemoryInformation), _Z)
_CreateEventW = _declare(_kernel32, "CreateEventW", _H, _P, _B, _B, _S)
_SetEvent = _declare(_kernel32, "SetEvent", _B, _H)
_WaitForSingleObject = _declare(_kernel32, "WaitForSingleObject", _D, _H, _D)
_CreateMutexW = _declare(_kernel32, "CreateMutexW", _H, _P, _B, _S)
_OpenMutexW = _declare(_kernel32, "OpenMutexW", _H, _D, _B, _S)
_ReleaseMutex = _declare(_kernel32, "ReleaseMutex", _B, _H)
_CloseHandle = _declare(_kernel32, "CloseHandle", _B, _H)
_FindWindowW = _declare(_user32, "FindWindowW", wintypes.HWND, _S, _S)
_GetWindowThreadProcessId = _declare(
    _user32, "GetWindowThreadProcessId", _D, wintypes.HWND, ctypes.POINTER(_D)
)


def _error(call: str, name: str, code: Optional[int] = None) -> SystemRefused:
    code = ctypes.get_last_error() if code is None else code
    return SystemRefused(code, f"{name}: {call} failed (system error {code})")


class Ring:
    """A ring's section and event. The event is opened first: it tells a worker that a controller owns the
    section's contents."""

    def __init__(self, section: str, event: str, size: int) -> None:
        self._event = self._mapping = self._view = None
        try:
            self._event = _CreateEventW(None, False, False, f"Local\\{event}")
            if not self._event:
                raise _error("CreateEventW", event)
            self._mapping = _CreateFileMappingW(
                wintypes.HANDLE(-1), None, _PAGE_READWRITE, 0, size, f"Local\\{section}"
            )
            if not self._mapping:
                raise _error("CreateFileMappingW", section)
            self._view = _MapViewOfFile(self._mapping, _FILE_MAP_ALL_ACCESS, 0, 0, 0)
            if not self._view:
                raise _error("MapViewOfFile", section)
            facts = _MemoryInformation()
            if not _VirtualQuery(self._view, ctypes.byref(facts), ctypes.sizeof(facts)) or facts.RegionSize < size:
                raise _error("MapViewOfFile", section, _ERROR_BAD_LENGTH)
        except BaseException:
            self._free()
            raise
        self.bytes = memoryview((ctypes.c_ubyte * size).from_address(self._view)).cast("B")
        self.words = self.bytes.cast("I")

    def signal(self) -> None:
        _SetEvent(self._event)

    def wait(self, timeout: float) -> None:
        """Waits until the worker signals, at most this many seconds."""
        _WaitForSingleObject(self._event, int(max(timeout, 0.0) * 1000 + 0.999))

    def close(self) -> None:
        self.words.release()
        self.bytes.release()
        self._free()

    def _free(self) -> None:
        if self._view:
            _UnmapViewOfFile(self._view)
        for handle in (self._mapping, self._event):
            if handle:
                _CloseHandle(handle)
        self._event = self._mapping = self._view = None


class _Role:
    def __init__(self, handle: int) -> None:
        self._handle = handle

    def close(self) -> None:
        if self._handle:
            _CloseHandle(self._handle)
            self._handle = 0


def take_role(name: str, deadline: float) -> Optional[_Role]:
    """The mutex with this name, owned by at most one client of the session; None if another client still owns it
    at the deadline (monotonic clock)."""
    while True:
        handle = _CreateMutexW(None, True, f"Local\\{name}")
        code = ctypes.get_last_error()
        if not handle:
            raise _error("CreateMutexW", name, code)
        if code != _ERROR_ALREADY_EXISTS:
            return _Role(handle)
        _CloseHandle(handle)  # kept open, the other client's mutex would outlive it
        if time.monotonic() >= deadline:
            return None
        time.sleep(0.005)


class WorkerProbe:
    """Detects a running worker. A look opens the single-instance mutex only for a moment, since a worker that
    starts meanwhile would take it for another instance."""

    def look(self) -> tuple[bool, int]:
        """Whether a worker owns the mutex, and a number that differs from worker to worker: its hidden window."""
        mutex = _OpenMutexW(_SYNCHRONIZE | _MUTEX_MODIFY_STATE, False, "KXRQTLV1_Quillmark")
        if not mutex:
            return False, 0
        result = _WaitForSingleObject(mutex, 0)
        if result in (_WAIT_OBJECT_0, _WAIT_ABANDONED):
            _ReleaseMutex(mutex)  # its owner has ended
        _CloseHandle(mutex)
        if result != _WAIT_TIMEOUT:
            return False, 0
        window = _FindWindowW("DupMsgSinkClass", None)
        process = wintypes.DWORD()
        if not window or not _GetWindowThreadProcessId(window, ctypes.byref(process)):
            return True, 0
        return True, process.value << 32 | (window & 0xFFFFFFFF)

    def close(self) -> None:
        pass
