"""The text of scanned pages at 200 dpi by a boxed process that is warm, beside one tesseract process for each page, which
gets the same languages, the same engine and one thread: more of them make it slower."""
import os
import subprocess
import time

from measure import lines_of, median, present

FULL = 20
ROUNDS = 3
COMMAND = ["-l", "fra+eng", "--oem", "1", "--psm", "3"]


def pages(bench, count):
    """Pictures of the first pages of PDF documents, drawn now unless an earlier run did."""
    documents = sorted(bench.made("pdfs", count).glob("*.pdf"))
    drawn = []
    for document in documents:
        picture = document.with_suffix(".png")
        if not picture.exists():
            subprocess.run(["pdftoppm", "-r", "200", "-l", "1", "-png", "-singlefile", str(document),
                            str(picture.with_suffix(""))], check=True)
        drawn.append(str(picture))
    return drawn


def seconds_by_tesseract(pictures):
    begun = time.perf_counter()
    for picture in pictures:
        subprocess.run(["tesseract", picture, "stdout", *COMMAND], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, env={**os.environ, "OMP_THREAD_LIMIT": "1"})
    return time.perf_counter() - begun


def run(bench):
    if not present("pdftoppm"):
        bench.missing.append("pdftoppm")
        return
    for count in bench.counts(FULL):
        pictures = pages(bench, max(count, 1))
        ours, theirs = [], []
        for _ in range(1 if bench.quick else ROUNDS):  # by turns, so that both meet the same load
            ours.append(lines_of([bench.program("bench", "worker", "ocr_bench"),
                                  bench.program("bin", "vennic-picture-worker"), *pictures])["recognised"])
            if present("tesseract"):
                theirs.append(seconds_by_tesseract(pictures))
        bench.line("OCR of a page at 200 dpi", len(pictures), median(ours) / len(pictures), "s", None, "tesseract",
                   median(theirs) / len(pictures) if theirs else None, most=1.05)
