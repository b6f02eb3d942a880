// SPDX-License-Identifier: BSL-1.0
// A text area with a layer of highlighting behind it. The layer has the same text, unseen, so that
// its backgrounds lie where the characters are. Of a long text only the lines that can be seen are in
// it, and its lines don't wrap.

/** From here on a text doesn't wrap. */
const LONG = 8000;
/** What of one line is highlighted at most. */
export const LONGEST_LINE = 20000;

// A text area makes line feeds of carriage returns, and shows nothing for a zero byte. Characters for
// private use stand for them there.
const STAND_INS = { "\r": "\uf80d", "\0": "\uf800" };
const ORIGINALS = Object.fromEntries(Object.entries(STAND_INS).map(([a, b]) => [b, a]));
export const toShown = (text) => text.replace(/[\r\0]/g, (c) => STAND_INS[c]);
export const toReal = (text) => (/[\uf80d\uf800]/.test(text) ? text.replace(/[\uf80d\uf800]/g, (c) => ORIGINALS[c]) : text);

const MARKS = { " ": "·", "\t": "→", "\n": "↵", "\u00a0": "⍽", "\uf80d": "␍", "\uf800": "␀" };
const UNSEEN = /[ \t\n\u00a0\uf80d\uf800]/;
const STAND_IN = /[\uf80d\uf800]/;

export class Editor {
  #spans = () => [];
  #frame = 0;
  #lines = null;
  #value = null;

  constructor(id, onInput) {
    this.area = document.getElementById(id);
    this.box = document.getElementById(`${id}-editor`);
    this.layer = this.box.querySelector(".layer");
    this.grows = !this.box.classList.contains("tall");
    this.marks = false;
    this.area.addEventListener("input", () => {
      this.#changed();
      onInput();
    });
    this.area.addEventListener("scroll", () => this.draw(), { passive: true });
    this.area.addEventListener("paste", pasteAsItIs);
    new ResizeObserver(() => this.draw()).observe(this.area);
  }

  get value() {
    return toReal(this.area.value);
  }

  set value(text) {
    const shown = toShown(text);
    if (shown !== this.area.value) this.area.value = shown;
    this.#changed();
  }

  /** `spans(from, to)` gives what to highlight there: [{ begin, end, name }], the later on top. */
  highlight(spans) {
    this.#spans = spans;
    this.draw();
  }

  draw() {
    this.#frame ||= requestAnimationFrame(() => {
      this.#frame = 0;
      this.#draw();
    });
  }

  #changed() {
    const long = this.area.textLength > LONG;
    this.box.classList.toggle("long", long);
    this.#lines = null;
    this.#value = null;
    if (this.grows) this.#grow();
    this.draw();
  }

  #grow() {
    this.area.style.height = "auto";
    this.area.style.height = `${Math.min(this.area.scrollHeight, 240)}px`;
  }

  /** The offset of each line's beginning. */
  #lineStarts(value) {
    if (!this.#lines) {
      const starts = [0];
      for (let at = value.indexOf("\n"); at >= 0; at = value.indexOf("\n", at + 1)) starts.push(at + 1);
      this.#lines = starts;
    }
    return this.#lines;
  }

  #draw() {
    this.#value ??= this.area.value;
    const value = this.#value;
    const { area, layer } = this;
    const long = this.box.classList.contains("long");
    layer.style.width = long ? "auto" : `${area.clientWidth}px`;
    let from = 0;
    let to = value.length;
    let down = 0;
    const ranges = [];
    if (long) {
      const starts = this.#lineStarts(value);
      const height = Number.parseFloat(getComputedStyle(area).lineHeight);
      const first = Math.max(0, Math.floor(area.scrollTop / height) - 2);
      const last = Math.min(starts.length, first + Math.ceil(area.clientHeight / height) + 5);
      down = first * height;
      for (let line = first; line < last; ++line) {
        const end = line + 1 < starts.length ? starts[line + 1] : value.length;
        ranges.push([starts[line], Math.min(end, starts[line] + LONGEST_LINE), end]);
      }
    } else {
      ranges.push([from, to, to]);
    }
    layer.style.transform = `translate(${-area.scrollLeft}px, ${down - area.scrollTop}px)`;
    const parts = document.createDocumentFragment();
    for (const [begin, end, whole] of ranges) {
      this.#fill(parts, value, begin, end);
      if (end < whole && value[whole - 1] === "\n") parts.append("\n");
    }
    parts.append("\n");
    layer.replaceChildren(parts);
  }

  /** Adds the text of a range, cut into pieces that are highlighted alike. */
  #fill(parts, value, from, to) {
    const spans = this.#spans(from, to);
    const edges = new Set([from, to]);
    const empty = new Set();
    for (const { begin, end } of spans) {
      if (begin === end && begin >= from && begin <= to) empty.add(begin);
      for (const at of [begin, end]) if (at > from && at < to) edges.add(at);
    }
    for (const at of empty) edges.add(at);
    const sorted = [...edges].sort((a, b) => a - b);
    // What covers a piece last is what is seen of it; spans come in the order of their beginnings.
    let next = 0;
    let active = [];
    for (let i = 0; i < sorted.length; ++i) {
      const begin = sorted[i];
      if (empty.has(begin)) parts.append(piece("", "none"));
      if (i + 1 === sorted.length) break;
      const end = sorted[i + 1];
      while (next < spans.length && spans[next].begin <= begin) active.push(spans[next++]);
      active = active.filter((span) => span.end > begin);
      this.#append(parts, value.slice(begin, end), active.at(-1)?.name ?? "");
    }
  }

  #append(parts, text, name) {
    const seen = this.marks ? UNSEEN : STAND_IN;
    if (!seen.test(text)) {
      parts.append(name ? piece(text, name) : text);
      return;
    }
    for (const run of text.split(this.marks ? /([ \t\n\u00a0\uf80d\uf800])/ : /([\uf80d\uf800])/)) {
      if (run === "") continue;
      const mark = MARKS[run];
      if (!mark || !seen.test(run)) {
        parts.append(name ? piece(run, name) : run);
        continue;
      }
      const unseen = piece(run, `unseen ${STAND_IN.test(run) ? "stand-in" : ""} ${name}`);
      unseen.dataset.mark = mark;
      parts.append(unseen);
    }
  }
}

/** Lets carriage returns come through when something is pasted; the text area can still undo. */
export function pasteAsItIs(event) {
  const text = event.clipboardData?.getData("text/plain") ?? "";
  if (!/[\r\0]/.test(text)) return;
  event.preventDefault();
  const area = event.target;
  if (text.length <= 100000 && document.execCommand("insertText", false, toShown(text))) return;
  area.setRangeText(toShown(text), area.selectionStart, area.selectionEnd, "end");
  area.dispatchEvent(new Event("input"));
}

function piece(text, name) {
  const span = document.createElement("span");
  span.className = name;
  span.textContent = text;
  return span;
}
