// SPDX-License-Identifier: BSL-1.0
// Tests of the page in a browser. Run by scripts/test-playground.
import assert from "node:assert/strict";
import { execFileSync, spawn } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { tmpdir } from "node:os";
import { dirname, join, normalize } from "node:path";
import { createInterface } from "node:readline";
import test, { after, before } from "node:test";
import { fileURLToPath, pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const root = join(dirname(fileURLToPath(import.meta.url)), "..");
const pageFile = pathToFileURL(join(root, "playground/build/regexclass.html")).href;
const bridgeBuild = join(root, "build/bridge");
const picture = process.argv.includes("--picture") && process.argv.at(-1);
const hasUnicode = existsSync(join(root, "playground/build/site/regexclass-unicode.wasm"));
const work = mkdtempSync(join(tmpdir(), "playground-"));

let browser;
let bridge;

before(async () => {
  browser = await chromium.launch({
    executablePath: "/usr/bin/chromium",
    args: ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
      "--disable-background-networking", "--disable-component-update", "--disable-sync"],
  });
  bridge = startBridge();
});

after(async () => {
  await browser.close();
  bridge.stop();
  rmSync(work, { recursive: true });
});

// ----------------------------------------------------------------------------------- helpers

/** The same library outside the browser. */
function startBridge() {
  const child = spawn(join(bridgeBuild, "playground/regexclass-bridge"), {
    stdio: ["pipe", "pipe", "inherit"], env: { ...process.env, LC_ALL: "C" },
  });
  const lines = createInterface({ input: child.stdout })[Symbol.asyncIterator]();
  const line = async () => (await lines.next()).value;
  return {
    async run(request) {
      child.stdin.write(`${JSON.stringify(request)}\n`);
      const answer = JSON.parse(await line());
      return { answer, spans: (await line()).split(" ").filter(Boolean).map(Number) };
    },
    stop: () => child.stdin.end(),
  };
}

/** Opens the page, and notes what it asks for and whether anything of it fails. */
async function open(fragment = "", { url = pageFile, ...options } = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, ...options });
  const page = await context.newPage();
  page.asked = [];
  page.faults = [];
  context.on("request", (request) => page.asked.push(request.url()));
  page.on("pageerror", (error) => page.faults.push(String(error)));
  page.on("console", (message) => message.type() === "error" && page.faults.push(message.text()));
  page.on("dialog", (dialog) => {
    page.faults.push(`a dialog: ${dialog.message()}`);
    dialog.dismiss();
  });
  await page.goto(url + fragment);
  await settled(page);
  return page;
}

/** Waits until the page has run, and has nothing more to do. */
async function settled(page) {
  let last = "";
  for (let same = 0; same < 6; ) {
    await page.waitForTimeout(60);
    const now = await page.evaluate(() => `${document.documentElement.dataset.run} ${document.getElementById("export").textContent} ${location.hash}`);
    const started = !now.startsWith("undefined");
    same = started && now === last ? same + 1 : 0;
    last = now;
  }
}

async function close(page) {
  assert.deepEqual(page.faults, []);
  await page.context().close();
}

const texts = (page, selector) => page.locator(selector).allTextContents();
const set = async (page, id, text) => {
  await page.locator(`#${id}`).fill(text);
  await settled(page);
};
const fragment = (values) => "#" + Object.entries(values).map(([key, value]) => `${key}=${encodeURIComponent(value)}`).join("&");

/** Asks the page's own worker, of its own text and modules. */
async function withWorker(page) {
  await page.evaluate(async () => {
    const data = (id) => document.getElementById(id)?.textContent.trim();
    window.workers = {};
    for (const name of ["bytes", "unicode"]) {
      if (!data(`module-${name}`)) continue;
      const worker = new Worker(URL.createObjectURL(new Blob([data("worker")])));
      window.workers[name] = (message) => new Promise((resolve) => {
        worker.onmessage = (event) => resolve(event.data);
        worker.postMessage(message);
      });
      await window.workers[name]({ load: { name, source: { base64: data(`module-${name}`) } } });
    }
  });
  return (name, requests) => page.evaluate(async ([module, all]) => {
    const results = [];
    for (const request of all) {
      const { answer, spans, broken } = await window.workers[module]({ request });
      results.push(broken ? { broken } : { answer, spans: [...spans] });
    }
    return results;
  }, [name, requests]);
}

/** Numbers by chance that are the same in each run. */
function chance(seed) {
  let state = seed;
  const number = (below) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return Math.floor((state / 2 ** 32) * below);
  };
  return { number, of: (list) => list[number(list.length)], yes: (times) => number(times) === 0 };
}

// ----------------------------------------------------------------------- the library in the page

const SYNTAXES = ["normal", "perl", "basic", "sed", "extended", "emacs", "awk", "grep", "egrep", "none"];
const SWITCHES = ["escape-in-lists", "char-classes", "intervals", "limited-ops", "newline-alt", "bk-plus-qm", "bk-braces",
  "bk-parens", "bk-refs", "bk-vbar", "literal", "icase", "no-collate"];
const MATCHES = ["not-bol", "not-eol", "not-bob", "not-eob", "not-bow", "not-eow", "not-dot-newline", "not-dot-null", "any",
  "not-null", "continuous", "partial"];
const OPERATIONS = ["match", "match-all", "search", "grep", "format", "merge", "split", "check"];
const PIECES = ["a", "b", "ab", ".", "\\w", "\\d+", "[a-c]", "[^a]", "[[:alpha:]]", "(a)", "(b|c)", "\\(a\\)", "\\(b\\|c\\)", "(?:x)",
  "*", "+", "?", "\\+", "{1,2}", "\\{2\\}", "|", "\\|", "^", "$", "\\b", "\\1", "\n", "é", "ß", "日", "x", "[b-a]", "(", ")", "[", "\\", "<", "&"];
const TEXTS = ["a", "b", "c", "ab", "x", " ", "\n", "1", "23", "é", "ß", "日本", "😀", "A", "<", "&", "\0", "\r\n", "aab"];
const FORMATS = ["$1", "\\1", "$&", "&", "x", "$$", "\\U$0\\E", "(?1a:b)", "<", "$2", "é"];

function randomRequest(random, model) {
  const many = (list, most) => Array.from({ length: random.number(most + 1) }, () => random.of(list)).join("");
  const steps = [`+${random.of(SYNTAXES)}`];
  while (random.yes(2)) steps.push(random.of(["+", "-"]) + random.of(SWITCHES));
  while (random.yes(3)) steps.push(random.of(["+", "-"]) + random.of(MATCHES));
  const operation = random.of(OPERATIONS);
  return {
    operation, steps, export: operation === "check" ? "grep" : operation, texts: [many(TEXTS, 4), many(TEXTS, 9)], most: random.of([0, 1, 3, 100000]),
    settings: {
      expression: many(PIECES, 5), text: { text: many(TEXTS, 30) }, format: many(FORMATS, 3), format_type: random.of(["all", "sed", "perl"]),
      locale_model: model, copy: random.yes(2), only_first: random.yes(4), max_splits: random.of([0, 0, 1, 3]), input_delete: random.yes(3),
    },
  };
}

test("answers like the library outside", async () => {
  const page = await open();
  const ask = await withWorker(page);
  const random = chance(29);
  for (const model of ["cpp", "w32", "c", ...(hasUnicode ? ["unicode"] : [])]) {
    const requests = Array.from({ length: 200 }, () => randomRequest(random, model));
    const results = await ask(model === "unicode" ? "unicode" : "bytes", requests);
    let usable = 0;
    for (let i = 0; i < requests.length; ++i) {
      assert.deepEqual(results[i], await bridge.run(requests[i]), JSON.stringify(requests[i]));
      usable += results[i].answer.error ? 0 : 1;
    }
    assert.ok(usable > 60, `${usable} of ${requests.length} could be run under ${model}`);
  }
  await close(page);
});

test("C++, record and command line give what the page shows", async () => {
  const include = ["-I", join(root, "include"), "-I", join(bridgeBuild, "include"), "-DREGEXCLASS_STATIC_DEFINE"];
  const flags = execFileSync("sh", ["-c", "pkg-config --libs icu-i18n icu-uc libhs 2>/dev/null || pkg-config --libs icu-i18n icu-uc 2>/dev/null || true"], { encoding: "utf8" });
  const hostile = `<script>alert(1)</script>"'\\$(id)\`id\`??/ )"\u202e\u200b\u0007é\r\n#endif`;
  const cases = [
    { operation: "grep", settings: { expression: `(<)|("|'|\\\\)` }, steps: [] },
    { operation: "search", settings: { expression: "\\(i\\)[[:alpha:]]" }, steps: ["+grep", "-intervals", "+icase"] },
    { operation: "match-all", settings: { expression: ".*" }, steps: ["+awk", "+bk-vbar", "+not-bol", "+partial"] },
    { operation: "format", settings: { expression: "(a)(l)?", format: `$1"\\n'`, format_type: "perl" }, steps: [] },
    { operation: "merge", settings: { expression: "script", format: `)"\\1'<b>&`, format_type: "sed", copy: true }, steps: ["+extended"] },
    { operation: "split", settings: { expression: "", max_splits: 2, input_delete: true }, steps: [] },
  ];
  for (const [i, { settings, ...rest }] of cases.entries()) {
    const request = { ...rest, export: rest.operation, settings: { text: { text: hostile }, ...settings } };
    const { answer, spans } = await bridge.run(request);
    assert.equal(answer.error, undefined);
    const program = answer.program.text;
    assert.doesNotMatch(program, /[^\n\x20-\x7eé]/);
    assert.doesNotMatch(answer.command.text, /[^\x20-\x7eé]/);
    const again = await bridge.run({ record: answer.record, export: rest.operation });
    assert.deepEqual(again.answer.record, answer.record);
    assert.equal(again.answer.program.text, program);

    const file = join(work, `program${i}`);
    writeFileSync(`${file}.cpp`, program);
    execFileSync("c++", ["-std=c++17", "-Wall", "-Wextra", "-Werror", ...include, `${file}.cpp`, "-o", file,
      join(bridgeBuild, "src/libregexclass.a"), ...flags.trim().split(/\s+/).filter(Boolean), "-pthread"]);
    assert.equal(execFileSync(file, { encoding: "latin1" }), printed(answer, spans, hostile));

    const json = execFileSync("bash", ["-c", answer.command.text.replace(/^regexclass \S+/, (words) => `${words} --json`)],
      { encoding: "utf8", env: { ...process.env, LC_ALL: "C", PATH: `${join(bridgeBuild, "tools")}:${process.env.PATH}` } });
    const records = json.trim().split("\n").map((line) => JSON.parse(line));
    if (answer.merged) assert.deepEqual(records.map((record) => record.merged), [answer.merged]);
    else if (answer.pieces) assert.deepEqual(records[0].pieces, answer.pieces);
    else assert.deepEqual(records.map((record) => record.position), starts(answer, spans));
  }
});

const starts = ({ groups }, spans) => spans.filter((_, i) => i % (2 * groups + 4) === 2);

/** What the program prints, by the answer. */
function printed({ groups, merged, pieces, rest, formatted }, spans, text) {
  const bytes = (value) => ("text" in value ? Buffer.from(value.text) : Buffer.from(value.bytes, "base64")).toString("latin1");
  if (merged) return bytes(merged);
  if (formatted) return formatted.map((value) => `${bytes(value)}\n`).join("");
  if (pieces) return pieces.map((value) => `${bytes(value)}\n`).join("") + (rest ? `rest: ${bytes(rest)}\n` : "");
  const all = Buffer.from(text).toString("latin1");
  let out = "";
  for (let i = 0; i < spans.length; i += 2) {
    if (i % (2 * groups + 4) === 0) continue;  // the line
    out += `${spans[i]}: ${spans[i] < 0 ? "" : all.slice(spans[i], spans[i + 1])}\n`;
  }
  return out;
}

// -------------------------------------------------------------------------------------- the page

test("shows matches, groups and their places", async () => {
  const page = await open(fragment({ e: "(\\w)(\\d)?", t: "a1\nb <i>" }));
  assert.deepEqual(await texts(page, "#output tbody tr:nth-child(-n+2) td"),
    ["1", "1:1", "0–2", "a1", "a", "1", "2", "2:1", "3–4", "b", "b", "no part"]);
  assert.equal(await page.locator("#summary").textContent().then((words) => words.split(".")[0]), "3 matches");
  assert.deepEqual(await texts(page, "#text-editor .layer .g1"), ["a", "b", "i"]);
  assert.deepEqual(await texts(page, "#expression-editor .layer .g1"), ["(\\w)"]);
  // Bytes: half a character is shown as what it is, and marked as the whole.
  await set(page, "expression", "\\xc3|\\xa9");
  await set(page, "text", "é");
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["\\xc3", "\\xa9"]);
  assert.match(await page.locator("#warning").textContent(), /inside a character/);
  for (const [operation, expected] of [["merge", "<b>"], ["split", ""], ["format", "<b>"]]) {
    await page.locator(`#tab-${operation}`).click();
    if (expected) await set(page, "format", expected);
    await settled(page);
    if (expected) assert.ok((await page.locator("#output").textContent()).includes(expected), operation);
  }
  await close(page);
});

test("tells of errors, and where they are", async () => {
  const page = await open(fragment({ e: "a[b-a]c", t: "a" }));
  assert.match(await page.locator("#error").textContent(), /^BadRange \(11\)/);
  assert.equal(await page.locator("#expression").getAttribute("aria-invalid"), "true");
  const { answer } = await bridge.run({ operation: "grep", settings: { expression: "a[b-a]c" } });
  if (answer.error.position >= 0) {
    assert.equal((await texts(page, "#expression-editor .layer .wrong")).join(""), "a[b-a]c"[answer.error.position] ?? "");
  }
  await set(page, "expression", "");
  assert.equal(await page.locator("#error").isVisible(), false);
  await page.locator("#syntax").selectOption("basic");
  await set(page, "expression", "a\\{2");
  assert.match(await page.locator("#error").textContent(), /^UnmatchedBrace/);
  await page.locator("#syntax").selectOption("extended");
  await set(page, "expression", "a");
  assert.equal(await page.locator("#error").isVisible(), false);
  assert.equal(await page.locator("#expression").getAttribute("aria-invalid"), "false");
  await close(page);
});

const RUNAWAY = { e: "(.*)\\1y", t: "a".repeat(20000) };  // a back reference, so that no automaton helps

test("ends what takes too long, and lives on", async () => {
  const page = await open(fragment({ ...RUNAWAY, t: RUNAWAY.t.slice(0, 16000) }));
  await page.locator("#trouble").waitFor({ state: "visible", timeout: 20000 });
  assert.match(await page.locator("#trouble").textContent(), /more than 1 s/);
  await set(page, "expression", "a{16000}");
  await page.locator("#output tbody tr").first().waitFor();
  assert.equal(await page.locator("#trouble").isVisible(), false);
  await set(page, "expression", "(".repeat(100000));
  assert.match(await page.locator("#error, #trouble p").allTextContents().then((all) => all.join("")), /OutOfSpace|stack|Unmatched/);
  await set(page, "expression", "a+");
  assert.equal((await texts(page, "#output tbody tr")).length, 1);
  await close(page);
});

test("a link brings everything back", async () => {
  const values = {
    op: "merge", s: "egrep", o: "icase,bk-vbar", m: "not-bol,any", l: "c", ft: "sed", copy: "0", first: "1", max: "7", del: "1",
    e: "a|b\n+%", t: "x\r\ny\0 é 😀 <", f: "&\\1", y: "yes & no", n: "<no>",
  };
  const page = await open(fragment(values));
  const state = () => page.evaluate(() => ({
    options: [...document.querySelectorAll("[data-option]:checked")].map((box) => box.dataset.option).sort(),
    matches: [...document.querySelectorAll("[data-match-option]:checked")].map((box) => box.dataset.matchOption),
    fields: [...document.querySelectorAll("select, textarea, input[type=number], input[type=text]")].map((field) => field.value),
    flags: ["whole", "copy", "only_first", "input_delete"].map((id) => document.getElementById(id).checked),
    model: document.querySelector("[name=model]:checked").value,
    record: document.getElementById("size").textContent,
  }));
  const first = await state();
  assert.deepEqual(first.options, ["bk-refs", "bk-vbar", "char-classes", "icase", "icase", "intervals", "newline-alt"]);
  assert.deepEqual(first.matches, ["not-bol", "any"]);
  assert.deepEqual(first.flags, [false, false, true, true]);
  assert.equal(first.record, `${Buffer.byteLength(values.t)} bytes`);
  const link = await page.evaluate(() => location.href);
  await page.goto("about:blank");
  await page.goto(link);
  await settled(page);
  assert.deepEqual(await state(), first);
  // What is no link of this page's does no harm.
  for (const odd of ["#e=%ff&s=<b>&op=x&l=y&max=-1&o=none-such", "#__proto__=1&constructor=2&e", "#%", "#r=2%20junk"]) {
    await page.goto("about:blank");
    await page.goto(pageFile + odd);
    await settled(page);
  }
  // A record by a link, with its text.
  await page.goto("about:blank");
  await page.goto(pageFile + fragment({ r: "2 6 0 1 2 8 12 15 1 0 0 0 0 0 1 0 0 0 3 b+c 4 abbc 0 0 0 0" }));
  await settled(page);
  assert.equal(await page.locator("#expression").inputValue(), "b+c");
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["bbc"]);
  await close(page);
});

test("a settings record is read back", async () => {
  const page = await open(fragment({ e: "x<y", t: "x<y", s: "sed", f: "é" }));
  await page.locator("#export-record").click();
  const record = await page.locator("#export").textContent();
  await page.locator("#reset").click();
  await settled(page);
  assert.equal(await page.locator("#expression").inputValue(), "");
  await page.locator(".read summary").click();
  await page.locator("#record").fill("2 nonsense");
  await page.locator("#read-record").click();
  await page.getByText("Nothing was taken over").waitFor();
  await page.locator("#record").fill(record);
  await page.locator("#read-record").click();
  await page.getByText("Taken over.").waitFor();
  await settled(page);
  assert.equal(await page.locator("#export").textContent(), record);
  assert.equal(await page.locator("#syntax").inputValue(), "sed");
  // A number that is no option, and a text with carriage returns, which a text area wouldn't keep.
  await page.locator("#record").evaluate((area) => {
    area.value = "";
    area.focus();
    const data = new DataTransfer();
    data.setData("text/plain", "2 7 0 1 2 8 12 15 99 1 0 0 0 0 0 1 0 0 0 1 a 5 a\r\na\r 0 0 0 0");
    area.dispatchEvent(new ClipboardEvent("paste", { clipboardData: data, bubbles: true, cancelable: true }));
  });
  await page.locator("#read-record").click();
  await page.getByText("but for numbers").waitFor();
  await settled(page);
  assert.equal((await texts(page, "#output tbody tr")).length, 2);
  assert.equal(await page.locator("#size").textContent(), "5 bytes");
  await close(page);
});

test("the keyboard suffices", async () => {
  const page = await open(fragment({ e: "a", t: "aa", y: "a", n: "a" }));
  const reached = new Set();
  await page.locator("body").focus();
  for (let i = 0; i < 90; ++i) {
    await page.keyboard.press("Tab");
    reached.add(await page.evaluate(() => document.activeElement.id || document.activeElement.ariaLabel || document.activeElement.dataset.option || document.activeElement.dataset.matchOption));
  }
  for (const id of ["expression", "syntax", "text", "tab-grep", "copy-link", "export-program", "add-check", "Text 1", "Remove text 2",
    "invisible", "file", "bk-vbar", "partial", "limit", "reset"]) assert.ok(reached.has(id), `${id} of ${[...reached]}`);
  await page.locator("#tab-grep").focus();
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("ArrowRight");
  await settled(page);
  assert.equal(await page.locator("[role=tab][aria-selected=true]").first().textContent(), "Merge");
  assert.equal(await page.evaluate(() => document.activeElement.id), "tab-merge");
  assert.equal(await page.locator("#verdict").textContent(), "1 of 2 failed");
  // Every control has a name for a screen reader.
  const nameless = await page.evaluate(() => [...document.querySelectorAll("input, select, textarea, button")].filter((control) =>
    control.getClientRects().length > 0 && !control.labels?.length && !control.ariaLabel && !control.textContent.trim()).map((control) => control.outerHTML));
  assert.deepEqual(nameless, []);
  await close(page);
});

const MARKUP = `<img src=x onerror=alert(1)><script>alert(2)</script>"'><svg onload=alert(3)>&lt;{{7*7}}\${8*8}`;

test("what is shown is text, whatever it is", async () => {
  const quoted = MARKUP.replace(/[\\^$.|?*+()[\]{}]/g, "\\$&");
  const fresh = await open();
  const skeleton = (page) => page.evaluate(() => ["img", "script", "svg", "iframe", "a", "style", "link"].map((name) => document.querySelectorAll(name).length));
  const expected = await skeleton(fresh);
  await close(fresh);
  for (const values of [
    { op: "grep", e: `(${quoted})`, t: MARKUP }, { op: "format", e: quoted, t: MARKUP, f: MARKUP.replace(/[$\\(]/g, "") }, { op: "merge", e: "x", t: MARKUP, f: MARKUP },
    { op: "split", e: "zzz", t: MARKUP }, { e: `[[:${MARKUP}:]]`, t: "a" }, { e: "a", t: "a", y: MARKUP, n: MARKUP },
    { s: MARKUP, o: MARKUP, m: MARKUP, l: MARKUP, op: MARKUP, e: "a", t: "a" }, { r: MARKUP },
    { r: `2 6 0 1 2 8 12 15 1 0 0 0 0 0 1 0 0 0 ${Buffer.byteLength(MARKUP)} ${MARKUP} 1 a ${Buffer.byteLength(MARKUP)} ${MARKUP} 0 0 ${Buffer.byteLength(MARKUP)} ${MARKUP}` },
  ]) {
    const page = await open(fragment(values));
    for (const name of ["record", "command", "program"]) await page.locator(`#export-${name}`).click();
    assert.deepEqual(await skeleton(page), expected, JSON.stringify(values));
    assert.deepEqual(page.asked.filter((url) => !url.startsWith("blob:") && !url.startsWith("data:image/svg") && url.split("#")[0] !== pageFile), []);
    await close(page);
  }
});

test("a policy forbids the rest", async () => {
  const page = await open();
  const refused = await page.evaluate(async () => {
    let ran = 0;
    window.mark = () => { ran += 1; };
    const script = document.createElement("script");
    script.textContent = "mark()";
    document.body.append(script);
    const image = document.createElement("div");
    image.innerHTML = "<img src=x onerror=mark()>";
    document.body.append(image);
    const fetched = await fetch("https://example.org/").then(() => 1, () => 0);
    await new Promise((resolve) => { setTimeout(resolve, 100); });
    return ran + fetched;
  });
  assert.equal(refused, 0);
  await page.context().close();
});

test("keeps line ends, and shows what can't be seen", async () => {
  const page = await open(fragment({ e: "\\r\\n", t: "a\r\nb\r\n\tc" }));
  assert.equal((await texts(page, "#output tbody tr")).length, 2);
  assert.match(await page.locator("#text-note").textContent(), /carriage return/);
  await page.locator("#invisible").check();
  await page.locator("#text-editor [data-mark=→]").waitFor({ state: "attached" });
  const marks = await page.locator("#text-editor .unseen").evaluateAll((all) => all.map((mark) => mark.dataset.mark));
  assert.deepEqual(marks, ["␍", "↵", "␍", "↵", "→"]);
  await page.locator("#text").focus();
  await page.keyboard.press("Control+End");
  await page.keyboard.type("d");
  await settled(page);
  assert.match(await page.evaluate(() => location.hash), /t=a%0D%0Ab%0D%0A%09cd/);
  await close(page);
});

test("Unicode is offered where it makes a difference", { skip: !hasUnicode }, async () => {
  const page = await open(fragment({ e: "\\w+", t: "Grüße" }));
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["Gr", "e"]);
  await page.locator("#use-unicode").click();
  await page.getByText("Ready, with Unicode").waitFor();
  await settled(page);
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["Grüße"]);
  assert.equal(await page.locator("#offer").isVisible(), false);
  await set(page, "expression", "\\p{Greek}|\\N{LATIN SMALL LETTER SHARP S}|[[=u=]]");
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["ü", "ß"]);
  await close(page);
});

test("works from a web server, and asks for its own files alone", async () => {
  const site = join(root, "playground/build/site");
  const types = { html: "text/html", wasm: "application/wasm" };
  const server = createServer((request, response) => {
    const name = request.url.split("?")[0].slice(1) || "index.html";
    if (!readdirSync(site).includes(name)) return response.writeHead(404).end();
    response.writeHead(200, { "content-type": types[name.split(".").at(-1)] }).end(readFileSync(join(site, name)));
    return undefined;
  });
  await new Promise((resolve) => { server.listen(0, "127.0.0.1", resolve); });
  const url = `http://127.0.0.1:${server.address().port}/`;
  const page = await open(fragment({ e: "b+", t: "abba" }), { url });
  assert.deepEqual(await texts(page, "#output td:nth-child(4)"), ["bb"]);
  const asked = page.asked.filter((address) => !address.startsWith("blob:") && !address.startsWith("data:")).map((address) => address.split("#")[0]);
  assert.deepEqual(asked.sort(), [url, `${url}regexclass-bytes.wasm`].sort());
  await close(page);
  server.close();
});

test("is usable at 360 pixels, and with a large text", async () => {
  const page = await open(fragment({ e: "(\\w+)@(\\w+)", t: "ann@home", f: "x", op: "merge" }), { viewport: { width: 360, height: 740 } });
  assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 360);
  await close(page);

  const large = await open(fragment({ e: "line (\\d+)", t: "a" }));
  const lines = (bytes) => Array.from({ length: bytes / 40 }, (_, i) => `line ${i} of a text for the page to show`.padEnd(39)).join("\n");
  for (const size of [100000, 1000000]) {
    await large.locator("#text").evaluate((area, text) => {
      area.value = text;
      area.dispatchEvent(new Event("input"));
    }, lines(size));
    await settled(large);
    assert.match(await large.locator("#summary").textContent(), new RegExp(`^${(size / 40).toLocaleString("en")} matches`));
    const tasks = await typing(large);
    console.log(`  typing in ${size} bytes: longest task ${tasks} ms`);
    await large.locator("#text").evaluate((area) => { area.scrollTop = area.scrollHeight; });
    await settled(large);
    assert.ok((await texts(large, "#text-editor .layer .g1")).includes(String(size / 40 - 1)));
  }
  await close(large);
});

/** The longest task of the page while somebody types, in milliseconds; 0 when none took 50. */
async function typing(page) {
  await page.evaluate(() => {
    window.longest = 0;
    new PerformanceObserver((list) => {
      for (const { duration } of list.getEntries()) window.longest = Math.max(window.longest, duration);
    }).observe({ entryTypes: ["longtask"] });
  });
  await page.locator("#text").focus();
  await page.keyboard.press("Control+Home");
  await page.waitForTimeout(500);
  await page.evaluate(() => { window.longest = 0; });
  await page.keyboard.type("typed by somebody who is quick", { delay: 40 });
  await page.waitForTimeout(500);
  return page.evaluate(() => window.longest);
}

test("how long it takes to the first match", async () => {
  const context = await browser.newContext();
  const page = await context.newPage();
  await page.addInitScript(() => {
    new MutationObserver((_, observer) => {
      if (!document.querySelector("#output tbody tr")) return;
      window.firstMatch = performance.now();
      observer.disconnect();
    }).observe(document, { subtree: true, childList: true });
  });
  const times = [];
  for (let i = 0; i < 3; ++i) {
    await page.goto("about:blank");
    await page.goto(pageFile);
    times.push(Math.round(await page.waitForFunction(() => window.firstMatch).then((value) => value.jsonValue())));
  }
  console.log(`  first match after ${times.join(", ")} ms`);
  await context.close();
});

// --------------------------------------------------------------------------- documents, picture

test("links, anchors and pictures of the documents", { skip: !existsSync(join(root, "build/release/docs/site/index.html")) }, async () => {
  const site = join(root, "build/release/docs/site");
  const context = await browser.newContext({ viewport: { width: 390, height: 800 } });
  const page = await context.newPage();
  const anchors = new Map();
  const links = [];
  for (const name of readdirSync(site).filter((file) => file.endsWith(".html") && file !== "regexclass.html")) {
    await page.goto(pathToFileURL(join(site, name)).href);
    const found = await page.evaluate(() => ({
      ids: [...document.querySelectorAll("[id], a[name]")].flatMap((at) => [at.id, at.getAttribute("name")]),
      links: [...document.querySelectorAll(".contents a[href]")].map((link) => link.href),
      broken: [...document.images].filter((image) => image.complete && image.naturalWidth === 0 && image.getClientRects().length > 0).map((image) => image.src),
      wide: document.documentElement.scrollWidth > innerWidth,
    }));
    assert.deepEqual(found.broken, [], name);
    assert.ok(!found.wide, `${name} is wider than a telephone`);
    anchors.set(join(site, name), new Set(found.ids));
    links.push(...found.links.map((link) => [name, link]));
  }
  assert.ok(links.length > 500);
  for (const [name, link] of links) {
    const url = new URL(link);
    if (url.protocol !== "file:") continue;
    const file = normalize(fileURLToPath(`file://${url.pathname}`));
    const isPlayground = file.endsWith("/regexclass.html");
    assert.ok(existsSync(file), `${name} links to ${link}`);
    if (!url.hash || isPlayground || !anchors.has(file)) continue;
    assert.ok(anchors.get(file).has(decodeURIComponent(url.hash.slice(1))), `${name} links to ${link}`);
  }
  // What a table says of errors and formats is what the page says.
  await page.goto(pathToFileURL(join(site, "guide.html")).href);
  const trials = await page.evaluate(() => [...document.querySelectorAll("td a[href*='regexclass.html#']")].map((link) => ({
    hash: link.hash, shown: link.previousElementSibling.textContent, row: link.closest("tr").cells[0].textContent.trim(),
  })));
  assert.ok(trials.length > 180, `${trials.length} links to the page`);
  await context.close();
  const tried = await open();
  for (const { hash, shown, row } of trials) {
    const isError = /^(Bad|Unmatched|Trailing)[A-Za-z]+$/.test(row);
    if (!isError && row !== "NoError" && !hash.includes("op=format")) continue;
    await tried.goto(pageFile + hash);
    await settled(tried);
    if (isError) assert.ok((await tried.locator("#error").textContent()).startsWith(`${row} (`), hash);
    else assert.equal(await tried.locator("#error").isVisible(), false, hash);
    const plain = (text) => text.replace(/\s/g, "");  // the site shows a tabulator as a blank
    if (hash.includes("op=format")) assert.ok(plain(await tried.locator("#output").innerText()).includes(plain(shown)), hash);
  }
  await close(tried);
});

test("picture", { skip: !picture }, async () => {
  const page = await open(fragment({
    op: "grep", e: "(\\w+)@((\\w+)\\.(?:org|net))", l: hasUnicode ? "unicode" : "cpp",
    t: "Write to ann@example.org or to bob@work.net,\nand tell zoë@grüße.org that it works.\n", y: "eve@away.org", n: "eve@away",
  }), { viewport: { width: 1120, height: 760 }, deviceScaleFactor: 1 });
  await page.screenshot({ path: picture });
  await close(page);
});
