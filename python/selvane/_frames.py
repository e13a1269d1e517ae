"""Frames of a film: what is measured of each, and its smoothing over time."""

from __future__ import annotations

from collections.abc import Sequence
from ctypes import byref
from dataclasses import dataclass, fields
from typing import Any

from ._library import FRAME_CELLS, FrameRecord, Handle
from ._settings import Settings, _from_record, _to_record


@dataclass(frozen=True)
class Frame:
    """What decides the look of a frame: small, and fit to travel between machines.

    The sliders are those of `Settings` as they stand; black_point and white_point are luminances; cells are the mean
    logarithm of luminance of 8 x 8 parts of the picture. `smooth` writes cut, whether a new shot begins here, and odd,
    whether the frame was left out of the means.
    """

    compression: float = 0.0
    smoothness: float = 0.0
    radius: float = 0.0
    adaptation: float = 0.0
    white_clip: float = 0.0
    black_clip: float = 0.0
    exposure: float = 0.0
    contrast: float = 0.0
    saturation: float = 0.0
    black_point: float = 0.0
    white_point: float = 0.0
    cells: tuple[float, ...] = (0.0,) * FRAME_CELLS
    cut: bool = False
    odd: bool = False

    def to_settings(self, settings: Settings = Settings()) -> Settings:
        """Returns the settings that render this frame. `settings` gives what a frame does not hold: wrap and curves."""
        record = _to_record(settings)
        Handle().call("selvane_frame_to_settings", byref(_to_frame_record(self)), byref(record))
        return _from_record(record)


def smooth(frames: Sequence[Frame], window: int = 0) -> list[Frame]:
    """Smooths the frames of a film, which stand in the order of time, each shot for itself.

    >>> lamp = [Frame(white_point=1.0 + 4.0 * (i == 5)) for i in range(12)]        # shines in frame 5
    >>> {frame.white_point for frame in smooth(lamp)}, smooth(lamp)[5].odd
    ({1.0}, True)

    window: frames that count for one, 1 to 100000, as many before it as behind it; 1 smooths nothing, 0 is 25.
    """
    records = (FrameRecord * len(frames))(*map(_to_frame_record, frames))
    Handle().call("selvane_smooth", records, records, len(frames), window)
    return [to_frame(record) for record in records]


def _to_frame_record(frame: Frame) -> FrameRecord:
    values: dict[str, Any] = {field.name: getattr(frame, field.name) for field in fields(frame)}
    return FrameRecord(**values)


def to_frame(record: FrameRecord) -> Frame:
    values: dict[str, Any] = {field.name: getattr(record, field.name) for field in fields(Frame)}
    values.update(cells=tuple(record.cells), cut=bool(record.cut), odd=bool(record.odd))
    return Frame(**values)
