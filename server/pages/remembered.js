// What earlier answers named: an identifier keeps its name wherever it stands again, and forms can suggest it.

const mostNames = 1000; // of each sort; a machine keeps no more handles than that

const sorts = { documents: new Map(), folders: new Map(), shortcuts: new Map() };

const keyOf = (device, id) => JSON.stringify([device, id]);

function put(sort, device, id, name) {
  const key = keyOf(device, id);
  sort.delete(key);
  sort.set(key, { device, id, name });
  if (sort.size > mostNames) sort.delete(sort.keys().next().value);
}

const listed = {
  search: (result) => result.items.map((item) => ["documents", item.id, item.name]),
  list_dir: (result) => result.items.map((item) => ["documents", item.id, item.name]),
  list_folders: (result) => result.folders.map((folder) => ["folders", folder.id, folder.name]),
  shortcut_list: (result) => result.shortcuts.map((name) => ["shortcuts", name, name]),
};

// Takes the names out of a task's result.
export function remember(task) {
  if (!Object.hasOwn(listed, task.kind)) return;
  let found = [];
  try { found = listed[task.kind](task.result); } catch { /* another shape: it names nothing */ }
  for (const [sort, id, name] of found.slice(-mostNames)) {
    if (typeof id === "string" && typeof name === "string") put(sorts[sort], task.device_id, id, name);
  }
}

export const nameOf = (sort, device, id) => sorts[sort].get(keyOf(device, id))?.name;

// The newest names of a machine, as [identifier, name].
export function suggestions(sort, device, most = 100) {
  const own = [...sorts[sort].values()].filter((each) => each.device === device);
  return own.slice(-most).reverse().map(({ id, name }) => [id, name]);
}

// What a task is about, in a name rather than an identifier; none where that isn't known.
export function subjectOf(task) {
  const args = task.args ?? {};
  if (typeof args.document_id === "string") return nameOf("documents", task.device_id, args.document_id);
  if (typeof args.folder_id === "string") return nameOf("folders", task.device_id, args.folder_id);
  return undefined;
}
