import { byId, show } from "./elements.js";
import { call, guard } from "./owner.js";

let code = "";
let expires = 0;
let round = 0;

const login = guard(start);

async function start() {
  byId("pairing").hidden = false;
  await renew();
}

async function renew() {
  const mine = ++round;
  try {
    const pairing = await call("POST", "/owner/pairings", {});
    code = pairing.code;
    expires = new Date(pairing.expires_at).getTime();
  } catch (error) {
    return refused(error);
  }
  show(byId("pairing-error"), null);
  byId("code").textContent = `${code.slice(0, 4)} ${code.slice(4)}`;
  byId("code").classList.remove("over");
  byId("copy").disabled = false;
  watch(mine);
}

function refused(error) {
  if (error.status === 401) return login.ask();
  show(byId("pairing-error"), error.message);
}

function say(text, good) {
  byId("state").textContent = text;
  byId("state").classList.toggle("good", Boolean(good));
}

function over(text, good) {
  say(text, good);
  byId("code").classList.add("over");
  byId("copy").disabled = true;
}

async function watch(mine) {
  for (let second = 0; mine === round; ++second) {
    const left = Math.max(0, Math.round((expires - Date.now()) / 1000));
    if (left === 0) return over("Ce code a expiré.", false);
    say(`Valable encore ${Math.floor(left / 60)} min ${String(left % 60).padStart(2, "0")} s`);
    if (second % 2 === 0) {
      try {
        const { state } = await call("GET", `/owner/pairings/${code}`);
        if (mine !== round) return;
        if (state === "claimed") return over("Association réussie.", true);
        if (state === "expired") return over("Ce code a expiré.", false);
      } catch (error) {
        if (error.status === 401) return login.ask();
      }
    }
    await new Promise((resolve) => setTimeout(resolve, 1000));
  }
}

byId("renew").addEventListener("click", renew);
byId("copy").addEventListener("click", async () => {
  await navigator.clipboard.writeText(code);
  byId("copy").textContent = "Copié";
  setTimeout(() => { byId("copy").textContent = "Copier le code"; }, 1500);
});

await login.begin();
