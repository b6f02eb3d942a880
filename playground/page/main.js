// SPDX-License-Identifier: BSL-1.0
import { Editor, LONGEST_LINE, pasteAsItIs, toReal } from "./editor.js";
import { Engine } from "./engine.js";
import { colorOf, groupsOf } from "./groups.js";
import { LONGEST, OPERATIONS, fromFragment, newState, toFragment, wellFormed } from "./link.js";
import { Matches, characterAt, count, element, errorText, madeText, matchTable, pieceTable, textOf } from "./show.js";

const $ = (id) => document.getElementById(id);
const MOST = 100000;
const ABOUT = {
  match: "Does a match begin at the first character?",
  search: "Is there a match anywhere? The leftmost one is given.",
  grep: "Walks through the text from match to match.",
  format: "What the format makes of each match.",
  merge: "The text with its matches replaced.",
  split: "Cuts the text at the matches or, when there are groups, into the groups of the matches. An empty expression cuts at white space.",
};
const NAMES = { match: "Match", search: "Search", grep: "Grep", format: "Format", merge: "Merge", split: "Split" };
const SYNTAXES = {
  normal: "Perl (normal)", perl: "Perl (by that name)", basic: "POSIX basic", sed: "sed", extended: "POSIX extended",
  emacs: "Emacs", awk: "awk", grep: "grep", egrep: "egrep", none: "switches alone",
};
const SWITCHES = {
  "escape-in-lists": "A backslash is special in a list", "char-classes": "[:alpha:] in lists", intervals: "a{2,3}",
  "limited-ops": "+ ? | are ordinary", "newline-alt": "A line feed separates alternatives", "bk-plus-qm": "\\+ and \\? repeat",
  "bk-braces": "a\\{2,3\\}", "bk-parens": "\\(group\\)", "bk-refs": "\\1 refers back", "bk-vbar": "a\\|b",
  literal: "Every character stands for itself", icase: "Letters match regardless of case", "no-collate": "[a-z] goes by byte value",
};
const MATCH_OPTIONS = {
  "not-bol": "The text doesn't begin a line", "not-eol": "… nor end one", "not-bob": "It doesn't begin the buffer", "not-eob": "… nor end it",
  "not-bow": "It doesn't begin a word", "not-eow": "… nor end one", "not-dot-newline": "A dot doesn't match a line feed",
  "not-dot-null": "A dot doesn't match a zero byte", any: "Any match will do", "not-null": "No empty matches",
  continuous: "A match begins where the search does", partial: "What could still become a match counts",
};
const MODELS = {
  cpp: "A std::locale (CppLocale)", unicode: "Unicode, in UTF-8 (UnicodeLocale)", w32: "The user's (W32Locale)", c: "The C library's (CLocale)",
};
const EXPORTS = { program: "C++", record: "Settings record", command: "Command line" };
const enumerator = (name) => name.split("-").map((word) => word[0].toUpperCase() + word.slice(1)).join("");

let state = newState();
let exportTab = "program";
let exported = {};
const members = { none: [] };
let matches = null;
let wrong = -1;
let running = false;
let again = false;
const engine = new Engine(showEngine);
const expression = new Editor("expression", () => changed());
const format = new Editor("format", () => changed());
const text = new Editor("text", () => {
  matches = null;
  changed();
});

// ------------------------------------------------------------------------------- the engine

function showEngine(what, name) {
  const box = $("engine");
  box.className = `engine ${what}`;
  const unicode = name === "unicode";
  box.textContent = what === "failed" ? `The library can't run here: ${name}` : what === "loading"
    ? `Loading ${unicode ? "Unicode" : "the library"}…` : `Ready${unicode ? ", with Unicode" : ""}, offline`;
  document.documentElement.dataset.engine = what;
}

function limit() {
  const seconds = Number($("limit").value);
  return 1000 * (seconds > 0 ? Math.min(seconds, 600) : 1);
}

/** The request that the settings make. */
function request(operation, more = {}) {
  const settings = { ...state.settings };
  if (settings.options === null) delete settings.options;
  for (const key of ["expression", "text", "format"]) settings[key] = { text: wellFormed(asText(settings[key])) };
  return { operation, settings, most: MOST, steps: state.steps, ...more };
}

const asText = (value) => (typeof value === "string" ? value : textOf(value));
const operation = () => (state.operation === "match" && state.whole ? "match-all" : state.operation);

/** Runs what is set, and again if something was changed meanwhile. */
async function run() {
  if (running) {
    again = true;
    return;
  }
  running = true;
  const slow = setTimeout(() => { $("summary").textContent = "Searching…"; }, 200);
  try {
    do {
      again = false;
      readFields();
      engine.use(state.settings.locale_model === "unicode" ? "unicode" : "bytes");
      const steps = state.steps.length;
      const asked = request(operation());
      if (state.record !== null) {
        asked.record = { text: state.record };
        delete asked.settings;
      }
      const result = await engine.run(asked, limit());
      if (result.ended === "replaced") again = true;
      else take(result, asked, steps);
    } while (again);
  } finally {
    clearTimeout(slow);
    running = false;
  }
  clearTimeout(restTimer);
  restTimer = setTimeout(runRest, 200);
}

/** What is less urgent: the link, the texts to be checked, and what can be taken along. */
let restTimer = 0;
async function runRest() {
  const idle = () => !running && timer === 0;
  if (!idle()) return;
  const syntax = state.settings.syntax[0] ?? "none";
  await learnSyntax(syntax);
  if (!idle()) return;
  writeLink(members[syntax] ?? []);
  await runChecks();
  if (!idle()) return;
  const result = await engine.run(request("", { export: operation() }), limit());
  if (result.answer && !result.answer.bad_request) {
    exported = result.answer;
    showExport();
  }
}

/** Runs soon; behind a large text when there is a pause. */
let timer = 0;
function changed() {
  clearTimeout(timer);
  timer = setTimeout(() => {
    timer = 0;
    run();
  }, text.area.textLength > 50000 ? 120 : 10);
}

// ------------------------------------------------------------------------ fields and settings

function readFields() {
  const { settings } = state;
  settings.expression = wellFormed(expression.value);
  settings.format = wellFormed(format.value);
  settings.text = wellFormed(text.value);
  state.whole = $("whole").checked;
  settings.copy = $("copy").checked;
  settings.only_first = $("only_first").checked;
  settings.input_delete = $("input_delete").checked;
  settings.format_type = $("format_type").value;
  settings.max_splits = Math.min(Math.max(Math.trunc(Number($("max_splits").value)) || 0, 0), 4294967295);
  state.checks = [...$("checks").children].map((item) => ({
    text: wellFormed(item.querySelector("input").value), wanted: item.querySelector("select").value === "yes",
  }));
}

/** Shows what the state has. */
function writeFields() {
  const { settings } = state;
  expression.value = asText(settings.expression);
  format.value = asText(settings.format);
  text.value = asText(settings.text);
  $("whole").checked = state.whole;
  $("copy").checked = settings.copy;
  $("only_first").checked = settings.only_first;
  $("input_delete").checked = settings.input_delete;
  $("format_type").value = settings.format_type;
  $("max_splits").value = settings.max_splits;
  $("checks").replaceChildren();
  for (const check of state.checks) addCheck(check);
  showOperation();
  showOptions();
}

function showOptions() {
  const { settings } = state;
  $("syntax").value = settings.syntax[0] ?? "none";
  for (const box of document.querySelectorAll("[data-option]")) {
    box.checked = (settings.options ?? []).includes(box.dataset.option);
  }
  for (const box of document.querySelectorAll("[data-match-option]")) {
    box.checked = settings.match_options.includes(box.dataset.matchOption);
  }
  for (const box of document.querySelectorAll("[name=model]")) box.checked = box.value === settings.locale_model;
}

function showOperation() {
  for (const tab of $("operations").children) select(tab, tab.dataset.name === state.operation);
  $("panel").setAttribute("aria-labelledby", `tab-${state.operation}`);
  $("about").textContent = ABOUT[state.operation];
  for (const part of document.querySelectorAll("[data-for]")) {
    part.hidden = !part.dataset.for.split(" ").includes(state.operation);
  }
}

/** Adds or deletes an option, by the library's own rules. */
function step(name) {
  state.steps.push(name);
  changed();
}

// --------------------------------------------------------------------------------- results

function take(result, asked, steps) {
  const output = $("output");
  const done = document.documentElement.dataset;
  $("trouble").hidden = true;
  $("warning").hidden = true;
  if (result.ended || result.broken) {
    state.steps.splice(0, steps);
    matches = null;
    output.replaceChildren();
    showTrouble(result);
    draw();
    done.run = String(Number(done.run ?? 0) + 1);
    return;
  }
  const { answer } = result;
  if (answer.bad_request) {
    state.steps.splice(0, steps);
    state.record = null;
    $("summary").textContent = "That can't be done.";
    note("warning", textOf(answer.bad_request));
    done.run = String(Number(done.run ?? 0) + 1);
    return;
  }
  state.steps.splice(0, steps);
  const taken = state.record !== null;
  state.record = null;
  Object.assign(state.settings, withoutTexts(answer.settings, taken));
  if (taken) writeFields();
  else showOptions();
  showError(answer.error);
  matches = answer.error || taken ? null : new Matches(result, asked.settings.text.text);
  if (taken) again = true;  // now from the fields
  showSize(result);
  draw();
  if (!taken) showResult(answer, result.took);
  done.run = String(Number(done.run ?? 0) + 1);
}

/** The settings of an answer; the texts are the fields' own, but for those of a record. */
function withoutTexts(settings, taken) {
  const rest = { ...settings };
  for (const key of ["expression", "format", "text"]) {
    if (taken) rest[key] = textOf(rest[key]);
    else delete rest[key];
  }
  return rest;
}

/** The switches of a syntax, as the library has them. */
async function learnSyntax(name) {
  if (name in members) return;
  const { answer } = await engine.run({ steps: [`+${name}`] }, limit());
  if (answer?.settings) members[name] = answer.settings.options;
}

function showError(error) {
  const box = $("error");
  const asked = error && error.name !== "NoExpression";
  box.hidden = !asked;
  expression.box.classList.toggle("invalid", Boolean(asked));
  expression.area.setAttribute("aria-invalid", String(Boolean(asked)));
  wrong = asked ? characterAt(state.settings.expression, error.position) : -1;
  if (asked) box.replaceChildren(errorText(error, state.settings.expression));
}

function showTrouble(result) {
  const box = $("trouble");
  $("summary").textContent = "";
  box.hidden = false;
  const words = box.querySelector("p");
  const button = $("longer");
  button.hidden = result.ended !== "slow";
  if (result.ended === "slow") {
    const seconds = limit() / 1000;
    $("summary").textContent = "Ended.";
    words.textContent = `This expression has taken more than ${seconds} s on this text, and was ended. The library runs again from its start.`;
    button.textContent = `Allow ${Math.min(seconds * 10, 600)} s`;
  } else {
    words.textContent = /stack|recursion/i.test(result.broken ?? "")
      ? "This takes more stack than a browser gives. The library runs again from its start."
      : `The library has failed: ${result.broken}. It runs again from its start.`;
  }
}

function note(id, words) {
  $(id).textContent = words;
  $(id).hidden = !words;
}

function showResult(answer, took) {
  const output = $("output");
  const time = took < 1 ? "less than 1 ms" : `${Math.round(took)} ms`;
  if (answer.error) {
    $("summary").textContent = answer.error.name === "NoExpression" ? "Type an expression." : "The expression can't be used.";
    output.replaceChildren();
    return;
  }
  const found = count(answer.count, state.operation === "split" ? "piece" : "match", state.operation === "split" ? "pieces" : "matches");
  const verdict = { match: ["A match.", "No match."], search: ["A match.", "No match."] }[state.operation];
  const words = verdict ? verdict[answer.count > 0 ? 0 : 1] : answer.capped ? `The first ${found}; there are more.` : `${found}.`;
  $("summary").replaceChildren(words, element("span", { class: "quiet" }, ` ${time}`));
  const notes = [];
  if (answer.gave_up) notes.push(`The engine gave up: ${textOf(answer.gave_up)}`);
  if (answer.cut) notes.push("Not all that was made is here: the page takes 8 MiB.");
  if (matches.cuts.size > 0) notes.push("A match begins or ends inside a character: a character of this model is a byte.");
  note("warning", notes.join(" "));
  output.replaceChildren(...resultParts(answer));
}

function resultParts(answer) {
  if (state.operation === "merge") {
    const parts = [madeText(textOf(answer.merged), "The text with its matches replaced", copyText)];
    return parts;
  }
  if (state.operation === "split") {
    const parts = answer.pieces.length > 0 ? [pieceTable(answer.pieces)] : [];
    if (answer.rest) parts.push(element("p", { class: "note" }, "What is left of the text:"), madeText(textOf(answer.rest), "What is left", copyText));
    return parts;
  }
  if (matches.length === 0) return [];
  const extra = state.operation === "format" && {
    heading: "Formatted",
    cell: (match) => match in answer.formatted ? element("span", { class: "bytes" }, textOf(answer.formatted[match]).slice(0, 2000)) : element("span", { class: "absent" }, "cut"),
  };
  return [matchTable(matches, extra)];
}

function showSize({ bytes }) {
  const value = state.settings.text;
  const beyond = bytes !== value.length || /[^\0-\x7f]/.test(state.settings.expression);
  $("size").textContent = count(bytes, "byte");
  const returns = value.includes("\r");
  const zeros = value.includes("\0");
  const words = [
    returns && "␍ stands for a carriage return.", zeros && "␀ stands for a zero byte.",
    new RegExp(`[^\\n]{${LONGEST_LINE + 1}}`).test(value) && `Of a line, ${LONGEST_LINE.toLocaleString("en")} characters are highlighted at most.`,
  ];
  note("text-note", words.filter(Boolean).join(" "));
  $("offer").hidden = !beyond || state.settings.locale_model === "unicode" || !engine.hasUnicode();
}

function draw() {
  text.highlight((from, to) => matches?.spans(from, to) ?? []);
  const { options } = state.settings;
  const groups = matches && options ? groupsOf(state.settings.expression, options) : [];
  const known = matches && groups.length === matches.groups;
  const spans = known ? groups.map(({ begin, end, group }) => ({ begin, end, name: colorOf(group) })) : [];
  if (wrong >= 0) spans.push({ begin: wrong, end: Math.min(wrong + 1, state.settings.expression.length), name: "wrong" });
  spans.sort((a, b) => a.begin - b.begin || b.end - a.end);
  expression.highlight(() => spans);
}

// ---------------------------------------------------------------------------- texts to be checked

function addCheck({ text: value, wanted }) {
  const number = $("checks").children.length + 1;
  const choice = element("select", { "aria-label": `What is wanted of text ${number}` },
    element("option", { value: "yes" }, "must match"), element("option", { value: "no" }, "must not match"));
  choice.value = wanted ? "yes" : "no";
  const input = element("input", { type: "text", "aria-label": `Text ${number}`, spellcheck: "false", autocomplete: "off" });
  input.value = value;
  const verdict = element("span", { class: "verdict" });
  const item = element("li", {}, choice, input, verdict);
  item.append(element("button", { type: "button", "aria-label": `Remove text ${number}`, onclick: () => {
    item.remove();
    $("add-check").focus();
    changed();
  } }, "Remove"));
  choice.addEventListener("change", changed);
  input.addEventListener("input", changed);
  $("checks").append(item);
  return input;
}

async function runChecks() {
  $("checks-empty").hidden = state.checks.length > 0;
  const items = [...$("checks").children];
  if (items.length === 0) {
    $("verdict").textContent = "";
    return;
  }
  const texts = state.checks.map((check) => check.text);
  const { settings, ...rest } = request("check", { texts: texts.map((value) => ({ text: value })) });
  const result = await engine.run({ ...rest, settings: { ...settings, text: { text: "" } } }, limit());
  const verdicts = result.answer?.verdicts;
  let passed = 0;
  items.forEach((item, i) => {
    const box = item.querySelector(".verdict");
    const known = verdicts && i < verdicts.length;
    const good = known && verdicts[i] === state.checks[i]?.wanted;
    passed += good ? 1 : 0;
    box.className = `verdict ${!known ? "quiet" : good ? "passed" : "failed-text"}`;
    box.textContent = !known ? "—" : good ? "✓ passed" : "✗ failed";
  });
  $("verdict").textContent = !verdicts ? "" : passed === items.length ? `All ${passed} passed` : `${items.length - passed} of ${items.length} failed`;
  $("verdict").className = verdicts && passed === items.length ? "passed" : "failed-text";
}

// ------------------------------------------------------------------------------- taking along

function writeLink(syntaxOptions) {
  const fragment = toFragment(state, syntaxOptions);
  const left = ["expression", "text", "format"].filter((key) => state.settings[key].length > LONGEST);
  note("link-note", left.length > 0 ? `The ${left.join(" and the ")} of more than ${LONGEST.toLocaleString("en")} characters isn't in the link.` : "");
  if (`#${fragment}` === location.hash || (fragment === "" && location.hash === "")) return;
  try {
    history.replaceState(null, "", `#${fragment}`);
  } catch {
    // A browser takes so many a while.
  }
}

function showExport() {
  for (const tab of $("exports").children) select(tab, tab.dataset.name === exportTab);
  $("export-panel").setAttribute("aria-labelledby", `export-${exportTab}`);
  const value = textOf(exported[exportTab] ?? { text: "" });
  const shownPart = value.slice(0, 20000);
  $("export").textContent = shownPart + (shownPart === value ? "" : "\n…");
}

async function copyText(value, button) {
  let done = false;
  try {
    await navigator.clipboard.writeText(value);
    done = true;
  } catch {
    const area = element("textarea", { class: "hidden-text" });
    area.value = value;
    document.body.append(area);
    area.select();
    done = document.execCommand("copy");
    area.remove();
    button.focus();
  }
  const words = button.textContent;
  if (!button.dataset.words) button.dataset.words = words;
  button.textContent = done ? "Copied" : "Not copied";
  setTimeout(() => { button.textContent = button.dataset.words; }, 1500);
}

// ---------------------------------------------------------------------------------- building

function select(tab, selected) {
  tab.setAttribute("aria-selected", String(selected));
  tab.tabIndex = selected ? 0 : -1;
}

/** Tabs that arrow keys walk through. */
function makeTabs(list, names, prefix, panel, choose) {
  for (const [name, words] of Object.entries(names)) {
    list.append(element("button", { type: "button", role: "tab", id: `${prefix}-${name}`, "data-name": name, "aria-controls": panel, onclick: () => choose(name) }, words));
  }
  list.addEventListener("keydown", (event) => {
    const tabs = [...list.children];
    const at = tabs.indexOf(document.activeElement);
    const to = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: tabs.length - 1 }[event.key];
    if (to === undefined || at < 0) return;
    event.preventDefault();
    const tab = tabs[(to + tabs.length) % tabs.length];
    tab.focus();
    choose(tab.dataset.name);
  });
}

function makeChecks(place, names, attribute, prefix) {
  for (const [name, words] of Object.entries(names)) {
    const box = element("input", { type: "checkbox", [attribute]: name });
    place.append(element("label", { class: "check" }, box, element("span", {}, prefix + enumerator(name), element("small", {}, words))));
  }
}

function build() {
  for (const [name, words] of Object.entries(SYNTAXES)) $("syntax").append(element("option", { value: name }, words));
  for (const name of ["all", "perl", "sed"]) $("format_type").append(element("option", { value: name }, `Format${enumerator(name)}`));
  makeChecks($("switches"), SWITCHES, "data-option", "");
  makeChecks($("match-options"), MATCH_OPTIONS, "data-match-option", "Match");
  for (const [name, words] of Object.entries(MODELS)) {
    const box = element("input", { type: "radio", name: "model", value: name });
    const missing = name === "unicode" && !engine.hasUnicode();
    box.disabled = missing;
    $("models").append(element("label", { class: "check" }, box, element("span", {}, words, ...(missing ? [element("small", {}, "This copy of the page was built without it.")] : []))));
  }
  makeTabs($("operations"), NAMES, "tab", "panel", (name) => {
    state.operation = name;
    showOperation();
    changed();
  });
  makeTabs($("exports"), EXPORTS, "export", "export-panel", (name) => {
    exportTab = name;
    showExport();
  });
  $("settings").open = innerWidth > 992;
}

function listen() {
  $("syntax").addEventListener("change", () => step(`+${$("syntax").value}`));
  for (const box of document.querySelectorAll("[data-option]")) {
    box.addEventListener("change", () => step(`${box.checked ? "+" : "-"}${box.dataset.option}`));
  }
  for (const box of document.querySelectorAll("[data-match-option]")) {
    box.addEventListener("change", () => step(`${box.checked ? "+" : "-"}${box.dataset.matchOption}`));
  }
  const model = (name) => {
    state.settings.locale_model = name;
    showOptions();
    changed();
  };
  for (const box of document.querySelectorAll("[name=model]")) box.addEventListener("change", () => model(box.value));
  $("use-unicode").addEventListener("click", () => {
    model("unicode");
    text.area.focus();
  });
  for (const id of ["whole", "copy", "only_first", "input_delete", "format_type", "limit"]) $(id).addEventListener("change", changed);
  $("max_splits").addEventListener("input", changed);
  $("longer").addEventListener("click", () => {
    $("limit").value = Math.min((limit() / 1000) * 10, 600);
    changed();
  });
  $("invisible").addEventListener("change", () => {
    for (const editor of [expression, format, text]) {
      editor.marks = $("invisible").checked;
      editor.draw();
    }
  });
  $("add-check").addEventListener("click", () => {
    addCheck({ text: "", wanted: true }).focus();
    changed();
  });
  $("copy-link").addEventListener("click", () => copyText(location.href, $("copy-link")));
  $("copy-export").addEventListener("click", () => copyText(textOf(exported[exportTab] ?? { text: "" }), $("copy-export")));
  $("read-record").addEventListener("click", readRecord);
  $("record").addEventListener("paste", pasteAsItIs);
  $("reset").addEventListener("click", () => start(newState()));
  $("show-licences").addEventListener("click", (event) => {
    event.preventDefault();
    $("licences").open = true;
    $("licences").scrollIntoView();
  });
  $("file").addEventListener("change", () => openFile($("file").files[0]));
  addEventListener("hashchange", () => start(fromFragment(location.hash.slice(1))));
  addEventListener("keydown", (event) => {
    if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) {
      event.preventDefault();
      run();
    }
  });
}

async function readRecord() {
  readFields();
  const record = { text: wellFormed(toReal($("record").value)) };
  const { answer } = await engine.run({ record, export: "grep" }, limit());
  if (!answer || answer.bad_request) {
    const reason = answer ? textOf(answer.bad_request) : "the library has ended";
    $("record-note").textContent = `Nothing was taken over: ${reason}.`;
    return;
  }
  const again = await engine.run({ settings: answer.settings, export: "grep" }, limit());
  const whole = again.answer?.record && textOf(again.answer.record) === textOf(answer.record);
  $("record-note").textContent = whole ? "Taken over." : "Taken over, but for numbers that stand for nothing.";
  state.settings = { ...state.settings, ...withoutTexts(answer.settings, true) };
  writeFields();
  changed();
}

async function openFile(file) {
  if (!file) return;
  const bytes = await file.arrayBuffer();
  const value = new TextDecoder("utf-8", { ignoreBOM: true }).decode(bytes);
  text.value = value;
  matches = null;
  $("file").value = "";
  changed();
  text.area.focus();
}

function start(next) {
  state = next;
  matches = null;
  writeFields();
  run();
}

build();
listen();
const linked = fromFragment(location.hash.slice(1));
if (location.hash.length < 2) {
  Object.assign(linked.settings, {
    expression: "(\\w+)@(\\w+)", format: "$2:$1",
    text: "Write to ann@home or to bob@work,\nand tell eve@away that it works.\n",
  });
}
start(linked);
