"""libselvane as ctypes sees it: its records, its functions, and what a status becomes in Python.

The records mirror selvane.h field by field. A library that is newer than this file may have longer ones; struct_size
tells it which fields are here.
"""

from __future__ import annotations

import ctypes
import os
import weakref
from ctypes import POINTER, byref, c_char_p, c_double, c_float, c_int, c_int32, c_int64, c_size_t, c_ssize_t, c_void_p
from pathlib import Path
from typing import Any, TypeVar

SONAME = "libselvane.so.0"
MOST_POINTS = 16
FRAME_CELLS = 64
STAGES = ("read", "split", "map", "points", "write")

PROGRESS = ctypes.CFUNCTYPE(c_int, c_void_p, c_int, c_float)
NO_PROGRESS = PROGRESS(0)

OK = 0
_ERRORS: dict[int, type[Exception]] = {
    1: ValueError,  # a value that makes no sense
    2: MemoryError,  # the system has none left
    3: MemoryError,  # the limit of the handle is too low
    6: ValueError,  # a text of settings
}


class _Record(ctypes.Structure):
    """A record that begins with its own size."""

    def __init__(self, **fields: Any) -> None:
        super().__init__(struct_size=ctypes.sizeof(self), **fields)


Record = TypeVar("Record", bound=_Record)


class PictureRecord(_Record):
    _fields_ = [
        ("struct_size", c_size_t),
        ("width", c_int32),
        ("height", c_int32),
        ("format", c_int32),
        ("channels", c_int32),
        ("order", c_int32),
        ("primaries", c_int32),
        ("transfer", c_int32),
        ("gamma", c_float),
        ("chromaticities", c_float * 8),
        ("keep_hot_samples", c_int32),
        ("reserved", c_int32),
        ("pixels", c_void_p),
        ("row_stride", c_ssize_t),
        ("pixel_stride", c_ssize_t),
        ("channel_stride", c_ssize_t),
    ]


class PointRecord(ctypes.Structure):
    _fields_ = [("x", c_float), ("y", c_float)]


class CurveRecord(ctypes.Structure):
    _fields_ = [("count", c_int32), ("points", PointRecord * MOST_POINTS)]


class SettingsRecord(_Record):
    _fields_ = [
        ("struct_size", c_size_t),
        ("automatic", c_int32),
        ("wrap", c_int32),
        ("compression", c_float),
        ("smoothness", c_float),
        ("radius", c_float),
        ("adaptation", c_float),
        ("white_clip", c_float),
        ("black_clip", c_float),
        ("exposure", c_float),
        ("contrast", c_float),
        ("saturation", c_float),
        ("points", c_int32),
        ("black_point", c_float),
        ("white_point", c_float),
        ("hue", CurveRecord),
        ("hue_saturation", CurveRecord),
        ("hue_lightness", CurveRecord),
        ("reserved", c_int32),
    ]


class TargetRecord(_Record):
    _fields_ = [
        ("struct_size", c_size_t),
        ("width", c_int32),
        ("height", c_int32),
        ("format", c_int32),
        ("channels", c_int32),
        ("order", c_int32),
        ("space", c_int32),
        ("linear", c_int32),
        ("dither", c_int32),
        ("pixels", c_void_p),
        ("row_stride", c_ssize_t),
        ("pixel_stride", c_ssize_t),
        ("channel_stride", c_ssize_t),
        ("chromaticities", c_float * 8),
    ]


class ReportRecord(_Record):
    _fields_ = [
        ("struct_size", c_size_t),
        ("width", c_int32),
        ("height", c_int32),
        ("visible_pixels", c_int64),
        ("replaced_nan", c_int64),
        ("replaced_negative", c_int64),
        ("replaced_infinite", c_int64),
        ("hot_pixels", c_int64),
        ("log_luminance_min", c_float),
        ("log_luminance_max", c_float),
        ("log_luminance_mean", c_float),
        ("percentiles", c_float * 7),
        ("dynamic_range_stops", c_float),
        ("base_min", c_float),
        ("base_max", c_float),
        ("base_mean", c_float),
        ("detail_min", c_float),
        ("detail_max", c_float),
        ("detail_mean", c_float),
        ("black_point", c_float),
        ("white_point", c_float),
        ("clipped_black", c_float),
        ("clipped_white", c_float),
        ("previews", c_int32),
        ("reserved", c_int32),
        ("milliseconds", c_double * len(STAGES)),
        ("bytes", c_int64),
        ("stage_bytes", c_int64 * len(STAGES)),
        ("filled_samples", c_int64),
    ]


class FrameRecord(_Record):
    _fields_ = [
        ("struct_size", c_size_t),
        ("compression", c_float),
        ("smoothness", c_float),
        ("radius", c_float),
        ("adaptation", c_float),
        ("white_clip", c_float),
        ("black_clip", c_float),
        ("exposure", c_float),
        ("contrast", c_float),
        ("saturation", c_float),
        ("black_point", c_float),
        ("white_point", c_float),
        ("cells", c_float * FRAME_CELLS),
        ("cut", c_int32),
        ("odd", c_int32),
        ("reserved", c_int32),
    ]


_FUNCTIONS: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "selvane_version_text": (c_char_p, ()),
    "selvane_new": (c_void_p, ()),
    "selvane_free": (None, (c_void_p,)),
    "selvane_error": (c_char_p, (c_void_p,)),
    "selvane_set_picture": (c_int, (c_void_p, POINTER(PictureRecord))),
    "selvane_set_settings": (c_int, (c_void_p, POINTER(SettingsRecord))),
    "selvane_get_settings": (c_int, (c_void_p, POINTER(SettingsRecord))),
    "selvane_suggest": (c_int, (c_void_p, POINTER(SettingsRecord))),
    "selvane_effective_settings": (c_int, (c_void_p, POINTER(SettingsRecord))),
    "selvane_settings_to_text": (c_int, (c_void_p, POINTER(SettingsRecord), c_char_p, c_size_t, POINTER(c_size_t))),
    "selvane_settings_from_text": (c_int, (c_void_p, c_char_p, POINTER(SettingsRecord))),
    "selvane_preset": (c_int, (c_void_p, c_char_p, POINTER(SettingsRecord))),
    "selvane_preset_name": (c_char_p, (c_int,)),
    "selvane_preset_description": (c_char_p, (c_int,)),
    "selvane_render": (c_int, (c_void_p, POINTER(TargetRecord))),
    "selvane_preview_size": (c_int, (c_void_p, c_int, POINTER(c_int32), POINTER(c_int32))),
    "selvane_preview": (c_int, (c_void_p, c_int, POINTER(TargetRecord))),
    "selvane_profile": (c_int, (c_int, c_int, POINTER(c_void_p), POINTER(c_size_t))),
    "selvane_get_report": (c_int, (c_void_p, POINTER(ReportRecord))),
    "selvane_reason": (c_char_p, (c_void_p, c_int)),
    "selvane_get_plane": (c_int, (c_void_p, c_int, c_void_p, c_ssize_t)),
    "selvane_measure": (c_int, (c_void_p, POINTER(FrameRecord))),
    "selvane_smooth": (c_int, (c_void_p, POINTER(FrameRecord), POINTER(FrameRecord), c_size_t, c_int)),
    "selvane_frame_to_settings": (c_int, (c_void_p, POINTER(FrameRecord), POINTER(SettingsRecord))),
    "selvane_set_progress": (c_int, (c_void_p, PROGRESS, c_void_p)),
    "selvane_set_threads": (c_int, (c_void_p, c_int)),
    "selvane_set_memory_limit": (c_int, (c_void_p, ctypes.c_uint64)),
}


def _load() -> ctypes.CDLL:
    """Loads the library that lies beside this file, as a wheel and an install have it; else the loader's.

    ImportError: there is none, or it is older than this package."""
    own = Path(__file__).parent / SONAME
    try:
        library = ctypes.CDLL(str(own) if own.exists() else SONAME)
        for name, (result, arguments) in _FUNCTIONS.items():
            function = getattr(library, name)
            function.restype, function.argtypes = result, arguments
    except (OSError, AttributeError) as error:
        raise ImportError(f"selvane needs the library {SONAME}: {error}") from error
    return library


library = _load()


def _free(pointer: int, process: int) -> None:
    """The threads of the library do not follow a fork: in a child its parent's handles stay as they are."""
    if process == os.getpid():
        library.selvane_free(pointer)


class Handle:
    """A handle of libselvane, freed with this object. One thread at a time: the caller sees to that."""

    def __init__(self) -> None:
        self._process = os.getpid()
        self._pointer: int | None = library.selvane_new()
        if self._pointer is None:
            raise MemoryError("the system has no memory left")
        finalizer = weakref.finalize(self, _free, self._pointer, self._process)
        finalizer.atexit = False  # a thread may still be at work when the program ends

    @property
    def pointer(self) -> int | None:
        """The C handle, in the process that made it."""
        if self._process != os.getpid():
            raise RuntimeError("this object was made before the process forked; make a new one here")
        return self._pointer

    def call(self, name: str, *arguments: Any) -> None:
        """Calls a function of selvane.h that gives a status. A failure is raised, with the library's text."""
        status = getattr(library, name)(self.pointer, *arguments)
        if status != OK:
            raise _ERRORS.get(status, RuntimeError)(library.selvane_error(self._pointer).decode())

    def record(self, name: str, record: Record, *arguments: Any) -> Record:
        """Calls a function that fills a record, its last argument."""
        self.call(name, *arguments, byref(record))
        return record
