import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { PageElement, buttonOf, holding, labels, openPage } from "./PageDouble.mjs";
import { resultNodes } from "../../server/pages/results.js";

let asked = [];
let prepared = [];
const names = { documents: {}, folders: { F: "Documents" } };

beforeEach(() => {
  openPage();
  asked = [];
  prepared = [];
});

function shown(kind, result, args = {}) {
  const context = {
    ask: (next, values) => asked.push([next, values]),
    prepare: (next, values) => prepared.push([next, values]),
    nameOf: (sort, id) => names[sort][id],
  };
  return holding(resultNodes({ kind, args, result, device_id: "A" }, context));
}
const press = (element, label) => buttonOf(element, label).click();
const spaced = (text) => text.replace(/[\u00a0\u202f]/g, " ");
const rows = (element) => element.all("tr").slice(1).map((row) => row.all("td").map((cell) => spaced(cell.textContent)));

const hostile = ["<script>alert(1)</script>", "<img src=x onerror=alert(2)>", "facture\u202egnp.exe", "x".repeat(10_000),
  "une\nligne\x1b[31m", "\ud800", "", "  ", "javascript:alert(3)", "'\"><svg onload=alert(4)>"];
const item = (name, more = {}) => ({ id: "D", name, mime: "text/plain", size: 812, modified_at: "2026-07-14T21:30:00Z", parent: "~/Maison",
  is_remote: false, ...more });

test("a hit of a search can be read, recognised, pictured and opened", () => {
  const page = shown("search", { items: [item("notes.txt"), item("vieux.txt", { size: 0, modified_at: undefined, is_remote: true })] });
  assert.deepEqual(rows(page).map((row) => row.slice(0, 3)), [["notes.txt~/Maison", "812 octets", "14 juil. 2026, 23:30"],
    ["vieux.txt~/Maisonsur un volume distant", "—", "—"]]);
  for (const label of ["Lire", "OCR", "Vignette", "Ouvrir"]) press(page, label);
  assert.deepEqual(asked, ["read", "ocr_image", "thumbnail", "open_document"].map((kind) => [kind, { document_id: "D" }]));
});

test("a folder that a search found can only be opened on its machine", () => {
  assert.deepEqual(labels(shown("search", { items: [item("Reçus", { mime: "public.folder" })] })), ["Ouvrir"]);
});

test("a shared folder opens", () => {
  const page = shown("list_folders", { folders: [{ id: "F", name: "Documents", path_display: "~/Documents", is_remote: false }] });
  press(page, "Documents");
  press(page, "Parcourir");
  assert.deepEqual(asked, [["list_dir", { folder_id: "F" }], ["list_dir", { folder_id: "F" }]]);
});

test("a folder in a listing opens with its path to the letter, and a file offers its actions", () => {
  const entry = (name, type) => ({ id: `id of ${name}`, name, type, mime: "text/plain", size: 5, sub_path: `a/${name}` });
  const page = shown("list_dir", { folder_id: "F", sub_path: "a", items: [entry("sous\ndossier", "folder"), entry("x.txt", "file")] });
  const [folder, file] = page.all("tr").slice(1);
  assert.deepEqual(labels(folder), ["sous\ufffddossier", "Parcourir", "Ouvrir"]);
  assert.deepEqual(labels(file), ["Lire", "OCR", "Vignette", "Ouvrir"]);
  press(folder, "Parcourir");
  press(folder, "Ouvrir");
  assert.deepEqual(asked, [["list_dir", { folder_id: "F", sub_path: "a/sous\ndossier" }],
    ["open_document", { document_id: "id of sous\ndossier" }]]);
});

test("the trail leads back up to every folder above", () => {
  const page = shown("list_dir", { folder_id: "F", sub_path: "a/b/c", items: [] });
  const [trail] = page.all("nav");
  assert.equal(trail.textContent, "Dossiers partagésDocumentsabc");
  assert.deepEqual(labels(trail), ["Dossiers partagés", "Documents", "a", "b"]);
  for (const step of trail.all("button")) step.click();
  assert.deepEqual(asked, [["list_folders", {}], ["list_dir", { folder_id: "F" }], ["list_dir", { folder_id: "F", sub_path: "a" }],
    ["list_dir", { folder_id: "F", sub_path: "a/b" }]]);
  assert.match(page.textContent, /Ce dossier est vide\./);
});

test("a trail of a thousand steps stays short", () => {
  const page = shown("list_dir", { folder_id: "F", sub_path: Array(1000).fill("d").join("/"), items: [] });
  assert.equal(page.all("nav")[0].all("li").length, 8);
});

test("texts stand as they are", () => {
  const text = "ligne 1\n\tligne 2  <b>\n";
  const read = shown("read", { content: text, truncated: true, bytes_read: 2048 }, { document_id: "D" });
  assert.equal(read.all("pre")[0].textContent, text);
  assert.match(spaced(read.textContent), /2 Kio lus · texte coupé à la longueur demandée/);
  assert.deepEqual(labels(read), ["Copier", "OCR", "Vignette", "Ouvrir"]);
  const recognised = shown("ocr_image", { text, languages: ["fr-FR"], bytes_processed: 1024 });
  assert.equal(recognised.all("pre")[0].textContent, text);
  assert.match(recognised.textContent, /français/);
  assert.match(shown("ocr_image", { text: "a", languages: [], bytes_processed: 1 }).textContent, /texte déjà dans le document/);
  assert.match(shown("read", { content: "", truncated: false, bytes_read: 0 }).textContent, /ne contient pas de texte/);
  assert.match(shown("ocr_image", { text: "", languages: ["fr-FR"], bytes_processed: 1 }).textContent, /Aucun texte reconnu/);
  assert.equal(shown("shortcut_run", { output: text }).all("pre")[0].textContent, text);
  assert.match(shown("shortcut_run", {}).textContent, /n'a rien écrit/);
});

test("a thumbnail is a picture out of the answer, and an empty one says so", () => {
  const png = "iVBORw0KGgoAAAANSUhEUg==";
  const [image] = shown("thumbnail", { data_base64: png, mime: "image/png", width: 256, height: 192 }).all("img");
  assert.equal(image.src, `data:image/png;base64,${png}`);
  assert.deepEqual([image.getAttribute("width"), image.getAttribute("height")], ["256", "192"]);
  const none = shown("thumbnail", { data_base64: "", mime: "image/png", width: 0, height: 0 });
  assert.match(none.textContent, /^Pas de vignette/);
  assert.equal(none.all("img").length, 0);
});

test("what is no PNG is no picture, and a picture that fails says so", () => {
  for (const data of ["PHN2Zz48L3N2Zz4=", "iVBORw0KGgo\"><script>", "iVBORw0KGgo\n", "https://example.test/"]) {
    const page = shown("thumbnail", { data_base64: data, mime: "text/html", width: 1e9, height: -1 });
    assert.equal(page.all("img").length, 0, data);
    assert.match(page.textContent, /illisible/);
  }
  const page = shown("thumbnail", { data_base64: "iVBORw0KGgoAAAA=", mime: "image/png", width: 1e9, height: 2.5 });
  const [image] = page.all("img");
  assert.equal(image.getAttribute("width"), null);
  image.dispatchEvent(new Event("error"));
  assert.match(page.textContent, /illisible/);
});

test("photos have their date in the reader's zone and their place in words", () => {
  const page = shown("photos_recent", { items: [
    { id: "a", name: "tour.heic", mime: "image/heic", taken_at: "2026-07-14T21:30:00Z", location: { lat: 48.8584, lng: 2.2945 } },
    { id: "b", name: "(unnamed)", mime: "image/jpeg" }] });
  assert.deepEqual(rows(page), [["tour.heicimage/heic", "14 juil. 2026, 23:30", "48,8584° N, 2,2945° E"], ["(sans nom)image/jpeg", "—", "—"]]);
  assert.match(shown("photos_by_date", { items: [] }).textContent, /Aucune photo\./);
});

test("what was not done shows its error", () => {
  assert.match(shown("app_open", { ok: true }).textContent, /^C'est fait\./);
  assert.match(shown("app_open", { ok: false, error: "Aucune application nommée 'X' n'a été trouvée." }).textContent,
    /^La machine n'y est pas arrivée : Aucune application nommée 'X' n'a été trouvée\./);
  assert.match(shown("open_document", { ok: false, error: "open_failed" }).textContent, /n'a pas pu être ouvert \(open_failed\)/);
  assert.match(shown("open_document", { ok: false, error: "constructor" }).textContent, /arrivée : constructor/);
  assert.match(shown("open_document", { ok: false }).textContent, /^La machine n'y est pas arrivée\./);
});

test("shortcuts can be run, with a text or without", () => {
  const page = shown("shortcut_list", { shortcuts: ["Éteindre", "a\nb"] });
  assert.equal(labels(page).filter((label) => label === "Lancer").length, 2);
  page.all("button").filter((each) => each.textContent === "Lancer")[1].click();
  press(page, "Lancer avec un texte…");
  assert.deepEqual(asked, [["shortcut_run", { name: "a\nb" }]]);
  assert.deepEqual(prepared, [["shortcut_run", { name: "Éteindre" }]]);
});

test("the model's answer shows what was said and the whole of it", () => {
  const response = JSON.stringify({ choices: [{ message: { content: "Bonjour <b>" } }] });
  const page = shown("llm_infer", { response_json: response, model_used: "m", latency_ms: 1840 });
  assert.deepEqual(page.all("pre").slice(0, 2).map((each) => each.textContent), ["Bonjour <b>", JSON.stringify(JSON.parse(response), null, 2)]);
  assert.equal(shown("llm_infer", { response_json: "pas du JSON", model_used: "m", latency_ms: 1 }).all("pre")[0].textContent, "pas du JSON");
});

test("what the model read, wrote and asked for is told", () => {
  const calls = [{ id: "c", function: { name: "chercher", arguments: "{\"mots\":\"edf\"}" } }, { function: { name: "<i>" } }, null];
  const answer = { choices: [{ message: { content: "", tool_calls: calls } }], usage: { prompt_tokens: 9, completion_tokens: 1 } };
  const page = shown("llm_infer", { response_json: JSON.stringify(answer), model_used: "m", latency_ms: 1840 });
  assert.equal(spaced(page.all("p")[0].textContent), "m · 1,8 s · 9 jetons lus · 1 jeton écrit");
  assert.deepEqual(page.all("dt").map((each) => each.textContent), ["chercher", "<i>", "(sans nom)"]);
  assert.equal(page.all("dd")[0].textContent, '{"mots":"edf"}');
});

test("hostile names are texts in every kind, and never elements", () => {
  const answers = {
    search: { items: hostile.map((name) => item(name, { parent: name, mime: name })) },
    list_folders: { folders: hostile.map((name) => ({ id: name, name, path_display: name, is_remote: false })) },
    list_dir: { folder_id: "F", sub_path: hostile[1], items: hostile.map((name, at) => item(name, { type: at % 2 ? "file" : "folder", sub_path: name })) },
    photos_recent: { items: hostile.map((name) => ({ id: name, name, mime: name, taken_at: name, location: { lat: name, lng: 0 } })) },
    shortcut_list: { shortcuts: hostile },
    shortcut_run: { output: hostile[0] },
    read: { content: hostile[0], truncated: false, bytes_read: 1 },
    ocr_image: { text: hostile[0], languages: hostile, bytes_processed: 1 },
    app_open: { ok: false, error: hostile[0] },
    llm_infer: { response_json: JSON.stringify({ choices: [{ message: { content: hostile[0],
      tool_calls: hostile.map((name) => ({ function: { name, arguments: name } })) } }] }), model_used: hostile[0], latency_ms: 1 },
  };
  const harmless = new Set(["a", "button", "dd", "details", "div", "dl", "dt", "h3", "input", "li", "nav", "ol", "p", "pre", "span", "strong", "summary",
    "table", "tbody", "td", "th", "thead", "tr"]);
  for (const [kind, result] of Object.entries(answers)) {
    const page = shown(kind, result);
    assert.doesNotMatch(page.textContent, /forme attendue/, kind);
    assert.ok(page.textContent.includes(kind === "shortcut_list" || result.items || result.folders ? hostile[1] : hostile[0]), kind);
    for (const each of page.all(() => true)) {
      assert.ok(harmless.has(each.name), `${kind}: ${each.name}`);
      for (const name of each.attributes.keys()) {
        assert.ok(["aria-current", "aria-label", "autocomplete", "class", "dir", "placeholder", "role", "scope", "spellcheck", "tabindex", "type"]
          .includes(name), `${kind}: ${name}`);
      }
    }
    if (result.items || result.folders || result.shortcuts) assert.ok(page.textContent.length < 20_000, `${kind}: names are cut`);
  }
});

test("an answer that isn't of the promised shape is shown raw", () => {
  const wrong = { search: { items: "x" }, list_folders: {}, list_dir: { items: null }, read: {}, ocr_image: { text: 1 }, thumbnail: {}, photos_recent: {},
    photos_by_date: { items: [null] }, app_open: {}, open_document: { ok: "oui" }, shortcut_list: { shortcuts: {} }, shortcut_run: { output: 3 },
    llm_infer: {}, constructor: {} };
  for (const [kind, result] of Object.entries(wrong)) {
    const page = shown(kind, result);
    assert.match(page.textContent, /^Cette réponse n'a pas la forme attendue\./, kind);
    assert.equal(page.all("details")[0].open, true);
  }
});

test("the raw answer is made when it is asked for, and is cut where a page would stop answering", () => {
  const page = shown("read", { content: "y".repeat(200_000), truncated: false, bytes_read: 1 });
  const [fold] = page.all("details");
  assert.equal(fold.all("pre")[0].textContent, "");
  fold.open = true;
  fold.dispatchEvent(new Event("toggle"));
  assert.equal(fold.all("pre")[0].textContent.length, 100_000);
  assert.match(spaced(fold.textContent), /Les 100 000 premiers caractères/);
});

test("a listing of a hundred thousand shows its first rows, more on demand, and what fits a filter", () => {
  const items = Array.from({ length: 100_000 }, (_, at) => item(`Été ${String(at).padStart(6, "0")}.jpg`));
  const page = shown("search", { items });
  const drawn = () => page.all("tbody")[0].children.length;
  assert.equal(drawn(), 200);
  assert.match(spaced(page.textContent), /100 000 documents/);
  const more = page.all("button").find((each) => each.textContent.startsWith("Afficher la suite"));
  assert.match(spaced(more.textContent), /\(99 800\)/);
  more.click();
  assert.equal(drawn(), 400);
  const [filter] = page.all("input");
  filter.value = "ete 09999";
  filter.dispatchEvent(new Event("input"));
  assert.equal(drawn(), 10);
  assert.match(spaced(page.textContent), /10 sur 100 000 documents/);
  filter.value = "introuvable";
  filter.dispatchEvent(new Event("input"));
  assert.equal(page.all((each) => each.className === "scroll")[0].hidden, true);
  assert.equal(page.all("button").some((each) => each.textContent.startsWith("Afficher")), false);
});

test("the page double refuses markup, so that these tests would notice it", () => {
  assert.throws(() => { new PageElement("p").innerHTML = "<b>"; }, TypeError);
});
