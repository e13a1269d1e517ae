"""Threads and processes: many Renderers at once, one Renderer from many threads, and forks."""

import ctypes
import multiprocessing
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
import selvane
from conftest import make_scene
from selvane._pixels import picture_record

EXPOSURES = [k / 4 for k in range(8)]


def test_many_renderers_on_many_threads_give_the_same_bytes(scene):
    expected = [selvane.tonemap(scene, exposure=exposure) for exposure in EXPOSURES]
    with ThreadPoolExecutor(8) as threads:
        results = list(threads.map(lambda exposure: selvane.tonemap(scene, exposure=exposure), 4 * EXPOSURES))
    for result, wanted in zip(results, 4 * expected):
        np.testing.assert_array_equal(result, wanted)


def test_one_renderer_from_many_threads_serves_one_after_the_other():
    """Each thread sets pictures of a size of its own, and sees some thread's whole picture."""
    renderer = selvane.Renderer(make_scene(30, 30))
    expected = {size: selvane.tonemap(make_scene(size, size + 1)) for size in range(30, 62, 4)}
    expected[30] = renderer.render()

    def work(size):
        for _ in range(20):
            renderer.set_picture(make_scene(size, size + 1) if size > 30 else make_scene(30, 30))
            result = renderer.render()
            np.testing.assert_array_equal(result, expected[len(result)])
            assert renderer.base.shape[0] in expected
            assert renderer.preview(16).shape[2] == 3
            assert renderer.report["height"] in expected
        return size

    with ThreadPoolExecutor(8) as threads:
        assert sorted(threads.map(work, expected)) == sorted(expected)


def test_other_threads_run_while_the_library_works():
    """Python takes its lock from no thread here, so others run only while the library's caller has released it."""
    record, _ = picture_record(make_scene(2000, 3000), "srgb", None, "rgb", False)
    renderer = selvane.Renderer()
    ticks, stop = [0], threading.Event()

    def tick():
        while not stop.is_set():
            ticks[0] += 1
            time.sleep(1e-4)

    thread = threading.Thread(target=tick)
    thread.start()
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    with renderer._owner.alone() as handle:  # on this thread, without a callback
        before = ticks[0]
        handle.call("selvane_set_picture", ctypes.byref(record))
        during = ticks[0] - before
    sys.setswitchinterval(interval)
    stop.set()
    thread.join()
    assert during > 0


def test_a_thread_that_waits_for_the_renderer_can_be_cancelled():
    """Its progress function cannot run yet, so it is cancelled as Control-C would do it, by the mark of its call."""
    from selvane._work import Steps, _Call

    renderer = selvane.Renderer(make_scene())
    waiting = _Call(renderer._owner, lambda handle: pytest.fail("the call was cancelled before it began"))
    with renderer._owner.lock:
        thread = threading.Thread(target=waiting._work)
        thread.start()
        waiting.cancelled = True
        thread.join()
    assert waiting._failure is None
    assert renderer.render().shape == (90, 120, 3)


def child_of_fork(renderer, scene, results):
    try:
        renderer.render()
        results.put("used")
    except RuntimeError as error:
        results.put(str(error))
    results.put(selvane.tonemap(scene).tobytes())
    del renderer


def test_a_child_of_a_fork_makes_renderers_of_its_own(scene):
    renderer = selvane.Renderer(scene)
    expected = renderer.render()
    fork = multiprocessing.get_context("fork")
    results = fork.SimpleQueue()
    child = fork.Process(target=child_of_fork, args=(renderer, scene, results))
    child.start()
    assert results.get() == "this object was made before the process forked; make a new one here"
    assert results.get() == expected.tobytes()
    child.join()
    assert child.exitcode == 0
    np.testing.assert_array_equal(renderer.render(), expected)


def test_renderers_are_freed(scene):
    import gc
    import weakref

    renderer = selvane.Renderer(scene)
    with pytest.raises(ValueError):
        renderer.render(dtype="int8")
    handle = weakref.ref(renderer._owner.handle)
    del renderer
    gc.collect()
    assert handle() is None


def test_a_program_ends_while_a_thread_works(run_python):
    text = """
import numpy, selvane, threading
renderer = selvane.Renderer(numpy.random.default_rng(1).uniform(0.01, 10, (2000, 3000, 3)).astype("float32"))
begun = threading.Event()
def work():
    while True:
        renderer.update(radius=(renderer.settings.radius + 1) % 10)
        renderer.render(progress=lambda step: begun.set())
threading.Thread(target=work, daemon=True).start()
begun.wait()
print("ended")
"""
    for turn in range(5):
        assert run_python(text, stderr=subprocess.STDOUT) == "ended\n"
