// Turns an answer into something to read. Everything here comes from a machine, so nothing of it becomes markup.
import { element, hint } from "./elements.js";
import { done, shortcutList } from "./results/acts.js";
import { listDir, listFolders, search } from "./results/documents.js";
import { photos, thumbnail } from "./results/pictures.js";
import { inference, ocr, read, shortcutRun } from "./results/texts.js";
import { number } from "./words.js";

const renderers = {
  search, read, list_folders: listFolders, list_dir: listDir, photos_recent: photos, photos_by_date: photos,
  app_open: done, shortcut_run: shortcutRun, shortcut_list: shortcutList, ocr_image: ocr, open_document: done,
  thumbnail, llm_infer: inference,
};
const longestRaw = 100_000; // characters; a page with more of them stops answering

function raw(result) {
  const text = element("pre", { tabindex: 0 });
  const fold = element("details", {}, element("summary", {}, "Réponse brute (JSON)"), text);
  fold.addEventListener("toggle", () => {
    if (!fold.open || text.textContent) return;
    const whole = JSON.stringify(result, null, 2);
    text.textContent = whole.slice(0, longestRaw);
    if (whole.length > longestRaw) {
      fold.append(hint(`Les ${number(longestRaw)} premiers caractères ; il y en a ${number(whole.length)}. L'API du propriétaire les donne tous.`));
    }
  });
  return fold;
}

// The nodes that show the result of a finished task. In `context`: the `task`, `ask(kind, args)` that sends the same
// machine a next one, `prepare(kind, args)` that only fills the form, and `nameOf(sort, id)`.
export function resultNodes(task, context) {
  const fold = raw(task.result);
  try {
    if (Object.hasOwn(renderers, task.kind)) return [...renderers[task.kind](task.result, { ...context, task }).filter(Boolean), fold];
  } catch { /* not the shape that the kind promises: the raw answer says it all */ }
  fold.open = true;
  return [element("p", { class: "notice warn" }, "Cette réponse n'a pas la forme attendue."), fold];
}
