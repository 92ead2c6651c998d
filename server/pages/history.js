// The newest tasks.
import { button, byId, element, empty } from "./elements.js";
import { kindLabel, kindNamed } from "./kinds.js";
import { actionsCell, cell, nameCell, table } from "./listing.js";
import { machineName } from "./machines.js";
import { call } from "./owner.js";
import { subjectOf } from "./remembered.js";
import { stateBadge } from "./states.js";
import { milliseconds, moment, plain } from "./words.js";

const longestBrief = 90;

// The arguments as the form asks for them, then any others.
function inOrder(task) {
  const kind = kindNamed(task.kind);
  const names = kind?.fields.map((field) => field.name) ?? [];
  const rank = ([name]) => (names.includes(name) ? names.indexOf(name) : names.length);
  const values = kind?.parts?.(task.args) ?? task.args ?? {};
  return Object.entries(values).filter(([, value]) => value !== undefined).sort((one, other) => rank(one) - rank(other));
}

function brief(task) {
  const subject = subjectOf(task);
  const args = inOrder(task).map(([name, value]) =>
    (subject && (name === "document_id" || name === "folder_id") ? subject : typeof value === "string" ? value : JSON.stringify(value)));
  const text = plain(args.join(" · "));
  return text.length > longestBrief ? `${text.slice(0, longestBrief)}…` : text;
}

let drawn = "";
// Asks for the newest tasks, shows and returns them; `open(id)` shows one of them.
export async function showHistory(open) {
  const tasks = await call("GET", "/owner/tasks?limit=20");
  const rows = tasks.map((task) => [kindLabel(task.kind), brief(task), machineName(task.device_id), task.state,
    task.handled_ms === null ? "—" : milliseconds(task.handled_ms), moment(task.created_at)]);
  const picture = JSON.stringify([tasks.map((task) => task.id), rows]);
  if (picture === drawn) return tasks;
  drawn = picture;
  byId("history").replaceChildren(tasks.length
    ? table(["Tâche", "Arguments", "Machine", "État", "Durée", "Demandée", ""], element("tbody", {}, ...tasks.map((task, index) => {
      const [label, args, machine, state, took, asked] = rows[index];
      return element("tr", {}, nameCell(label), cell(args, "args"), cell(machine, "machine-name"), element("td", {}, stateBadge(state)),
        cell(took, "number"), cell(asked, "when"),
        actionsCell(button("Voir", () => open(task.id), { "aria-label": `Voir : ${label}, ${asked}` })));
    }))) : empty("Aucune tâche pour l'instant."));
  return tasks;
}
