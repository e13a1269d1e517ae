"""Long calls: on a thread of their own, while the caller waits where Python can interrupt it.

A signal reaches Python code at any instruction, also within the few that would catch it in a callback of the library,
where it would be lost. So the callback only passes numbers on, and everything that can raise runs in the caller's
thread: the handler of Control-C and the progress function. What they raise cancels the call and reaches the caller.
"""

from __future__ import annotations

import _thread
import atexit
import os
import threading
import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from queue import Empty, SimpleQueue
from typing import Any, Generic, Optional, TypeVar

from ._library import NO_PROGRESS, PROGRESS, Handle, library

Result = TypeVar("Result")
Progress = Optional[Callable[[int], object]]

_PATIENCE = 0.1  # seconds between two looks at whether a wait is over


class Owner:
    """A handle and who works with it: one call at a time. A second thread waits."""

    def __init__(self) -> None:
        self.handle = Handle()
        self.lock = threading.Lock()
        self.callers: set[int] = set()

    def check_caller(self) -> None:
        if threading.get_ident() in self.callers:
            raise RuntimeError("the Renderer is at work: its progress function cannot use it")

    @contextmanager
    def alone(self) -> Iterator[Handle]:
        """For calls that take no time."""
        self.check_caller()
        with self.lock:
            yield self.handle

    def run(self, steps: Steps, work: Callable[[Handle], Result]) -> Result:
        """For calls that take their time: does the work alone, and tells the steps how far it is."""
        self.check_caller()
        self.callers.add(threading.get_ident())
        try:
            return _Call(self, work).wait(steps)
        finally:
            self.callers.discard(threading.get_ident())


class _Call(Generic[Result]):
    """One call. Its thread holds all that the library reads and writes, and the lock, until the library is through."""

    def __init__(self, owner: Owner, work: Callable[[Handle], Result]) -> None:
        self._owner, self._do = owner, work
        self._shares: SimpleQueue[float] = SimpleQueue()
        self._results: list[Result] = []
        self._failure: BaseException | None = None
        self._begun = self._ended = self.cancelled = False

    def wait(self, steps: Steps) -> Result:
        try:
            _thread.start_new_thread(self._work, ())
            while not self._ended:
                steps.to(self._next_share())
        except BaseException:
            self._cancel()
            raise
        if self._failure is not None:
            raise self._failure
        steps.end_part()
        return self._results[0]

    def _next_share(self) -> float:
        try:
            return self._shares.get(timeout=_PATIENCE)
        except Empty:
            return 0.0

    def _cancel(self) -> None:
        """Returns when the library is through. A thread that has not begun yet will see the mark and do nothing."""
        self.cancelled = True
        while self._begun and not self._ended:
            try:
                self._next_share()
            except KeyboardInterrupt:
                pass  # another one: the call is being cancelled

    def _work(self) -> None:
        self._begun = True
        _running.calls.add(self)
        try:
            if self._enter():
                self._call()
        except BaseException as failure:
            self._failure = failure
        if _running.closed:
            self._failure = SystemExit()  # which ends a thread without a word
        self._ended = True
        _running.calls.discard(self)
        self._shares.put(0.0)  # wakes the caller

    def _enter(self) -> bool:
        while not (self.cancelled or _running.closed):
            if self._owner.lock.acquire(timeout=_PATIENCE):
                return True
        return False

    def _call(self) -> None:
        handle = self._owner.handle
        on_progress = PROGRESS(self._on_progress)
        try:
            library.selvane_set_progress(handle.pointer, on_progress, None)
            self._results.append(self._do(handle))
        finally:
            library.selvane_set_progress(handle.pointer, NO_PROGRESS, None)
            self._owner.lock.release()

    def _on_progress(self, user: object, stage: int, share: float) -> int:
        self._shares.put(share)
        return int(self.cancelled)


class _Running:
    """The calls that run. None may outlast Python: it would stop their thread in the callback, amid the library."""

    def __init__(self) -> None:
        self.calls: set[_Call[Any]] = set()
        self.closed = False
        os.register_at_fork(after_in_child=self.calls.clear)
        atexit.register(self._close)

    def _close(self) -> None:
        self.closed = True
        while self.calls:
            for call in list(self.calls):
                call.cancelled = True
            time.sleep(0.01)


_running = _Running()


class Steps:
    """Turns shares of calls into steps of whole per cent, 100 for all of them, as tqdm.update takes them."""

    def __init__(self, progress: Progress, parts: int = 1) -> None:
        self._progress, self._parts = progress, parts
        self._part = self._done = 0

    def to(self, share: float) -> None:
        """Goes to a share, 0 to 1, of the present part. Never back."""
        step = int(100 * (self._part + share) / self._parts) - self._done
        if self._progress is not None and step > 0:
            self._done += step
            self._progress(step)

    def end_part(self) -> None:
        self._part += 1
        self.to(0.0)
