"""with_openexr.py INPUT.exr OUTPUT.npy: tone-maps a file that the OpenEXR module reads, with the primaries that it names.

The module gives each channel as bytes of its own. They are put one behind the other, and the picture is a view of them
with the channels last: Selvane takes any strides.
"""

import sys

import Imath
import numpy
import OpenEXR
import selvane

_, source, display = sys.argv
file = OpenEXR.InputFile(source)
window = file.header()["dataWindow"]
rows, columns = window.max.y - window.min.y + 1, window.max.x - window.min.x + 1
planes = b"".join(file.channels("RGB", Imath.PixelType(Imath.PixelType.HALF)))
picture = numpy.moveaxis(numpy.frombuffer(planes, "float16").reshape(3, rows, columns), 0, 2)

space = "srgb"
if (named := file.header().get("chromaticities")) is not None:
    space = [(point.x, point.y) for point in (named.red, named.green, named.blue, named.white)]
numpy.save(display, selvane.tonemap(picture, space=space))
