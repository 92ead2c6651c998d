"""What the backend can ask of a machine: made files of every sort, and for each kind of task what a right answer is."""
import base64
import collections
import dataclasses
import pathlib
import re
import shutil
import struct
import subprocess
import typing

DOCUMENTS = pathlib.Path(__file__).resolve().parents[1] / "data" / "documents"
UNKNOWN = "00000000-0000-4000-8000-000000000000"
UUID = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}")
MOMENT = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")
READ_UNKNOWN = "Document introuvable (la session a pu être nettoyée; relance la recherche)."
SHOW_UNKNOWN = "Document introuvable (la session a pu être nettoyée ; relance la recherche)."


def exif(taken, zone, latitude, longitude):
    """The APP1 segment of a JPEG: its date with its zone, and its place, north and east."""
    def entries(fields, at):
        """A directory at the offset `at`, and behind it what is longer than four bytes."""
        table, rest = struct.pack(">H", len(fields)), b""
        behind = at + 2 + 12 * len(fields) + 4
        for tag, kind, count, value in fields:
            if len(value) > 4:
                value, rest = struct.pack(">I", behind + len(rest)), rest + value
            table += struct.pack(">HHI", tag, kind, count) + value.ljust(4, b"\0")
        return table + bytes(4) + rest

    def text(tag, value):
        return tag, 2, len(value) + 1, value.encode() + b"\0"

    def degrees(tag, value):
        minutes, whole = value % 1 * 60, int(value)
        return tag, 5, 3, struct.pack(">6I", whole, 1, int(minutes), 1, round(minutes % 1 * 60 * 10_000), 10_000)

    start = 8 + 2 + 12 * 2 + 4
    shot = entries([text(0x9003, taken), text(0x9011, zone)], start)
    place = entries([text(1, "N"), degrees(2, latitude), text(3, "E"), degrees(4, longitude)], start + len(shot))
    root = entries([(0x8769, 4, 1, struct.pack(">I", start)), (0x8825, 4, 1, struct.pack(">I", start + len(shot)))], 8)
    block = b"Exif\0\0MM\0*\0\0\0\x08" + root + shot + place
    return b"\xff\xe1" + struct.pack(">H", len(block) + 2) + block


class World:
    """The files, photos, applications and automations of one made-up person, below the scene's folder."""

    def __init__(self, folder, shared, data, config):
        self.shared, self.effects = shared, folder / "effects.log"
        self.folder_id, self.handles = None, {}
        self.effects.touch()
        self._documents()
        self._photos(folder / "images", config)
        self._applications(data / "applications", config)
        self._automations(data / "vennic" / "shortcuts")

    def _documents(self):
        (self.shared / "Reçus").mkdir(parents=True)
        (self.shared / "ancien.txt").write_bytes("Déjà vu à Besançon".encode("latin-1"))
        (self.shared / "Reçus" / "bail.md").write_text("# Bail\n\nhortensia\n", encoding="utf-8")
        (self.shared / "archive.zip").write_bytes(b"PK\x03\x04")
        shutil.copy(DOCUMENTS / "small.pdf", self.shared / "lettre.pdf")
        subprocess.run(["convert", "-background", "white", "-fill", "black", "-pointsize", "40", "-border", "30",
                        "-bordercolor", "white", "label:MONTANT TOTAL", self.shared / "reçu.png"], check=True)

    def _photos(self, folder, config):
        folder.mkdir()
        plain = subprocess.run(["convert", "-size", "64x48", "gradient:red-blue", "jpeg:-"], check=True,
                               capture_output=True).stdout
        taken = exif("2024:07:14 21:30:00", "+02:00", 48.8584, 2.2945)
        (folder / "tour.jpg").write_bytes(plain[:2] + taken + plain[2:])
        config.mkdir(exist_ok=True)
        (config / "user-dirs.dirs").write_text(f'XDG_PICTURES_DIR="{folder}"\n', encoding="utf-8")

    def _applications(self, folder, config):
        folder.mkdir(parents=True)
        opener = self._script(folder / "ouvrir", 'echo "ouvert ${1##*/}" >>"$0.log"')
        opener.with_name("ouvrir.log").symlink_to(self.effects)
        (folder / "org.example.Carnet.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Carnet\nExec={opener} %f\nMimeType=text/plain;\n", encoding="utf-8")
        (config / "mimeapps.list").write_text("[Default Applications]\ntext/plain=org.example.Carnet.desktop\n",
                                              encoding="utf-8")

    def _automations(self, folder):
        folder.mkdir(parents=True)
        self._script(folder / "Majuscules.sh", f'echo "lancé Majuscules" >>"{self.effects}"; tr a-z A-Z')
        self._script(folder / "Échec", 'echo "rien ne va" >&2; exit 3')
        self._script(folder / "Muet", "exit 0")

    @staticmethod
    def _script(path, text):
        path.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
        path.chmod(0o700)
        return path

    def seen_effects(self):
        """How often each thing was really done."""
        return collections.Counter(self.effects.read_text(encoding="utf-8").splitlines())

    def learn(self, search):
        """Takes new handles of the documents, before a thousand others drive out the old ones; `search` gives the hits
        of a word."""
        self.handles = {item["name"]: item["id"] for word in ("ancien", "lettre", "reçu", "archive") for item in search(word)}


def done(result):
    return {"status": "done", "result": result}


def error(message):
    return {"status": "error", "error_message": message}


@dataclasses.dataclass
class Row:
    """One way to ask for a kind. `right(answer, world)` judges what the client said; where it is a dict, the answer is
    that one. `effect` is what it leaves in the effects of the world."""
    kind: str
    weight: int
    arguments: dict | typing.Callable[[World], dict]
    right: dict | typing.Callable[[dict, World], bool]
    boxed: bool = False  # done by a process that may be killed
    effect: str | None = None

    def asked(self, world):
        return self.arguments(world) if callable(self.arguments) else self.arguments

    def is_right(self, answer, world):
        return self.right(answer, world) if callable(self.right) else answer == self.right


def document(name, **more):
    return lambda world: {"document_id": world.handles[name], **more}


def folder(**more):
    return lambda world: {"folder_id": world.folder_id, **more}


def hits(*names):
    def right(answer, world):
        items = answer["result"]["items"]
        return [item["name"] for item in items] == list(names) and all(
            UUID.fullmatch(item["id"]) and MOMENT.fullmatch(item["modified_at"]) and item["is_remote"] is False
            and item["parent"].startswith(str(world.shared)) for item in items)
    return right


def shares(answer, world):
    return answer == done({"folders": [{"id": world.folder_id, "name": world.shared.name, "path_display": str(world.shared),
                                        "is_remote": False}]})


def listing(sub_path, *entries):
    """Entries are (name, type, MIME type)."""
    def right(answer, world):
        result = answer["result"]
        items = result["items"]
        above = sub_path + "/" if sub_path else ""
        return (result["folder_id"], result["sub_path"]) == (world.folder_id, sub_path) and [
            (item["name"], item["type"], item["mime"], item["sub_path"]) for item in items
        ] == [(name, type_, mime, above + name) for name, type_, mime in entries] and all(
            UUID.fullmatch(item["id"]) and MOMENT.fullmatch(item["modified_at"])
            and (item["type"] == "folder" or item["size"] == (world.shared / item["sub_path"]).stat().st_size)
            for item in items)
    return right


def recognised(answer, world):
    result = answer["result"]
    return ("MONTANT TOTAL" in result["text"] and result["languages"] == ["fr-FR", "en-US"]
            and result["bytes_processed"] == (world.shared / "reçu.png").stat().st_size)


def picture(longest):
    """A PNG whose longer side has this many pixels."""
    def right(answer, _):
        result = answer["result"]
        data = base64.b64decode(result["data_base64"], validate=True)
        size = struct.unpack(">II", data[16:24]) if data.startswith(b"\x89PNG\r\n\x1a\n") else None
        return result["mime"] == "image/png" and size == (result["width"], result["height"]) and max(size) == longest
    return right


def photos(answer, _):
    item, = answer["result"]["items"]
    place = item["location"]
    return ((item["name"], item["mime"], item["taken_at"]) == ("tour.jpg", "image/jpeg", "2024-07-14T19:30:00Z")
            and abs(place["lat"] - 48.8584) < 1e-6 and abs(place["lng"] - 2.2945) < 1e-6)


NO_PICTURE = done({"data_base64": "", "mime": "image/png", "width": 0, "height": 0})
ROWS = [
    Row("search", 90, {"query": "besançon"}, hits("ancien.txt")),
    Row("search", 60, {"query": "hortensia", "folder_hints": ["documents"], "limit": 3}, hits("bail.md")),
    Row("search", 30, {"query": "introuvable"}, done({"items": []})),
    Row("read", 80, document("ancien.txt"),
        done({"content": "Déjà vu à Besançon", "truncated": False, "bytes_read": 18}), boxed=True),
    Row("read", 60, document("lettre.pdf"),
        lambda answer, _: "voici une petite page" in answer["result"]["content"], boxed=True),
    Row("read", 40, document("ancien.txt", max_chars=4),
        done({"content": "Déjà", "truncated": True, "bytes_read": 18}), boxed=True),
    Row("read", 30, {"document_id": UNKNOWN}, error(READ_UNKNOWN)),
    Row("list_folders", 70, {}, shares),
    Row("list_dir", 70, folder(), listing(
        "", ("ancien.txt", "file", "text/plain"), ("archive.zip", "file", "application/zip"),
        ("lettre.pdf", "file", "application/pdf"), ("reçu.png", "file", "image/png"),
        ("Reçus", "folder", "inode/directory"))),
    Row("list_dir", 40, folder(sub_path="Reçus//"), listing("Reçus", ("bail.md", "file", "text/markdown"))),
    Row("list_dir", 20, folder(sub_path="Reçus/../.."), error("sub_path invalide.")),
    Row("list_dir", 10, {"folder_id": "x"}, error("folder_id mal formé.")),
    Row("list_dir", 10, {"folder_id": UNKNOWN}, error("Ce dossier n'est plus partagé sur le Mac.")),
    Row("ocr_image", 12, document("reçu.png"), recognised, boxed=True),
    Row("ocr_image", 20, document("lettre.pdf"), lambda answer, _: answer["result"]["languages"] == []
        and "voici une petite page" in answer["result"]["text"], boxed=True),
    Row("ocr_image", 10, document("ancien.txt"), error("Format non supporté: txt")),
    Row("ocr_image", 10, {"document_id": UNKNOWN}, error(READ_UNKNOWN)),
    # A point of the private display is one pixel.
    Row("thumbnail", 40, document("reçu.png", max_edge=64), picture(64), boxed=True),
    Row("thumbnail", 20, document("lettre.pdf"), picture(128), boxed=True),
    Row("thumbnail", 20, document("archive.zip"), NO_PICTURE),
    Row("thumbnail", 10, {"document_id": UNKNOWN}, error(SHOW_UNKNOWN)),
    Row("open_document", 20, document("ancien.txt"), done({"ok": True}), effect="ouvert ancien.txt"),
    Row("open_document", 10, document("archive.zip"), done({"ok": False, "error": "open_failed"})),
    Row("open_document", 10, {"document_id": UNKNOWN}, error(SHOW_UNKNOWN)),
    Row("photos_recent", 40, {"limit": 0}, photos),
    Row("photos_by_date", 40, {"year": 2024, "month": 7}, photos),
    Row("photos_by_date", 20, {"year": 2023, "month": 7}, done({"items": []})),
    Row("app_open", 20, {"name": "Carnet"}, done({"ok": True}), effect="ouvert "),
    Row("app_open", 10, {"name": "Absente"},
        done({"ok": False, "error": "Aucune application nommée 'Absente' n'a été trouvée."})),
    Row("shortcut_list", 30, {}, done({"shortcuts": ["Échec", "Majuscules", "Muet"]})),
    Row("shortcut_run", 30, {"name": "Majuscules", "input": "bonjour\n"}, done({"output": "BONJOUR"}),
        effect="lancé Majuscules"),
    Row("shortcut_run", 10, {"name": "Échec"}, error("shortcut_run_failed: rien ne va")),
    Row("shortcut_run", 10, {"name": "Muet"}, done({})),
    Row("llm_infer", 10, {"openai_body_json": "{}"}, error("Le LLM local est désactivé dans les Réglages du Mac.")),
]
REPEATABLE = {"search", "read", "list_folders", "list_dir", "photos_recent", "photos_by_date", "shortcut_list", "ocr_image",
              "thumbnail"}
# What no client can decode: it gets no answer, and the next poll waits a second.
MALFORMED = [("teleport", {}), ("app_open", {}), ("shortcut_run", {"name": 7}), ("open_document", {"document_id": None}),
             ("llm_infer", {"openai_body_json": 1})]


def chosen(chance, count):
    """Rows by their weights."""
    return chance.choices(ROWS, [row.weight for row in ROWS], k=count)

