// The choice of who answers the questions.
import { byId, show } from "./elements.js";
import { call } from "./owner.js";

const answerers = ["simple", "machine", "server"];
let known = null; // what the server holds

const chosen = () => answerers.find((who) => byId(`answering-${who}`).checked) ?? "simple";

function showFields() {
  byId("answering-fields").hidden = chosen() !== "server";
  byId("answering-url").required = chosen() === "server";
}

function draw(choice) {
  known = choice;
  for (const who of answerers) byId(`answering-${who}`).checked = who === choice.who;
  byId("answering-url").value = choice.url;
  byId("answering-model").value = choice.model;
  byId("answering-key").value = "";
  byId("answering-forget").checked = false;
  byId("answering-forget-row").hidden = !choice.has_key || choice.fixed;
  byId("answering-key-note").textContent = choice.has_key ? "Une clé est enregistrée ; vide : elle reste." : "Vide : aucune n'est présentée.";
  byId("answering-choice").disabled = choice.fixed;
  byId("answering-end").hidden = choice.fixed;
  byId("answering-fixed").hidden = !choice.fixed;
  showFields();
}

function written() {
  const who = chosen();
  if (who !== "server") return { who };
  const choice = { who, url: byId("answering-url").value.trim(), model: byId("answering-model").value.trim() };
  const key = byId("answering-key").value.trim();
  if (key || byId("answering-forget").checked) choice.key = key;
  return choice;
}

// Asks for the choice where it isn't known yet; what is being written stays.
export async function showAnswering() {
  if (!known) draw(await call("GET", "/owner/answering"));
}

// Readies the form; `lost()` is called when the session has ended.
export function startAnswering(lost) {
  const changed = () => {
    byId("answering-state").textContent = "";
    show(byId("answering-error"), null);
    showFields();
  };
  byId("answering").addEventListener("input", changed);
  byId("answering").addEventListener("submit", async (event) => {
    event.preventDefault();
    const button = byId("answering-save");
    if (button.disabled) return;
    button.disabled = true;
    changed();
    try {
      draw(await call("PUT", "/owner/answering", written()));
      byId("answering-state").textContent = "Enregistré.";
    } catch (error) {
      if (error.status === 401) return lost();
      show(byId("answering-error"), error.message);
    } finally {
      button.disabled = false;
    }
  });
}
