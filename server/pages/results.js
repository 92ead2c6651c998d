// Turns an answer into something to read. Everything here comes from a machine, so nothing of it becomes markup.
import { element, moment } from "./owner.js";

export const states = {
  queued: ["en attente", ""], delivered: ["remise", ""], streaming: ["en cours", ""],
  done: ["terminée", "good"], error: ["échec", "bad"], timeout: ["sans réponse", "warn"],
};

export function stateBadge(state) {
  const [label, tone] = states[state] ?? [state, ""];
  return element("span", { class: `state ${tone}` }, label);
}

const sizes = ["octets", "Ko", "Mo", "Go", "To"];
export function size(bytes) {
  if (typeof bytes !== "number" || bytes <= 0) return "—";
  const step = Math.min(Math.floor(Math.log(bytes) / Math.log(1024)), sizes.length - 1);
  return `${(bytes / 1024 ** step).toLocaleString("fr-FR", { maximumFractionDigits: step ? 1 : 0 })} ${sizes[step]}`;
}

export function milliseconds(value) {
  return value < 1000 ? `${value.toLocaleString("fr-FR", { maximumFractionDigits: 1 })} ms`
    : `${(value / 1000).toLocaleString("fr-FR", { maximumFractionDigits: 1 })} s`;
}

function table(headings, rows) {
  return element("div", { class: "scroll" }, element("table", {},
    element("thead", {}, element("tr", {}, ...headings.map((heading) => element("th", { scope: "col" }, heading)))),
    element("tbody", {}, ...rows)));
}

const cell = (content, kind) => element("td", { class: kind ?? "" }, content ?? "");
const named = (name, under) => element("td", { class: "name" }, String(name ?? ""), under ? element("span", { class: "under" }, String(under)) : null);
const list = (value) => (Array.isArray(value) ? value : []);
const counted = (count, one, many) => element("p", { class: "hint" }, count === 0 ? `Aucun ${one}.` : `${count} ${count === 1 ? one : many}`);
const prose = (text) => element("pre", { class: "prose" }, text);

function fileActions(item, use) {
  return element("td", { class: "actions" },
    element("button", { type: "button", class: "quiet small", onclick: () => use("read", { document_id: item.id }) }, "Lire"),
    element("button", { type: "button", class: "quiet small", onclick: () => use("thumbnail", { document_id: item.id }) }, "Aperçu"));
}

function search(result, use) {
  const items = list(result.items);
  if (!items.length) return [element("p", { class: "empty" }, "Aucun document trouvé.")];
  return [counted(items.length, "document", "documents"), table(["Document", "Taille", "Modifié", ""], items.map((item) =>
    element("tr", {}, named(item.name, item.parent), cell(size(item.size), "number"),
      cell(item.modified_at ? moment(item.modified_at) : "—", "when"), fileActions(item, use))))];
}

function listFolders(result, use) {
  const folders = list(result.folders);
  if (!folders.length) return [element("p", { class: "empty" }, "Cette machine ne partage aucun dossier.")];
  return [table(["Dossier", ""], folders.map((folder) => element("tr", {}, named(folder.name, folder.path_display),
    element("td", { class: "actions" }, element("button", { type: "button", class: "quiet small",
      onclick: () => use("list_dir", { folder_id: folder.id }) }, "Parcourir")))))];
}

function listDir(result, use) {
  const items = list(result.items);
  const where = element("p", { class: "hint" }, result.sub_path ? `Dans ${result.sub_path}` : "À la racine du dossier");
  if (!items.length) return [where, element("p", { class: "empty" }, "Ce dossier est vide.")];
  return [where, table(["Nom", "Taille", "Modifié", ""], items.map((item) => element("tr", {},
    named(item.name, item.type === "folder" ? "dossier" : item.mime), cell(item.type === "folder" ? "—" : size(item.size), "number"),
    cell(item.modified_at ? moment(item.modified_at) : "—", "when"),
    item.type === "folder"
      ? element("td", { class: "actions" }, element("button", { type: "button", class: "quiet small",
        onclick: () => use("list_dir", { folder_id: result.folder_id, sub_path: item.sub_path }) }, "Parcourir"))
      : fileActions(item, use))))];
}

function photos(result) {
  const items = list(result.items);
  if (!items.length) return [element("p", { class: "empty" }, "Aucune photo.")];
  return [counted(items.length, "photo", "photos"), table(["Photo", "Prise le", "Lieu"], items.map((item) => element("tr", {},
    named(item.name, item.mime), cell(item.taken_at ? moment(item.taken_at) : "—", "when"),
    cell(item.location ? `${item.location.lat}, ${item.location.lng}` : "—", "number"))))];
}

function ok(result) {
  return [result.ok ? element("p", {}, "C'est fait.")
    : element("p", { class: "notice bad" }, result.error ? `La machine n'y est pas arrivée : ${result.error}` : "La machine n'y est pas arrivée.")];
}

function read(result) {
  const length = element("p", { class: "hint" },
    `${size(result.bytes_read)} lus${result.truncated ? ", texte coupé à la longueur demandée" : ""}`);
  return [length, result.content ? prose(result.content) : element("p", { class: "empty" }, "Ce document ne contient pas de texte.")];
}

function thumbnail(result) {
  if (!result.data_base64) return [element("p", { class: "empty" }, "Pas d'aperçu pour ce document.")];
  return [element("img", { class: "thumbnail", alt: "Aperçu du document", width: result.width, height: result.height,
    src: `data:image/png;base64,${result.data_base64}` })];
}

function inference(result) {
  let said = "";
  try { said = JSON.parse(result.response_json)?.choices?.[0]?.message?.content ?? ""; } catch { /* shown raw below */ }
  return [element("p", { class: "hint" }, `${result.model_used ?? ""} · ${milliseconds(result.latency_ms ?? 0)}`),
    prose(said || String(result.response_json ?? ""))];
}

const renderers = {
  search, read, list_folders: listFolders, list_dir: listDir, photos_recent: photos, photos_by_date: photos,
  app_open: ok, open_document: ok, thumbnail, llm_infer: inference,
  shortcut_run: (result) => [result.output ? prose(result.output) : element("p", { class: "empty" }, "Le raccourci n'a rien écrit.")],
  shortcut_list: (result) => list(result.shortcuts).length
    ? [element("ul", {}, ...list(result.shortcuts).map((name) => element("li", {}, String(name))))]
    : [element("p", { class: "empty" }, "Cette machine n'a pas de raccourci.")],
  ocr_image: (result) => [element("p", { class: "hint" }, `${size(result.bytes_processed)} · ${list(result.languages).join(", ")}`),
    result.text ? prose(result.text) : element("p", { class: "empty" }, "Aucun texte reconnu.")],
};

// The nodes that show `result`; `use(kind, args)` asks the same machine for a next task.
export function resultNodes(kind, result, use) {
  const whole = element("details", {}, element("summary", {}, "Réponse brute (JSON)"),
    element("pre", {}, JSON.stringify(result, null, 2)));
  try {
    if (renderers[kind]) return [...renderers[kind](result, use), whole];
  } catch { /* a shape that isn't the kind's: the raw answer says it all */ }
  whole.open = true;
  return [whole];
}
