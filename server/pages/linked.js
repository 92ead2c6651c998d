// A reply as text with its links: [name](address), bare addresses, **bold**, and backslashes that take the next
// character literally. Nothing else of Markdown is drawn, and nothing ever becomes markup.
import { element } from "./elements.js";
import { plain } from "./words.js";

const longestAddress = 2048;
const piece = /\\([!-/:-@[-`{-~])|\[((?:\\.|[^\\[\]\n]){1,300})\]\(([^\s()<>]{1,2048})\)|\*\*((?:\\.|[^\\*\n]){1,300})\*\*|(https:\/\/[^\s<>"()[\]]{1,2048})/g;
const unescaped = (text) => text.replace(/\\([!-/:-@[-`{-~])/g, "$1");

// Where a link may lead: to the web, or to a document or photo that Vennic opens on this machine.
export function safeAddress(text) {
  if (text.length > longestAddress) return null;
  let url;
  try { url = new URL(text); } catch { return null; }
  if (url.username || url.password) return null;
  if (url.protocol === "https:" || url.protocol === "http:") return url.href;
  return /^vennic:\/\/(local_file\/open|local_photo\/view)\/[^/?#]+$/.test(text) ? text : null;
}

function link(name, address) {
  const web = !address.startsWith("vennic:");
  // The address shows too: a name alone could claim to lead elsewhere.
  return element("a", { href: address, title: address, rel: "noopener noreferrer", target: web ? "_blank" : null }, plain(name));
}

// The nodes of a reply.
export function linked(text) {
  const nodes = [];
  let at = 0;
  const add = (node) => {
    if (typeof node === "string" && typeof nodes.at(-1) === "string") nodes[nodes.length - 1] += node;
    else if (node !== "") nodes.push(node);
  };
  for (const found of text.matchAll(piece)) {
    const [whole, escaped, name, target, bold, bare] = found;
    add(text.slice(at, found.index));
    at = found.index + whole.length;
    const address = safeAddress(target ?? bare ?? "");
    if (escaped !== undefined) add(escaped);
    else if (bold !== undefined) add(element("strong", {}, unescaped(bold)));
    else if (address) add(link(name === undefined ? bare : unescaped(name), address));
    else add(whole);
  }
  add(text.slice(at));
  return nodes;
}
