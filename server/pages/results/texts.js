// Texts that a machine read or wrote.
import { button, element, empty, hint } from "../elements.js";
import { counted, language, milliseconds, number, plain, size } from "../words.js";
import { listOf } from "../listing.js";
import { otherActions } from "./documents.js";

async function copy(event, text) {
  const pressed = event.currentTarget;
  try {
    await navigator.clipboard.writeText(text);
    pressed.textContent = "Copié";
  } catch {
    pressed.textContent = "Copie refusée";
  }
  setTimeout(() => { pressed.textContent = "Copier"; }, 1500);
}

// The text as it stands, its own direction of writing, and its length beside a button that copies it.
function preformatted(text, about) {
  const length = counted(Array.from(text).length, "caractère", "caractères");
  return [element("div", { class: "sieve" }, hint([...about, length].join(" · ")), button("Copier", (event) => copy(event, text))),
    element("pre", { class: "prose", dir: "auto", tabindex: 0 }, text)];
}

const textOf = (value) => {
  if (typeof value !== "string") throw new TypeError("no text");
  return value;
};

export function read(result, context) {
  const about = [`${size(result.bytes_read)} lus`];
  if (result.truncated === true) about.push("texte coupé à la longueur demandée");
  const text = textOf(result.content);
  return [...(text ? preformatted(text, about) : [empty("Ce document ne contient pas de texte.")]), otherActions(context)];
}

export function ocr(result, context) {
  const languages = listOf(result.languages).map((tag) => language(String(tag)));
  const about = [size(result.bytes_processed), languages.length ? languages.join(", ") : "texte déjà dans le document"];
  const text = textOf(result.text);
  return [...(text ? preformatted(text, about) : [empty("Aucun texte reconnu.")]), otherActions(context)];
}

export function shortcutRun(result) {
  return result.output === undefined ? [empty("C'est fait. L'automatisation n'a rien écrit.")] : preformatted(textOf(result.output), []);
}

// The calls that a model asks for, each with its arguments.
function toolCalls(message) {
  if (!Array.isArray(message?.tool_calls) || !message.tool_calls.length) return [];
  return [element("h3", {}, "Outils demandés"), element("dl", {}, ...message.tool_calls.flatMap((call) =>
    [element("dt", { class: "code" }, plain(call?.function?.name) || "(sans nom)"),
      element("dd", { class: "code" }, plain(call?.function?.arguments))]))];
}

function tokens(usage) {
  const { prompt_tokens: asked, completion_tokens: written } = usage ?? {};
  return Number.isInteger(written) && written > 0 ? [counted(asked, "jeton lu", "jetons lus"), counted(written, "jeton écrit", "jetons écrits")] : [];
}

export function inference(result) {
  const raw = textOf(result.response_json);
  let answer = null;
  try { answer = JSON.parse(raw); } catch { /* no JSON: shown as it came */ }
  const body = answer === null ? raw : JSON.stringify(answer, null, 2);
  const message = answer?.choices?.[0]?.message;
  const said = message?.content;
  return [hint([plain(result.model_used) || "modèle inconnu", milliseconds(result.latency_ms), ...tokens(answer?.usage)].join(" · ")),
    ...(typeof said === "string" && said ? preformatted(said, []) : []), ...toolCalls(message),
    element("details", { open: answer === null }, element("summary", {}, `Réponse du modèle (${counted(raw.length, "caractère", "caractères")})`),
      element("pre", { tabindex: 0 }, body.length > 100_000 ? `${body.slice(0, 100_000)}…\n(${number(body.length - 100_000)} de plus)` : body))];
}
