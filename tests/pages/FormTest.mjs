import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { PageElement, openPage } from "./PageDouble.mjs";
import { fill, focusForm, readForm, startForm } from "../../server/pages/form.js";
import { kindGroups } from "../../server/pages/kinds.js";
import { remember } from "../../server/pages/remembered.js";

const kinds = kindGroups.flatMap((group) => group.kinds);
let sent = 0;

beforeEach(() => {
  openPage({ device: "select", kind: "select", "kind-hint": "p", fields: "fieldset", raw: "div", "raw-args": "textarea",
    "raw-mode": "input", "task-error": "p", task: "form" });
  const option = new PageElement("option");
  option.setAttribute("value", "A");
  document.getElementById("device").append(option);
  document.getElementById("fields").append(new PageElement("legend"));
  sent = 0;
  startForm(() => { ++sent; });
});

const byId = (id) => document.getElementById(id);
const write = (name, value) => { byId(`arg-${name}`).value = value; };

test("the thirteen kinds are offered, each once", () => {
  assert.deepEqual(byId("kind").all("option").map((each) => each.value).sort(), ["app_open", "list_dir", "list_folders", "llm_infer",
    "ocr_image", "open_document", "photos_by_date", "photos_recent", "read", "search", "shortcut_list", "shortcut_run", "thumbnail"]);
});

test("every field has its label, and required ones say so", () => {
  for (const { kind, fields } of kinds) {
    fill(kind, {});
    for (const field of fields) {
      const label = byId("fields").all("label").find((each) => each.getAttribute("for") === `arg-${field.name}`);
      assert.ok(label.textContent.startsWith(field.label), `${kind} ${field.name}`);
      assert.equal(byId(`arg-${field.name}`).attributes.has("required"), Boolean(field.required));
      assert.equal(label.textContent.endsWith(" *"), Boolean(field.required));
    }
    assert.equal(byId("fields").textContent.includes("* obligatoire"), fields.some((field) => field.required));
  }
});

test("arguments are written in the types of the wire", () => {
  const rows = [
    ["search", { query: "facture edf", folder_hints: ["Documents", "Reçus"], limit: 5 }],
    ["read", { document_id: "X", max_chars: 100 }],
    ["list_folders", {}],
    ["list_dir", { folder_id: "F", sub_path: "a/b" }],
    ["photos_recent", { limit: 3 }],
    ["photos_by_date", { year: 2024, month: 2, limit: 30 }],
    ["app_open", { name: "Notes" }],
    ["shortcut_run", { name: "Éteindre", input: "un\ndeux" }],
    ["shortcut_list", {}],
    ["ocr_image", { document_id: "X" }],
    ["open_document", { document_id: "X" }],
    ["thumbnail", { document_id: "X", max_edge: 256 }],
    ["llm_infer", { openai_body_json: '{"messages":[{"role":"user","content":"Bonjour"}]}' }],
  ];
  assert.equal(rows.length, kinds.length);
  for (const [kind, args] of rows) {
    fill(kind, args);
    assert.equal(byId("raw").hidden, true, kind);
    assert.deepEqual(readForm(), { kind, args });
  }
});

test("a question to the local model becomes a chat, and the chat a question again", () => {
  const tools = [{ type: "function", function: { name: "chercher" } }];
  fill("llm_infer", {});
  assert.deepEqual(readForm().args, { openai_body_json: '{"messages":[{"role":"user","content":""}]}' });
  write("question", "Qui ?");
  write("system", "Sois bref.");
  write("model", "a/b");
  write("tools", JSON.stringify(tools));
  const { args } = readForm();
  assert.deepEqual(JSON.parse(args.openai_body_json), { model: "a/b", messages: [{ role: "system", content: "Sois bref." },
    { role: "user", content: "Qui ?" }], tools, tool_choice: "auto" });
  fill("llm_infer", args);
  assert.equal(byId("raw").hidden, true);
  assert.equal(byId("arg-question").value, "Qui ?");
  assert.deepEqual(JSON.parse(byId("arg-tools").value), tools);
  assert.deepEqual(readForm().args, args);
});

test("a chat that the fields can't hold is shown as JSON", () => {
  for (const body of ["{", "[]", "{}", '{"messages":5}', '{"messages":[{"role":"user","content":"x"}],"temperature":0.5}',
    '{"messages":[{"role":"user","content":[{"type":"text"}]}]}', '{"messages":[{"role":"user","content":"a"},{"role":"user","content":"b"}]}']) {
    fill("llm_infer", { openai_body_json: body });
    assert.equal(byId("raw").hidden, false, body);
    assert.deepEqual(readForm().args, { openai_body_json: body });
  }
});

test("tools that are no JSON are refused, and none are fine", () => {
  fill("llm_infer", {});
  const tools = byId("arg-tools");
  const judged = (value) => { tools.value = value; tools.dispatchEvent(new Event("input")); return tools.validity === ""; };
  assert.deepEqual([judged(""), judged("  "), judged("[]"), judged("[")], [true, true, true, false]);
  assert.equal(tools.validity, "Ce texte n'est pas du JSON valide.");
});

test("an optional field left empty is left out", () => {
  fill("search", {});
  write("query", "x");
  write("limit", " ");
  assert.deepEqual(readForm().args, { query: "x" });
  fill("photos_by_date", {});
  assert.deepEqual(readForm().args, { year: new Date().getFullYear() });
  write("month", "12");
  assert.equal(readForm().args.month, 12);
});

test("an input that is empty or blank is given when it is meant to be, and left out when not", () => {
  for (const args of [{ name: "Dire" }, { name: "Dire", input: "" }, { name: "Dire", input: " \n" }]) {
    fill("shortcut_run", args);
    assert.equal(byId("raw").hidden, true);
    assert.deepEqual(readForm().args, args);
  }
  fill("shortcut_run", { name: "Dire" });
  write("input", "\n");
  byId("arg-input").dispatchEvent(new Event("input"));
  assert.deepEqual(readForm().args, { name: "Dire", input: "\n" });
  write("input", "");
  assert.deepEqual(readForm().args, { name: "Dire", input: "" });
  byId("arg-input-given").checked = false;
  assert.deepEqual(readForm().args, { name: "Dire" });
});

test("what a field can't hold to the letter is shown as JSON, and sent as it is", () => {
  for (const args of [{ folder_id: "F", sub_path: "une\nligne" }, { folder_id: "F", sub_path: "" }, { folder_id: "F", other: 1 }]) {
    fill("list_dir", args);
    assert.equal(byId("raw").hidden, false);
    assert.equal(byId("fields").disabled, true);
    assert.deepEqual(readForm(), { kind: "list_dir", args });
  }
  fill("search", { query: "x", folder_hints: ["a, b"] });
  assert.deepEqual(readForm().args.folder_hints, ["a, b"]);
});

test("JSON that is none, or no object, is refused in words", () => {
  byId("raw-mode").checked = true;
  for (const [text, words] of [["{", "Les arguments ne sont pas du JSON valide."], ["[1]", "Les arguments doivent être un objet JSON."],
    ["null", "Les arguments doivent être un objet JSON."], ["3", "Les arguments doivent être un objet JSON."]]) {
    byId("raw-args").value = text;
    assert.throws(readForm, { message: words });
  }
  byId("raw-args").value = " ";
  assert.equal(readForm().args, undefined);
});

test("choosing another kind shows its fields and forgets an earlier error", () => {
  byId("task-error").textContent = "ancienne erreur";
  byId("kind").value = "thumbnail";
  byId("kind").dispatchEvent(new Event("change"));
  assert.ok(byId("arg-max_edge"));
  assert.equal(byId("arg-query"), null);
  assert.equal(byId("task-error").textContent, "");
});

test("documents that answers named are suggested, for their own machine alone", () => {
  remember({ kind: "search", device_id: "A", result: { items: [{ id: "1", name: "a\u202etxt" }] } });
  remember({ kind: "search", device_id: "B", result: { items: [{ id: "2", name: "b.txt" }] } });
  fill("read", {});
  assert.deepEqual(byId("arg-document_id-known").all("option").map((each) => [each.value, each.textContent]), [["1", "a\ufffdtxt"]]);
});

test("the form is sent by its submission, and the focus goes to what still waits", () => {
  byId("task").requestSubmit();
  assert.equal(sent, 1);
  fill("shortcut_run", { name: "Éteindre" });
  focusForm();
  assert.equal(PageElement.focused, byId("arg-input"));
});
