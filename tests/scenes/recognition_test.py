"""Text in pictures, end to end: found by name, recognised in the box, answered on the bridge."""
import os
import pathlib
import shutil
import unittest

from scene import Scene, signal, wait_for

DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
NOTE = "Note de frais\nTotal 42 euros"


def has_ended(process):
    """Whether the process is gone, or waits for nothing but to be noticed."""
    try:
        return pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[0] == "Z"
    except FileNotFoundError:
        return True


class Recognition(Scene):
    def recognise(self, name):
        hit = self.find(pathlib.Path(name).stem, name)
        return self.backend.run(self.device, "ocr_image", {"document_id": hit["id"]})

    def test_an_image_of_a_shared_folder_is_recognised(self):
        shutil.copy(DATA / "recognition" / "note.heic", self.shared / "frais.heic")
        self.start_all()
        self.assertEqual(self.recognise("frais.heic")["result"],
                         {"text": NOTE, "languages": ["fr-FR", "en-US"],
                          "bytes_processed": (self.shared / "frais.heic").stat().st_size})

    def test_a_pdf_gives_its_text_layers_and_what_its_other_pages_show(self):
        shutil.copy(DATA / "documents" / "three-pages.pdf", self.shared / "rapport.pdf")
        self.start_all()
        result = self.recognise("rapport.pdf")["result"]
        self.assertEqual(result["text"].split("\n\f\n"), ["Première page.", "Troisième page."])
        self.assertEqual(result["languages"], ["en-US", "fr-FR"])

    def test_a_file_that_cannot_be_recognised_is_told_and_the_next_one_is(self):
        shutil.copy(DATA / "recognition" / "note.heic", self.shared / "frais.heic")
        (self.shared / "corrompu.png").write_bytes(b"\x89PNG\r\n\x1a\n" + bytes(100))
        (self.shared / "vide.pdf").write_bytes(b"")
        (self.shared / "lettre.txt").write_text("bonjour")
        self.start_all()
        self.assertEqual(self.recognise("corrompu.png")["error_message"],
                         "VisionKit a échoué: impossible de charger l'image")
        self.assertEqual(self.recognise("vide.pdf")["error_message"], "Le PDF est vide.")
        self.assertEqual(self.recognise("lettre.txt")["error_message"], "Format non supporté: txt")
        answer = self.backend.run(self.device, "ocr_image", {"document_id": "x"})
        self.assertEqual(answer["error_message"],
                         "Document introuvable (la session a pu être nettoyée; relance la recherche).")
        self.assertEqual(self.recognise("frais.heic")["result"]["text"], NOTE)

    def test_a_killed_program_is_replaced(self):
        shutil.copy(DATA / "recognition" / "note.heic", self.shared / "frais.heic")
        self.start_all()
        self.recognise("frais.heic")
        for process in self.client.workers():
            os.kill(process, signal.SIGKILL)
            wait_for(lambda process=process: has_ended(process), "the program is gone")
        self.assertEqual(self.recognise("frais.heic")["result"]["text"], NOTE)


if __name__ == "__main__":
    unittest.main()
