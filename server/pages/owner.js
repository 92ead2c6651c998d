// The owner's calls, and the login that both pages share.

export class Refusal extends Error {
  constructor(status, message) { super(message); this.status = status; }
}

export async function call(method, path, body) {
  let response;
  try {
    response = await fetch(path, {
      method,
      headers: { "X-Vennic-Console": "1", ...(body === undefined ? {} : { "Content-Type": "application/json" }) },
      body: body === undefined ? undefined : JSON.stringify(body),
    });
  } catch {
    throw new Refusal(0, "Le serveur ne répond pas.");
  }
  const text = await response.text();
  let value = null;
  try { value = text ? JSON.parse(text) : null; } catch { /* a proxy's page: the status says enough */ }
  if (!response.ok) throw new Refusal(response.status, value?.error ?? `Erreur HTTP ${response.status}`);
  return value;
}

// An element with its class, and children: texts are always texts, never markup.
export function element(name, options = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(options)) {
    if (key.startsWith("on")) made.addEventListener(key.slice(2), value);
    else if (key === "class") made.className = value;
    else if (value !== undefined && value !== null && value !== false) made.setAttribute(key, value === true ? "" : value);
  }
  made.append(...children.filter((child) => child !== null && child !== undefined));
  return made;
}

export const byId = (id) => document.getElementById(id);

export function show(notice, message) {
  notice.textContent = message ?? "";
  notice.hidden = !message;
}

const dates = new Intl.DateTimeFormat("fr-FR", { day: "numeric", month: "short", hour: "2-digit", minute: "2-digit" });
const days = new Intl.DateTimeFormat("fr-FR", { day: "numeric", month: "short", year: "numeric" });
const clock = new Intl.DateTimeFormat("fr-FR", { hour: "2-digit", minute: "2-digit", second: "2-digit" });

export function moment(text) {
  const date = new Date(text);
  if (Number.isNaN(date.getTime())) return String(text ?? "");
  const now = new Date();
  if (date.toDateString() === now.toDateString()) return clock.format(date);
  return date.getFullYear() === now.getFullYear() ? dates.format(date) : days.format(date);
}

// Shows the login until the owner is known, then `start`s; again whenever the session ends.
export function guard(start) {
  const login = byId("login");
  const leave = byId("leave");
  const notice = login.querySelector(".notice");
  const enter = async () => {
    login.hidden = true;
    leave.hidden = false;
    show(notice, null);
    await start();
  };
  const ask = () => {
    for (const part of document.querySelectorAll("main > *")) part.hidden = part !== login;
    leave.hidden = true;
    byId("key").focus();
  };
  login.addEventListener("submit", async (event) => {
    event.preventDefault();
    try {
      await call("POST", "/console/session", { owner_key: byId("key").value });
      byId("key").value = "";
      await enter();
    } catch (error) {
      show(notice, error.message);
      byId("key").select();
    }
  });
  leave.addEventListener("click", async () => {
    try { await call("DELETE", "/console/session"); } catch { /* the session is over either way */ }
    location.reload();
  });
  return { ask, enter };
}
