// The account's machines: cards, and the choice of one in the form.
import { button, byId, element, empty } from "./elements.js";
import { call } from "./owner.js";
import { moment, number, plain, title } from "./words.js";

const longestName = 60;

let machines = [];
let working = new Set();

export const machineName = (id) => {
  const machine = machines.find((each) => each.device_id === id);
  return title(machine?.nickname || id, longestName);
};

// A machine that works on a task has no poll open, and between two polls there is a moment without one.
function presence(machine) {
  if (working.has(machine.device_id)) return ["occupée", "good"];
  const justSeen = Date.now() - new Date(machine.last_seen_at).getTime() < 3000;
  return machine.connected || justSeen ? ["connectée", "good"] : ["absente", ""];
}

export function isPresent(id) {
  const machine = machines.find((each) => each.device_id === id);
  return machine !== undefined && presence(machine)[0] !== "absente";
}

function heartbeat(beat) {
  if (!beat) return null;
  const rows = [];
  const add = (label, value) => rows.push(element("dt", {}, label), element("dd", {}, value));
  if (beat.loaded_model) add("Modèle chargé", plain(beat.loaded_model));
  if (typeof beat.ram_total_gb === "number") {
    add("Mémoire", typeof beat.ram_used_gb === "number"
      ? `${number(beat.ram_used_gb, 1)} sur ${number(beat.ram_total_gb, 1)} Gio` : `${number(beat.ram_total_gb, 1)} Gio`);
  }
  if (typeof beat.tok_per_sec_recent === "number") add("Vitesse", `${number(beat.tok_per_sec_recent, 1)} jetons/s`);
  if (Array.isArray(beat.downloaded_models)) add("Sur le disque", beat.downloaded_models.slice(0, 20).map((name) => plain(name)).join(", "));
  return rows.length ? element("dl", {}, ...rows) : null;
}

async function remove(machine) {
  const name = machineName(machine.device_id);
  if (!confirm(`Retirer « ${name} » ? Son jeton cessera de valoir et ses tâches en attente seront abandonnées.`)) return;
  await call("DELETE", `/owner/machines/${encodeURIComponent(machine.device_id)}`);
  await showMachines(working);
}

function card(machine) {
  const [word, tone] = presence(machine);
  return element("li", { class: "machine" },
    element("header", {}, element("strong", {}, machineName(machine.device_id)),
      element("span", { class: `state ${tone}` }, word)),
    heartbeat(machine.heartbeat),
    element("span", { class: "id code" }, plain(machine.device_id)),
    element("div", { class: "foot" }, element("span", { class: "hint" }, `Vue ${seen(machine.last_seen_at)}`),
      button("Retirer", () => remove(machine), { "aria-label": `Retirer : ${machineName(machine.device_id)}` })));
}

function seen(text) {
  const seconds = Math.round((Date.now() - new Date(text).getTime()) / 1000);
  if (seconds < 60) return "à l'instant";
  if (seconds < 3600) return `il y a ${Math.floor(seconds / 60)} min`;
  return moment(text);
}

function offerMachines() {
  const device = byId("device");
  const chosen = device.value;
  device.replaceChildren(...machines.map((machine) => element("option", { value: machine.device_id },
    machineName(machine.device_id) + (presence(machine)[0] === "absente" ? " (absente)" : ""))));
  const fallback = machines.find((machine) => machine.connected) ?? machines[0];
  device.value = machines.some((machine) => machine.device_id === chosen) ? chosen : fallback?.device_id ?? "";
}

let drawn = "";
// Asks for the machines and shows them; `busy` holds the identifiers of those at work.
export async function showMachines(busy) {
  working = busy;
  machines = await call("GET", "/owner/machines");
  const cards = machines.map(card);
  const picture = JSON.stringify(cards.map((each) => each.textContent));
  if (picture === drawn) return;
  drawn = picture;
  byId("machines").replaceChildren(machines.length ? element("ul", { class: "machines" }, ...cards)
    : element("p", { class: "empty" }, "Aucune machine pour l'instant. ", element("a", { href: "/pairing" }, "Associe la première.")));
  offerMachines();
}
