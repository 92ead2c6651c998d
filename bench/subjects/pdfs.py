"""The whole text of PDF documents by a boxed process that is warm, beside one pdftotext process for each."""
import subprocess
import time

from measure import lines_of, median, present

FULL = 300
ROUNDS = 3


def run(bench):
    for count in bench.counts(FULL):
        folder = bench.made("pdfs", count)
        files = sorted(str(path) for path in folder.glob("*.pdf"))
        pages = sum(path.read_bytes().count(b"<</Type/Page/Parent") for path in folder.glob("*.pdf"))
        ours, theirs = [], []
        for _ in range(ROUNDS):  # by turns, so that both meet the same load
            ours.append(pages / lines_of([bench.program("bench", "worker", "pdf_bench"),
                                          bench.program("bin", "vennic-worker"), *files])["read"])
            if present("pdftotext"):
                begun = time.perf_counter()
                for file in files:
                    subprocess.run(["pdftotext", file, "/dev/null"], check=True, close_fds=False)
                theirs.append(pages / (time.perf_counter() - begun))
        bench.line("PDF pages a second", count, median(ours), "pages/s", None, "pdftotext",
                   median(theirs) if theirs else None, 1.3, higher=True)
