#!/usr/bin/python3
"""Makes the pictures in this folder: four corners in red, green, blue and white, in every form that has a thumbnail.

Takes ImageMagick, libheif-examples, ffmpeg and webp. The pictures are kept, so that no test depends on an encoder.
"""
import pathlib
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
for name, picture, form in (("corners.heic", CORNERS, "png24:"), ("alpha.heic", ALPHA, "png32:")):
    convert("colourful.png", picture=picture, form=form)  # the encoder knows no palette
    run("heif-enc", "-q", "95", "colourful.png", "-o", name)
(folder / "colourful.png").unlink()
run("ffmpeg", "-loglevel", "error", "-y", "-i", "corners.png", "-c:v", "libaom-av1", "-pix_fmt", "yuv420p", "-crf", "4",
    "-still-picture", "1", "corners.avif")
convert("first.webp", "-define", "webp:lossless=true")
convert("second.webp", "-negate", "-define", "webp:lossless=true")
run("webpmux", "-frame", "first.webp", "+100", "-frame", "second.webp", "+100", "-o", "animated.webp")
for part in ("first.webp", "second.webp"):
    (folder / part).unlink()
