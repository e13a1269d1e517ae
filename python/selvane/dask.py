"""Films on many machines, with Dask.

    import dask.distributed, numpy, selvane.dask

    client = dask.distributed.Client("scheduler:8786")
    files = [f"frames/{i:04}.npy" for i in range(10000)]
    outputs = [f"display/{i:04}.npy" for i in range(10000)]
    selvane.dask.tonemap_files(files, outputs, read=numpy.load, write=numpy.save, exposure=0.5).compute()

Two passes: the first measures every frame, then `selvane.smooth` runs once over what was measured, and the second pass
renders every frame with that. A worker holds one frame for each of its threads. Each pass reads the frames again; only
the measures, some hundred numbers a frame, come together. If a worker dies, Dask does its part again elsewhere, and the
result is the same.
"""

from __future__ import annotations

import os
import uuid
import warnings
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Union

import dask.array
import numpy as np
from dask.array.core import Array as DaskArray
from dask.delayed import Delayed, delayed
from dask.graph_manipulation import bind

from ._frames import Frame, smooth
from ._pixels import Array
from ._renderer import Renderer
from ._settings import Settings

__all__ = ["tonemap", "tonemap_files"]

_array: Any = dask.array  # whose functions have no types

Name = Union[str, "os.PathLike[str]"]

_OF_THE_PICTURE = ("space", "transfer", "order", "keep_hot_samples", "threads", "memory_limit")
_OF_THE_RESULT = ("dtype", "output_space", "linear", "dither", "channels")


@dataclass(frozen=True)
class _Job:
    """What is the same for all frames. Without a shape, each frame may have its own."""

    read: Callable[[Any], Array]
    shape: tuple[int, ...]
    settings: Settings
    picture: dict[str, Any]
    result: dict[str, Any]

    def open(self, source: Any) -> Renderer:
        frame = np.asarray(self.read(source))
        if self.shape and frame.shape != self.shape:
            raise ValueError(f"the shape of a frame is {frame.shape}, not {self.shape} as of the first")
        renderer = Renderer(frame, **self.picture)
        renderer.settings = self.settings
        return renderer


def tonemap(
    frames: DaskArray | Sequence[Name],
    *,
    read: Callable[[Name], Array] | None = None,
    window: int = 0,
    threads: int = 1,
    **options: Any,
) -> DaskArray:
    """Renders a film: a lazy Dask array (frames, rows, columns, channels), one block a frame.

    frames: a Dask array (frames, rows, columns, 3 or 4), which is computed twice; or names of files, with `read`.
    read: gives the array of a file, for example numpy.load; it runs on the workers, and here for the first file.
    window: frames that count for one, as in `selvane.smooth`.
    threads: of libselvane, for each frame; Dask decides how many frames are in work at once.
    options: as in `selvane.tonemap`, but for `out` and `progress`. Sliders are offsets from what suits each frame.

    ValueError: an option makes no sense.
    """
    if isinstance(frames, DaskArray):
        job = _job(_only_frame, frames.shape[1:], threads, options)
        sample = _try(job, frames.dtype)
    elif read is not None:
        first = np.asarray(read(frames[0]))
        job = _job(read, first.shape, threads, options)
        sample = _try(job, first.dtype)
    else:
        raise ValueError("names of files need a function that reads them")
    size = (*job.shape[:2], sample.shape[2])
    rendered = _two_passes(job, frames, window, _render)
    film: DaskArray = _array.stack([_array.from_delayed(frame, size, sample.dtype) for frame in rendered])
    return film


def tonemap_files(
    files: Sequence[Name],
    outputs: Sequence[Name],
    *,
    read: Callable[[Name], Array],
    write: Callable[[str, Array], object],
    window: int = 0,
    threads: int = 1,
    **options: Any,
) -> Delayed:
    """Renders a film from files into files, which all workers reach. Lazy: `compute()` does it and returns the names.

    read: gives the array of a file. write: takes a name and an array. Both run on the workers. An output appears under
    its name when it is whole: it is written beside it, under a hidden name with the same ending.
    The rest is as in `tonemap`.
    """
    if len(files) != len(outputs):
        raise ValueError(f"there are {len(files)} files and {len(outputs)} outputs")
    job = _job(read, (), threads, options)

    def render(job: _Job, source: Any, frames: list[Frame], number: int) -> str:
        return _write(write, outputs[number], _render(job, source, frames, number))

    written: Delayed = delayed(list)(_two_passes(job, files, window, render))
    return written


def _two_passes(job: _Job, sources: Any, window: int, render: Callable[..., Any]) -> list[Delayed]:
    """Measures all, smooths once, and renders each.

    The second pass of an array has tasks of its own and begins after the smoothing: else Dask would keep all frames."""
    measured = [delayed(_measure)(job, source) for source in _one_by_one(sources)]
    smoothed = delayed(smooth)(measured, window)
    if isinstance(sources, DaskArray):
        sources = bind(sources, smoothed)
    return [delayed(render)(job, source, smoothed, number) for number, source in enumerate(_one_by_one(sources))]


def _one_by_one(sources: Any) -> list[Any]:
    if not isinstance(sources, DaskArray):
        return list(sources)
    blocks: list[Any] = _array.rechunk(sources, (1, -1, -1, -1)).to_delayed().ravel().tolist()
    return blocks


def _job(read: Callable[[Any], Array], shape: tuple[int, ...], threads: int, options: dict[str, Any]) -> _Job:
    picture = {name: options.pop(name) for name in _OF_THE_PICTURE if name in options}
    result = {name: options.pop(name) for name in _OF_THE_RESULT if name in options}
    settings = Settings.preset(options.pop("preset", "natural")).replace(**options)
    return _Job(read, shape, settings, {**picture, "threads": threads}, result)


def _try(job: _Job, dtype: Any) -> Array:
    """Renders a grey picture of a few pixels, so that what makes no sense fails here and not on a worker."""
    *sides, channels = job.shape
    renderer = Renderer(np.ones((*(min(side, 4) for side in sides), channels), dtype), **job.picture)
    renderer.settings = job.settings
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return renderer.render(**job.result)


def _only_frame(block: Array) -> Array:
    frame: Array = block[0]
    return frame


def _measure(job: _Job, source: Any) -> Frame:
    return job.open(source).measure()


def _render(job: _Job, source: Any, frames: list[Frame], number: int) -> Array:
    renderer = job.open(source)
    renderer.settings = frames[number].to_settings(job.settings)
    return renderer.render(**job.result)


def _write(write: Callable[[str, Array], object], output: Name, pixels: Array) -> str:
    path = Path(output)
    part = path.with_name(f".{path.stem}-{uuid.uuid4().hex}{path.suffix}")
    try:
        write(str(part), pixels)
        part.replace(path)
    finally:
        part.unlink(missing_ok=True)
    return str(path)
