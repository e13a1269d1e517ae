"""NumPy arrays as libselvane's records: pointers and strides, and a copy only where the library could not read."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from ._library import PictureRecord, TargetRecord

Array = npt.NDArray[Any]
Space = Union[str, Sequence[float], Sequence[Sequence[float]]]

FORMATS = {np.dtype(np.uint8): 1, np.dtype(np.uint16): 2, np.dtype(np.float16): 3, np.dtype(np.float32): 4}
ORDERS = {"rgb": 0, "bgr": 1}
SPACES = {"srgb": 0, "adobe": 1, "prophoto": 2, "display-p3": 3, "rec2020": 4, "aces-ap0": 5, "aces-ap1": 6}
TRANSFERS = {None: 0, "linear": 1, "srgb": 2, "rec2020": 4}
_CUSTOM_PRIMARIES = 100
_POWER = 3


def choice(table: dict[Any, int], value: Any, what: str) -> int:
    """Looks a name up. ValueError lists the names that there are."""
    if value not in table:
        names = ", ".join(repr(name) for name in table)
        raise ValueError(f"{what} is {value!r}, none of {names}")
    return table[value]


def _overlaps(array: Array) -> bool:
    """From the smallest stride to the largest, each has to step over everything that the smaller ones reach."""
    reach = array.itemsize
    for stride, count in sorted((abs(stride), count) for stride, count in zip(array.strides, array.shape) if count > 1):
        if stride < reach:
            return True
        reach += stride * (count - 1)
    return False


def _is_plain(array: Array) -> bool:
    """Whether the library can use the array's memory as it is."""
    return array.dtype.isnative and not _overlaps(array)


def _check_form(array: Array, what: str) -> int:
    """Returns the library's format. ValueError: no rows of pixels of 3 or 4 samples, or samples of another kind."""
    if array.ndim != 3 or array.shape[2] not in (3, 4):
        raise ValueError(f"the shape of {what} is {array.shape}, not (rows, columns, 3 or 4)")
    kind = FORMATS.get(array.dtype.newbyteorder("="))
    if kind is None:
        text = f"{what} has samples of {array.dtype}, not of uint8, uint16, float16 or float32"
        raise ValueError(text + '; astype("float32") converts them' * (array.dtype.kind == "f"))
    return kind


def _memory(array: Array) -> dict[str, Any]:
    row, pixel, channel = array.strides
    return dict(pixels=array.ctypes.data, row_stride=row, pixel_stride=pixel, channel_stride=channel)


def _size(array: Array) -> dict[str, int]:
    return dict(height=array.shape[0], width=array.shape[1], channels=array.shape[2])


def _primaries(space: Space, what: str) -> tuple[int, Array]:
    """Returns the library's number of a space, and its chromaticities if that needs them."""
    if isinstance(space, str):
        return choice(SPACES, space, what), np.zeros(8, np.float32)
    values = np.asarray(space, dtype=np.float32).ravel()
    if values.size != 8:
        raise ValueError(f"{what} has {values.size} chromaticities, not x and y of red, green, blue and white")
    return _CUSTOM_PRIMARIES, values


def _set_transfer(record: PictureRecord, transfer: str | float | None) -> None:
    if isinstance(transfer, (int, float)):
        record.transfer, record.gamma = _POWER, transfer
    else:
        record.transfer = choice(TRANSFERS, transfer, "transfer")


def picture_record(
    array: Array, space: Space, transfer: str | float | None, order: str, keep_hot_samples: bool
) -> tuple[PictureRecord, Array]:
    """Returns the record and the array that owns its memory: the caller's own, unless that had to be copied."""
    kind = _check_form(array, "the picture")
    if not _is_plain(array):
        array = array.astype(array.dtype.newbyteorder("="), order="C")
    primaries, chromaticities = _primaries(space, "space")
    record = PictureRecord(
        format=kind,
        primaries=primaries,
        chromaticities=tuple(chromaticities),
        order=choice(ORDERS, order, "order"),
        keep_hot_samples=int(keep_hot_samples),
        **_size(array),
        **_memory(array),
    )
    _set_transfer(record, transfer)
    return record, array


def target_record(array: Array, order: str, space: Space, linear: bool, dither: bool) -> TargetRecord:
    """The library fills the array's own memory. ValueError: it cannot."""
    kind = _check_form(array, "out")
    if not (_is_plain(array) and array.flags.writeable):
        raise ValueError("out cannot be filled: it is read-only, overlaps itself or has another byte order")
    primaries, chromaticities = _primaries(space, "output_space")
    return TargetRecord(
        format=kind,
        order=choice(ORDERS, order, "order"),
        space=primaries,
        chromaticities=tuple(chromaticities),
        linear=int(linear),
        dither=int(dither),
        **_size(array),
        **_memory(array),
    )


def share_within(array: Array, low: float, high: float) -> float:
    """Share of the colour samples in [low, high], of full scale 1, looked for in at most some 65536 pixels."""
    step = max(1, round((array.shape[0] * array.shape[1] / 65536) ** 0.5))
    scale = np.iinfo(array.dtype).max if array.dtype.kind == "u" else 1
    samples = array[::step, ::step, :3].astype(np.float32) / scale
    return float(np.mean((samples >= low) & (samples <= high)))
