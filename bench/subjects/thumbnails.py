"""Thumbnails of 256 pixels by a boxed process that is warm, beside one process of the peer for each: photos of twelve
megapixels, screenshots, and the first pages of PDF documents."""
import subprocess
import time

from measure import lines_of, median, present

EDGE = "256"
FULL = 100
ROUNDS = 3

PHOTO = ["-size", "4000x3000", "plasma:tomato-steelblue"]
# Each form: the size of its pictures as ImageMagick makes them, the ending, the peer's name and its command.
FORMS = {
    "JPEG photos": (PHOTO, "jpg", "ffmpegthumbnailer"),
    "PNG photos": (PHOTO, "png", "ffmpegthumbnailer"),
    "WebP photos": (PHOTO, "webp", "ffmpegthumbnailer"),
    "TIFF photos": (PHOTO, "tif", "ffmpegthumbnailer"),
    "HEIC photos": (PHOTO, "heic", "heif-thumbnailer"),
    "SVG drawings": (None, "svg", "rsvg-convert"),
}


def peer_command(peer, file, out):
    return {
        "ffmpegthumbnailer": ["ffmpegthumbnailer", "-i", file, "-o", out, "-s", EDGE],
        "heif-thumbnailer": ["heif-thumbnailer", "-s", EDGE, file, out],
        "rsvg-convert": ["rsvg-convert", "-w", EDGE, "-h", EDGE, "--keep-aspect-ratio", "-o", out, file],
        "pdftoppm": ["pdftoppm", "-png", "-singlefile", "-scale-to", EDGE, file, out.removesuffix(".png")],
    }[peer]


def compare(bench, figure, files, peer):
    out = str(bench.scratch("thumbnails") / "peer.png")
    ours, theirs = [], []
    for _ in range(ROUNDS):  # by turns, so that both meet the same load
        ours.append(lines_of([bench.program("bench", "worker", "thumbnail_bench"),
                              bench.program("bin", "vennic-picture-worker"), EDGE, *files])["drawn"])
        if present(peer):
            begun = time.perf_counter()
            for file in files:
                subprocess.run(peer_command(peer, file, out), check=True, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, close_fds=False)
            theirs.append(time.perf_counter() - begun)
    each = 1000 / len(files)
    bench.line(figure, len(files), median(ours) * each, "ms each", None, peer,
               median(theirs) * each if theirs else None, 1)


def drawing(number):
    shapes = "".join(f'<circle cx="{i * 37 % 400}" cy="{i * 53 % 300}" r="{5 + i % 30}" fill="hsl({i * 7 + number},80%,50%)"'
                     f' stroke="black"/>' for i in range(300))
    return f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 400 300">{shapes}<text y="40">n° {number}</text></svg>'


def made(bench, ending, count, picture):
    """Files of that form, kept from run to run."""
    folder = bench.corpus / f"thumbnails-{ending}-{count}"
    folder.mkdir(parents=True, exist_ok=True)
    files = [folder / f"{i}.{ending}" for i in range(count)]
    for i, file in enumerate(files):
        if file.exists():
            continue
        if picture is None:
            file.write_text(drawing(i), encoding="utf-8")
        elif ending == "heic":
            subprocess.run(["convert", "-seed", str(i), *picture, "-depth", "8", "png24:" + str(file) + ".png"], check=True)
            subprocess.run(["heif-enc", "-q", "70", str(file) + ".png", "-o", str(file)], check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            (folder / (file.name + ".png")).unlink()
        else:
            subprocess.run(["convert", "-seed", str(i), *picture, "-depth", "8", "-quality", "85", str(file)], check=True)
    return [str(file) for file in files]


def run(bench):
    for count in bench.counts(FULL):
        pdfs = sorted(str(path) for path in bench.made("pdfs", count).glob("*.pdf"))
        compare(bench, "first page of a PDF", pdfs, "pdftoppm")
        for figure, (picture, ending, peer) in FORMS.items():
            makers = ["convert"] if picture else []
            if ending == "heic":
                makers.append("heif-enc")
            if all(present(maker) for maker in makers):
                # Pictures take long to make; a tenth of the PDFs' number says as much.
                compare(bench, figure, made(bench, ending, max(count // 10, 1), picture), peer)
            else:
                bench.say(f"{figure} left out: {' or '.join(makers)} is missing")
