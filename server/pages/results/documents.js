// Documents and folders: search hits and listings, with what can be asked of each.
import { button, element, hint } from "../elements.js";
import { actionsCell, cell, listOf, listing, nameCell } from "../listing.js";
import { fullDate, plain, size, title } from "../words.js";

const onDocument = [["read", "Lire"], ["ocr_image", "OCR"], ["thumbnail", "Vignette"], ["open_document", "Ouvrir"]];

// Buttons for what can be asked of the document `id`, called `name`; those of `kinds` alone where given.
export function documentActions(id, name, { ask }, kinds = onDocument.map(([kind]) => kind)) {
  return onDocument.filter(([kind]) => kinds.includes(kind)).map(([kind, label]) =>
    button(label, () => ask(kind, { document_id: id }), { "aria-label": `${label} : ${title(name)}` }));
}

const folderLink = (name, open) => element("button", { type: "button", class: "link folder", onclick: open }, title(name));

const dateCell = (text) => cell(fullDate(text), "when");

const remote = (item) => (item.is_remote === true ? "sur un volume distant" : null);

// Hits of a search may be folders; a listing says so in a field of its own.
const isFolder = (item) => ["inode/directory", "public.folder"].includes(item.mime);

export function search(result, context) {
  return listing({
    headings: ["Document", "Taille", "Modifié", ""], items: listOf(result.items), name: (item) => item.name,
    noun: ["document", "documents"], none: "Aucun document trouvé.",
    row: (item) => element("tr", {}, nameCell(title(item.name), plain(item.parent), remote(item)), cell(size(item.size), "number"),
      dateCell(item.modified_at), actionsCell(...documentActions(item.id, item.name, context, isFolder(item) ? ["open_document"] : undefined))),
  });
}

const browse = (name, open) => button("Parcourir", open, { "aria-label": `Parcourir : ${title(name)}` });

export function listFolders(result, { ask }) {
  const row = (folder) => {
    const open = () => ask("list_dir", { folder_id: folder.id });
    return element("tr", {}, nameCell(folderLink(folder.name, open), plain(folder.path_display), remote(folder)),
      actionsCell(browse(folder.name, open)));
  };
  return listing({ headings: ["Dossier", ""], items: listOf(result.folders), row, name: (folder) => folder.name,
    noun: ["dossier", "dossiers"], none: "Cette machine ne partage aucun dossier." });
}

// Where one stands in a shared folder, each step up a button. Of a deep path the middle is left out.
function trail(result, { ask, nameOf }) {
  const pieces = String(result.sub_path).split("/").filter(Boolean);
  const root = title(nameOf("folders", result.folder_id) ?? "Dossier partagé");
  const steps = [{ label: "Dossiers partagés", go: () => ask("list_folders", {}) },
    { label: root, go: () => ask("list_dir", { folder_id: result.folder_id }) },
    ...pieces.map((piece, index) => ({ label: title(piece),
      go: () => ask("list_dir", { folder_id: result.folder_id, sub_path: pieces.slice(0, index + 1).join("/") }) }))];
  const shown = steps.length > 8 ? [...steps.slice(0, 3), { label: "…" }, ...steps.slice(-4)] : steps;
  return element("nav", { class: "trail", "aria-label": "Chemin" }, element("ol", {}, ...shown.map(({ label, go }, index) =>
    element("li", {}, index === shown.length - 1 ? element("span", { "aria-current": "location" }, label)
      : go ? element("button", { type: "button", class: "link", onclick: go }, label) : element("span", {}, label)))));
}

export function listDir(result, context) {
  const folderRow = (item) => {
    const open = () => context.ask("list_dir", { folder_id: result.folder_id, sub_path: item.sub_path });
    return element("tr", {}, nameCell(folderLink(item.name, open)), cell("—", "number"), dateCell(item.modified_at),
      actionsCell(browse(item.name, open), ...documentActions(item.id, item.name, context, ["open_document"])));
  };
  const fileRow = (item) => element("tr", {}, nameCell(title(item.name), plain(item.mime)), cell(size(item.size), "number"),
    dateCell(item.modified_at), actionsCell(...documentActions(item.id, item.name, context)));
  return [trail(result, context), ...listing({
    headings: ["Nom", "Taille", "Modifié", ""], items: listOf(result.items), name: (item) => item.name,
    noun: ["élément", "éléments"], none: "Ce dossier est vide.",
    row: (item) => (item.type === "folder" ? folderRow(item) : fileRow(item)),
  })];
}

// What else can be asked of the document that a task was about.
export function otherActions(context) {
  const id = context.task.args?.document_id;
  if (typeof id !== "string") return null;
  const name = context.nameOf("documents", id) ?? "ce document";
  return element("div", { class: "buttons besides" }, hint("Ce document :"), ...documentActions(id, name, context,
    onDocument.map(([kind]) => kind).filter((kind) => kind !== context.task.kind)));
}
