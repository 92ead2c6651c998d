// A table of many rows: the first ones at once, the others on demand, and a filter where there are many.
import { button, element, empty } from "./elements.js";
import { counted, number } from "./words.js";

const step = 200;
const filteredFrom = 16;

const numbers = new Set(["Taille", "Durée"]);

const folded = (text) => String(text).normalize("NFD").replace(/\p{Mn}/gu, "").toLowerCase();

// A column of buttons has no heading to see.
const header = (heading) => element("th", { scope: "col", class: numbers.has(heading) ? "number" : null },
  heading || element("span", { class: "unseen" }, "Actions"));

export function table(headings, body) {
  return element("div", { class: "scroll" }, element("table", {},
    element("thead", {}, element("tr", {}, ...headings.map(header))), body));
}

// `row(item)` makes the row of one item, `name(item)` gives what the filter looks at; `noun` is [one, several], and
// `none` is said of an empty list.
export function listing({ headings, items, row, name, noun, none }) {
  if (!items.length) return [empty(none)];
  const body = element("tbody");
  const grid = table(headings, body);
  const count = element("p", { class: "hint", role: "status" });
  const foot = element("div", { class: "more" });
  let kept = items;
  let drawn = 0;
  const more = () => {
    body.append(...kept.slice(drawn, drawn + step).map(row));
    drawn = Math.min(drawn + step, kept.length);
    foot.replaceChildren(...(drawn < kept.length ? [button(`Afficher la suite (${number(kept.length - drawn)})`, more)] : []));
  };
  const draw = () => {
    drawn = 0;
    body.replaceChildren();
    more();
    count.textContent = (kept === items ? "" : `${number(kept.length)} sur `) + counted(items.length, ...noun);
    grid.hidden = kept.length === 0;
  };
  draw();
  if (items.length < filteredFrom) return [count, grid, foot];
  const filter = element("input", { type: "search", class: "filter", placeholder: "Filtrer par nom", "aria-label": "Filtrer par nom",
    autocomplete: "off", spellcheck: "false" });
  filter.addEventListener("input", () => {
    const wanted = folded(filter.value.trim());
    kept = wanted === "" ? items : items.filter((item) => folded(name(item)).includes(wanted));
    draw();
  });
  return [element("div", { class: "sieve" }, count, filter), grid, foot];
}

// A "—" says that there is nothing; a narrow screen leaves it out.
export const cell = (content, kind = "") => element("td", { class: content === "—" ? `${kind} absent` : kind }, content);

// A name with less important lines under it; absent ones are passed over.
export const nameCell = (name, ...under) => element("td", { class: "name" }, element("span", { class: "title" }, name),
  ...under.filter(Boolean).map((text) => element("span", { class: "under" }, text)));

export const actionsCell = (...buttons) => element("td", { class: "actions" }, element("div", { class: "buttons" }, ...buttons));

// An array out of an answer; anything else isn't the shape that the kind promises.
export function listOf(value) {
  if (!Array.isArray(value)) throw new TypeError("no list");
  return value;
}
