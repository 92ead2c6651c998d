// The console: machines, who answers, a form for any task, its answer, the history.
import { answerPanel } from "./answer.js";
import { showAnswering, startAnswering } from "./answering.js";
import { byId, show } from "./elements.js";
import { fill, focusForm, readForm, startForm } from "./form.js";
import { showHistory } from "./history.js";
import { showMachines } from "./machines.js";
import { call, guard } from "./owner.js";
import { isUnderWay } from "./states.js";

const refreshing = 2500; // milliseconds
const refreshingHidden = 10_000;

const login = guard(start);
const answer = answerPanel({ ask, prepare, ended: () => refresh().catch(() => {}) });
let round = 0; // of logins: each has its own loop of refreshing

async function start() {
  byId("console").hidden = false;
  const mine = ++round;
  while (mine === round) {
    try {
      await refresh();
      await answer.resume();
      show(byId("trouble"), null);
    } catch (error) {
      if (error.status === 401) return logIn();
      show(byId("trouble"), error.message);
    }
    await new Promise((resolve) => setTimeout(resolve, document.hidden ? refreshingHidden : refreshing));
  }
}

function logIn() {
  ++round;
  answer.stop();
  login.ask();
}

async function refresh() {
  const tasks = await showHistory((id) => answer.show(id));
  await showAnswering();
  await showMachines(new Set(tasks.filter((task) => isUnderWay(task.state)).map((task) => task.device_id)));
}

async function post(device, kind, args) {
  const button = byId("send");
  if (button.disabled) return;
  button.disabled = true;
  show(byId("task-error"), null);
  try {
    const task = await call("POST", "/owner/tasks", { device_id: device, kind, args });
    answer.show(task.id);
    await refresh();
  } catch (error) {
    if (error.status === 401) return logIn();
    show(byId("task-error"), error.message);
    byId("task-error").scrollIntoView({ block: "nearest" });
  } finally {
    button.disabled = false;
  }
}

// A task that follows from an answer: to the same machine, and with the answer's own words, whatever a form can hold.
function ask(kind, args, device) {
  byId("device").value = device;
  fill(kind, args);
  post(device, kind, args);
}

function prepare(kind, args, device) {
  byId("device").value = device;
  fill(kind, args);
  focusForm();
  byId("task-card").scrollIntoView({ block: "nearest" });
}

startForm(() => {
  try {
    const { kind, args } = readForm();
    post(byId("device").value, kind, args);
  } catch (error) {
    show(byId("task-error"), error.message);
  }
});
startAnswering(logIn);
await login.begin();
