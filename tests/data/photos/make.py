#!/usr/bin/python3
"""Makes dated.heic and dated.avif: 64 by 48 pixels, taken 2024-07-14 12:30:45.678 +02:00 at 48°51'30"N 2°17'40"E.

Needs ImageMagick and heif-enc (libheif-examples)."""
import pathlib
import struct
import subprocess
import tempfile


def text(tag, value):
    return tag, 2, len(value) + 1, value + b"\0"


def place(tag, degrees, minutes, seconds):
    return tag, 5, 3, b"".join(struct.pack("<II", value, 1) for value in (degrees, minutes, seconds))


def directory(entries, at):
    """One TIFF directory whose first byte stands at `at`."""
    out, data = struct.pack("<H", len(entries)), b""
    behind = at + 2 + 12 * len(entries) + 4
    for tag, kind, count, value in entries:
        if len(value) <= 4:
            out += struct.pack("<HHI", tag, kind, count) + value.ljust(4, b"\0")
        else:
            out += struct.pack("<HHII", tag, kind, count, behind + len(data))
            data += value + b"\0" * (len(value) % 2)
    return out + b"\0\0\0\0" + data


def exif():
    photo = [text(0x9003, b"2024:07:14 12:30:45"), text(0x9011, b"+02:00"), text(0x9291, b"678")]
    gps = [text(1, b"N"), place(2, 48, 51, 30), text(3, b"E"), place(4, 2, 17, 40)]
    at = 8 + 2 + 24 + 4
    photo_block = directory(photo, at)
    links = [(0x8769, 4, 1, struct.pack("<I", at)), (0x8825, 4, 1, struct.pack("<I", at + len(photo_block)))]
    return b"II*\0" + struct.pack("<I", 8) + directory(links, 8) + photo_block + directory(gps, at + len(photo_block))


here = pathlib.Path(__file__).parent
with tempfile.TemporaryDirectory() as folder:
    picture = pathlib.Path(folder, "picture.jpg")
    subprocess.run(["convert", "-size", "64x48", "gradient:red-blue", picture], check=True)
    plain = picture.read_bytes()
    block = b"Exif\0\0" + exif()
    picture.write_bytes(plain[:2] + b"\xff\xe1" + struct.pack(">H", len(block) + 2) + block + plain[2:])
    subprocess.run(["heif-enc", picture, "-o", here / "dated.heic"], check=True)
    subprocess.run(["heif-enc", "-A", picture, "-o", here / "dated.avif"], check=True)
