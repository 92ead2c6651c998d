// A page in memory: the part of the DOM that the console uses, without layout. Text never becomes elements here, and
// every way of turning text into markup throws, as it does in a browser under the pages' policy.

class PageNode extends EventTarget {
  parent = null;
  remove() { this.parent?.take(this); }
  replaceWith(...nodes) { this.parent.swap(this, nodes); }
}

class PageText extends PageNode {
  constructor(text) { super(); this.textContent = text; }
}

const forbidden = ["innerHTML", "outerHTML", "insertAdjacentHTML", "srcdoc"];

export class PageElement extends PageNode {
  children = []; // elements and texts
  attributes = new Map();
  validity = "";
  #value;

  constructor(name) { super(); this.name = name; }

  nodesOf(list) {
    return list.map((each) => {
      const node = each instanceof PageNode ? each : new PageText(String(each));
      node.remove();
      node.parent = this;
      return node;
    });
  }
  append(...list) { this.children.push(...this.nodesOf(list)); }
  replaceChildren(...list) {
    for (const child of this.children) child.parent = null;
    this.children = [];
    this.append(...list);
  }
  take(node) { this.children = this.children.filter((child) => child !== node); node.parent = null; }
  swap(node, list) {
    const at = this.children.indexOf(node);
    node.parent = null;
    this.children.splice(at, 1, ...this.nodesOf(list));
  }

  setAttribute(name, value) { this.attributes.set(name, String(value)); }
  getAttribute(name) { return this.attributes.get(name) ?? null; }
  get className() { return this.getAttribute("class") ?? ""; }
  set className(value) { this.setAttribute("class", value); }
  get id() { return this.getAttribute("id") ?? ""; }
  get src() { return this.getAttribute("src"); }
  get hidden() { return this.attributes.has("hidden"); }
  set hidden(value) { value ? this.attributes.set("hidden", "") : this.attributes.delete("hidden"); }

  get textContent() { return this.children.map((child) => child.textContent).join(""); }
  set textContent(text) { this.replaceChildren(...(text === "" ? [] : [text])); }

  // A field of one line drops the breaks of lines, and a choice takes only what it offers.
  get value() {
    if (this.name === "option") return this.getAttribute("value");
    if (this.name === "select") return this.#value ?? this.all("option")[0]?.value ?? "";
    return this.#value ?? "";
  }
  set value(value) {
    const text = String(value);
    if (this.name === "select") this.#value = this.all("option").some((each) => each.value === text) ? text : "";
    else this.#value = this.name === "input" ? text.replace(/[\r\n]/g, "") : text;
  }
  setCustomValidity(words) { this.validity = words; }

  click() { this.dispatchEvent(new Event("click")); }
  requestSubmit() { this.dispatchEvent(new Event("submit", { cancelable: true })); }
  focus() { PageElement.focused = this; }
  scrollIntoView() {}

  // All elements below, in the order of the page, that `fits` (a name or a test).
  all(fits) {
    const test = typeof fits === "string" ? (each) => each.name === fits : fits;
    return this.children.flatMap((child) => (child instanceof PageElement ? [...(test(child) ? [child] : []), ...child.all(test)] : []));
  }
  querySelectorAll(names) { return this.all((each) => names.split(",").map((name) => name.trim()).includes(each.name)); }
  querySelector(names) { return this.querySelectorAll(names)[0] ?? null; }
}
for (const name of forbidden) {
  const refuse = () => { throw new TypeError(`${name} turns text into markup`); };
  Object.defineProperty(PageElement.prototype, name, { get: refuse, set: refuse });
}

// A stream of events that a test feeds.
export class EventSourceDouble extends EventTarget {
  static CLOSED = 2;
  static opened = [];
  readyState = 1;
  constructor(address) { super(); this.address = address; EventSourceDouble.opened.push(this); }
  close() { this.readyState = EventSourceDouble.CLOSED; }
  tell(name, value) {
    const event = new Event(name);
    event.data = JSON.stringify(value);
    this.dispatchEvent(event);
  }
}

// Installs an empty page that has elements of these identifiers: {device: "select", …}.
export function openPage(identifiers = {}) {
  const body = new PageElement("body");
  for (const [id, name] of Object.entries(identifiers)) {
    const made = new PageElement(name);
    made.setAttribute("id", id);
    body.append(made);
  }
  globalThis.document = {
    body,
    createElement: (name) => new PageElement(name),
    getElementById: (id) => body.all((each) => each.id === id)[0] ?? null,
    querySelectorAll: (names) => body.querySelectorAll(names),
  };
  globalThis.EventSource = EventSourceDouble;
  EventSourceDouble.opened = [];
  return body;
}

// An element that holds these nodes, to look through.
export function holding(nodes) {
  const held = new PageElement("div");
  held.append(...nodes);
  return held;
}

export const buttonOf = (element, label) => element.all("button").find((each) => each.textContent === label);
export const labels = (element) => element.all("button").map((each) => each.textContent);
