// SPDX-License-Identifier: BSL-1.0
// What is set, as the fragment of a link. Nothing of it is stored anywhere else.

/** The longest text that a link takes, in characters. */
export const LONGEST = 16384;

export const OPERATIONS = ["match", "search", "grep", "format", "merge", "split"];

/** The settings with the keys of `regexclass settings --json`, and what the page has beside them. */
export function newState() {
  return {
    operation: "grep",
    whole: false,
    record: null,
    checks: [],
    steps: [],
    settings: {
      expression: "",
      syntax: ["normal"],
      options: null, // those of the syntax
      match_options: ["default"],
      locale_model: "cpp",
      text: "",
      format: "",
      format_type: "all",
      copy: true,
      only_first: false,
      max_splits: 0,
      input_delete: false,
    },
  };
}

/** Half a pair of UTF-16 has no UTF-8. */
export const wellFormed = (text) => text.toWellFormed?.() ?? text.replace(/\p{Surrogate}/gu, "\ufffd");

const FLAGS = { copy: "copy", first: "only_first", del: "input_delete" };
const TEXTS = { e: "expression", t: "text", f: "format" };

export function toFragment(state, syntaxOptions) {
  const { settings } = state;
  const fresh = newState().settings;
  const parts = [];
  const put = (key, value) => parts.push(`${key}=${encodeURIComponent(value)}`);
  if (state.operation !== "grep") put("op", state.operation);
  if (state.whole) put("whole", 1);
  const syntax = settings.syntax[0] ?? "none";
  if (syntax !== "normal") put("s", syntax);
  const extra = (settings.options ?? []).filter((name) => !syntaxOptions.includes(name));
  if (extra.length > 0) put("o", extra.join(","));
  const matches = settings.match_options.filter((name) => name !== "default");
  if (matches.length > 0) put("m", matches.join(","));
  if (settings.locale_model !== "cpp") put("l", settings.locale_model);
  if (settings.format_type !== "all") put("ft", settings.format_type);
  for (const [key, name] of Object.entries(FLAGS)) {
    if (settings[name] !== fresh[name]) put(key, settings[name] ? 1 : 0);
  }
  if (settings.max_splits) put("max", settings.max_splits);
  for (const [key, name] of Object.entries(TEXTS)) {
    if (settings[name] && settings[name].length <= LONGEST) put(key, settings[name]);
  }
  for (const { text, wanted } of state.checks) {
    if (text.length <= LONGEST) put(wanted ? "y" : "n", text);
  }
  return parts.join("&");
}

/** Takes what it knows of a fragment, which anybody may have written. */
export function fromFragment(fragment) {
  const state = newState();
  const { settings } = state;
  const list = (value) => value.split(",").filter((name) => /^[a-z0-9-]+$/.test(name));
  const steps = (value) => list(value).map((name) => (name.startsWith("-") ? name : `+${name}`));
  const take = {
    op: (value) => { if (OPERATIONS.includes(value)) state.operation = value; },
    whole: (value) => { state.whole = value === "1"; },
    s: (value) => { settings.syntax = value === "none" ? [] : list(value).slice(0, 1); },
    o: (value) => { state.steps.push(...steps(value)); },
    m: (value) => { state.steps.push(...steps(value)); },
    l: (value) => { if (["cpp", "w32", "c", "unicode"].includes(value)) settings.locale_model = value; },
    ft: (value) => { if (["all", "sed", "perl"].includes(value)) settings.format_type = value; },
    max: (value) => { settings.max_splits = Math.min(Math.max(Number.parseInt(value, 10) || 0, 0), 4294967295); },
    y: (value) => state.checks.push({ text: value, wanted: true }),
    n: (value) => state.checks.push({ text: value, wanted: false }),
    r: (value) => { state.record = value; },
  };
  for (const [key, name] of Object.entries(FLAGS)) take[key] = (value) => { settings[name] = value === "1"; };
  for (const [key, name] of Object.entries(TEXTS)) take[key] = (value) => { settings[name] = value; };
  for (const part of fragment.split("&")) {
    const at = part.indexOf("=");
    const key = part.slice(0, Math.max(at, 0));
    if (!Object.hasOwn(take, key)) continue;
    try {
      take[key](wellFormed(decodeURIComponent(part.slice(at + 1))));
    } catch {
      // no UTF-8 behind the percent signs
    }
  }
  state.checks.splice(200);
  return state;
}
