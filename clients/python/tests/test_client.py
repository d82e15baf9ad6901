"""The client with stand-ins for a worker, and with real workers."""

from __future__ import annotations

import os
import pathlib
import random
import subprocess
import threading
import unittest

import quillmark as qm
from quillmark import _client, _linux
from tests.session import CONTROL, SessionTest, StandIn


class ClientAtWork(SessionTest):
    def open(self, keep_unread: bool = False) -> qm.Client:
        client = qm.Client(keep_unread)
        self.addCleanup(client.close)
        return client

    def write_hit(self) -> None:
        ring = self.hits()
        index = ring.word(0)
        at = 16 + 128 * (index % 64)
        ring.map[at : at + 128] = bytes(16) + (1).to_bytes(4, "little") * 2 + bytes(104)
        ring.set_word(0, index + 1)

    def kinds(self, records: list[qm.Record]) -> list[type]:
        return [type(record) for record in records]

    def test_real_worker_replies_and_its_death_is_reported(self) -> None:
        client = self.open()
        with self.assertRaises(qm.NoWorker):
            client.barrier(timeout=0)  # its late reply is not a record
        for _ in range(2):
            worker = self.start_worker()
            for i in range(200):
                client.remove(f"spec{i}", timeout=60)
            client.barrier(timeout=60)
            self.eventually(lambda: client.look().unread_commands == 0)
            self.assertRegex(client.version(timeout=60), r"^\d+\.\d+\.\d+")
            self.assertEqual(self.kinds(client.read(timeout=0)), [qm.WorkerStarted])
            if CONTROL:
                asked = subprocess.run(
                    [CONTROL, "ping", "tool", "--timeout=60"], capture_output=True, check=True
                )
                self.assertTrue(asked.stdout.startswith(b"tool in "), asked.stdout)
                self.assertEqual([r.text for r in client.read(timeout=60) if isinstance(r, qm.Reply)], ["tool"])
            worker.kill()
            worker.wait()
            self.assertEqual(self.kinds(client.read(timeout=60)), [qm.WorkerGone])

    def test_stalled_worker_is_distinguished_from_none(self) -> None:
        client = self.open()
        with self.assertRaises(qm.NoWorker):
            client.barrier(timeout=0.05)
        stand_in = StandIn(1)
        self.addCleanup(stand_in.end)
        with self.assertRaises(qm.Stalled):
            client.barrier(timeout=0.05)
        while client.look().unread_commands < 64:
            client.clear(timeout=0)
        with self.assertRaises(qm.Stalled):
            client.clear(timeout=0.05)
        self.assertEqual(client.look().unread_commands, 64)

    def test_dropped_hits_are_counted(self) -> None:
        client = self.open()
        self.write_hit()
        self.hits().set_word(8, 7)
        dropped, hit = client.read(timeout=0)
        assert isinstance(dropped, qm.Dropped) and isinstance(hit, qm.Hit)
        self.assertEqual((dropped.count, client.look().dropped), (7, 7))

    def test_garbage_in_the_ring_is_read_once_as_records(self) -> None:
        client = self.open()
        ring = self.hits()
        for seed in range(100):
            ring.map[:] = random.Random(seed).randbytes(len(ring.map))
            records = [r for r in client.read(timeout=0) if not isinstance(r, qm.Dropped)]
            self.assertLessEqual(len(records), 64)
            for record in records:
                assert isinstance(record, (qm.Hit, qm.Reply))
                (record.name if isinstance(record, qm.Hit) else record.text).encode()
            self.assertEqual(ring.word(4), ring.word(0))
            self.assertEqual(client.read(timeout=0), [])

    def test_client_that_never_reads_drops_the_oldest_hits(self) -> None:
        client = self.open()
        ring = self.hits()
        ring.map[16:] = (bytes(16) + (1).to_bytes(4, "little") * 2 + bytes(104)) * 64
        rounds = _client._QUEUE_LIMIT // 64 + 1
        for i in range(rounds):
            ring.set_word(0, 64 * (i + 1))
            client.look()
        dropped, *hits = client.read(timeout=0)
        assert isinstance(dropped, qm.Dropped)
        self.assertEqual(dropped.count + len(hits), 64 * rounds)

    def test_earlier_hits_are_discarded_unless_requested(self) -> None:
        keeper = self.open()
        self.write_hit()
        keeper._role.close()  # type: ignore[union-attr]
        self.assertEqual(len(self.open(keep_unread=True).read(timeout=0)), 1)
        self.assertEqual(keeper.read(timeout=0), [])

    def test_second_reader_is_refused(self) -> None:
        self.open()
        with self.assertRaises(qm.Busy):
            qm.Client()

    def test_read_wakes_for_a_signal(self) -> None:
        client = self.open()
        other = _linux.Ring("HitRingMMF", "HitRingEvent", 8208)
        self.addCleanup(other.close)
        waiter = threading.Thread(target=other.wait, args=(600,))
        waiter.start()
        other.signal()
        waiter.join(60)
        self.assertFalse(waiter.is_alive())
        self.assertEqual(client.read(timeout=0), [])

    def test_end_start_and_replacement_of_a_worker_are_reported(self) -> None:
        client = self.open()
        stand_in = StandIn(1)
        self.assertEqual(self.kinds(client.read(timeout=60)), [qm.WorkerStarted])
        stand_in.end()
        stand_in = StandIn(2)
        self.assertEqual(self.kinds(client.read(timeout=60)), [qm.WorkerStarted])
        stand_in.end()
        self.assertEqual(self.kinds(client.read(timeout=60)), [qm.WorkerGone])
        self.assertEqual(client.look().worker_starts, 2)

    def test_closed_client_leaves_no_object(self) -> None:
        client = qm.Client()
        client.clear()
        client.close()
        client.close()
        self.assertEqual(os.listdir(self.objects()), [])
        with self.assertRaises(qm.Error):
            client.clear()

    def test_folder_open_to_others_is_refused(self) -> None:
        self.objects().mkdir(parents=True)
        for folder in (self.objects().parent, self.objects()):
            folder.chmod(0o700)
        pathlib.Path(self.objects()).chmod(0o750)
        with self.assertRaises(qm.SystemRefused):
            qm.Client()


if __name__ == "__main__":
    unittest.main()
