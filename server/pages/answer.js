// The panel that follows one task to its end and shows its answer.
import { button, byId, element, empty } from "./elements.js";
import { kindLabel } from "./kinds.js";
import { isPresent } from "./machines.js";
import { call } from "./owner.js";
import { nameOf, remember, subjectOf } from "./remembered.js";
import { resultNodes } from "./results.js";
import { isFinished, stateBadge, stateWord } from "./states.js";
import { milliseconds, title } from "./words.js";

// `ask(kind, args, device)` sends a next task, `prepare(kind, args, device)` fills the form, `ended()` is told that
// the shown task has its end.
export function answerPanel({ ask, prepare, ended }) {
  const earlier = []; // the tasks that "Retour" leads back to
  let shown = null;
  let source = null;
  let task = null;
  let streamed = "";
  let writing = null;

  const contextOf = (device) => ({
    ask: (kind, args) => ask(kind, args, device),
    prepare: (kind, args) => prepare(kind, args, device),
    nameOf: (sort, id) => nameOf(sort, device, id),
  });

  const head = () => {
    const subject = subjectOf(task);
    return element("div", { class: "meta" }, stateBadge(task.state), element("strong", {}, kindLabel(task.kind)),
      subject ? element("span", { class: "subject" }, title(subject)) : null,
      task.handled_ms === null ? null : element("span", {}, milliseconds(task.handled_ms)),
      element("span", { class: "buttons" }, earlier.length ? button("Retour", back) : null,
        button("Reprendre", () => prepare(task.kind, task.args ?? {}, task.device_id), { "aria-label": "Reprendre cette tâche dans le formulaire" })));
  };

  const body = () => {
    if (task.state === "queued") {
      return [empty(isPresent(task.device_id) ? "La machine finit une autre tâche." : "La machine n'est pas là : la tâche l'attend.")];
    }
    const parts = [];
    if (task.state === "delivered") parts.push(empty("La machine travaille…"));
    if (streamed && task.state !== "done") {
      writing = element("pre", { class: "prose", dir: "auto", tabindex: 0 }, streamed);
      parts.push(writing);
    }
    if (task.error_message) {
      parts.push(element("p", { class: task.state === "timeout" ? "notice warn" : "notice bad" }, task.error_message));
    }
    if (task.result) parts.push(...resultNodes(task, contextOf(task.device_id)));
    return parts;
  };

  const draw = () => {
    writing = null;
    byId("answer").replaceChildren(head(), ...body());
    byId("answer-state").textContent = `${kindLabel(task.kind)} : ${stateWord(task.state)}`;
  };

  const listen = (id) => {
    source?.close();
    const mine = new EventSource(`/owner/tasks/${encodeURIComponent(id)}/events`);
    source = mine;
    mine.addEventListener("task", (event) => {
      task = JSON.parse(event.data);
      streamed = task.stream.join("");
      if (task.result) remember(task);
      draw();
      if (!isFinished(task.state)) return;
      mine.close();
      ended();
    });
    mine.addEventListener("delta", (event) => {
      const { delta } = JSON.parse(event.data);
      streamed += delta;
      if (task.state === "streaming" && writing) {
        writing.append(delta);
      } else {
        task.state = "streaming";
        draw();
      }
    });
  };

  const open = (id) => {
    shown = id;
    task = null;
    byId("answer").replaceChildren(empty("Envoi…"));
    listen(id);
    byId("answer").focus({ preventScroll: true });
    byId("answer-card").scrollIntoView({ block: "nearest" });
  };

  function back() {
    open(earlier.pop());
  }

  return {
    // Shows a task by its identifier; "Retour" will lead to the one shown before.
    show(id) {
      if (shown !== null && shown !== id) earlier.push(shown);
      open(id);
    },
    // Follows the shown task again where its events have ended before it did: the server was away, or asked who it is.
    async resume() {
      if (source?.readyState !== EventSource.CLOSED || (task && isFinished(task.state))) return;
      try {
        await call("GET", `/owner/tasks/${encodeURIComponent(shown)}`);
        listen(shown);
      } catch (error) {
        if (error.status !== 404) throw error;
        source = null;
        byId("answer").replaceChildren(element("p", { class: "notice warn" }, "Cette tâche n'est plus dans l'historique."));
      }
    },
    stop() {
      source?.close();
    },
  };
}
