"""The tone mapper."""

from __future__ import annotations

import struct
import sys
import warnings
import zlib
from ctypes import byref, c_int32, c_size_t, c_void_p, string_at
from typing import Any, NoReturn

import numpy as np
import numpy.typing as npt

from ._frames import Frame, to_frame
from ._library import FrameRecord, Handle, ReportRecord, SettingsRecord, library
from ._pixels import SPACES, Array, Space, choice, picture_record, share_within, target_record
from ._report import Report, to_report
from ._settings import Settings, _from_record, _to_record
from ._work import Owner, Progress, Steps

_NO_PICTURE: tuple[int, ...] = (1, 1, 3)  # room for a call that fails
_PLANES = ("luminance", "base", "detail")
_NEARLY = 0.97  # share of the samples
_DARK, _BRIGHT = 8 / 256, 247 / 255  # of full scale
_DARK_LINEAR, _BRIGHT_LINEAR = 0.0024, 0.93  # the same light


class PictureWarning(UserWarning):
    """Something about a picture that a person should know; the result stands."""


class Renderer:
    """A tone mapper that keeps its picture and all intermediate results, and computes only what a change needs.

    >>> import numpy, selvane
    >>> scene = numpy.geomspace(0.01, 100, 64 * 48 * 3, dtype=numpy.float32).reshape(48, 64, 3)
    >>> renderer = selvane.Renderer(scene)
    >>> renderer.render().dtype                         # settings that suit the picture
    dtype('uint8')
    >>> renderer.update(exposure=0.5)                   # half a stop brighter
    >>> renderer.preview(32).shape                      # small and fast, looks like the large one
    (24, 32, 3)
    >>> renderer.report["width"]
    64

    Threads: several Renderers may work on several threads at once; Python's lock is released meanwhile. If two threads
    use one Renderer, the second waits for the first. Its own progress function cannot use it: RuntimeError.

    Control-C, or whatever the progress function raises, cancels a call; the Renderer stays usable. `progress` is called
    with steps of whole per cent, 100 in all, in the caller's thread: `tqdm(total=100).update` fits.
    """

    def __init__(
        self,
        array: npt.ArrayLike | None = None,
        *,
        space: Space = "srgb",
        transfer: str | float | None = None,
        order: str = "rgb",
        keep_hot_samples: bool = False,
        threads: int = 0,
        memory_limit: int = 0,
        progress: Progress = None,
    ) -> None:
        """Takes a picture, if any, as `set_picture` does.

        threads: 1 to 256; 0 for as many as the machine has.
        memory_limit: most bytes to hold; 0 for no limit. MemoryError, before it allocates more.
        """
        self._owner = Owner()
        with self._owner.alone() as handle:
            handle.call("selvane_set_threads", threads)
            handle.call("selvane_set_memory_limit", memory_limit)
        self._shape = _NO_PICTURE
        self._order = "rgb"
        if array is not None:
            self._read(Steps(progress), array, space, transfer, order, keep_hot_samples)

    def __reduce__(self) -> NoReturn:
        raise TypeError("a Renderer cannot be copied or pickled")

    def __repr__(self) -> str:
        if self._shape is _NO_PICTURE:
            return "<selvane.Renderer without a picture>"
        rows, columns, channels = self._shape
        return f"<selvane.Renderer of {columns} x {rows} pixels, {channels} channels>"

    # ---- Picture in

    def set_picture(
        self,
        array: npt.ArrayLike,
        *,
        space: Space = "srgb",
        transfer: str | float | None = None,
        order: str = "rgb",
        keep_hot_samples: bool = False,
        progress: Progress = None,
    ) -> None:
        """Takes another picture; settings stay. The library reads the array's memory where it lies, and keeps no
        reference to it.

        array: (rows, columns, 3 or 4) of uint8, uint16, float16 or float32, with any strides. A fourth channel is
            alpha: it reaches the output untouched, and pixels with alpha 0 count in no statistic. Copied before only if
            its samples overlap (numpy.broadcast_to) or have a foreign byte order.
        space: "srgb", "adobe", "prophoto", "display-p3", "rec2020", "aces-ap0" or "aces-ap1"; or the chromaticities x
            and y of red, green, blue and white.
        transfer: "linear", "srgb", "rec2020", or a gamma above 0 and at most 10; None: linear for floats, and the
            space's own curve for integers.
        order: "rgb", or "bgr" as OpenCV has it.
        keep_hot_samples: leave single samples that outshine everything else, and dark ones around lights.

        PictureWarning: samples were NaN, negative or infinite, or hot pixels were lowered. ValueError: a value that
        makes no sense. MemoryError. The Renderer then keeps the picture that it had.
        """
        self._read(Steps(progress), array, space, transfer, order, keep_hot_samples)

    def _read(
        self,
        steps: Steps,
        array: npt.ArrayLike,
        space: Space,
        transfer: str | float | None,
        order: str,
        keep_hot_samples: bool,
    ) -> None:
        record, pixels = picture_record(np.asarray(array), space, transfer, order, keep_hot_samples)

        def read(handle: Handle) -> Report:
            handle.call("selvane_set_picture", byref(record))
            self._shape, self._order = pixels.shape, order
            return to_report(handle.record("selvane_get_report", ReportRecord()))

        _warn_of_samples(self._owner.run(steps, read))

    # ---- Settings

    @property
    def settings(self) -> Settings:
        """The settings of the next render. ValueError: a value is out of its range; the settings stay as they were."""
        with self._owner.alone() as handle:
            return _from_record(handle.record("selvane_get_settings", SettingsRecord()))

    @settings.setter
    def settings(self, settings: Settings) -> None:
        with self._owner.alone() as handle:
            handle.call("selvane_set_settings", byref(_to_record(settings)))

    def update(self, **changes: Any) -> None:
        """Changes some of the settings: `renderer.update(exposure=0.5)`."""
        self.settings = self.settings.replace(**changes)

    def suggest(self, progress: Progress = None) -> Settings:
        """Looks at the picture and returns the settings that suit it, with automatic False. The second call takes no
        time. `reasons` says why."""
        return self._settings_of("selvane_suggest", progress)

    @property
    def effective(self) -> Settings:
        """The settings that a render uses: the suggestion with the offsets, with automatic False."""
        return self._settings_of("selvane_effective_settings", None)

    def _settings_of(self, name: str, progress: Progress) -> Settings:
        return _from_record(self._owner.run(Steps(progress), lambda handle: handle.record(name, SettingsRecord())))

    @property
    def reasons(self) -> list[str]:
        """The sentences of the suggestion's rule that decided; empty before a suggestion."""
        found: list[str] = []
        with self._owner.alone() as handle:
            while (text := library.selvane_reason(handle.pointer, len(found))) is not None:
                found.append(text.decode())
        return found

    # ---- Pictures out

    def render(
        self,
        *,
        dtype: npt.DTypeLike = np.uint8,
        output_space: Space = "srgb",
        linear: bool = False,
        dither: bool = False,
        order: str | None = None,
        channels: int | None = None,
        out: Array | None = None,
        progress: Progress = None,
    ) -> Array:
        """Renders the picture with the present settings: (rows, columns, channels).

        dtype: uint8, uint16, float16 or float32; floats are 0 to 1.
        output_space: as `space` of `set_picture`. `selvane.profile` has the ICC profiles of the first five.
        linear: samples stay linear; else they are encoded with the space's curve. ACES and chromaticities have none.
        dither: 8-bit samples are dithered by an ordered pattern.
        order, channels: None for those of the picture. A fourth channel has the picture's alpha, or the largest value.
        out: an array to fill and return, with any strides; it decides dtype and channels.

        PictureWarning: the result is nearly black or nearly white. If the call fails, `out` holds nothing useful.
        """
        return self._render(Steps(progress), dtype, output_space, linear, dither, order, channels, out)

    def _render(
        self,
        steps: Steps,
        dtype: npt.DTypeLike,
        output_space: Space,
        linear: bool,
        dither: bool,
        order: str | None,
        channels: int | None,
        out: Array | None,
    ) -> Array:
        def render(handle: Handle) -> Array:
            target = self._new(self._shape[:2], dtype, channels) if out is None else out
            record = target_record(target, order or self._order, output_space, linear, dither)
            handle.call("selvane_render", byref(record))
            return target

        rendered = self._owner.run(steps, render)
        _warn_of_emptiness(rendered, linear)
        return rendered

    def preview(
        self,
        longest_side: int = 1024,
        *,
        dtype: npt.DTypeLike = np.uint8,
        output_space: Space = "srgb",
        linear: bool = False,
        dither: bool = False,
        order: str | None = None,
        channels: int | None = None,
        progress: Progress = None,
    ) -> Array:
        """Renders a small picture that looks like the large one, never larger than it. The rest is as in `render`. The
        first call with a size reduces the picture; later ones compute what changed."""

        def preview(handle: Handle) -> Array:
            width, height = c_int32(), c_int32()
            handle.call("selvane_preview_size", longest_side, byref(width), byref(height))
            target = self._new((height.value, width.value), dtype, channels)
            record = target_record(target, order or self._order, output_space, linear, dither)
            handle.call("selvane_preview", longest_side, byref(record))
            return target

        return self._owner.run(Steps(progress), preview)

    def _new(self, size: tuple[int, ...], dtype: npt.DTypeLike, channels: int | None) -> Array:
        return np.empty((*size, self._shape[2] if channels is None else channels), dtype)

    def _repr_png_(self) -> bytes:
        """A notebook shows the preview."""
        return _png(self.preview(768, order="rgb", channels=3))

    # ---- What was seen

    @property
    def report(self) -> Report:
        """What the Renderer knows of its picture and its latest render: a dict, which a notebook shows as a table."""
        with self._owner.alone() as handle:
            return to_report(handle.record("selvane_get_report", ReportRecord()))

    def measure(self, progress: Progress = None) -> Frame:
        """Measures the picture as a frame of a film, with the present settings. `selvane.smooth` takes all frames, and
        `Frame.to_settings` gives the settings of each. A render that follows takes the results."""
        return to_frame(self._owner.run(Steps(progress), lambda handle: handle.record("selvane_measure", FrameRecord())))

    @property
    def luminance(self) -> npt.NDArray[np.float32]:
        """Logarithm to the base 10 of the picture's luminance, (rows, columns)."""
        return self._plane("luminance")

    @property
    def base(self) -> npt.NDArray[np.float32]:
        """The smooth part of `luminance`."""
        return self._plane("base")

    @property
    def detail(self) -> npt.NDArray[np.float32]:
        """What `base` leaves of `luminance`."""
        return self._plane("detail")

    def _plane(self, name: str) -> npt.NDArray[np.float32]:
        def copy(handle: Handle) -> npt.NDArray[np.float32]:
            values = np.empty(self._shape[:2], np.float32)
            handle.call("selvane_get_plane", _PLANES.index(name), values.ctypes.data, values.strides[0])
            return values

        return self._owner.run(Steps(None), copy)


def tonemap(
    array: npt.ArrayLike,
    *,
    space: Space = "srgb",
    transfer: str | float | None = None,
    order: str = "rgb",
    keep_hot_samples: bool = False,
    dtype: npt.DTypeLike = np.uint8,
    output_space: Space = "srgb",
    linear: bool = False,
    dither: bool = False,
    channels: int | None = None,
    out: Array | None = None,
    threads: int = 0,
    memory_limit: int = 0,
    progress: Progress = None,
    preset: str = "natural",
    **settings: Any,
) -> Array:
    """Makes a picture of high dynamic range fit for display.

    >>> import numpy, selvane
    >>> scene = numpy.geomspace(0.01, 100, 64 * 48 * 3, dtype=numpy.float32).reshape(48, 64, 3)
    >>> display = selvane.tonemap(scene)                                  # settings that suit the picture
    >>> brighter = selvane.tonemap(scene, exposure=0.5, preset="clear")   # from there
    >>> display.shape, display.dtype
    ((48, 64, 3), dtype('uint8'))

    array, space, transfer, order, keep_hot_samples: the picture, as in `Renderer.set_picture`.
    dtype, output_space, linear, dither, channels, out: the result, as in `Renderer.render`. Its order is the picture's.
    threads, memory_limit, progress: as in `Renderer`. The first half of the progress is reading, the second rendering.
    preset: the settings to begin with; settings: those that differ, by their names in `Settings`.
    """
    renderer = Renderer(threads=threads, memory_limit=memory_limit)
    renderer.settings = Settings.preset(preset).replace(**settings)
    steps = Steps(progress, parts=2)
    renderer._read(steps, array, space, transfer, order, keep_hot_samples)
    return renderer._render(steps, dtype, output_space, linear, dither, order, channels, out)


def profile(space: str, linear: bool = False) -> bytes:
    """Returns the ICC profile of an output space."""
    data, size = c_void_p(), c_size_t()
    number = choice(SPACES, space, "space")
    if library.selvane_profile(number, int(linear), byref(data), byref(size)) != 0:
        raise ValueError(f"there is no profile of {space!r}")
    return string_at(data.value or 0, size.value)


def _warn(text: str) -> None:
    """Names the line that called this package."""
    level, frame = 1, sys._getframe()
    while frame.f_back is not None and frame.f_globals.get("__name__", "").partition(".")[0] == __package__:
        level, frame = level + 1, frame.f_back
    warnings.warn(text, PictureWarning, level)


def _warn_of_samples(report: Report) -> None:
    kinds = {"NaN": "replaced_nan", "negative": "replaced_negative", "infinite": "replaced_infinite"}
    found = [f"{report[key]} {kind}" for kind, key in kinds.items() if report[key]]
    if found:
        _warn(f"samples were replaced: {', '.join(found)}")
    if report["hot_pixels"]:
        _warn(f"{report['hot_pixels']} hot pixels were lowered; keep_hot_samples=True leaves them")


def _warn_of_emptiness(out: Array, linear: bool) -> None:
    dark, bright = (_DARK_LINEAR, _BRIGHT_LINEAR) if linear else (_DARK, _BRIGHT)
    if share_within(out, 0, dark) > _NEARLY:
        _warn("the picture is nearly black; try exposure=2, or look at the input")
    if share_within(out, bright, 1) > _NEARLY:
        _warn("the picture is nearly white; try exposure=-2, or look at the input")


def _png(pixels: Array) -> bytes:
    """The smallest PNG file of (rows, columns, 3) bytes: one filter, one chunk of data."""

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows, columns, _ = pixels.shape
    lines = np.zeros((rows, 1 + 3 * columns), np.uint8)  # each begins with its filter, 0
    lines[:, 1:] = pixels.reshape(rows, -1)
    header = struct.pack(">IIBBBBB", columns, rows, 8, 2, 0, 0, 0)
    data = zlib.compress(lines.tobytes())
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b"")
