// SPDX-License-Identifier: BSL-1.0
// What came of a run, as elements. Everything of the visitor's, or of a link's, is set as text.

import { colorOf } from "./groups.js";

const ROWS = 50;
const LONGEST_CELL = 300;
const LONGEST_TEXT = 20000;
const encoder = new TextEncoder();

export function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith("on")) made.addEventListener(key.slice(2), value);
    else made.setAttribute(key, value);
  }
  made.append(...children);
  return made;
}

export const count = (number, one, many = `${one}s`) =>
  `${number.toLocaleString("en")} ${number === 1 ? one : many}`;

const ESCAPES = { "\n": "\\n", "\r": "\\r", "\t": "\\t", "\0": "\\0" };
// What can't be seen, or changes the order of what stands around it.
const HIDDEN = /([\p{Cc}\p{Cf}\p{Zl}\p{Zp}\p{Co}\p{Cn}])/u;

/** A text in a cell: what can't be seen as an escape, cut when it is long. */
export function shown(text, className = "") {
  const cell = element("span", { class: `bytes ${className}` });
  if (text === "") return element("span", { class: "absent" }, "empty");
  for (const run of text.slice(0, LONGEST_CELL).split(HIDDEN)) {
    if (!HIDDEN.test(run)) cell.append(run);
    else cell.append(element("span", { class: "escape" }, ESCAPES[run] ?? `\\u{${run.codePointAt(0).toString(16)}}`));
  }
  if (text.length > LONGEST_CELL) cell.append(element("span", { class: "escape" }, `… ${text.length.toLocaleString("en")} characters`));
  return cell;
}

const hex = (bytes) => [...bytes].map((byte) => `\\x${byte.toString(16).padStart(2, "0")}`).join("");

/** The bytes of {"text"} or {"bytes"}, as the bridge gives them, as a text to be shown. */
export function textOf(value) {
  if (value === undefined) return "";
  if ("text" in value) return value.text;
  return decodeBytes(Uint8Array.from(atob(value.bytes), (c) => c.charCodeAt(0)));
}

/** UTF-8 with what is none as \xNN. */
export function decodeBytes(bytes) {
  let text = "";
  for (let at = 0; at < bytes.length; ) {
    const size = Math.min(characterSize(bytes, at), bytes.length - at);
    try {
      text += new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(bytes.subarray(at, at + size));
      at += size;
    } catch {
      text += hex(bytes.subarray(at, ++at));
    }
  }
  return text;
}

const characterSize = (bytes, at) => (bytes[at] < 0xc0 ? 1 : bytes[at] < 0xe0 ? 2 : bytes[at] < 0xf0 ? 3 : 4);

/** The matches of a run, as offsets of bytes and as indices of the text. */
export class Matches {
  constructor(result, text) {
    this.groups = result.answer.groups ?? 0;
    this.stride = 2 + 2 * (this.groups + 1);
    this.bytes = result.spans;
    this.indices = result.indices;
    this.cuts = result.cuts;
    this.text = text;
    this.length = Math.floor(this.bytes.length / this.stride);
  }

  #at(match, group) {
    return match * this.stride + 2 + 2 * group;
  }
  line(match) {
    return this.bytes[match * this.stride];
  }
  column(match) {
    const begin = this.indices[this.#at(match, 0)];
    return begin < 0 ? 1 : begin - this.indices[match * this.stride + 1] + 1;
  }
  begin(match, group = 0) {
    return this.indices[this.#at(match, group)];
  }
  end(match, group = 0) {
    return this.indices[this.#at(match, group) + 1];
  }
  bytesOf(match, group = 0) {
    return [this.bytes[this.#at(match, group)], this.bytes[this.#at(match, group) + 1]];
  }
  isPartial(match) {
    return this.bytes[this.#at(match, 0)] < 0;
  }
  /** A match or group as text; the bytes of half a character as \xNN; null when it took no part. */
  textOf(match, group) {
    const at = this.#at(match, group);
    if (this.bytes[at] < 0) return null;
    const slice = this.text.slice(this.indices[at], this.indices[at + 1]);
    if (!this.cuts.has(at) && !this.cuts.has(at + 1)) return slice;
    const skip = this.cuts.get(at) ?? 0;
    return decodeBytes(encoder.encode(slice).subarray(skip, skip + this.bytes[at + 1] - this.bytes[at]));
  }

  /** What to highlight from one index to another, matches first and inner groups last. */
  spans(from, to) {
    const spans = [];
    let low = 0;
    let high = this.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.end(middle) < from) low = middle + 1;
      else high = middle;
    }
    for (let match = low; match < this.length && this.begin(match) <= to; ++match) {
      if (this.isPartial(match)) continue;
      for (let group = 0; group <= this.groups; ++group) {
        const begin = this.begin(match, group);
        const end = this.end(match, group);
        if (begin < 0 || (group > 0 && begin === end)) continue;
        spans.push({ begin, end, name: group === 0 ? `m${match % 2}` : colorOf(group), group });
      }
    }
    return spans.sort((a, b) => a.begin - b.begin || b.end - a.end || a.group - b.group);
  }
}

/** Shows items some at a time. */
function inParts(length, add, place) {
  let done = 0;
  const more = element("button", { type: "button", class: "more", onclick: () => next() });
  const next = () => {
    const end = Math.min(done + ROWS, length);
    while (done < end) add(done++);
    more.textContent = `Show ${Math.min(ROWS, length - done)} more of ${(length - done).toLocaleString("en")}`;
    if (done >= length) more.remove();
    else place.append(more);
  };
  next();
}

function table(headings, label) {
  const body = element("tbody");
  const head = element("tr", {}, ...headings.map((text) => element("th", { scope: "col" }, text)));
  const grid = element("table", {}, element("caption", { class: "hidden-text" }, label), element("thead", {}, head), body);
  return { body, box: element("div", { class: "table", tabindex: "0", role: "region", "aria-label": label }, grid) };
}

function row(cells) {
  return element("tr", {}, ...cells.map((cell) =>
    typeof cell === "string" ? element("td", { class: "number" }, cell) : element("td", { class: "bytes-cell" }, cell)));
}

export function matchTable(matches, extra) {
  const shownGroups = Math.min(matches.groups, 40);
  const headings = ["#", "Line:column", "Bytes", "Match"];
  for (let group = 1; group <= shownGroups; ++group) headings.push(`Group ${group}`);
  if (extra) headings.splice(4, 0, extra.heading);
  const { body, box } = table(headings, "Matches");
  const place = element("div", {}, box);
  inParts(matches.length, (match) => {
    const cells = [String(match + 1), "", "", ""];
    if (matches.isPartial(match)) {
      cells[3] = element("span", { class: "absent" }, "the text ends while a match is still possible");
    } else {
      const [begin, end] = matches.bytesOf(match);
      cells[1] = `${matches.line(match)}:${matches.column(match)}`;
      cells[2] = begin === end ? `${begin}` : `${begin}–${end}`;
      cells[3] = shown(matches.textOf(match, 0), "whole");
    }
    if (extra) cells.push(extra.cell(match));
    for (let group = 1; group <= shownGroups; ++group) {
      const text = matches.textOf(match, group);
      cells.push(text === null ? element("span", { class: "absent" }, "no part") : shown(text, colorOf(group)));
    }
    body.append(row(cells));
  }, place);
  if (shownGroups < matches.groups) place.append(element("p", { class: "note" }, `The first ${shownGroups} of ${matches.groups} groups are shown.`));
  return place;
}

export function pieceTable(pieces) {
  const { body, box } = table(["#", "Piece"], "Pieces");
  const place = element("div", {}, box);
  inParts(pieces.length, (i) => body.append(row([String(i + 1), shown(textOf(pieces[i]))])), place);
  return place;
}

/** A text that was made, with a button that copies all of it. */
export function madeText(text, label, copy) {
  const button = element("button", { type: "button", onclick: () => copy(text, button) }, "Copy");
  const out = element("pre", { class: "text-out", tabindex: "0", role: "region", "aria-label": label }, text.slice(0, LONGEST_TEXT));
  const place = element("div", {}, element("div", { class: "output-head" }, button), out);
  if (text.length > LONGEST_TEXT) {
    place.append(element("p", { class: "note" }, `The first ${LONGEST_TEXT.toLocaleString("en")} of ${text.length.toLocaleString("en")} characters; the copy has them all.`));
  }
  return place;
}

/** The error with the place where it is. */
export function errorText(error, expression) {
  const message = textOf(error.message);
  const box = document.createDocumentFragment();
  box.append(element("span", { class: "name" }, error.name), ` (${error.code}): ${message}`);
  const at = characterAt(expression, error.position);
  if (at >= 0) {
    const before = expression.slice(Math.max(0, at - 40), at).replace(/[\p{Cc}\p{Cf}]/gu, "␣");
    const behind = expression.slice(at, at + 40).replace(/[\p{Cc}\p{Cf}]/gu, "␣");
    box.append(element("span", { class: "where", "aria-hidden": "true" }, `${before}${behind}\n${" ".repeat([...before].length)}^`));
    box.append(element("span", { class: "hidden-text" }, `At character ${at + 1}.`));
  }
  return box;
}

/** The index of the character that has the byte at an offset, or -1. */
export function characterAt(text, offset) {
  if (offset < 0) return -1;
  let at = 0;
  let index = 0;
  for (const character of text) {
    at += encoder.encode(character).length;
    if (at > offset) return index;
    index += character.length;
  }
  return text.length;
}
