"""What the backend can have shown: small pictures to itself, and documents to the person at the machine."""
import base64
import pathlib
import shutil
import struct
import unittest

from scene import Scene, wait_for

PICTURES = pathlib.Path(__file__).resolve().parents[1] / "data" / "pictures"
DOCUMENTS = PICTURES.parent / "documents"
EMPTY = {"data_base64": "", "mime": "image/png", "width": 0, "height": 0}


class Show(Scene):
    def thumbnail(self, document, **arguments):
        task = self.backend.run(self.device, "thumbnail", {"document_id": document, **arguments})
        self.assertEqual(task["state"], "done", task)
        return task["result"]

    def share(self, source, name):
        shutil.copy(source, self.shared / name)

    def assertShows(self, result, width, height):
        png = base64.b64decode(result["data_base64"], validate=True)
        self.assertEqual(png[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(struct.unpack(">II", png[16:24]), (width, height))
        self.assertEqual((result["mime"], result["width"], result["height"]), ("image/png", width, height))

    def test_pictures_pages_and_drawings_have_a_thumbnail(self):
        self.share(PICTURES / "corners.heic", "plage.heic")
        self.share(DOCUMENTS / "small.pdf", "lettre.pdf")
        self.write("plan.svg", '<svg xmlns="http://www.w3.org/2000/svg" width="2" height="1"/>')
        self.write("notes.txt", "rien à voir")
        self.start_all()
        self.assertShows(self.thumbnail(self.find("plage", "plage.heic")["id"]), 64, 48)
        letter = self.find("lettre", "lettre.pdf")["id"]
        self.assertShows(self.thumbnail(letter), 181, 256)
        self.assertShows(self.thumbnail(letter, max_edge=16), 45, 64)
        self.assertShows(self.thumbnail(letter, max_edge=300), 362, 512)
        self.assertShows(self.thumbnail(self.find("plan", "plan.svg")["id"], max_edge=64), 128, 64)
        self.assertEqual(self.thumbnail(self.find("notes", "notes.txt")["id"]), EMPTY)

    def test_a_film_has_a_thumbnail_where_a_program_for_it_is_installed(self):
        if not shutil.which("bwrap"):
            self.skipTest("bubblewrap is not installed")
        self.share(PICTURES / "corners.png", "film.mp4")
        folder = self.folder / "data" / "thumbnailers"
        folder.mkdir(parents=True)
        (folder / "film.thumbnailer").write_text(
            "[Thumbnailer Entry]\nTryExec=cat\nExec=sh -c 'exec cat $0 > $1' %i %o\nMimeType=video/mp4;\n", encoding="utf-8")
        self.start_all()
        self.assertShows(self.thumbnail(self.find("film", "film.mp4")["id"]), 64, 48)

    def test_a_document_is_opened_by_its_application(self):
        home = self.folder / "home"
        for folder in (self.folder / "data" / "applications", home / ".config"):
            folder.mkdir(parents=True)
        logger, log = self.folder / "logger", self.folder / "opened"
        logger.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" > {log}.new\nmv {log}.new {log}\n', encoding="utf-8")
        logger.chmod(0o700)
        (self.folder / "data" / "applications" / "logger.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Essai\nExec={logger} %f\n", encoding="utf-8")
        (home / ".config" / "mimeapps.list").write_text(
            "[Default Applications]\ntext/plain=logger.desktop\n", encoding="utf-8")
        path = self.write("Été à Noël.txt", "tulipe")
        self.start_all()
        hit = self.find("tulipe", path.name)
        task = self.backend.run(self.device, "open_document", {"document_id": hit["id"]})
        self.assertEqual((task["state"], task["result"]), ("done", {"ok": True}))
        wait_for(log.exists, "the application is started")
        self.assertEqual(log.read_text(encoding="utf-8"), f"{path}\n")
        path.unlink()
        task = self.backend.run(self.device, "open_document", {"document_id": hit["id"]})
        self.assertEqual((task["state"], task["result"]), ("done", {"ok": False, "error": "open_failed"}))

    def test_a_withdrawn_folder_shows_nothing_any_more(self):
        self.share(PICTURES / "corners.png", "plage.png")
        self.start_all()
        document = self.find("plage", "plage.png")["id"]
        self.client.verb("unshare", self.client.status()["shares"][0]["id"])
        for kind in ("thumbnail", "open_document"):
            task = self.backend.run(self.device, kind, {"document_id": document})
            self.assertEqual((task["state"], task["error_message"]),
                             ("error", "Le document n'est plus dans un dossier partagé."))
            task = self.backend.run(self.device, kind, {"document_id": "00000000-0000-4000-8000-000000000000"})
            self.assertEqual(task["error_message"],
                             "Document introuvable (la session a pu être nettoyée ; relance la recherche).")


if __name__ == "__main__":
    unittest.main()
