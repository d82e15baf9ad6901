"""Runs the conformance file that every client must pass."""

from __future__ import annotations

import dataclasses
import json
import pathlib
import unittest
from typing import Any

import quillmark as qm
from tests.session import SessionTest

VECTORS = json.loads(
    (pathlib.Path(__file__).parents[2] / "conformance" / "vectors.json").read_text(encoding="utf-8")
)
ERRORS = {"too_long": qm.TooLong, "bad_text": qm.BadText, "bad_value": qm.BadValue}


def text_of(text: str) -> str:
    return text.replace("<D800>", "\ud800")


def call(client: qm.Client, vector: dict[str, Any]) -> None:
    if "remove" in vector:
        client.remove(text_of(vector["remove"]), timeout=0)
    elif "clear" in vector:
        client.clear(timeout=0)
    else:
        given = dict(vector["add"])
        for name in ("target", "name", "path"):
            given[name] = text_of(given[name])
        given["region"] = tuple(given["region"])
        if "mode" in given:
            given["mode"] = qm.Mode(given["mode"])
        if "preset" in given:
            given["preset"] = qm.Preset(given["preset"])
        client.add(qm.Spec(**given), timeout=0)


def bytes_of(slot: dict[str, str], size: int) -> bytes:
    whole = bytearray(size)
    for offset, digits in slot.items():
        part = bytes.fromhex(digits)
        whole[int(offset) : int(offset) + len(part)] = part
    return bytes(whole)


class Conformance(SessionTest):
    def setUp(self) -> None:
        super().setUp()
        self.client = qm.Client(keep_unread=True)
        self.addCleanup(self.client.close)

    def test_commands_have_the_expected_bytes(self) -> None:
        ring = self.commands()
        for index, vector in enumerate(VECTORS["commands"]):
            with self.subTest(vector["case"]):
                ring.map[16:] = b"\xaa" * (64 * 320)
                call(self.client, vector)
                at = 16 + 320 * (index % 64)
                self.assertEqual(ring.map[at : at + 320], bytes_of(vector["slot"], 320))
                self.assertEqual(ring.word(0), index + 1)
                ring.set_word(4, index + 1)

    def test_invalid_arguments_are_refused(self) -> None:
        for vector in VECTORS["refusals"]:
            with self.subTest(vector["case"]):
                with self.assertRaisesRegex(ERRORS[vector["error"]], vector["what"]):
                    call(self.client, vector)
        self.assertEqual(self.commands().word(0), 0)

    def test_wrong_types_are_refused(self) -> None:
        spec = qm.Spec("t", "n", "p", (1, 2, 3, 4))
        parts: list[dict[str, Any]] = [
            {"region": (1, 2, 3.0, 4)},
            {"region": (1, 2, 3)},
            {"interval_ms": 1.5},
            {"monitor": "primary"},
        ]
        for part in parts:
            with self.subTest(part), self.assertRaisesRegex(qm.BadValue, next(iter(part))):
                self.client.add(dataclasses.replace(spec, **part))
        with self.assertRaises(qm.TooLong):
            qm.Tracker().watch(qm.Watch("n" * 32))
        with self.assertRaisesRegex(qm.BadValue, "unknown_ms"):
            qm.Tracker().watch(qm.Watch("n", unknown_ms=-1))

    def test_command_indices_wrap_and_never_run_ahead(self) -> None:
        ring = self.commands()
        for vector in VECTORS["command_indices"]:
            with self.subTest(vector["case"]):
                ring.set_word(0, vector["write"])
                ring.set_word(4, vector["read"])
                ring.map[16:] = b"\xaa" * (64 * 320)
                for slot in vector["slots"]:
                    self.client.clear(timeout=0)
                    self.assertEqual(ring.word(16 + 320 * slot), 3)
                if not vector["slots"]:
                    with self.assertRaises(qm.NoWorker):
                        self.client.clear(timeout=0)
                self.assertEqual(ring.word(0), vector["end"])

    def test_bytes_become_the_expected_records(self) -> None:
        ring = self.hits()
        for index, vector in enumerate(VECTORS["records"]):
            with self.subTest(vector["case"]):
                at = 16 + 128 * (index % 64)
                ring.map[at : at + 128] = bytes_of(vector["slot"], 128)
                ring.set_word(0, index + 1)
                (record,) = self.client.read(timeout=0)
                read = dict(vector["record"])
                if read.pop("kind") == "reply":
                    self.assertEqual(record, qm.Reply(read["name"], read["ts_ms"]))
                else:
                    self.assertEqual(record, qm.Hit(**read))

    def test_hit_indices_wrap(self) -> None:
        ring = self.hits()
        for slot in range(64):
            ring.set_word(16 + 128 * slot, slot)  # its time is the slot's number
            ring.set_word(16 + 128 * slot + 16, 1)  # a width makes it a hit
        for vector in VECTORS["hit_indices"]:
            with self.subTest(vector["case"]):
                ring.set_word(4, vector["read"])
                ring.set_word(0, vector["write"])
                records = self.client.read(timeout=0)
                if vector["dropped"]:
                    dropped = records.pop(0)
                    assert isinstance(dropped, qm.Dropped)
                    self.assertEqual(dropped.count, vector["dropped"])
                self.assertEqual([record.ts_ms for record in records], vector["slots"])
                self.assertEqual(ring.word(4), vector["write"])


class Events(unittest.TestCase):
    def step(self, tracker: qm.Tracker, step: dict[str, Any]) -> list[qm.Event]:
        if "hit" in step:
            name, ts_ms, cx, cy = step["hit"]
            return tracker.feed(qm.Hit(name, ts_ms, cx, cy, 10, 10, 1.0, 1.0))
        if "dropped" in step:
            return tracker.feed(qm.Dropped(1, step["dropped"]))
        if "worker_gone" in step:
            return tracker.feed(qm.WorkerGone(step["worker_gone"]))
        if "worker_started" in step:
            return tracker.feed(qm.WorkerStarted(step["worker_started"]))
        return tracker.advance(step["advance"])

    def test_records_become_the_expected_events(self) -> None:
        for vector in VECTORS["events"]:
            watch = dict(vector["watch"])
            watch["witnesses"] = tuple(watch.get("witnesses", ()))
            tracker = qm.Tracker()
            tracker.watch(qm.Watch(**watch))
            for step in vector["steps"]:
                with self.subTest(vector["case"], step=step):
                    if "watch" in step:
                        tracker.watch(qm.Watch(**watch))
                        continue
                    events: list[list[object]] = []
                    for event in self.step(tracker, step):
                        events.append([event.kind.value, event.reason.value, event.was.value])
                        if event.kind is qm.EventKind.STABLE:
                            events[-1].append(event.stable_ms)
                        self.assertEqual(event.hit.name, watch["name"])
                    self.assertEqual(events, step.get("expect", []))


if __name__ == "__main__":
    unittest.main()
