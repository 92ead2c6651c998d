// Numbers, dates and names as a French reader writes them.

const sizes = ["octets", "Kio", "Mio", "Gio", "Tio", "Pio", "Eio"];

export const number = (value, digits = 0) => value.toLocaleString("fr-FR", { maximumFractionDigits: digits });

// French counts nought and one as singular.
export const counted = (count, one, many) => `${number(count)} ${Math.abs(count) < 2 ? one : many}`;

// Bytes; the wire's nought stands for an unknown size.
export function size(bytes) {
  if (!Number.isFinite(bytes) || bytes <= 0) return "—";
  if (bytes === 1) return "1 octet";
  const step = Math.min(Math.floor(Math.log2(bytes) / 10), sizes.length - 1);
  return `${number(bytes / 1024 ** step, step ? 1 : 0)} ${sizes[step]}`;
}

export function milliseconds(value) {
  if (!Number.isFinite(value)) return "—";
  if (value < 1000) return `${number(value, value < 10 ? 1 : 0)} ms`;
  if (value < 60_000) return `${number(value / 1000, 1)} s`;
  return `${Math.floor(value / 60_000)} min ${Math.floor(value / 1000) % 60} s`;
}

const clock = new Intl.DateTimeFormat("fr-FR", { hour: "2-digit", minute: "2-digit", second: "2-digit" });
const dayAndTime = new Intl.DateTimeFormat("fr-FR", { day: "numeric", month: "short", hour: "2-digit", minute: "2-digit" });
const whole = new Intl.DateTimeFormat("fr-FR", { day: "numeric", month: "short", year: "numeric", hour: "2-digit", minute: "2-digit" });

// A moment of the recent past, as short as the reader still knows which one is meant; in the reader's zone.
export function moment(text, now = new Date()) {
  const date = new Date(text);
  if (Number.isNaN(date.getTime())) return "—";
  if (date.toDateString() === now.toDateString()) return clock.format(date);
  return date.getFullYear() === now.getFullYear() ? dayAndTime.format(date) : whole.format(date);
}

// A date of a document or photo, which may be of any year; in the reader's zone.
export function fullDate(text) {
  const date = typeof text === "string" ? new Date(text) : new Date(NaN);
  return Number.isNaN(date.getTime()) ? "—" : whole.format(date);
}

const degrees = (value) =>
  Math.abs(value).toLocaleString("fr-FR", { minimumFractionDigits: 4, maximumFractionDigits: 4 });

// Decimal degrees, north and east positive.
export function place(location) {
  const { lat, lng } = location ?? {};
  if (!Number.isFinite(lat) || !Number.isFinite(lng) || Math.abs(lat) > 90 || Math.abs(lng) > 180) return "—";
  return `${degrees(lat)}° ${lat < 0 ? "S" : "N"}, ${degrees(lng)}° ${lng < 0 ? "O" : "E"}`;
}

export function language(tag) {
  try {
    return new Intl.DisplayNames("fr", { type: "language" }).of(tag);
  } catch {
    return plain(tag);
  }
}

const unseen = /[\p{Cc}\p{Cs}\u061c\u200b\u200e\u200f\u2028-\u202e\u2060-\u206f\ufeff]/gu;
const longestName = 240;

// A name on one line: what can't be seen, or would turn the direction of reading, shows as �, and a name of more than
// `longest` characters loses its middle.
export function plain(name, longest = longestName) {
  const text = String(name ?? "").replace(unseen, "\ufffd");
  if (text.length <= longest) return text;
  const characters = Array.from(text);
  if (characters.length <= longest) return text;
  const end = Math.floor(longest / 6);
  return `${characters.slice(0, longest - end - 1).join("")}…${characters.slice(-end).join("")}`;
}

// The same of a name that must show as something, even where it is made of spaces.
export const title = (name, longest) => (String(name ?? "").trim() === "" ? "(sans nom)" : plain(name, longest));
