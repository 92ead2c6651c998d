// Thumbnails and photos.
import { element, empty, hint } from "../elements.js";
import { cell, listOf, listing, nameCell } from "../listing.js";
import { fullDate, number, place, plain, title } from "../words.js";
import { otherActions } from "./documents.js";

const startOfPng = "iVBORw0KGg"; // the first bytes that every PNG has, in base64
const base64 = /^[A-Za-z0-9+/]+={0,2}$/;
const widest = 4096;

const edge = (value) => Number.isInteger(value) && value > 0 && value <= widest;

function picture(result, name) {
  const broken = empty("Cette vignette est illisible.");
  if (!result.data_base64.startsWith(startOfPng) || !base64.test(result.data_base64)) return broken;
  const image = element("img", { class: "thumbnail", alt: name ? `Vignette de ${title(name)}` : "Vignette du document",
    width: edge(result.width) ? result.width : null, height: edge(result.height) ? result.height : null,
    src: `data:image/png;base64,${result.data_base64}` });
  image.addEventListener("error", () => image.replaceWith(broken));
  return image;
}

export function thumbnail(result, context) {
  if (typeof result.data_base64 !== "string") throw new TypeError("no picture");
  if (result.data_base64 === "") return [empty("Pas de vignette"), otherActions(context)];
  const size = edge(result.width) && edge(result.height) ? hint(`${number(result.width)} × ${number(result.height)} pixels`) : null;
  return [size, picture(result, context.nameOf("documents", context.task.args?.document_id)), otherActions(context)];
}

const photoName = (name) => (name === "(unnamed)" ? "(sans nom)" : title(name));

export function photos(result) {
  return listing({
    headings: ["Photo", "Prise le", "Lieu"], items: listOf(result.items), name: (item) => item.name,
    noun: ["photo", "photos"], none: "Aucune photo.",
    row: (item) => element("tr", {}, nameCell(photoName(item.name), plain(item.mime)), cell(fullDate(item.taken_at), "when"),
      cell(place(item.location), "place")),
  });
}
