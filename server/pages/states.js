// The states of a task, in words.
import { element } from "./elements.js";

const states = {
  queued: ["en attente", ""], delivered: ["remise", ""], streaming: ["en cours", ""],
  done: ["terminée", "good"], error: ["échec", "bad"], timeout: ["sans réponse", "warn"],
};

export const isFinished = (state) => ["done", "error", "timeout"].includes(state);
export const isUnderWay = (state) => ["delivered", "streaming"].includes(state);
export const stateWord = (state) => states[state]?.[0] ?? state;

export function stateBadge(state) {
  const [label, tone] = states[state] ?? [state, ""];
  return element("span", { class: `state ${tone}` }, label);
}
