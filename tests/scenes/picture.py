"""Pictures of a few pixels that say when and where they were taken."""
import struct


def _text(tag, value):
    value = value.encode() + b"\0"
    return tag, 2, len(value), value


def _degrees(tag, value):
    return tag, 5, 3, struct.pack("<6I", round(abs(value) * 1_000_000), 1_000_000, 0, 1, 0, 1)


def _directory(entries, at):
    """A TIFF directory whose first byte stands at `at`."""
    head, data = struct.pack("<H", len(entries)), b""
    behind = at + 2 + 12 * len(entries) + 4
    for tag, kind, count, value in entries:
        head += struct.pack("<HHI", tag, kind, count)
        if len(value) <= 4:
            head += value.ljust(4, b"\0")
        else:
            head += struct.pack("<I", behind + len(data))
            data += value + b"\0" * (len(value) % 2)
    return head + b"\0\0\0\0" + data


def _exif(taken, offset, place):
    photo = [_text(tag, value) for tag, value in ((0x9003, taken), (0x9011, offset)) if value]
    gps = []
    if place:
        gps = [_text(1, "N" if place[0] >= 0 else "S"), _degrees(2, place[0]),
               _text(3, "E" if place[1] >= 0 else "W"), _degrees(4, place[1])]
    at = 8 + 2 + 2 * 12 + 4
    shot = _directory(photo, at)
    links = [(0x8769, 4, 1, struct.pack("<I", at)), (0x8825, 4, 1, struct.pack("<I", at + len(shot)))]
    return b"II*\0" + struct.pack("<I", 8) + _directory(links, 8) + shot + _directory(gps, at + len(shot))


def jpeg(taken=None, offset=None, place=None):
    """A JPEG file: `taken` as in "2024:07:14 12:30:45", `offset` as in "+02:00", `place` in degrees north and east."""
    block = b"Exif\0\0" + _exif(taken, offset, place)
    segment = b"\xff\xe1" + struct.pack(">H", len(block) + 2) + block
    frame = b"\xff\xc0" + struct.pack(">HBHHB", 11, 8, 2, 3, 1) + b"\x01\x11\0"
    scan = b"\xff\xda" + struct.pack(">H", 8) + b"\x01\x01\0\0\x3f\0" + b"\x12\x34\x56"
    return b"\xff\xd8" + segment + frame + scan + b"\xff\xd9"
