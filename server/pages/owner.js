// The owner's calls, and the login that both pages share.
import { byId, show } from "./elements.js";

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

// Shows the login until the owner is known, then `start`s; again whenever the session ends. `begin` opens the page.
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
  const begin = async () => {
    try {
      await call("GET", "/owner/machines");
    } catch (error) {
      if (error.status !== 401) show(notice, error.message);
      return ask();
    }
    await enter();
  };
  login.addEventListener("submit", async (event) => {
    event.preventDefault();
    try {
      await call("POST", "/console/session", { owner_key: byId("key").value });
    } catch (error) {
      show(notice, error.message);
      return byId("key").select();
    }
    byId("key").value = "";
    await enter();
  });
  leave.addEventListener("click", async () => {
    try { await call("DELETE", "/console/session"); } catch { /* the session is over either way */ }
    location.reload();
  });
  return { ask, begin };
}
