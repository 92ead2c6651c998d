#!/usr/bin/env python3
"""Makes folders of files to measure with. The same arguments give the same bytes, names and dates.

  corpus.py names FOLDER [--count 1000000]   a deep tree of empty or tiny files, one folder for ten of them
  corpus.py flat  FOLDER [--count 100000]    the same kind of files, all in one folder
  corpus.py docs  FOLDER [--count 50000]     French and English text documents of 2 to 40 KB
  corpus.py pdfs  FOLDER [--count 300]       PDF documents of 1 to 50 pages

`docs` plants each word of PLANTED in an exact number of documents (fewer when there are fewer documents) and
writes them to FOLDER-planted.json.
"""
import argparse
import json
import os
import random
import unicodedata
import zlib

HEAD_FR = ("de la le et les des en un du une que est pour qui dans par sur au plus pas ce avec il ne se son sont nous "
           "vous ou cette mais été être tout comme elle leur deux même ainsi entre sans après aussi dont depuis avant "
           "très où année jour facture contrat client montant euros relevé bancaire assurance impôts déclaration "
           "salaire réunion projet équipe dossier pièce reçu payé école médecin santé voiture notaire bail loyer "
           "électricité téléphone numéro question réponse système fichier réseau sécurité qualité développement").split()
HEAD_EN = ("the of and to in a is that for it as was with be by on not he this are or his from at which but have an "
           "they you were their one all we can her has there been if more when will would who so no other its may "
           "what them than some him time into only such new about out also first could our then see me should after "
           "file system user data program value number set name option default type error line version library "
           "project meeting invoice report budget review draft notes summary insurance payment account order").split()
SYLLABLES_FR = ("ba bé bor bri ca cé chan che cla con cor cou dan dé dis dou é el en fa fer fi for fran ga gé gra "
                "gui hô im in jar jou la lec li lon lu ma mé men mi mon mu na né no nou oc or pa pé pla poi por pré "
                "pro qua ra ré ri ro sa sé si sol su ta té ten ti tou tra tri u va ver vi voi vo").split()
ENDINGS_FR = "er é ée és ant ent ait ation ations ement ements eur euse ique isme iste able ité age al aux if ive ure".split()
SYLLABLES_EN = ("act ad al an ap ar at bar be block car ch com con cor cul de dis dra ed en ex fac fer fin for gen gra "
                "har hel im in ker lan lec li log man mar mem men mi mon na net ob op or pack par per phys port pre pro "
                "quer re rep ro sec ser sig sim sol spec sta str sub sys tab tech ten ter tra tri un val ver vis").split()
ENDINGS_EN = "s ed ing er ers ion ions ation ment ments able al ic ity ive ness less ful ous ance ent ure age y ly ize".split()
PEOPLE = ("Martin Bernard Thomas Petit Durand Dubois Moreau Lefèvre Fournier Mercier Guérin Chevalier François García "
          "Müller Hélène Chloé Zoé Noël Aurélie Benoît Émile Céline Jérôme Smith Taylor Walker Evans").split()
PLACES = "Paris Lyon Nantes Saint-Étienne Besançon Nîmes Orléans Liège Genève London Leeds Dublin Boston Québec".split()
FOLDERS = ("Documents Factures Impôts Photos Projets Études Santé Maison Travail Archives Musique Clients Contrats src "
           "tests docs images Réunions Famille École Reports Drafts backup Scans Voyages Recettes Sauvegarde").split()
MONTHS = "janvier février mars avril mai juin juillet août septembre octobre novembre décembre".split()
KINDS = ["txt"] * 40 + ["md"] * 25 + ["html"] * 12 + ["csv"] * 6 + ["json"] * 5 + ["log"] * 5 + ["xml"] * 4 + ["rst"] * 3
PLANTED = {"xylokarte": 3, "Zéphyrine": 17, "kwartzite": 100, "ÇAVÉRITÉ": 9, "l'oblomovisme": 5, "Brunhölzl-Kovač": 2,
           "ΔΙΑΦΟΡΑ": 4, "wyvernée": 1000}
FIRST_DATE = 1420070400  # 2015-01-01
TEN_YEARS = 315360000


class Language:
    """Words whose frequencies fall as in a natural text: the common ones by hand, the rest from syllables."""

    def __init__(self, head, syllables, endings, rng, size=90000):
        words = dict.fromkeys(head)
        while len(words) < size:
            words["".join(rng.choices(syllables, k=rng.choice((1, 2, 2, 3)))) + rng.choice(endings)] = None
        self.words = list(words)
        self.weights, total = [], 0.0
        for rank in range(len(self.words)):
            total += (rank + 2.7) ** -1.07
            self.weights.append(total)

    def draw(self, rng, count):
        return rng.choices(self.words, cum_weights=self.weights, k=count)


def languages(seed):
    rng = random.Random(seed)
    return Language(HEAD_FR, SYLLABLES_FR, ENDINGS_FR, rng), Language(HEAD_EN, SYLLABLES_EN, ENDINGS_EN, rng)


def oddity(rng):
    """What stands in documents besides words: amounts, dates, references, addresses."""
    return rng.choice((
        lambda: str(rng.randrange(10 ** rng.randint(1, 6))),
        lambda: "%02d/%02d/%d" % (rng.randint(1, 28), rng.randint(1, 12), rng.randint(1998, 2025)),
        lambda: "%d,%02d €" % (rng.randrange(5000), rng.randrange(100)),
        lambda: "%s-%05d" % (rng.choice(("FA", "REF", "CTR", "INV")), rng.randrange(100000)),
        lambda: "%s@%s.example" % (rng.choice(PEOPLE).lower(), rng.choice(PLACES).lower()),
        lambda: "M. " + rng.choice(PEOPLE),
        lambda: "%08x" % rng.getrandbits(32),
    ))()


def paragraphs(rng, language, size):
    result = []
    while size > 0:
        sentences = []
        for _ in range(rng.randint(2, 7)):
            words = language.draw(rng, rng.randint(5, 24))
            for i, word in enumerate(words):
                if rng.random() < 0.02:
                    words[i] = oddity(rng)
                elif language.words[0] == "de" and word[0] in "aeiouéê" and rng.random() < 0.35:
                    words[i] = rng.choice(("l'", "d'", "qu'", "l’")) + word
                elif rng.random() < 0.06:
                    words[i] += ","
            words[0] = words[0][:1].upper() + words[0][1:]
            sentences.append(" ".join(words) + rng.choice((".", ".", ".", " ?", " !")))
        result.append(" ".join(sentences))
        size -= len(result[-1].encode()) + 2
    return result


def rendered(kind, body, title):
    if kind == "html":
        return "<!DOCTYPE html><html><head><title>%s</title></head><body>\n%s\n</body></html>\n" % (
            title, "\n".join("<p>%s</p>" % p for p in body))
    if kind == "xml":
        return '<?xml version="1.0"?>\n<doc>\n%s\n</doc>\n' % "\n".join("<p>%s</p>" % p for p in body)
    if kind == "json":
        return json.dumps({"title": title, "body": body}, ensure_ascii=False, indent=1) + "\n"
    if kind == "csv":
        return "".join('%d;"%s"\n' % pair for pair in enumerate(body))
    return "\n\n".join(body) + "\n"


def file_name(rng, fr, en):
    year, month = rng.randint(2010, 2025), rng.randrange(12)
    return rng.choice((
        lambda: "Facture_%s_%d-%02d.pdf" % (rng.choice(PEOPLE), year, month + 1),
        lambda: "IMG_%04d.%s" % (rng.randrange(10000), rng.choice(("jpg", "heic", "png"))),
        lambda: "relevé bancaire %s %d.pdf" % (MONTHS[month], year),
        lambda: "compte-rendu réunion %d-%02d-%02d.docx" % (year, month + 1, rng.randint(1, 28)),
        lambda: "%s_%s.%s" % (*en.draw(rng, 2), rng.choice(("o", "jpg", "bin", "zip"))),
        lambda: "Contrat %s %s.pdf" % (rng.choice(PLACES), rng.choice(PEOPLE)),
        lambda: "%s.odt" % " ".join(fr.draw(rng, rng.randint(2, 5))).capitalize(),
        lambda: "%s.xlsx" % " ".join(en.draw(rng, rng.randint(1, 4))),
        lambda: "%02d - %s.mp3" % (rng.randint(1, 20), " ".join(fr.draw(rng, 2))),
        lambda: "%08x%s" % (rng.getrandbits(32), rng.choice(("", ".dat", ".bak"))),
    ))()


def make_names(folder, count, seed):
    rng = random.Random(seed)
    fr, en = languages(seed)
    folders = [("", 0)]
    known = {""}
    while len(folders) <= max(1, count // 10):
        if len(folders) < 40:
            base, depth = folders[0]
        else:
            base, depth = folders[rng.randrange(max(0, len(folders) - 4000), len(folders))]
        if depth >= 7:
            base, depth = folders[rng.randrange(len(folders) // 2)]
            if depth >= 7:
                continue
        name = rng.choice(FOLDERS) + rng.choice(" -_") + fr.draw(rng, 1)[0]
        path = os.path.join(base, ("." if rng.random() < 0.01 else "") + name)
        if path not in known:
            known.add(path)
            folders.append((path, depth + 1))
    left = count
    for position, (path, _) in enumerate(folders):
        last = position == len(folders) - 1
        share = left if last else min(left, int(rng.expovariate((len(folders) - position) / max(1, left))))
        left -= share
        full = os.path.join(folder, path)
        os.makedirs(full, exist_ok=True)
        fill(full, share, rng, fr, en)


def fill(folder, count, rng, fr, en):
    """Makes `count` empty or tiny files in one folder."""
    names = set()
    while len(names) < count:
        name = file_name(rng, fr, en)
        if name in names:
            stem, dot, kind = name.rpartition(".")
            name = "%s (%d)%s%s" % (stem, len(names), dot, kind)
        if rng.random() < 0.01:
            name = "." + name
        if rng.random() < 0.02:
            name = unicodedata.normalize("NFD", name)
        if name in names:
            continue
        names.add(name)
        date = FIRST_DATE + rng.randrange(TEN_YEARS)
        handle = os.open(os.path.join(folder, name), os.O_CREAT | os.O_WRONLY, 0o644)
        if rng.random() < 0.1:
            os.write(handle, b"x" * rng.randint(1, 64))
        os.utime(handle, (date, date))
        os.close(handle)


def make_flat(folder, count, seed):
    rng = random.Random(seed)
    fill(folder, count, rng, *languages(seed))


def make_docs(folder, count, seed):
    rng = random.Random(seed)
    fr, en = languages(seed)
    planted = {}
    for word, often in PLANTED.items():
        for number in rng.sample(range(count), min(often, count)):
            planted.setdefault(number, []).append(word)
    with open(folder.rstrip("/") + "-planted.json", "w", encoding="utf-8") as out:
        json.dump({word: min(often, count) for word, often in PLANTED.items()}, out, ensure_ascii=False)
    for number in range(count):
        own = random.Random((seed << 32) + number)  # each document by itself: fewer documents are the first of more
        language = fr if own.random() < 0.6 else en
        body = paragraphs(own, language, int(2000 * 20 ** own.random()))
        for word in planted.get(number, ()):
            body[own.randrange(len(body))] += " (" + word + ")"
        kind, title = own.choice(KINDS), " ".join(language.draw(own, 3)).replace("/", "-")
        place = os.path.join(folder, "%s %02d" % (FOLDERS[number % 25], number // 25 % 100))
        os.makedirs(place, exist_ok=True)
        path = os.path.join(place, "%s %05d.%s" % (title, number, kind))
        with open(path, "w", encoding="utf-8") as out:
            out.write(rendered(kind, body, title))
        date = FIRST_DATE + own.randrange(TEN_YEARS)
        os.utime(path, (date, date))


def pdf_of(pages):
    """A PDF with one standard font; `pages` are lists of lines."""
    def text(line):
        return line.encode("cp1252", "replace").replace(b"\\", b"\\\\").replace(b"(", b"\\(").replace(b")", b"\\)")
    objects = [b"<</Type/Catalog/Pages 2 0 R>>", b"",
               b"<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>"]
    kids = []
    for lines in pages:
        content = zlib.compress(b"BT /F1 10 Tf 12 TL 50 800 Td\n" + b"".join(b"(%s) Tj T*\n" % text(l) for l in lines) +
                                b"ET", 6)
        objects.append(b"<</Length %d/Filter/FlateDecode>>stream\n%s\nendstream" % (len(content), content))
        objects.append(b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Resources<</Font<</F1 3 0 R>>>>/Contents %d 0 R>>"
                       % len(objects))
        kids.append(b"%d 0 R" % len(objects))
    objects[1] = b"<</Type/Pages/Count %d/Kids[%s]>>" % (len(kids), b" ".join(kids))
    out, offsets = bytearray(b"%PDF-1.5\n%\xe2\xe3\xcf\xd3\n"), []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    table = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1) + b"".join(b"%010d 00000 n \n" % o for o in offsets)
    return bytes(out + b"trailer<</Size %d/Root 1 0 R>>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, table))


def make_pdfs(folder, count, seed):
    rng = random.Random(seed)
    fr, en = languages(seed)
    os.makedirs(folder, exist_ok=True)
    for number in range(count):
        pages = max(1, min(50, int(1.4 * 36 ** rng.random())))
        lines = []
        for paragraph in paragraphs(rng, fr if rng.random() < 0.6 else en, pages * 4600):
            line = ""
            for word in paragraph.split():
                if len(line) + len(word) > 94:
                    lines.append(line)
                    line = word
                else:
                    line = (line + " " + word).lstrip()
            lines += [line, ""]
        path = os.path.join(folder, "rapport-%03d.pdf" % number)
        with open(path, "wb") as out:
            out.write(pdf_of([lines[at:at + 62] for at in range(0, min(len(lines), pages * 62), 62)]))
        date = FIRST_DATE + rng.randrange(TEN_YEARS)
        os.utime(path, (date, date))


def main():
    makers = {"names": (make_names, 1000000), "flat": (make_flat, 100000), "docs": (make_docs, 50000), "pdfs": (make_pdfs, 300)}
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kind", choices=makers)
    parser.add_argument("folder")
    parser.add_argument("--count", type=int)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    make, usual = makers[arguments.kind]
    os.makedirs(arguments.folder, exist_ok=True)
    make(arguments.folder, usual if arguments.count is None else arguments.count, arguments.seed)


if __name__ == "__main__":
    main()
