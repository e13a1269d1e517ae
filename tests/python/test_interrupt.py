"""Control-C, by real signals to a real program."""

import os
import signal
import subprocess
import sys

COUNT = 40

PROGRAM = f"""
import numpy, os, selvane, sys, threading
scene = numpy.random.default_rng(1).lognormal(size=(2000, 3000, 3)).astype("float32")
renderer = selvane.Renderer(scene, keep_hot_samples=True)
expected = renderer.render()
radius = 0
for turn in range({COUNT}):
    try:
        print("working", flush=True)
        while True:
            radius = (radius + 0.5) % 10
            renderer.update(radius=radius)
            renderer.render()
    except KeyboardInterrupt:
        print("interrupted", flush=True)
renderer.settings = selvane.Settings()
assert (renderer.render() == expected).all()
assert threading.active_count() == 1
print("right", flush=True)
"""


def start(program):
    return subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def test_each_signal_is_one_keyboard_interrupt_and_the_renderer_stays_right():
    """Signals come at any moment, also between the library's calls and within its callback."""
    program = start(PROGRAM)
    for turn in range(COUNT):
        assert program.stdout.readline() == "working\n"  # it stands where it catches the signal
        try:
            program.wait(0.003 * turn)  # somewhere else in a render each time
        except subprocess.TimeoutExpired:
            pass
        program.send_signal(signal.SIGINT)
        assert program.stdout.readline() == "interrupted\n"
    assert program.stdout.readline() == "right\n"
    assert program.communicate()[1] == "" and program.returncode == 0


ENDLESS = """
import numpy, selvane
from ctypes import byref
from selvane._pixels import target_record
from selvane._settings import _to_record
from selvane._work import Steps

TURNS = 2000
renderer = selvane.Renderer(numpy.random.default_rng(1).uniform(0.01, 10, (300, 400, 3)).astype("float32"))
out = numpy.empty((300, 400, 3), "uint8")
completed = []

def endless(handle):
    '''Ends when the library answers that a call was cancelled.'''
    for turn in range(TURNS):
        handle.call("selvane_set_settings", byref(_to_record(selvane.Settings(radius=turn % 10))))
        handle.call("selvane_render", byref(target_record(out, "rgb", "srgb", False, False)))
        completed.append(turn)
        if turn == 3:
            print("begun", flush=True)

try:
    renderer._owner.run(Steps(None), endless)
except KeyboardInterrupt:
    print("cancelled" if len(completed) < TURNS else "went on", flush=True)
"""


def test_a_signal_cancels_the_call_that_runs():
    program = start(ENDLESS)
    assert program.stdout.readline() == "begun\n"
    program.send_signal(signal.SIGINT)
    assert program.communicate()[0] == "cancelled\n"


TERMINATED = """
import numpy, os, selvane, signal
class Terminated(Exception): pass
def on_signal(number, frame):
    raise Terminated
signal.signal(signal.SIGTERM, on_signal)
renderer = selvane.Renderer(numpy.ones((2000, 3000, 3), "float32"))
try:
    print("ready", flush=True)
    while True:
        renderer.set_picture(numpy.ones((2000, 3000, 3), "float32"))
except Terminated:
    print("terminated", flush=True)
"""


def test_handlers_of_other_signals_cancel_as_well():
    program = start(TERMINATED)
    assert program.stdout.readline() == "ready\n"
    program.send_signal(signal.SIGTERM)
    assert program.communicate()[0] == "terminated\n"
