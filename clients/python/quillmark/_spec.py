"""A spec as a controller thinks of it, and its translation into the record that says the same."""

from __future__ import annotations

import os
import struct
from dataclasses import dataclass
from decimal import Decimal
from enum import Enum
from typing import Optional, Union

from . import _wire
from ._errors import BadText, BadValue


class Mode(Enum):
    """What is compared."""

    GRAY = "gray"
    BGR = "bgr"
    S = "s"
    H = "h"
    HS = "hs"


class Preset(Enum):
    """Several options at once; options of one's own have the last word."""

    FAST = "fast"  # 20 ms, colour, difference of at least 0.2
    STRICT = "strict"  # 200 ms, hue and saturation, difference of at most 0.08, colour decides


# The worker takes every k-th frame for the suffix FPSn, k = 30 / n rounded.
_FRAME_RATES = {2: 15, 3: 10, 4: 7, 5: 6, 6: 5, 8: 4, 10: 3, 15: 2, 30: 1}
# Outside 0 to 1 the worker keeps its own limits.
_NO_THRESHOLD = -1.0


@dataclass(frozen=True)
class Spec:
    """A template to look for in a region of a window.

    ``target`` is a part of a window's title, or the file name of a program that ends in ``.exe``, at most 16
    UTF-16 units. ``name`` is what its hits are called: no ``:`` in it, at most 31 units, and "red" only with
    ``red`` set. ``path`` is the template image, at most 64 units; a relative one starts at the worker's
    directory. ``region`` is x, y, width and height in pixels of the target's client area.
    """

    target: str
    name: str
    path: Union[str, os.PathLike[str]]
    region: tuple[int, int, int, int]
    # Largest accepted difference, 0 to 1, 1 excluded. None: the worker's 0.1.
    max_difference: Optional[float] = None
    # Smallest accepted score (1 less the difference), above 0.5 to 1. None: none.
    min_score: Optional[float] = None
    # Smallest accepted edge correlation, -1 to 1; below 0.66 acts as 0.66.
    edge_min: float = 0.75
    mode: Optional[Mode] = None  # None: grey, or what the preset prefers
    preset: Optional[Preset] = None
    red: bool = False  # the template is a red object, its colour takes part in the decision
    interval_ms: int = 0  # search at most once in so many ms; 0: whenever there is a frame
    every_nth_frame: int = 1  # 2, 3, 4, 5, 6, 8, 10, 15 or 30, and then no other option
    monitor: int = 0  # 0: all; -1: the primary one; n: the n-th, from 1

    def check(self) -> None:
        """Raises ``Refused`` when it cannot be sent as it stands."""
        command_for(self)


def _require(good: bool, what: str, problem: str) -> None:
    if not good:
        raise BadValue(f"{what} {problem}")


def _is_int32(value: int) -> bool:
    return isinstance(value, int) and -(2**31) <= value < 2**31


def _says_red(name: str) -> bool:
    # The worker lowers the letters A to Z alone.
    return b"red" in name.encode("utf-8", "surrogatepass").lower()


def _check_name(spec: Spec) -> None:
    _wire.field("name", spec.name, _wire.HIT_NAME_UNITS)
    if ":" in spec.name:
        raise BadText("name must not hold ':'; options have fields of their own")
    if not spec.red and _says_red(spec.name):
        raise BadText(
            f"name '{spec.name}' contains \"red\", which makes the worker treat the template as a red object; "
            "set red, or choose another name"
        )


def _limits(spec: Spec) -> tuple[float, str]:
    """The record's one threshold, which above 0.5 is a score and else a difference, and an option word for
    the difference that cannot go there, which the worker takes between 0 and 1, both excluded."""
    threshold, option = _NO_THRESHOLD, ""
    if spec.min_score is not None:
        threshold = float(spec.min_score)
        _require(
            0.5 < threshold <= 1.0 and struct.unpack("<f", struct.pack("<f", threshold))[0] > 0.5,
            "min_score",
            "must be above 0.5 and at most 1; leave it out for none",
        )
    if spec.max_difference is None:
        return threshold, option
    difference = float(spec.max_difference)
    _require(0.0 <= difference < 1.0, "max_difference", "must be at least 0 and below 1")
    if spec.min_score is None and spec.preset is None and difference <= 0.5:
        return difference, option
    _require(difference > 0.0, "max_difference", "of 0 cannot go together with a preset or with min_score")
    return threshold, f":sq={Decimal(repr(difference)):f}"


def _options(spec: Spec, difference: str) -> str:
    """From left to right, so the preset comes first and leaves the last word to the others."""
    options = f":{spec.preset.value}" if spec.preset else ""
    workers_own = spec.mode is Mode.GRAY and spec.preset is None
    if spec.mode and not workers_own:
        options += f":mode={spec.mode.value}"
    if spec.interval_ms:
        options += f":ms{spec.interval_ms}"
    options += difference
    if spec.monitor:
        options += ":mon=primary" if spec.monitor == -1 else f":mon={spec.monitor}"
    if spec.red and not _says_red(spec.name):
        options += ":red"
    if spec.every_nth_frame == 1:
        return options
    _require(not options, "every_nth_frame", "cannot go together with another option")
    rate = _FRAME_RATES.get(spec.every_nth_frame)
    _require(rate is not None, "every_nth_frame", "must be 1, 2, 3, 4, 5, 6, 8, 10, 15 or 30")
    return f":FPS{rate}"


def command_for(spec: Spec) -> bytes:
    """The slot that adds the spec. Raises ``Refused``."""
    _check_name(spec)
    _require(len(spec.region) == 4 and all(map(_is_int32, spec.region)), "region", "must be four 32-bit whole numbers")
    x, y, width, height = spec.region
    _require(width >= 1 and height >= 1, "region", "must be at least 1 wide and 1 high")
    _require(-1.0 <= spec.edge_min <= 1.0, "edge_min", "must lie between -1 and 1")
    _require(_is_int32(spec.interval_ms) and spec.interval_ms >= 0, "interval_ms", "must be a whole number from 0")
    _require(
        _is_int32(spec.monitor) and spec.monitor >= -1,
        "monitor",
        "must be 0, -1 for the primary one, or a number from 1",
    )
    threshold, difference = _limits(spec)
    return _wire.command(
        _wire.SPEC,
        _wire.field("target", spec.target, _wire.TARGET_UNITS),
        _wire.field("name with its options", spec.name + _options(spec, difference), _wire.NAME_UNITS),
        _wire.field("path", os.fspath(spec.path), _wire.PATH_UNITS),
        (x, y, width, height),
        spec.edge_min,
        threshold,
    )


def removal_of(name: str) -> bytes:
    """The slot that removes the spec of this name. Raises ``Refused``."""
    units = _wire.field("name", name, _wire.NAME_UNITS)
    if ":" in name:
        raise BadText("name must be the one without options")
    return _wire.command(_wire.REMOVE, name=units)
