"""A private session for a test, and the other side of the rings as the bytes of their files."""

from __future__ import annotations

import fcntl
import mmap
import os
import pathlib
import subprocess
import tempfile
import time
import unittest
import unittest.mock
from typing import Callable

from quillmark import _linux

WORKER = os.environ.get("QUILLMARK_WORKER")
CONTROL = os.environ.get("QUILLMARKCTL")


class Bytes:
    """The file of an existing object."""

    def __init__(self, path: pathlib.Path) -> None:
        with open(path, "r+b") as file:
            self.map = mmap.mmap(file.fileno(), 0)

    def word(self, offset: int) -> int:
        return int.from_bytes(self.map[offset : offset + 4], "little")

    def set_word(self, offset: int, value: int) -> None:
        self.map[offset : offset + 4] = value.to_bytes(4, "little")


class StandIn:
    """Looks like a running worker from outside, but does nothing."""

    def __init__(self, identity: int) -> None:
        self.file = _linux._SharedFile("KXRQTLV1_Quillmark.mutex", 4)
        lock = _linux._FLOCK.pack(fcntl.F_WRLCK, os.SEEK_SET, 2**40 + 2, 1, 0)
        fcntl.fcntl(self.file.fd, fcntl.F_OFD_SETLK, lock)
        os.pwrite(self.file.fd, identity.to_bytes(4, "little"), 0)

    def end(self) -> None:
        self.file.close()


class SessionTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        environment = unittest.mock.patch.dict(os.environ, {"XDG_RUNTIME_DIR": folder.name})
        environment.start()
        self.addCleanup(environment.stop)
        os.environ.pop("DISPLAY", None)

    def objects(self) -> pathlib.Path:
        return self.folder / "quillmark" / "none"

    def commands(self) -> Bytes:
        return Bytes(self.objects() / "CmdRingMMF.section")

    def hits(self) -> Bytes:
        return Bytes(self.objects() / "HitRingMMF.section")

    def start_worker(self) -> subprocess.Popen[bytes]:
        if not WORKER:
            self.skipTest("QUILLMARK_WORKER does not name the worker")
        worker = subprocess.Popen([WORKER], cwd=self.folder, stderr=subprocess.DEVNULL)

        def end() -> None:
            worker.kill()
            worker.wait()

        self.addCleanup(end)
        return worker

    def eventually(self, condition: Callable[[], object]) -> None:
        deadline = time.monotonic() + 20
        while not condition():
            self.assertLess(time.monotonic(), deadline, "timed out")
            time.sleep(0.005)
