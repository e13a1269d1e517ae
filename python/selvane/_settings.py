"""The settings of a tone mapper."""

from __future__ import annotations

import dataclasses
from collections.abc import Sequence
from ctypes import byref, c_float, c_size_t, create_string_buffer
from dataclasses import dataclass, fields
from typing import Any

import numpy as np

from ._library import MOST_POINTS, CurveRecord, Handle, PointRecord, SettingsRecord, library

Points = Sequence[Sequence[float]]

_CURVES = ("hue", "hue_saturation", "hue_lightness")
_SWITCHES = ("automatic", "wrap")
_POINTS = ("measured", "given")


def _as_single(value: float) -> float:
    """The shortest decimal number that gives the same 32-bit float, so that 0.1 stays 0.1 in the library and back."""
    return float(str(np.float32(c_float(value).value)))


@dataclass(frozen=True)
class Settings:
    """Everything that decides how a picture looks. It does not change: `replace` makes another one.

    >>> brighter = Settings(exposure=0.5)
    >>> brighter.replace(saturation=20).to_toml()
    'exposure = 0.5\\nsaturation = 20.0\\n'

    With `automatic`, the usual case, the sliders are added to those that suit the picture (`Renderer.suggest`): all at 0
    give the suggested picture, and exposure 0.5 is half a stop brighter than that. Without it they stand as they are.

    A curve over hue is a list of at most 16 points (hue, value). Hue is 0 for red, 1/3 green, 2/3 blue, 1 red again;
    the value is 0 to 1, and 0.5 changes nothing:

    >>> no_green = Settings(hue_saturation=[(0.2, 0.5), (1 / 3, 0.0), (0.5, 0.5)])

    Values are stored as 32-bit floats. Their ranges are checked where a Renderer takes them: ValueError names the value.

    automatic       Add the sliders to the suggestion.
    wrap            Left and right edge touch, as in a panorama of 360 degrees.
    compression     -100 to 100: strength of the global compression.
    smoothness      -10 to 10: edge tolerance of the base layer.
    radius          -10 wide to 10 fine: size of what counts as detail.
    adaptation      0 to 100, automatic also below: bends both layers around their means.
    white_clip      0 to 100 for 0 to 5 per cent of the pixels, automatic also below.
    black_clip      0 to 100 per cent of the pixels, automatic also below.
    exposure        -20 to 20 stops.
    contrast        -100 to 100.
    saturation      -100 grey to 100.
    points          "measured": black and white point come from the picture and the clips; "given": from black_point, white_point.
    black_point     Luminance that becomes black, as the report gives it.
    white_point     Luminance that becomes white, above black_point.
    hue             Shift of hue: 0 half the circle back, 1 half the circle on.
    hue_saturation  Saturation: 0 grey, 1 double.
    hue_lightness   Lightness: 0 dark, 1 double; weaker the paler the colour.
    """

    automatic: bool = True
    wrap: bool = False
    compression: float = 0.0
    smoothness: float = 0.0
    radius: float = 0.0
    adaptation: float = 0.0
    white_clip: float = 0.0
    black_clip: float = 0.0
    exposure: float = 0.0
    contrast: float = 0.0
    saturation: float = 0.0
    points: str = "measured"
    black_point: float = 0.0
    white_point: float = 0.0
    hue: Points = ()
    hue_saturation: Points = ()
    hue_lightness: Points = ()

    def __post_init__(self) -> None:
        if self.points not in _POINTS:
            raise ValueError(f'points is neither "measured" nor "given": {self.points!r}')
        for name in _CURVES:
            points = tuple((_as_single(x), _as_single(y)) for x, y in getattr(self, name))
            object.__setattr__(self, name, points)
        for name in _SWITCHES:
            object.__setattr__(self, name, bool(getattr(self, name)))
        for field in fields(self):
            if isinstance(field.default, float):
                object.__setattr__(self, field.name, _as_single(getattr(self, field.name)))

    def replace(self, **changes: Any) -> Settings:
        """Returns these settings with some values changed. TypeError: there is no such setting."""
        return dataclasses.replace(self, **changes)

    @classmethod
    def preset(cls, name: str) -> Settings:
        """Returns a preset: one of `selvane.presets()`, or NAME.toml in ~/.config/selvane/presets, which comes first."""
        return _from_record(Handle().record("selvane_preset", SettingsRecord(), name.encode()))

    @classmethod
    def from_toml(cls, text: str) -> Settings:
        """Reads settings as `selvane tonemap --settings` and presets have them. ValueError names line and key."""
        if "\0" in text:
            raise ValueError("the text has a zero character")
        return _from_record(Handle().record("selvane_settings_from_text", SettingsRecord(), text.encode()))

    def to_toml(self) -> str:
        """Writes a line for each value that is not the default. Reading gives the same settings."""
        handle, record, size = Handle(), _to_record(self), c_size_t()
        handle.call("selvane_settings_to_text", byref(record), None, 0, byref(size))
        text = create_string_buffer(size.value)
        handle.call("selvane_settings_to_text", byref(record), text, size, None)
        return text.value.decode()


def presets() -> dict[str, str]:
    """Returns the presets of the library: name and what it is for.

    >>> list(presets())
    ['natural', 'clear', 'soft', 'dramatic', 'interior', 'night', 'flat']
    """
    found: dict[str, str] = {}
    while (name := library.selvane_preset_name(len(found))) is not None:
        found[name.decode()] = library.selvane_preset_description(len(found)).decode()
    return found


def _to_curve(points: Points) -> CurveRecord:
    """Too many points keep their count, which the library refuses by name."""
    curve = CurveRecord(count=len(points))
    for i, (x, y) in enumerate(points[:MOST_POINTS]):
        curve.points[i] = PointRecord(x, y)
    return curve


def _to_record(settings: Settings) -> SettingsRecord:
    values: dict[str, Any] = {field.name: getattr(settings, field.name) for field in fields(settings)}
    values.update({name: _to_curve(values[name]) for name in _CURVES})
    values["points"] = _POINTS.index(settings.points)
    return SettingsRecord(**values)


def _from_record(record: SettingsRecord) -> Settings:
    values: dict[str, Any] = {field.name: getattr(record, field.name) for field in fields(Settings)}
    for name in _CURVES:
        curve = values[name]
        values[name] = [(point.x, point.y) for point in curve.points[: curve.count]]
    values["points"] = _POINTS[record.points]
    return Settings(**values)
