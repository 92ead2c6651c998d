// What a machine did, or can do: applications, documents opened, shortcuts.
import { button, element } from "../elements.js";
import { actionsCell, listOf, listing, nameCell } from "../listing.js";
import { title } from "../words.js";
import { otherActions } from "./documents.js";

const knownErrors = { open_failed: "le document n'a pas pu être ouvert (open_failed)." };

const errorWords = (error) => (Object.hasOwn(knownErrors, error) ? knownErrors[error] : String(error));

export function done(result, context) {
  if (typeof result.ok !== "boolean") throw new TypeError("neither done nor not");
  const said = result.ok ? element("p", { class: "notice good" }, "C'est fait.")
    : element("p", { class: "notice bad" }, result.error ? `La machine n'y est pas arrivée : ${errorWords(result.error)}`
      : "La machine n'y est pas arrivée.");
  return [said, otherActions(context)];
}

export function shortcutList(result, { ask, prepare }) {
  return listing({
    headings: ["Automatisation", ""], items: listOf(result.shortcuts), name: (name) => name,
    noun: ["automatisation", "automatisations"], none: "Cette machine n'a pas d'automatisation.",
    row: (name) => element("tr", {}, nameCell(title(name)), actionsCell(
      button("Lancer", () => ask("shortcut_run", { name }), { "aria-label": `Lancer : ${title(name)}` }),
      button("Lancer avec un texte…", () => prepare("shortcut_run", { name }),
        { "aria-label": `Lancer avec un texte : ${title(name)}` }))),
  });
}
