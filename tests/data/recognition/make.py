#!/usr/bin/env python3
"""Makes the HEIC files of this folder: groff, pdftoppm, ImageMagick and heif-enc (libheif-examples) draw and encode the
tile, which says "Note de frais" and "Total 42 euros"; the rest is standard library.

    note.heic   one picture
    grid.heic   a grid of one column and two rows, each of them that picture
"""
import pathlib
import struct
import subprocess
import tempfile

HERE = pathlib.Path(__file__).parent


def encoded_tile():
    with tempfile.TemporaryDirectory() as folder:
        at = pathlib.Path(folder)
        (at / "t.ms").write_text(".nr PO 0.5c\n.nr PS 14\n.nr VS 22\n.LP\nNote de frais\n.br\nTotal 42 euros\n")
        (at / "t.pdf").write_bytes(subprocess.run(["groff", "-Tpdf", "-ms", at / "t.ms"], check=True, capture_output=True).stdout)
        subprocess.run(["pdftoppm", "-r", "150", "-png", "-singlefile", at / "t.pdf", at / "t"], check=True)
        subprocess.run(["convert", at / "t.png", "-trim", "+repage", "-gravity", "center", "-extent", "448x128", "-colorspace",
                        "sRGB", "-type", "TrueColor", at / "c.png"], check=True)
        subprocess.run(["heif-enc", "-q", "40", at / "c.png", "-o", at / "c.heic"], check=True, capture_output=True)
        return (at / "c.heic").read_bytes()


def boxes(data, start=0):
    """(type, body) of each box."""
    while start < len(data):
        size, kind = struct.unpack(">I4s", data[start:start + 8])
        yield kind, data[start + 8:start + size]
        start += size


def box(kind, body):
    return struct.pack(">I4s", len(body) + 8, kind) + body


def full(kind, body, version=0, flags=0):
    return box(kind, struct.pack(">I", version << 24 | flags) + body)


def grid_of(tile):
    top = dict(boxes(tile))
    meta = dict(boxes(top[b"meta"], 4))
    properties = dict(boxes(dict(boxes(meta[b"iprp"]))[b"ipco"]))
    width, height = struct.unpack(">II", properties[b"ispe"][4:12])
    coded = top[b"mdat"]

    def item(number, kind):
        return full(b"infe", struct.pack(">HH4sB", number, 0, kind, 0), version=2)

    ipco = box(b"ipco", full(b"ispe", struct.pack(">II", width, 2 * height)) + full(b"ispe", struct.pack(">II", width, height)) +
               box(b"hvcC", properties[b"hvcC"]))
    ipma = full(b"ipma", struct.pack(">I", 2) + struct.pack(">HBB", 1, 1, 1) + struct.pack(">HBBB", 2, 2, 2, 0x80 | 3))
    layout = struct.pack(">BBBBHH", 0, 0, 1, 0, width, 2 * height)  # version, flags, rows - 1, columns - 1, size

    def made(offset):
        iloc = full(b"iloc", struct.pack(">BBH", 0x44, 0x00, 2) + struct.pack(">HHHHII", 1, 1, 0, 1, 0, len(layout)) +
                    struct.pack(">HHHHII", 2, 0, 0, 1, offset, len(coded)), version=1)
        parts = [full(b"hdlr", struct.pack(">I4s12xB", 0, b"pict", 0)), full(b"pitm", struct.pack(">H", 1)),
                 full(b"iinf", struct.pack(">H", 2) + item(1, b"grid") + item(2, b"hvc1")),
                 full(b"iref", box(b"dimg", struct.pack(">HHHH", 1, 2, 2, 2))), box(b"iprp", ipco + ipma),
                 box(b"idat", layout), iloc]
        head = box(b"ftyp", b"heic\0\0\0\0mif1heic") + full(b"meta", b"".join(parts))
        return head + box(b"mdat", coded), len(head) + 8

    _, offset = made(0)
    return made(offset)[0]


tile = encoded_tile()
(HERE / "note.heic").write_bytes(tile)
(HERE / "grid.heic").write_bytes(grid_of(tile))
