"""with_imageio.py INPUT OUTPUT: tone-maps a file that imageio reads, for example .hdr, .exr or a 16-bit .tif."""

import sys

import imageio
import selvane

_, source, display = sys.argv
imageio.imwrite(display, selvane.tonemap(imageio.imread(source)))
