// The form of one kind of task, made of the kind's fields, and the arguments that are written in it.
import { byId, element, show } from "./elements.js";
import { kindGroups, kindNamed } from "./kinds.js";
import { suggestions } from "./remembered.js";
import { title } from "./words.js";

const idOf = (field) => `arg-${field.name}`;
const givenIdOf = (field) => `${idOf(field)}-given`;
const isLong = (field) => field.type === "area" || field.type === "json";

function input(field) {
  const common = { id: idOf(field), name: field.name, required: field.required, placeholder: field.placeholder,
    class: field.code ? "code" : null, spellcheck: field.code ? "false" : null, autocomplete: "off",
    "aria-describedby": field.note ? `${idOf(field)}-note` : null };
  if (isLong(field)) return element("textarea", { ...common, rows: 4 });
  if (field.type === "choice") {
    return element("select", common, ...field.choices.map(([value, label]) => element("option", { value }, label)));
  }
  if (field.type === "number") {
    return element("input", { ...common, type: "number", step: 1, min: field.min, max: field.max, inputmode: "numeric" });
  }
  return element("input", { ...common, type: "text", list: field.known ? `${idOf(field)}-known` : null });
}

function fieldNodes(field, value, device) {
  const made = input(field);
  made.value = value ?? field.value?.() ?? "";
  if (field.type === "json") {
    const check = () => {
      const fine = isJson(made.value) || (!field.required && made.value.trim() === "");
      made.setCustomValidity(fine ? "" : "Ce texte n'est pas du JSON valide.");
    };
    made.addEventListener("input", check);
    check();
  }
  const mark = field.required ? element("span", { class: "mark", "aria-hidden": "true" }, " *") : null;
  return [element("label", { for: idOf(field) }, field.label, mark), made,
    field.given ? element("label", { class: "check" }, given(field, made, value !== undefined), ` ${field.given}`) : null,
    field.note ? element("p", { class: "note", id: `${idOf(field)}-note` }, field.note) : null,
    field.known ? element("datalist", { id: `${idOf(field)}-known` }, ...suggestions(field.known, device).map(([id, name]) =>
      element("option", { value: id }, title(name)))) : null];
}

// The box that says whether a field is an argument at all, for one that may well be empty. Writing ticks it.
function given(field, made, isGiven) {
  const box = element("input", { type: "checkbox", id: givenIdOf(field) });
  box.checked = isGiven;
  made.addEventListener("input", () => { box.checked = true; });
  return box;
}

function isJson(text) {
  try { JSON.parse(text); return true; } catch { return false; }
}

const written = (field, value) => {
  if (field.type === "number" || field.number) return Number(value);
  if (field.type === "json") return isJson(value) ? JSON.parse(value) : value;
  if (field.type === "list") return value.split(",").map((part) => part.trim()).filter(Boolean);
  return value;
};

function shown(field, value) {
  if (field.type === "list" && Array.isArray(value)) return value.join(", ");
  return field.type === "json" && value !== undefined ? JSON.stringify(value, null, 2) : value;
}

const sorted = (args) => JSON.stringify(Object.entries(args).sort(([one], [other]) => (one < other ? -1 : 1)));

function typedArgs() {
  const kind = kindNamed(byId("kind").value);
  const values = {};
  for (const field of kind.fields) {
    const value = byId(idOf(field)).value;
    const isGiven = field.given ? byId(givenIdOf(field)).checked : value.trim() !== "" || field.required;
    if (isGiven) values[field.name] = written(field, value);
  }
  return kind.compose ? kind.compose(values) : values;
}

function setRaw(raw, args) {
  byId("raw-mode").checked = raw;
  if (raw) byId("raw-args").value = JSON.stringify(args, null, 2);
  byId("raw").hidden = !raw;
  byId("raw-args").disabled = !raw;
  byId("fields").hidden = raw;
  byId("fields").disabled = raw;
}

function choose(name) {
  fill(name, {});
  show(byId("task-error"), null);
}

// Shows a kind with these arguments; as JSON where the fields can't hold them to the letter.
export function fill(name, args) {
  const kind = kindNamed(name);
  byId("kind").value = name;
  byId("kind-hint").textContent = kind.hint;
  const values = (kind.parts ? kind.parts(args) : args) ?? {};
  const nodes = kind.fields.flatMap((field) => fieldNodes(field, shown(field, values[field.name]), byId("device").value));
  if (kind.fields.some((field) => field.required)) nodes.push(element("p", { class: "note" }, "* obligatoire"));
  const [legend] = byId("fields").children;
  byId("fields").replaceChildren(legend, ...nodes.filter(Boolean));
  setRaw(false);
  const given = Object.keys(args).length > 0;
  if (given && sorted(typedArgs()) !== sorted(args)) setRaw(true, args);
}

// The kind and the arguments as they stand. Throws an Error with the words for the user.
export function readForm() {
  const kind = byId("kind").value;
  if (!byId("raw-mode").checked) return { kind, args: typedArgs() };
  const text = byId("raw-args").value.trim();
  if (text === "") return { kind, args: undefined };
  if (!isJson(text)) throw new Error("Les arguments ne sont pas du JSON valide.");
  const args = JSON.parse(text);
  if (args === null || typeof args !== "object" || Array.isArray(args)) throw new Error("Les arguments doivent être un objet JSON.");
  return { kind, args };
}

// Moves to the first field that still waits for its value.
export function focusForm() {
  const waiting = [...byId("fields").querySelectorAll("input, select, textarea")].find((each) => each.value === "");
  (byId("raw-mode").checked ? byId("raw-args") : waiting ?? byId("kind")).focus();
}

// Readies the form; `send` is called when it is submitted.
export function startForm(send) {
  byId("kind").append(...kindGroups.map((group) =>
    element("optgroup", { label: group.label }, ...group.kinds.map((each) => element("option", { value: each.kind }, each.label)))));
  byId("kind").addEventListener("change", () => choose(byId("kind").value));
  byId("raw-mode").addEventListener("change", () => setRaw(byId("raw-mode").checked, typedArgs()));
  byId("task").addEventListener("submit", (event) => {
    event.preventDefault();
    send();
  });
  byId("task").addEventListener("keydown", (event) => {
    if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) byId("task").requestSubmit();
  });
  choose("search");
}
