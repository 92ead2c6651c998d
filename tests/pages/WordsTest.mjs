import assert from "node:assert/strict";
import { test } from "node:test";
import { counted, fullDate, language, milliseconds, moment, place, plain, size, title } from "../../server/pages/words.js";

// Typographic spaces count as spaces.
const spaced = (text) => text.replace(/[\u00a0\u202f]/g, " ");

test("sizes are in French and in powers of 1024", () => {
  const rows = [[0, "—"], [-5, "—"], [1, "1 octet"], [812, "812 octets"], [1023, "1 023 octets"], [1024, "1 Kio"], [11_571, "11,3 Kio"],
    [1024 ** 2, "1 Mio"], [2 ** 40, "1 Tio"], [2 ** 63, "8 Eio"], [1e30, "867 361 737 988,4 Eio"], ["12", "—"], [undefined, "—"],
    [NaN, "—"], [Infinity, "—"]];
  for (const [bytes, words] of rows) assert.equal(spaced(size(bytes)), words, String(bytes));
});

test("nought and one are singular", () => {
  assert.deepEqual([0, 1, 2, 1500].map((count) => spaced(counted(count, "photo", "photos"))),
    ["0 photo", "1 photo", "2 photos", "1 500 photos"]);
});

test("durations grow from milliseconds to minutes", () => {
  const rows = [[2.14, "2,1 ms"], [166.2, "166 ms"], [1840, "1,8 s"], [61_500, "1 min 1 s"], ["x", "—"], [undefined, "—"]];
  for (const [value, words] of rows) assert.equal(spaced(milliseconds(value)), words);
});

test("dates are in French and in the reader's zone", () => {
  assert.equal(spaced(fullDate("2026-07-14T21:30:00Z")), "14 juil. 2026, 23:30");
  assert.equal(spaced(fullDate("2025-12-31T23:30:00Z")), "1 janv. 2026, 00:30");
  assert.equal(spaced(fullDate("1839-08-19T12:00:00Z")), "19 août 1839, 12:09");
  for (const none of [undefined, null, "", "hier", 12, {}]) assert.equal(fullDate(none), "—");
});

test("a recent moment is as short as it can be", () => {
  const now = new Date("2026-11-21T10:00:00Z");
  assert.equal(moment("2026-11-21T07:55:03Z", now), "08:55:03");
  assert.equal(spaced(moment("2026-11-20T07:55:03Z", now)), "20 nov., 08:55");
  assert.equal(spaced(moment("2025-11-20T07:55:03Z", now)), "20 nov. 2025, 08:55");
  assert.equal(moment("<b>", now), "—");
});

test("places are degrees with four decimals and the French letters of the directions", () => {
  assert.equal(place({ lat: 48.85837, lng: 2.294481 }), "48,8584° N, 2,2945° E");
  assert.equal(place({ lat: -33.8568, lng: -151.21534 }), "33,8568° S, 151,2153° O");
  assert.equal(place({ lat: 0, lng: 0 }), "0,0000° N, 0,0000° E");
  for (const none of [undefined, null, {}, { lat: 1 }, { lat: "1", lng: 2 }, { lat: 91, lng: 0 }, { lat: 0, lng: 181 }, { lat: NaN, lng: 0 }]) {
    assert.equal(place(none), "—");
  }
});

test("a name shows what can't be seen and what turns the direction of reading", () => {
  const rows = [["facture\u202egnp.exe", "facture\ufffdgnp.exe"], ["a\u2066b\u2069c\u200fd\u061ce", "a\ufffdb\ufffdc\ufffdd\ufffde"],
    ["une\nligne\t\x1b[31m\x9b", "une\ufffdligne\ufffd\ufffd[31m\ufffd"], ["\ud800 seul", "\ufffd seul"], ["a\u2028b\ufeff", "a\ufffdb\ufffd"],
    ["👨‍👩‍👧 famille", "👨‍👩‍👧 famille"], ["<script>alert(1)</script>", "<script>alert(1)</script>"], [undefined, ""], [12, "12"], [null, ""]];
  for (const [name, shown] of rows) assert.equal(plain(name), shown);
});

test("a name of ten thousand characters keeps its beginning and its end", () => {
  const shown = plain("début" + "x".repeat(10_000) + "fin.pdf");
  assert.equal(Array.from(shown).length, 240);
  assert.match(shown, /^débutx+…x+fin\.pdf$/);
  assert.equal(plain("x".repeat(240)), "x".repeat(240));
  const emoji = plain("🐈".repeat(10_000), 60);
  assert.equal(Array.from(emoji).length, 60);
  assert.doesNotMatch(emoji, /\p{Cs}/u, "no half of a character is left");
});

test("a name of nothing is said to be one", () => {
  for (const none of ["", "   ", undefined, null]) assert.equal(title(none), "(sans nom)");
  assert.equal(title("a\u202e"), "a\ufffd");
});

test("languages have their French names, and what is no language stays as it came", () => {
  assert.match(language("fr-FR"), /français/);
  assert.match(language("en-US"), /anglais/);
  assert.equal(language("<b>"), "<b>");
});
