"""with_opencv.py INPUT OUTPUT: tone-maps a file that OpenCV reads, for example .hdr, .exr or a 16-bit .png or .tif.

OpenCV has blue first; order="bgr" says so, and the result has it, too.
"""

import os
import sys

os.environ["OPENCV_IO_ENABLE_OPENEXR"] = "1"  # before cv2: it reads .exr on request only
import cv2
import selvane

_, source, display = sys.argv
picture = cv2.imread(source, cv2.IMREAD_UNCHANGED)
if picture is None:
    sys.exit(f"{source}: OpenCV cannot read it")
cv2.imwrite(display, selvane.tonemap(picture, order="bgr"))
