"""The main job, end to end: the backend searches and reads on this machine."""
import unittest

from scene import Scene, wait_for


class Road(Scene):
    def test_a_word_of_a_document_leads_to_its_text(self):
        self.write("courrier/facture.txt", "Montant dû à Électricité : 42 €\n")
        self.write("notes.md", "rien")
        self.start_all()
        hit = self.find("électricité", "facture.txt")
        self.assertEqual(hit["mime"], "text/plain")
        self.assertTrue(hit["parent"].endswith("/documents/courrier"))
        self.assertRegex(hit["modified_at"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        answer = self.read(hit["id"])
        self.assertEqual(answer["result"],
                         {"content": "Montant dû à Électricité : 42 €\n", "truncated": False,
                          "bytes_read": len("Montant dû à Électricité : 42 €\n".encode())})

    def test_old_encodings_are_read(self):
        self.write("latin.txt", "Déjà vu à Besançon", "latin-1")
        self.write("large.txt", "Élève modèle", "utf-16")
        self.start_all()
        self.assertEqual(self.read(self.find("besançon", "latin.txt")["id"])["result"]["content"], "Déjà vu à Besançon")
        self.assertEqual(self.read(self.find("élève", "large.txt")["id"])["result"]["content"], "Élève modèle")

    def test_an_rtf_document_is_found_by_its_text_and_read(self):
        self.write("lettre.rtf", r"{\rtf1\ansi\ansicpg1252 Cher \b monsieur\b0 , l'\'e9t\'e9 finit.\par}", "ascii")
        self.start_all()
        hit = self.find("monsieur", "lettre.rtf")
        self.assertIn("Cher monsieur, l'été finit.", self.read(hit["id"])["result"]["content"])

    def test_an_unknown_handle_and_an_unreadable_format_get_their_words(self):
        (self.shared / "archive.zip").write_bytes(b"PK\x03\x04")
        self.start_all()
        answer = self.read("00000000-0000-4000-8000-000000000000")
        self.assertEqual((answer["state"], answer["error_message"]),
                         ("error", "Document introuvable (la session a pu être nettoyée; relance la recherche)."))
        answer = self.read(self.find("archive", "archive.zip")["id"])
        self.assertEqual(answer["state"], "error")
        self.assertTrue(answer["error_message"].startswith("Format non supporté (public.zip-archive"), answer)

    def test_a_withdrawn_folder_cuts_its_handles_and_is_not_found_any_more(self):
        self.write("secret.txt", "chrysanthème")
        other = self.folder / "autres"
        other.mkdir()
        self.start_all()
        hit = self.find("chrysanthème", "secret.txt")
        self.assertEqual(self.client.verb("share", str(other)).returncode, 0)
        share = next(s for s in self.client.status()["shares"] if s["name"] == "documents")
        self.assertEqual(self.client.verb("unshare", share["id"]).returncode, 0)
        self.assertEqual(self.read(hit["id"])["error_message"], "Document hors des dossiers partagés.")
        self.assertEqual(self.search("chrysanthème"), [])

    def test_without_a_shared_folder_search_says_so(self):
        self.start_all()
        share = self.client.status()["shares"][0]
        self.client.verb("unshare", share["id"])
        answer = self.backend.run(self.device, "search", {"query": "x"})
        self.assertEqual(answer["error_message"], "Aucun dossier partagé n'est configuré sur le Mac.")

    def test_with_the_bridge_off_tasks_are_refused_with_its_words(self):
        self.start_all()
        self.assertEqual(self.client.verb("bridge", "off").returncode, 0)
        answer = self.backend.run(self.device, "search", {"query": "x"})
        self.assertEqual(answer["error_message"], "Le pont local est désactivé dans les Réglages du Mac.")
        self.assertEqual(self.client.status()["tasks_served"], 1)

    def test_shared_folders_are_listed_level_by_level_and_what_is_listed_can_be_read(self):
        self.write("Reçus/edf.txt", "hortensia")
        self.write("Reçus/.caché", "x")
        self.write("à lire.md", "x")
        self.start_all()
        folders = self.backend.run(self.device, "list_folders")["result"]["folders"]
        self.assertEqual([f["id"] for f in folders], [s["id"] for s in self.client.status()["shares"]])
        args = {"folder_id": folders[0]["id"]}
        top = self.backend.run(self.device, "list_dir", args)["result"]
        self.assertEqual([(i["name"], i["type"], i["mime"]) for i in top["items"]],
                         [("à lire.md", "file", "text/markdown"), ("Reçus", "folder", "inode/directory")])
        below = self.backend.run(self.device, "list_dir", args | {"sub_path": top["items"][1]["sub_path"]})["result"]
        self.assertEqual([i["name"] for i in below["items"]], ["edf.txt"])
        self.assertEqual(below["sub_path"], "Reçus")
        text = self.backend.run(self.device, "read", {"document_id": below["items"][0]["id"]})
        self.assertEqual(text["result"]["content"], "hortensia")
        answer = self.backend.run(self.device, "list_dir", args | {"sub_path": "../.."})
        self.assertEqual(answer["error_message"], "sub_path invalide.")

    def test_files_made_changed_renamed_and_deleted_are_followed(self):
        self.start_all()
        path = self.write("a/premier.txt", "hortensia")
        self.find("hortensia", "premier.txt")
        path.write_text("pivoine", encoding="utf-8")
        self.find("pivoine", "premier.txt")
        path.rename(self.shared / "a" / "second.txt")
        self.find("pivoine", "second.txt")
        (self.shared / "a").rename(self.shared / "b")
        wait_for(lambda: [i["parent"].endswith("/b") for i in self.search("pivoine")] == [True], "the folder's new name")
        (self.shared / "b" / "second.txt").unlink()
        wait_for(lambda: self.search("pivoine") == [], "the file is forgotten")

    def test_a_shared_folder_that_is_renamed_while_the_client_runs_is_followed(self):
        self.write("x.txt", "clématite")
        self.start_all()
        self.find("clématite", "x.txt")
        self.shared.rename(self.folder / "papiers")
        wait_for(lambda: [i["parent"].endswith("/papiers") for i in self.search("clématite")] == [True],
                 "the folder's new place")

    def test_a_shared_folder_that_goes_and_comes_back_is_indexed_again(self):
        self.write("x.txt", "anémone")
        self.start_all()
        self.find("anémone", "x.txt")
        away = self.shared.with_name(".ailleurs")
        self.shared.rename(away)
        wait_for(lambda: self.search("anémone") == [], "the folder has gone")
        away.rename(self.shared)
        self.find("anémone", "x.txt")

    def test_a_renamed_shared_folder_is_found_again_after_a_restart(self):
        self.write("x.txt", "glycine")
        self.start_all()
        self.find("glycine", "x.txt")
        self.client.stop()
        moved = self.folder / "papiers"
        self.shared.rename(moved)
        self.client.start()
        hit = self.find("glycine", "x.txt")
        self.assertTrue(hit["parent"].endswith("/papiers"), hit)


if __name__ == "__main__":
    unittest.main()
