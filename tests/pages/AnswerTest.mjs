import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { EventSourceDouble, buttonOf, openPage } from "./PageDouble.mjs";
import { answerPanel } from "../../server/pages/answer.js";

let panel;
let asked = [];
let prepared = [];
let ended = 0;
let served = {}; // the answer of the server to a GET of a task: a status

beforeEach(() => {
  openPage({ answer: "div", "answer-card": "section", "answer-state": "p" });
  asked = [];
  prepared = [];
  ended = 0;
  served = {};
  globalThis.fetch = async (path) => ({ ok: served[path] === 200, status: served[path] ?? 404, text: async () => "{}" });
  panel = answerPanel({ ask: (...all) => asked.push(all), prepare: (...all) => prepared.push(all), ended: () => { ++ended; } });
});

const task = (more = {}) => ({ id: "t", kind: "read", device_id: "A", args: { document_id: "D" }, state: "done", error_message: null, handled_ms: 2.5,
  result: { content: "texte", truncated: false, bytes_read: 5 }, stream: [], ...more });
const answer = () => document.getElementById("answer");
const source = () => EventSourceDouble.opened.at(-1);

test("a task is followed from its waiting to its answer", () => {
  panel.show("t");
  assert.equal(source().address, "/owner/tasks/t/events");
  source().tell("task", task({ state: "queued", result: null, handled_ms: null }));
  assert.match(answer().textContent, /en attente.*La machine n'est pas là/);
  source().tell("task", task({ state: "delivered", result: null, handled_ms: null }));
  assert.match(answer().textContent, /La machine travaille…/);
  source().tell("task", task());
  assert.match(answer().textContent, /terminée.*texte/s);
  assert.equal(document.getElementById("answer-state").textContent, "Lire un document : terminée");
  assert.equal(source().readyState, EventSourceDouble.CLOSED);
  assert.equal(ended, 1);
});

test("errors and silence show their words", () => {
  panel.show("t");
  source().tell("task", task({ state: "error", result: null, error_message: "Document hors des <b>dossiers</b>." }));
  const notice = answer().all((each) => each.className === "notice bad")[0];
  assert.equal(notice.textContent, "Document hors des <b>dossiers</b>.");
  panel.show("u");
  source().tell("task", task({ state: "timeout", result: null, error_message: "La machine n'a pas répondu à temps." }));
  assert.equal(answer().all((each) => each.className === "notice warn")[0].textContent, "La machine n'a pas répondu à temps.");
});

test("streamed pieces grow until the answer takes their place", () => {
  panel.show("t");
  source().tell("task", task({ kind: "llm_infer", state: "delivered", result: null }));
  source().tell("delta", { delta: "Bon" });
  source().tell("delta", { delta: "jour" });
  assert.equal(answer().all("pre")[0].textContent, "Bonjour");
  source().tell("task", task({ kind: "llm_infer", result: { response_json: "{}", model_used: "m", latency_ms: 1 }, stream: ["Bon", "jour"] }));
  assert.doesNotMatch(answer().textContent, /Bonjour/);
});

test("a next task goes to the machine that answered, and back leads to the answer before", () => {
  panel.show("t");
  source().tell("task", task({ device_id: "B" }));
  buttonOf(answer(), "OCR").click();
  assert.deepEqual(asked, [["ocr_image", { document_id: "D" }, "B"]]);
  buttonOf(answer(), "Reprendre").click();
  assert.deepEqual(prepared, [["read", { document_id: "D" }, "B"]]);
  assert.equal(buttonOf(answer(), "Retour"), undefined);
  panel.show("u");
  source().tell("task", task({ id: "u" }));
  buttonOf(answer(), "Retour").click();
  assert.equal(source().address, "/owner/tasks/t/events");
  source().tell("task", task());
  assert.equal(buttonOf(answer(), "Retour"), undefined);
});

test("a task whose events were lost is followed again", async () => {
  panel.show("t");
  source().tell("task", task({ state: "delivered", result: null }));
  await panel.resume();
  assert.equal(EventSourceDouble.opened.length, 1, "its events still come");
  source().close();
  served["/owner/tasks/t"] = 200;
  await panel.resume();
  assert.equal(EventSourceDouble.opened.length, 2);
  source().tell("task", task());
  await panel.resume();
  assert.equal(EventSourceDouble.opened.length, 2, "it has its end");
});

test("a task that the history has lost is not asked for without end", async () => {
  panel.show("t");
  source().close();
  await panel.resume();
  assert.match(answer().textContent, /n'est plus dans l'historique/);
  await panel.resume();
  assert.equal(EventSourceDouble.opened.length, 1);
});

test("while the owner is logged out the loss is told to the page", async () => {
  panel.show("t");
  source().close();
  served["/owner/tasks/t"] = 401;
  await assert.rejects(panel.resume(), { status: 401 });
});
