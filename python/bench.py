"""How long does a person wait for a preview, and how fast is a film on a cluster of this machine's cores?

    python3 bench.py preview             24 megapixels, from a moved setting to the new preview
    python3 bench.py film FOLDER [N]     N frames of 24 megapixels, half floats in .npy files: a loop, and Dask
"""

from __future__ import annotations

import os
import pickle
import statistics
import sys
import time
from collections.abc import Callable
from pathlib import Path

import numpy as np
import selvane

ROWS, COLUMNS = 4000, 6000
TURNS = 15
CHANGES = {
    "exposure": [0.1, 0.2],
    "saturation": [5, 10],
    "white_clip": [3, 6],
    "compression": [-10, -5],
    "radius": [1, 2],
}


def scene(seed: int) -> np.ndarray:
    """Coloured light over ten stops with fine noise."""
    generator = np.random.default_rng(seed)
    y, x = np.mgrid[0:ROWS, 0:COLUMNS].astype("float32")
    light = 10 ** (1.5 * np.sin(x / 900) * np.cos(y / 700))
    picture = light[..., None] * generator.uniform(0.8, 1.2, (ROWS, COLUMNS, 1)).astype("float32")
    return (picture * np.array([1, 0.85, 0.6], "float32")).astype("float16")


def seconds(work: Callable[[], object]) -> float:
    begin = time.perf_counter()
    work()
    return time.perf_counter() - begin


def processor_seconds() -> float:
    """Of this process and of those that it started and that have ended."""
    times = os.times()
    return times.user + times.system + times.children_user + times.children_system


def report(what: str, frames: int, work: Callable[[], float]) -> None:
    begin = processor_seconds()
    took = work()
    print(f"{what}: {took:.1f} s, {took / frames:.2f} s a frame, {(processor_seconds() - begin) / frames:.2f} s of a processor")


def bench_preview() -> None:
    picture = scene(1)
    renderer = selvane.Renderer()
    print(f"set_picture, first preview: {1e3 * seconds(lambda: renderer.set_picture(picture)):.0f} ms,", end=" ")
    print(f"{1e3 * seconds(lambda: renderer.preview(1024)):.0f} ms")
    for what, call in {"preview 1024": renderer.preview, "preview 2048": lambda: renderer.preview(2048), "render": renderer.render}.items():
        for name, values in CHANGES.items():
            times = []
            for turn in range(TURNS):
                renderer.update(**{name: values[turn % 2]})
                times.append(seconds(call))
            print(f"{what:14} {name:12} best {1e3 * min(times[1:]):7.1f} ms, median {1e3 * statistics.median(times[1:]):7.1f} ms")


def make_film(folder: Path, count: int) -> list[str]:
    folder.mkdir(parents=True, exist_ok=True)
    files = [str(folder / f"{i:04}.npy") for i in range(count)]
    for i, file in enumerate(files):
        if not os.path.exists(file):
            np.save(file, scene(i % 4))
    return files


def loop(files: list[str], outputs: list[str], threads: int) -> None:
    """One frame after the other, in this process."""
    renderer = selvane.Renderer(threads=threads)
    measured = []
    for file in files:
        renderer.settings = selvane.Settings()
        renderer.set_picture(np.load(file))
        measured.append(renderer.measure())
    for file, output, frame in zip(files, outputs, selvane.smooth(measured)):
        renderer.settings = frame.to_settings()
        renderer.set_picture(np.load(file))
        np.save(output, renderer.render())


def on_cluster(files: list[str], outputs: list[str], workers: int) -> float:
    """Seconds without those that the processes take to begin."""
    import distributed
    import selvane.dask

    with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            film = selvane.dask.tonemap_files(files, outputs, read=np.load, write=np.save)
            return seconds(film.compute)


def bench_film(folder: Path, count: int) -> None:
    files = make_film(folder, count)
    (folder / "display").mkdir(exist_ok=True)
    outputs = [str(folder / "display" / os.path.basename(file)) for file in files]
    for threads in (1, 2):
        report(f"loop, {threads} threads", count, lambda: seconds(lambda: loop(files, outputs, threads)))
    expected = [np.load(output) for output in outputs[:2]]
    for workers in (1, 2):
        report(f"Dask, {workers} processes of one thread", count, lambda: on_cluster(files, outputs, workers))
    measures = count * [selvane.Renderer(np.load(files[0])).measure()] * (10000 // count)
    print(f"smoothing {len(measures)} frames: {seconds(lambda: selvane.smooth(measures)):.2f} s, {len(pickle.dumps(measures[0]))} bytes a frame")
    assert all((np.load(output) == wanted).all() for output, wanted in zip(outputs, expected))


if __name__ == "__main__":
    if sys.argv[1:] == ["preview"]:
        bench_preview()
    elif sys.argv[1:2] == ["film"]:
        bench_film(Path(sys.argv[2]), int(sys.argv[3]) if len(sys.argv) > 3 else 16)
    else:
        sys.exit(__doc__)
