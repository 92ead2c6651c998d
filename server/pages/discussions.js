// The discussions, newest first, and one of them: which one is said by the page's address.
import { byId, element, empty, hint, show } from "./elements.js";
import { linked } from "./linked.js";
import { listing } from "./listing.js";
import { call, guard } from "./owner.js";
import { counted, fullDate, moment, title } from "./words.js";

const login = guard(start);
const wanted = location.pathname.replace(/^\/discussions\/?/, "");

async function start() {
  byId("discussions").hidden = false;
  try {
    if (wanted) await showOne(wanted);
    else await showAll();
    show(byId("trouble"), null);
  } catch (error) {
    if (error.status === 401) return login.ask();
    show(byId("trouble"), error.message);
  }
}

async function showAll() {
  const items = await call("GET", "/owner/discussions?limit=1000");
  byId("talk").replaceChildren(...listing({
    headings: ["Discussion", "Échanges", "Dernière"],
    items,
    row: (each) => element("tr", {},
      element("td", { class: "name" }, element("a", { href: `/discussions/${each.id}` }, title(each.name))),
      element("td", {}, String(each.queries_count)),
      element("td", { class: "when" }, moment(each.updated_at))),
    name: (each) => each.name,
    noun: ["discussion", "discussions"],
    none: "Aucune discussion pour l'instant.",
  }));
}

async function showOne(id) {
  const back = element("p", { class: "back" }, element("a", { href: "/discussions" }, "Toutes les discussions"));
  byId("talk").replaceChildren(back);
  const discussion = await call("GET", `/owner/discussions/${id}`);
  const name = title(discussion.name);
  byId("discussions-title").textContent = name;
  document.title = `${name} · Vennic`;
  const before = discussion.queries_count - discussion.turns.length;
  byId("talk").replaceChildren(back,
    ...(before > 0 ? [hint(`${counted(before, "échange plus ancien n'est pas montré", "échanges plus anciens ne sont pas montrés")}.`)] : []),
    ...(discussion.turns.length ? discussion.turns.map(turnNode) : [empty("Rien n'a encore été dit.")]));
}

function turnNode(turn) {
  const model = turn.model || turn.provider;
  return element("article", { class: "turn" },
    element("p", { class: "who" }, [fullDate(turn.created_at), model && title(model)].filter(Boolean).join(" · ")),
    element("p", { class: "said asked" }, turn.text),
    turn.reply ? element("p", { class: "said" }, ...linked(turn.reply)) : empty("Sans réponse."));
}

await login.begin();
