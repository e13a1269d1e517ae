"""Films on a cluster of two processes: whole, the same bytes, and in bounded memory, also if a worker dies."""

import os
import signal
import subprocess
import threading
import time
from pathlib import Path

import numpy as np
import pytest
import selvane
from conftest import BUILD, make_scene

dask = pytest.importorskip("dask")
distributed = pytest.importorskip("distributed")
selvane_dask = pytest.importorskip("selvane.dask")

os.environ["OPENCV_IO_ENABLE_OPENEXR"] = "1"  # for the workers as well

COMMAND = BUILD / "bin" / "selvane"
FRAMES = 60
ROWS, COLUMNS = 360, 480
FRAME_BYTES = ROWS * COLUMNS * 3 * 4
LOOK = {"preset": "clear", "exposure": 0.5}


def make_film(folder):
    """Light that drifts, a lamp in frame 30 and a cut before frame 45. Returns the names of the files."""
    scene = make_scene(ROWS, COLUMNS)
    files = []
    for i in range(FRAMES):
        frame = scene * np.float32(1 + 0.3 * np.sin(i / 9))
        frame[:30] *= 200 if i == 30 else 1
        files.append(str(folder / f"{i:02}.npy"))
        np.save(files[-1], 50 * frame[:, ::-1] if i >= 45 else frame)
    return files


def frame_by_frame(files):
    """The film as one process renders it."""
    look = selvane.Settings.preset(LOOK["preset"]).replace(exposure=LOOK["exposure"])
    renderer = selvane.Renderer()
    measured = []
    for file in files:
        renderer.settings = look
        renderer.set_picture(np.load(file))
        measured.append(renderer.measure())
    smooth = selvane.smooth(measured)
    assert [i for i, frame in enumerate(smooth) if frame.odd] == [30]
    assert [i for i, frame in enumerate(smooth) if frame.cut] == [45]
    rendered = []
    for file, frame in zip(files, smooth):
        renderer.settings = frame.to_settings(look)
        renderer.set_picture(np.load(file))
        rendered.append(renderer.render())
    return np.stack(rendered)


@pytest.fixture(scope="module")
def film(tmp_path_factory):
    folder = tmp_path_factory.mktemp("film")
    files = make_film(folder)
    return files, frame_by_frame(files)


@pytest.fixture
def client():
    with dask.config.set({"distributed.admin.tick.interval": "1 s"}):
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
            with distributed.Client(cluster) as client:
                yield client


def load(file, marks=None):
    """Reads a frame, and leaves a mark that it did."""
    if marks is not None:
        Path(marks, f"{os.getpid()}-{time.time_ns()}").touch()
    return np.load(file)


def read_by_opencv(file):
    import cv2

    return cv2.imread(str(file), cv2.IMREAD_UNCHANGED)


def peak_bytes():
    """Of this program alone: that of getrusage would begin with the peak of the process which started it."""
    lines = Path("/proc/self/status").read_text().splitlines()
    return 1024 * int(next(line for line in lines if line.startswith("VmHWM:")).split()[1])


def pids(client):
    return client.run(os.getpid)


class Killer(threading.Thread):
    """Kills a worker once there are enough files in a folder."""

    def __init__(self, client, folder, count):
        super().__init__()
        self.pid = sorted(pids(client).values())[0]
        self.folder, self.count = folder, count
        self.killed_at = None

    def run(self):
        while (found := len(list(self.folder.iterdir()))) < self.count:
            time.sleep(0.005)
        os.kill(self.pid, signal.SIGKILL)
        self.killed_at = found


@pytest.mark.parametrize("moment", ["measuring", "rendering"])
def test_a_worker_may_die_and_the_film_is_whole(client, film, tmp_path, moment):
    files, expected = film
    marks, display = tmp_path / "marks", tmp_path / "display"
    marks.mkdir()
    display.mkdir()
    outputs = [display / f"{i:02}.npy" for i in range(FRAMES)]
    killer = Killer(client, marks if moment == "measuring" else display, 20)
    killer.start()
    read = lambda file: load(file, marks)
    names = selvane_dask.tonemap_files(files, outputs, read=read, write=np.save, **LOOK).compute()
    killer.join()

    assert killer.killed_at < FRAMES  # on the way
    assert killer.pid not in pids(client).values()  # another process took its place
    assert names == [str(output) for output in outputs]
    np.testing.assert_array_equal([np.load(name) for name in names], expected)
    reads = [int(mark.name.split("-")[0]) for mark in marks.iterdir()]
    assert len(reads) > 2 * FRAMES and len(set(reads)) > 1  # two passes, some twice, on several workers


def test_the_command_gives_the_same_samples(client, film, tmp_path):
    """`selvane sequence` over the same frames, as files of OpenEXR; a worker of Dask is killed on the way."""
    cv2 = pytest.importorskip("cv2")
    if not COMMAND.exists():
        pytest.skip("a build without the command")
    files, _ = film
    frames, display = [tmp_path / f"{i:02}.exr" for i in range(FRAMES)], tmp_path / "display"
    display.mkdir()
    for file, frame in zip(files, frames):
        assert cv2.imwrite(str(frame), np.load(file)[..., ::-1].copy())
    words = ["--preset", LOOK["preset"], "--exposure", str(LOOK["exposure"]), "--depth", "16", "--quiet"]
    subprocess.run([COMMAND, "sequence", *frames, "--out-dir", tmp_path, "--name", "{stem}.png", *words], check=True)

    killer = Killer(client, display, 20)
    killer.start()
    outputs = [display / f"{i:02}.png" for i in range(FRAMES)]
    options = {"order": "bgr", "dtype": "uint16", **LOOK}
    selvane_dask.tonemap_files(frames, outputs, read=read_by_opencv, write=cv2.imwrite, **options).compute()
    killer.join()
    assert killer.killed_at < FRAMES
    for frame, output in zip(frames, outputs):
        expected = cv2.imread(str(frame.with_suffix(".png")), cv2.IMREAD_UNCHANGED)
        assert expected.dtype == np.uint16
        np.testing.assert_array_equal(cv2.imread(str(output), cv2.IMREAD_UNCHANGED), expected)


class Files:
    """A folder that takes the frames of a Dask array."""

    def __init__(self, folder):
        self.folder = folder

    def __setitem__(self, index, frames):
        np.save(self.folder / f"{index[0].start:02}.npy", frames[0])


def lazy_film(files):
    frames = [dask.array.from_delayed(dask.delayed(np.load)(file), (ROWS, COLUMNS, 3), "f4") for file in files]
    return dask.array.stack(frames)


@pytest.mark.parametrize("form", ["files", "array"])
def test_the_memory_of_a_worker_is_that_of_a_few_frames(client, film, tmp_path, form):
    files, expected = film
    read = {"read": np.load} if form == "files" else {}

    def store(files, folder):
        folder.mkdir()
        lazy = selvane_dask.tonemap(files if read else lazy_film(files), **read, **LOOK)
        assert lazy.shape == (len(files), ROWS, COLUMNS, 3) and lazy.dtype == np.uint8
        lazy.store(Files(folder), lock=False)

    store(files[:4], tmp_path / "warm")  # what the modules and one frame take
    before = client.run(peak_bytes)
    store(files, tmp_path / "display")
    growth = {worker: peak - before[worker] for worker, peak in client.run(peak_bytes).items()}
    print("peak grew by", growth)
    assert len(growth) == 2 and max(growth.values()) < 8 * FRAME_BYTES, growth
    np.testing.assert_array_equal([np.load(tmp_path / "display" / f"{i:02}.npy") for i in range(FRAMES)], expected)


def test_an_array_of_large_blocks_gives_the_same(film):
    files, expected = film
    frames = dask.array.from_array(np.stack([np.load(file) for file in files]), chunks=(7, 100, -1, 2))
    with dask.config.set(scheduler="threads"):
        np.testing.assert_array_equal(selvane_dask.tonemap(frames, **LOOK)[28:33], expected[28:33])


@pytest.mark.parametrize(
    "options, text",
    [({"exposure": 21}, "exposure"), ({"space": "lab"}, "space"), ({"dtype": "int8"}, "int8"), ({"preset": "none"}, "preset")],
)
def test_what_makes_no_sense_is_refused_before_any_worker_begins(options, text):
    frames = dask.array.zeros((3, 9, 9, 3), dtype="f4", chunks=(1, 9, 9, 3))
    with pytest.raises(ValueError, match=text):
        selvane_dask.tonemap(frames, **options)


def test_files_need_a_reader_outputs_and_one_size(tmp_path):
    for i, rows in enumerate((9, 10)):
        np.save(tmp_path / f"{i}.npy", make_scene(rows, 9))
    files = [tmp_path / "0.npy", tmp_path / "1.npy"]
    with pytest.raises(ValueError, match="a function that reads"):
        selvane_dask.tonemap(files)
    with pytest.raises(ValueError, match="2 files and 1 outputs"):
        selvane_dask.tonemap_files(files, ["a"], read=np.load, write=np.save)
    with dask.config.set(scheduler="sync"):
        with pytest.raises(ValueError, match=r"the shape of a frame is \(10, 9, 3\), not \(9, 9, 3\)"):
            selvane_dask.tonemap(files, read=np.load).compute()
        outputs = [tmp_path / "a.npy", tmp_path / "b.npy"]
        selvane_dask.tonemap_files(files, outputs, read=np.load, write=np.save).compute()
    assert [np.load(output).shape for output in outputs] == [(9, 9, 3), (10, 9, 3)]


def test_an_output_that_fails_leaves_nothing_behind(tmp_path):
    np.save(tmp_path / "0.npy", make_scene(9, 9))

    def write(name, pixels):
        Path(name).write_text("half")
        raise OSError("the disk is full")

    (tmp_path / "display").mkdir()
    with dask.config.set(scheduler="sync"), pytest.raises(OSError, match="the disk is full"):
        selvane_dask.tonemap_files([tmp_path / "0.npy"], [tmp_path / "display" / "0.png"], read=np.load, write=write).compute()
    assert list((tmp_path / "display").iterdir()) == []
