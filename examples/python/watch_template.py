#!/usr/bin/env python3
"""Watches one template in one window and prints hits and events.

TARGET is part of the window's title or a program's file name ending in .exe. IMAGE and WITNESS are template images.
The witness is something else that the window always shows: its hits distinguish a lost object from an unchanged
screen. Stop it with Ctrl-C.
"""

import argparse
import sys

import quillmark


def region(text: str) -> "tuple[int, int, int, int]":
    x, y, width, height = map(int, text.split(","))
    return x, y, width, height


parser = argparse.ArgumentParser(description="Watches one template in one window.")
parser.add_argument("target", metavar="TARGET")
parser.add_argument("image", metavar="IMAGE")
parser.add_argument("region", metavar="X,Y,W,H", type=region)
parser.add_argument("witness", metavar="WITNESS", nargs="?")


def show(events: "list[quillmark.Event]") -> None:
    for event in events:
        stay = f" for {event.stable_ms} ms" if event.stable_ms else ""
        print(
            f"event {event.hit.name} {event.kind.value} at {event.hit.cx},{event.hit.cy} by {event.reason.value}{stay}",
            flush=True,
        )


def main() -> None:
    arguments = parser.parse_args()
    specs = [quillmark.Spec(arguments.target, "thing", arguments.image, arguments.region, min_score=0.95)]
    witnesses: "tuple[str, ...]" = ()
    if arguments.witness:
        whole = (0, 0, 10000, 10000)  # clipped to the window
        specs.append(quillmark.Spec(arguments.target, "witness", arguments.witness, whole, min_score=0.95))
        witnesses = ("witness",)

    tracker = quillmark.Tracker()
    tracker.watch(quillmark.Watch("thing", witnesses, stable_ms=500))
    with quillmark.Client() as client:

        def send_all() -> None:
            for spec in specs:
                client.add(spec)

        send_all()
        try:
            while True:
                for record in client.read(timeout=0.2):
                    if isinstance(record, quillmark.Hit):
                        print(f"hit {record.name} at {record.cx},{record.cy} score {record.score:.3f}", flush=True)
                    elif isinstance(record, quillmark.Dropped):
                        print(f"{record.count} hits were lost", flush=True)
                    elif isinstance(record, quillmark.WorkerGone):
                        print("no worker is running", flush=True)
                    elif isinstance(record, quillmark.WorkerStarted):
                        print("a new worker is running", flush=True)
                        send_all()  # it knows no specs
                    show(tracker.feed(record))
                show(tracker.advance())
        except KeyboardInterrupt:
            for spec in specs:
                client.remove(spec.name)


if __name__ == "__main__":
    try:
        main()
    except quillmark.Error as error:
        sys.exit(f"watch_template: {error}")
