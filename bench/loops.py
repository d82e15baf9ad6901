"""The checks that Python programs make instead: take a region of the screen, make it grey, match a template.

  loops.py TEMPLATE X Y WIDTH HEIGHT SECONDS

Prints the processor time of one check for each way to read the screen, as "NAME milliseconds", without what the
X server spends on it; or "missing PACKAGES" for those that cannot run. The template is on the screen: a loop
that does not see it fails.
"""

import ctypes
import sys
import time


def missing(error):
    print("missing", {"cv2": "python3-opencv", "PIL": "python3-pil", "Xlib": "python3-xlib"}.get(
        error.name and error.name.split(".")[0], str(error)))


try:
    import cv2
    import numpy as np
except ImportError as error:
    missing(error)
    sys.exit(0)

template = cv2.imread(sys.argv[1], cv2.IMREAD_GRAYSCALE)
x, y, width, height = (int(each) for each in sys.argv[2:6])
seconds = float(sys.argv[6])
cv2.setNumThreads(1)


def run(name, grey):
    """Checks for the given time, after a warm-up; `grey` returns the region as a grey image."""
    def check():
        scores = cv2.matchTemplate(grey(), template, cv2.TM_SQDIFF_NORMED)
        return cv2.minMaxLoc(scores)
    for _ in range(5):
        least, _, place, _ = check()
    assert least < 0.01, f"{name}: the template is not found, the best place {place} differs by {least}"
    checks, end, start = 0, time.monotonic() + seconds, time.process_time()
    while time.monotonic() < end:
        check()
        checks += 1
    print(f"{name} {1000 * (time.process_time() - start) / checks:.4f}", flush=True)


def grey_of(pixels):
    image = np.frombuffer(pixels, np.uint8).reshape(height, width, 4)
    return cv2.cvtColor(image, cv2.COLOR_BGRA2GRAY)


def shared_memory():
    """XShmGetImage by ctypes: the image arrives in memory shared with the server."""
    class Segment(ctypes.Structure):
        _fields_ = [("number", ctypes.c_ulong), ("id", ctypes.c_int), ("address", ctypes.c_void_p),
                    ("read_only", ctypes.c_int)]

    class Image(ctypes.Structure):  # the part of it that is needed
        _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("offset", ctypes.c_int),
                    ("format", ctypes.c_int), ("data", ctypes.c_void_p)]

    xlib, xext, libc = (ctypes.CDLL(each) for each in ("libX11.so.6", "libXext.so.6", "libc.so.6"))
    pointer = ctypes.c_void_p
    xlib.XOpenDisplay.restype = pointer
    xlib.XDefaultRootWindow.argtypes, xlib.XDefaultRootWindow.restype = [pointer], ctypes.c_ulong
    xlib.XDefaultVisual.argtypes, xlib.XDefaultVisual.restype = [pointer, ctypes.c_int], pointer
    libc.shmat.argtypes, libc.shmat.restype = [ctypes.c_int, pointer, ctypes.c_int], pointer
    xext.XShmCreateImage.argtypes = [pointer, pointer, ctypes.c_uint, ctypes.c_int, pointer, pointer,
                                     ctypes.c_uint, ctypes.c_uint]
    xext.XShmCreateImage.restype = ctypes.POINTER(Image)
    xext.XShmAttach.argtypes = [pointer, pointer]
    xext.XShmGetImage.argtypes = [pointer, ctypes.c_ulong, pointer, ctypes.c_int, ctypes.c_int, ctypes.c_ulong]
    display = xlib.XOpenDisplay(None)
    root = xlib.XDefaultRootWindow(display)
    size = width * height * 4
    segment = Segment()
    segment.id = libc.shmget(0, size, 0o1600)
    segment.address = libc.shmat(segment.id, None, 0)
    image = xext.XShmCreateImage(display, xlib.XDefaultVisual(display, 0), 24, 2, None,
                                 ctypes.byref(segment), width, height)
    image.contents.data = segment.address
    assert xext.XShmAttach(display, ctypes.byref(segment))
    xlib.XSync(pointer(display), 0)
    libc.shmctl(segment.id, 0, None)  # gone with its last user
    memory = (ctypes.c_ubyte * size).from_address(segment.address)

    def grey(_segment=segment):  # the image refers to it
        assert xext.XShmGetImage(display, root, image, x, y, 0xFFFFFF)
        return grey_of(memory)
    return grey


run("shm_ms", shared_memory())
try:
    from Xlib import X, display as xlib_display
    root = xlib_display.Display().screen().root
    run("xlib_ms", lambda: grey_of(root.get_image(x, y, width, height, X.ZPixmap, 0xFFFFFFFF).data))
except ImportError as error:
    missing(error)
try:
    from PIL import ImageGrab
    box = (x, y, x + width, y + height)
    run("pillow_ms", lambda: np.asarray(ImageGrab.grab(box, xdisplay="").convert("L")))
except ImportError as error:
    missing(error)
