// Elements of a page. What is put into them is always text, never markup.

export const byId = (id) => document.getElementById(id);

// An element with its attributes, listeners ("onclick") and children; absent ones are passed over.
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

export function button(label, onclick, options = {}) {
  return element("button", { type: "button", class: "quiet small", onclick, ...options }, label);
}

export const hint = (text) => element("p", { class: "hint" }, text);
export const empty = (text) => element("p", { class: "empty" }, text);

// Shows a message in a place that is hidden without one.
export function show(notice, message) {
  notice.textContent = message ?? "";
  notice.hidden = !message;
}
