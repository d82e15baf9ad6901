"""A spec with typed options, and its translation into a command record."""

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
    """Several options at once; those set explicitly override them."""

    FAST = "fast"  # 20 ms, colour, maximum difference 0.2 or more
    STRICT = "strict"  # 200 ms, hue and saturation, maximum difference 0.08 or less; colour decides


# The suffix FPSn makes the worker search every k-th frame, k = 30 / n rounded.
_FRAME_RATES = {2: 15, 3: 10, 4: 7, 5: 6, 6: 5, 8: 4, 10: 3, 15: 2, 30: 1}
# Outside 0 to 1, the worker uses its own limits.
_NO_THRESHOLD = -1.0


@dataclass(frozen=True)
class Spec:
    """A template to search for in a region of a window.

    ``target`` is part of a window's title, or a program's file name ending in ``.exe``, at most 16 UTF-16 units.
    ``name`` is the name in hits: no ``:``, at most 31 units, "red" only if ``red`` is set. ``path`` is the template
    image, at most 64 units; relative paths start at the worker's directory. ``region`` is x, y, width and height in
    pixels of the target's client area.
    """

    target: str
    name: str
    path: Union[str, os.PathLike[str]]
    region: tuple[int, int, int, int]
    # Maximum difference, from 0 to below 1. None: the worker's 0.1.
    max_difference: Optional[float] = None
    # Minimum score (1 minus the difference), above 0.5, at most 1. None: no minimum.
    min_score: Optional[float] = None
    # Minimum edge correlation, -1 to 1; below 0.66 acts as 0.66.
    edge_min: float = 0.75
    mode: Optional[Mode] = None  # None: gray, or the preset's mode
    preset: Optional[Preset] = None
    red: bool = False  # the template is a red object, so its colour counts
    interval_ms: int = 0  # minimum time between searches; 0: search every frame
    every_nth_frame: int = 1  # 2, 3, 4, 5, 6, 8, 10, 15 or 30 exclude all other options
    monitor: int = 0  # 0: all; -1: the primary one; n: the n-th, from 1

    def check(self) -> None:
        """Raises ``Refused`` if it cannot be sent as it is."""
        command_for(self)


def _require(good: bool, what: str, problem: str) -> None:
    if not good:
        raise BadValue(f"{what} {problem}")


def _is_int32(value: int) -> bool:
    return isinstance(value, int) and -(2**31) <= value < 2**31


def _says_red(name: str) -> bool:
    # The worker ignores the case of A to Z only.
    return b"red" in name.encode("utf-8", "surrogatepass").lower()


def _check_name(spec: Spec) -> None:
    _wire.field("name", spec.name, _wire.HIT_NAME_UNITS)
    if ":" in spec.name:
        raise BadText("name must not contain ':'; options have separate fields")
    if not spec.red and _says_red(spec.name):
        raise BadText(
            f"name '{spec.name}' contains \"red\", which makes the worker treat the template as a red object; "
            "set red, or choose another name"
        )


def _limits(spec: Spec) -> tuple[float, str]:
    """The record's threshold and an option word. The threshold is a score above 0.5, otherwise a difference. A
    difference that does not fit becomes an option word, which the worker accepts between 0 and 1, both excluded."""
    threshold, option = _NO_THRESHOLD, ""
    if spec.min_score is not None:
        threshold = float(spec.min_score)
        _require(
            0.5 < threshold <= 1.0 and struct.unpack("<f", struct.pack("<f", threshold))[0] > 0.5,
            "min_score",
            "must be above 0.5 and at most 1; omit it for none",
        )
    if spec.max_difference is None:
        return threshold, option
    difference = float(spec.max_difference)
    _require(0.0 <= difference < 1.0, "max_difference", "must be at least 0 and below 1")
    if spec.min_score is None and spec.preset is None and difference <= 0.5:
        return difference, option
    _require(difference > 0.0, "max_difference", "of 0 cannot be combined with a preset or min_score")
    return threshold, f":sq={Decimal(repr(difference)):f}"


def _options(spec: Spec, difference: str) -> str:
    """The option words. Later ones win, so the preset comes first."""
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
    _require(not options, "every_nth_frame", "cannot be combined with other options")
    rate = _FRAME_RATES.get(spec.every_nth_frame)
    _require(rate is not None, "every_nth_frame", "must be 1, 2, 3, 4, 5, 6, 8, 10, 15 or 30")
    return f":FPS{rate}"


def command_for(spec: Spec) -> bytes:
    """The command that adds the spec. Raises ``Refused``."""
    _check_name(spec)
    _require(len(spec.region) == 4 and all(map(_is_int32, spec.region)), "region", "must be four 32-bit whole numbers")
    x, y, width, height = spec.region
    _require(width >= 1 and height >= 1, "region", "must be at least 1 wide and 1 high")
    _require(-1.0 <= spec.edge_min <= 1.0, "edge_min", "must be between -1 and 1")
    _require(_is_int32(spec.interval_ms) and spec.interval_ms >= 0, "interval_ms", "must be a whole number from 0")
    _require(
        _is_int32(spec.monitor) and spec.monitor >= -1,
        "monitor",
        "must be 0 for all, -1 for the primary one, or a number from 1",
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
    """The command that removes the spec with this name. Raises ``Refused``."""
    units = _wire.field("name", name, _wire.NAME_UNITS)
    if ":" in name:
        raise BadText("name must not include options")
    return _wire.command(_wire.REMOVE, name=units)
