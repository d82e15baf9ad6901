"""The bytes of both rings, as docs/protocol.md describes them."""

from __future__ import annotations

import re
import struct
from typing import Union

from ._errors import BadText, TooLong
from ._records import Hit, Reply

SLOTS = 64
HEADER_BYTES = 16
MASK = 0xFFFFFFFF  # indices wrap modulo 2^32

COMMAND = struct.Struct("<I4x32s64s128s4i2f64x")
HIT = struct.Struct("<Q4i8x2f64s24x")
COMMAND_RING_BYTES = HEADER_BYTES + SLOTS * COMMAND.size
HIT_RING_BYTES = HEADER_BYTES + SLOTS * HIT.size

# Header words of both rings, counted in uint32.
WRITE_INDEX, READ_INDEX, DROPPED_COUNT = 0, 1, 2

SPEC, REMOVE, CLEAR, HEARTBEAT, VERSION = 1, 2, 3, 4, 5

# Widths in UTF-16 units.
TARGET_UNITS, NAME_UNITS, PATH_UNITS, HIT_NAME_UNITS = 16, 32, 64, 31

_UNPAIRED = re.compile("[\ud800-\udfff]")


def field(what: str, text: str, max_units: int) -> bytes:
    """The text in UTF-16, checked to fit the field."""
    if not text:
        raise BadText(f"{what} must not be empty")
    if "\0" in text:
        raise BadText(f"{what} contains a zero")
    try:
        units = text.encode("utf-16-le")
    except UnicodeEncodeError:
        raise BadText(f"{what} contains an unpaired surrogate") from None
    if len(units) > 2 * max_units:
        raise TooLong(f"{what} has {len(units) // 2} characters (UTF-16 units); at most {max_units} are allowed")
    return units


def command(
    kind: int,
    target: bytes = b"",
    name: bytes = b"",
    path: bytes = b"",
    region: tuple[int, int, int, int] = (0, 0, 0, 0),
    edge_min: float = 0.0,
    threshold: float = 0.0,
) -> bytes:
    """A slot of the command ring; texts come from ``field``."""
    return COMMAND.pack(kind, target, name, path, *region, edge_min, threshold)


def text_of(units: bytes) -> str:
    """The text of a field up to its first zero unit; unpaired surrogates become U+FFFD."""
    text = units.decode("utf-16-le", "surrogatepass").partition("\0")[0]
    return _UNPAIRED.sub("\ufffd", text)


def record(slot: bytes) -> Union[Hit, Reply]:
    """The record in a slot of the hit ring. Replies have no size; hits have at least one pixel."""
    ts_ms, cx, cy, w, h, score, edge, name = HIT.unpack(slot)
    if w == 0 and h == 0:
        return Reply(text_of(name), ts_ms)
    return Hit(text_of(name), ts_ms, cx, cy, w, h, score, edge)
