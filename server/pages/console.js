import { byId, call, element, guard, moment, show } from "./owner.js";
import { kindNamed, kinds } from "./kinds.js";
import { milliseconds, resultNodes, stateBadge } from "./results.js";

let machines = [];
let tasks = []; // the newest ones
let events = null;
let running = false;

const login = guard(start);

async function start() {
  byId("console").hidden = false;
  if (running) return;
  running = true;
  for (;;) {
    try {
      await showHistory();
      await showMachines();
    } catch (error) {
      if (error.status === 401) {
        running = false;
        events?.close();
        return login.ask();
      }
    }
    await new Promise((resolve) => setTimeout(resolve, document.hidden ? 10_000 : 2500));
  }
}

// ---- machines

// A machine that works on a task has no poll open, and between two polls there is a moment without one.
function presence(machine) {
  const working = tasks.some((task) => task.device_id === machine.device_id && ["delivered", "streaming"].includes(task.state));
  if (working) return ["occupée", "good"];
  const justSeen = Date.now() - new Date(machine.last_seen_at).getTime() < 3000;
  return machine.connected || justSeen ? ["connectée", "good"] : ["absente", ""];
}

const gigabytes = (value) => value.toLocaleString("fr-FR", { maximumFractionDigits: 1 });

function heartbeat(beat) {
  if (!beat) return null;
  const rows = [];
  const add = (label, value) => rows.push(element("dt", {}, label), element("dd", {}, value));
  if (beat.loaded_model) add("Modèle chargé", String(beat.loaded_model));
  if (typeof beat.ram_total_gb === "number") {
    add("Mémoire", typeof beat.ram_used_gb === "number"
      ? `${gigabytes(beat.ram_used_gb)} sur ${gigabytes(beat.ram_total_gb)} Gio` : `${gigabytes(beat.ram_total_gb)} Gio`);
  }
  if (typeof beat.tok_per_sec_recent === "number") add("Vitesse", `${gigabytes(beat.tok_per_sec_recent)} jetons/s`);
  if (Array.isArray(beat.downloaded_models)) add("Sur le disque", beat.downloaded_models.join(", "));
  return rows.length ? element("dl", {}, ...rows) : null;
}

async function remove(machine) {
  const name = machine.nickname || machine.device_id;
  if (!confirm(`Retirer « ${name} » ? Son jeton cessera de valoir et ses tâches en attente seront abandonnées.`)) return;
  await call("DELETE", `/owner/machines/${encodeURIComponent(machine.device_id)}`);
  await showMachines();
}

function machineCard(machine) {
  const [word, tone] = presence(machine);
  return element("li", { class: "machine" },
    element("header", {}, element("strong", {}, machine.nickname || "Sans nom"),
      element("span", { class: `state ${tone}` }, word)),
    heartbeat(machine.heartbeat),
    element("span", { class: "id code" }, machine.device_id),
    element("div", { class: "foot" }, element("span", { class: "hint" }, `Vue ${seen(machine.last_seen_at)}`),
      element("button", { type: "button", class: "quiet small", "aria-label": `Retirer ${machine.nickname || machine.device_id}`,
        onclick: () => remove(machine) }, "Retirer")));
}

function seen(text) {
  const seconds = Math.round((Date.now() - new Date(text).getTime()) / 1000);
  if (seconds < 60) return "à l'instant";
  if (seconds < 3600) return `il y a ${Math.floor(seconds / 60)} min`;
  return moment(text);
}

let drawn = "";
async function showMachines() {
  machines = await call("GET", "/owner/machines");
  const cards = machines.map(machineCard);
  const picture = cards.map((card) => card.textContent).join("|") || "none";
  if (picture === drawn) return;
  drawn = picture;
  byId("machines").replaceChildren(machines.length
    ? element("ul", { class: "machines" }, ...cards)
    : element("p", { class: "empty" }, "Aucune machine pour l'instant. ",
      element("a", { href: "/pairing" }, "Associe la première.")));
  const device = byId("device");
  const chosen = device.value;
  device.replaceChildren(...machines.map((machine) =>
    element("option", { value: machine.device_id }, (machine.nickname || machine.device_id) + (presence(machine)[0] === "absente" ? " (absente)" : ""))));
  const fallback = machines.find((machine) => machine.connected) ?? machines[0];
  device.value = machines.some((machine) => machine.device_id === chosen) ? chosen : fallback?.device_id ?? "";
}

// ---- the form

function field(description, value) {
  const id = `arg-${description.name}`;
  const common = { id, name: description.name, required: description.required, placeholder: description.placeholder,
    class: description.code ? "code" : "", spellcheck: description.code ? "false" : undefined };
  const input = description.type === "area" ? element("textarea", { ...common, rows: 4 })
    : element("input", { ...common, type: description.type === "number" ? "number" : "text", step: description.type === "number" ? 1 : undefined });
  input.value = value ?? description.value ?? "";
  const label = element("label", { for: id }, description.label, description.required ? null : element("span", { class: "optional" }, " (facultatif)"));
  return [label, input];
}

function chooseKind(name, values = {}) {
  const description = kindNamed(name);
  byId("kind").value = name;
  byId("kind-hint").textContent = description.hint;
  byId("fields").replaceChildren(...description.fields.flatMap((each) => field(each, values[each.name])));
  byId("raw-args").value = JSON.stringify(typedArgs(), null, 2);
}

function typedArgs() {
  const args = {};
  for (const description of kindNamed(byId("kind").value).fields) {
    const value = byId(`arg-${description.name}`).value;
    if (value.trim() === "" && !description.required) continue;
    if (description.type === "number") args[description.name] = Number(value);
    else if (description.type === "list") args[description.name] = value.split(",").map((part) => part.trim()).filter(Boolean);
    else args[description.name] = value;
  }
  return args;
}

function setRaw(raw) {
  byId("raw-mode").checked = raw;
  if (raw) byId("raw-args").value = JSON.stringify(typedArgs(), null, 2);
  byId("raw").hidden = !raw;
  byId("fields").hidden = raw;
  for (const input of byId("fields").querySelectorAll("input, textarea")) input.disabled = raw;
}

function use(kind, args) {
  setRaw(false);
  chooseKind(kind, args);
  byId("task").requestSubmit();
}

async function send(event) {
  event.preventDefault();
  const notice = byId("task-error");
  show(notice, null);
  let args;
  try {
    args = byId("raw-mode").checked ? JSON.parse(byId("raw-args").value || "{}") : typedArgs();
  } catch {
    return show(notice, "Les arguments ne sont pas du JSON valide.");
  }
  try {
    const task = await call("POST", "/owner/tasks", { device_id: byId("device").value, kind: byId("kind").value, args });
    showTask(task.id);
    await showHistory();
  } catch (error) {
    if (error.status === 401) return login.ask();
    show(notice, error.message);
  }
}

// ---- the answer

function showTask(id) {
  events?.close();
  let task = null;
  let streamed = "";
  let writing = null;
  const draw = () => {
    const parts = [element("div", { class: "meta" }, stateBadge(task.state), element("span", {}, kindNamed(task.kind)?.label ?? task.kind),
      task.handled_ms === null ? null : element("span", {}, milliseconds(task.handled_ms)))];
    writing = null;
    if (task.state === "queued") parts.push(element("p", { class: "empty" }, "La machine n'est pas là : la tâche l'attend."));
    if (task.state === "delivered") parts.push(element("p", { class: "empty" }, "La machine travaille…"));
    if (streamed && task.state !== "done") {
      writing = element("pre", { class: "prose" }, streamed);
      parts.push(writing);
    }
    if (task.error_message) parts.push(element("p", { class: task.state === "timeout" ? "notice warn" : "notice bad" }, task.error_message));
    if (task.result) parts.push(...resultNodes(task.kind, task.result, use));
    byId("answer").replaceChildren(...parts);
  };
  const source = new EventSource(`/owner/tasks/${encodeURIComponent(id)}/events`);
  events = source;
  source.addEventListener("task", (event) => {
    task = JSON.parse(event.data);
    streamed = task.stream.join("");
    draw();
    if (!["done", "error", "timeout"].includes(task.state)) return;
    source.close();
    showHistory().catch(() => {});
  });
  source.addEventListener("delta", (event) => {
    streamed += JSON.parse(event.data).delta;
    if (task.state !== "streaming") task.state = "streaming";
    if (writing) writing.textContent = streamed;
    else draw();
  });
}

// ---- history

function brief(args) {
  if (!args) return "";
  const text = Object.entries(args).map(([, value]) => (typeof value === "string" ? value : JSON.stringify(value))).join(" · ");
  return text.length > 90 ? `${text.slice(0, 90)}…` : text;
}

let history = "";
async function showHistory() {
  tasks = await call("GET", "/owner/tasks?limit=20");
  const picture = JSON.stringify([tasks, machines.map((machine) => machine.nickname)]);
  if (picture === history) return;
  history = picture;
  if (!tasks.length) return byId("history").replaceChildren(element("p", { class: "empty" }, "Aucune tâche pour l'instant."));
  const nameOf = (id) => machines.find((machine) => machine.device_id === id)?.nickname || id;
  byId("history").replaceChildren(element("div", { class: "scroll" }, element("table", {},
    element("thead", {}, element("tr", {}, ...["Tâche", "Arguments", "Machine", "État", "Durée", "Demandée", ""].map((heading) =>
      element("th", { scope: "col" }, heading)))),
    element("tbody", {}, ...tasks.map((task) => element("tr", {},
      element("td", { class: "name" }, kindNamed(task.kind)?.label ?? task.kind), element("td", { class: "args" }, brief(task.args)),
      element("td", {}, nameOf(task.device_id)), element("td", {}, stateBadge(task.state)),
      element("td", { class: "number" }, task.handled_ms === null ? "—" : milliseconds(task.handled_ms)),
      element("td", { class: "when" }, moment(task.created_at)),
      element("td", { class: "actions" }, element("button", { type: "button", class: "quiet small",
        onclick: () => { showTask(task.id); byId("answer").focus(); byId("answer-title").scrollIntoView({ block: "nearest" }); } }, "Voir"))))))));
}

// ---- start

byId("kind").append(...kinds.map((each) => element("option", { value: each.kind }, each.label)));
byId("kind").addEventListener("change", () => { setRaw(false); chooseKind(byId("kind").value); });
byId("raw-mode").addEventListener("change", () => setRaw(byId("raw-mode").checked));
byId("task").addEventListener("submit", send);
byId("task").addEventListener("keydown", (event) => {
  if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) byId("task").requestSubmit();
});
chooseKind("search");

try {
  await call("GET", "/owner/machines");
  await login.enter();
} catch {
  login.ask();
}
