"""Pictures of high dynamic range, made fit for display.

One line makes a picture that a screen can show, with settings that suit it:

>>> import numpy, selvane
>>> scene = numpy.geomspace(0.01, 100, 64 * 48 * 3, dtype=numpy.float32).reshape(48, 64, 3)
>>> display = selvane.tonemap(scene)
>>> display.shape, display.dtype
((48, 64, 3), dtype('uint8'))

`scene` is (rows, columns, channels) of uint8, uint16, float16 or float32. Floats are linear light at any scale, as a
reader of OpenEXR or Radiance files gives them. Nothing is copied before it is read, whatever the strides.

Sliders are offsets from the settings that suit the picture; a preset is a set of them:

>>> warmer = selvane.tonemap(scene, preset="clear", exposure=0.5, saturation=10)
>>> sorted(selvane.presets())
['clear', 'dramatic', 'flat', 'interior', 'natural', 'night', 'soft']

A Renderer keeps the picture and computes only what a change needs:

>>> renderer = selvane.Renderer(scene)
>>> suggested = renderer.suggest()                    # what suits the picture; renderer.reasons says why
>>> suggested.automatic
False
>>> renderer.update(exposure=1)
>>> small = renderer.preview(32)                      # for a window, while a slider moves
>>> wide = renderer.render(dtype="float16", output_space="rec2020", linear=True)
>>> base, detail = renderer.base, renderer.detail     # both layers, in powers of ten
>>> round(renderer.report["dynamic_range_stops"])
13

OpenCV's arrays have blue first: `selvane.tonemap(cv2.imread(name, cv2.IMREAD_UNCHANGED), order="bgr")`.

`progress=tqdm(total=100).update` shows a bar, Control-C cancels, and what a person should know of a picture is a
`PictureWarning`. ValueError names a value that makes no sense; MemoryError and RuntimeError are what they say.
`selvane.dask` renders sequences on many machines.

See also: help(selvane.tonemap), help(selvane.Renderer), help(selvane.Settings).
"""

from . import _library
from ._frames import Frame, smooth
from ._renderer import PictureWarning, Renderer, profile, tonemap
from ._report import Report
from ._settings import Settings, presets

__version__: str = _library.library.selvane_version_text().decode()
__all__ = ["Frame", "PictureWarning", "Renderer", "Report", "Settings", "presets", "profile", "smooth", "tonemap"]
