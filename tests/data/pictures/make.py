#!/usr/bin/python3
"""Makes the pictures in this folder: four corners in red, green, blue and white, in every form that has a thumbnail.

Takes ImageMagick, libheif-examples, ffmpeg and webp. The pictures are kept, so that no test depends on an encoder.
"""
import pathlib
import struct
import subprocess

folder = pathlib.Path(__file__).parent


def run(*command):
    subprocess.run(command, cwd=folder, check=True)


CORNERS = ["-size", "32x24", "(", "xc:red", "xc:lime", "+append", ")", "(", "xc:blue", "xc:white", "+append", ")",
           "-append", "-depth", "8", "+set", "date:create", "+set", "date:modify", "+set", "date:timestamp"]
# The right half lets half of the background through.
ALPHA = [*CORNERS, "-alpha", "set", "-region", "32x48+32+0", "-channel", "A", "-evaluate", "set", "50%", "+channel",
         "+region"]


def convert(name, *options, picture=CORNERS, form=""):
    run("convert", *picture, *options, form + name)




def exchanged_profile():
    """An ICC.1:2001 profile of a device whose red is what sRGB calls green, and the other way round."""
    def xyz(*numbers):
        return b"XYZ " + bytes(4) + struct.pack(">3i", *(round(number * 65536) for number in numbers))
    curve = b"curv" + bytes(4) + struct.pack(">IH", 1, round(2.2 * 256)) + bytes(2)
    red, green, blue = (0.4360, 0.2225, 0.0139), (0.3851, 0.7169, 0.0971), (0.1431, 0.0606, 0.7139)  # under D50
    description = b"desc" + bytes(4) + struct.pack(">I", 10) + b"exchanged\0" + bytes(78)
    tags = {b"desc": description, b"cprt": b"text" + bytes(4) + b"none\0", b"wtpt": xyz(0.9642, 1, 0.8249),
            b"rXYZ": xyz(*green), b"gXYZ": xyz(*red), b"bXYZ": xyz(*blue),
            b"rTRC": curve, b"gTRC": curve, b"bTRC": curve}
    table, data = struct.pack(">I", len(tags)), b""
    for name, content in tags.items():
        data += bytes(-len(data) % 4)
        table += name + struct.pack(">II", 132 + 12 * len(tags) + len(data), len(content))
        data += content
    size = 128 + len(table) + len(data)
    header = struct.pack(">I4sI4s4s4s", size, bytes(4), 0x02400000, b"mntr", b"RGB ", b"XYZ ") + bytes(12) + b"acsp"
    header += bytes(28) + struct.pack(">3i", 63190, 65536, 54061) + bytes(48)
    return header + table + data


convert("corners.png")
convert("16-bit.png", "-depth", "16")
convert("palette.png", form="png8:")
convert("interlaced.png", "-interlace", "PNG")
convert("alpha.png", picture=ALPHA)
convert("corners.jpg", "-quality", "95")
convert("progressive.jpg", "-quality", "95", "-interlace", "JPEG")
convert("gray.jpg", "-quality", "95", "-colorspace", "Gray")
convert("cmyk.jpg", "-quality", "95", "-colorspace", "CMYK")
convert("corners.gif")
convert("interlaced.gif", "-interlace", "GIF")
convert("transparent.gif", "-transparent", "lime")
run("convert", "-delay", "10", *CORNERS, "(", "+clone", "-negate", ")", "animated.gif")
convert("corners.bmp", form="bmp3:")
convert("os2.bmp", "-type", "TrueColor", form="bmp2:")
convert("alpha.bmp", picture=ALPHA)
convert("run-length.bmp", "-colors", "16", "-compress", "RLE", form="bmp3:")
convert("corners.tif", "-compress", "LZW")
convert("16-bit.tif", "-depth", "16", "-compress", "Zip")
convert("cmyk.tif", "-colorspace", "CMYK", "-depth", "8", "-compress", "Zip")
convert("alpha.tif", "-compress", "Zip", picture=ALPHA)
convert("big-endian.tif", "-endian", "MSB", "-compress", "None")
convert("big.tif", "-compress", "Zip", form="tiff64:")
convert("turned.tif", "-compress", "Zip", "-orient", "RightTop")
convert("corners.webp", "-quality", "95")
convert("alpha.webp", "-define", "webp:lossless=true", picture=ALPHA)
(folder / "exchanged.icc").write_bytes(exchanged_profile())
for name, picture, form, options in (("corners.heic", CORNERS, "png24:", []), ("alpha.heic", ALPHA, "png32:", []),
                                     ("exchanged.heic", CORNERS, "png24:", ["-profile", "exchanged.icc"])):
    convert("colourful.png", *options, picture=picture, form=form)  # the encoder knows no palette
    run("heif-enc", "-q", "95", "colourful.png", "-o", name)
for name in ("exchanged.png", "exchanged.tif", "exchanged.webp"):
    convert(name, "-profile", "exchanged.icc")
(folder / "exchanged.icc").unlink()
(folder / "colourful.png").unlink()
run("ffmpeg", "-loglevel", "error", "-y", "-i", "corners.png", "-c:v", "libaom-av1", "-pix_fmt", "yuv420p", "-crf", "4",
    "-still-picture", "1", "corners.avif")
convert("first.webp", "-define", "webp:lossless=true")
convert("second.webp", "-negate", "-define", "webp:lossless=true")
run("webpmux", "-frame", "first.webp", "+100", "-frame", "second.webp", "+100", "-o", "animated.webp")
for part in ("first.webp", "second.webp"):
    (folder / part).unlink()

# A film, for programs that draw those.
run("ffmpeg", "-loglevel", "error", "-y", "-f", "lavfi", "-i", "testsrc=size=640x480:rate=5:duration=1", "-pix_fmt", "yuv420p",
    "-c:v", "libx264", "-crf", "40", "-fflags", "+bitexact", "-map_metadata", "-1", "film.mp4")
