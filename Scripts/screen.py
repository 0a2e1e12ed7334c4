"""A virtual screen (Xvfb), and pictures of it."""

import os
import pathlib
import struct
import subprocess
import tempfile
import zlib


class Screen:
    def __init__(self, width, height):
        self.memory = tempfile.TemporaryDirectory()
        ready, ready_end = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(ready_end), "-screen", "0", f"{width}x{height}x24", "-fbdir", self.memory.name, "-nocursor",
             "-nolisten", "tcp"], pass_fds=[ready_end], stderr=subprocess.DEVNULL)
        os.close(ready_end)
        with os.fdopen(ready) as number:
            self.environment = {**os.environ, "DISPLAY": ":" + number.readline().strip(), "QT_QPA_PLATFORM": "xcb"}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()
        self.memory.cleanup()

    def press(self, key):
        subprocess.run(["xdotool", "key", key], env=self.environment, check=True)

    def save(self, path):
        """Xvfb keeps its memory in a file: an X window dump (X11/XWDFile.h) with four bytes a pixel, blue first."""
        dump = (pathlib.Path(self.memory.name) / "Xvfb_screen0").read_bytes()
        header = struct.unpack(">25I", dump[:100])
        width, height, line = header[4], header[5], header[12]
        begin = header[0] + header[19] * 12  # after the colour map
        lines = []
        for y in range(height):
            pixels = dump[begin + y * line:begin + y * line + width * 4]
            rgb = bytearray(width * 3)
            rgb[0::3], rgb[1::3], rgb[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
            lines.append(b"\0" + bytes(rgb))
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(png(width, height, b"".join(lines)))


def png(width, height, lines):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))
