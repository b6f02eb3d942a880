// SPDX-License-Identifier: BSL-1.0
// Makes the page: assemble.mjs OUTPUT VERSION BYTES [UNICODE], with the folders where the modules
// were built. OUTPUT/regexclass.html has everything in itself; OUTPUT/site is for web servers, with
// the modules apart, and each file compressed beside.
import { createHash } from "node:crypto";
import { execFileSync } from "node:child_process";
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { brotliCompressSync, constants, gzipSync } from "node:zlib";

const [output, version, ...folders] = process.argv.slice(2);
const source = join(dirname(fileURLToPath(import.meta.url)), "page");
const names = ["bytes", "unicode"].slice(0, folders.length);
const read = (name) => readFileSync(join(source, name), "utf8");
const escaped = (text) => text.replace(/&/g, "&amp;").replace(/</g, "&lt;");
const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
const zipped = (data) => gzipSync(data, { level: 9 });

const script = execFileSync("esbuild",
  [join(source, "main.js"), "--bundle", "--format=iife", "--charset=utf8", "--target=es2022", "--log-level=warning"],
  { encoding: "utf8" });
const style = read("page.css");
const modules = names.map((name, i) => ({
  name,
  loader: readFileSync(join(folders[i], "regexclass.js"), "utf8"),
  wasm: readFileSync(join(folders[i], "regexclass.wasm")),
}));
const worker = "const loaders = {};\n" +
  modules.map(({ name, loader }) => `loaders.${name} = (() => {\n${loader}\nreturn loadRegexClass;\n})();\n`).join("") +
  read("worker.js");
for (const text of [script, style, worker]) {
  if (/<\/(script|style)|<!--/i.test(text)) throw new Error("a script or style would end its element");
}

function licences() {
  const parts = [readFileSync(join(source, "licences.txt"), "utf8")];
  const icu = folders[1] && join(folders[1], "icu-licence.txt");
  if (icu) parts.push(readFileSync(icu, "utf8"));
  return parts.join("\n");
}

/** The page, with what stands for the modules, and what it may connect to. */
function page(data, connect, head = "") {
  const policy = [
    "default-src 'none'", `script-src ${hash(script)} 'wasm-unsafe-eval'`, `style-src ${hash(style)}`, "worker-src blob:",
    `connect-src ${connect}`, "img-src data:", "base-uri 'none'", "form-action 'none'", "object-src 'none'",
  ].join("; ");
  const values = { policy, style, script, data, version, licences: escaped(licences()) };
  return read("index.html")
    .replace(/@(policy|style|script|data|version|licences)@/g, (_, name) => values[name])
    .replace("<title>", `${head}<title>`);
}

const workerElement = `<script type="text/plain" id="worker">${worker}</script>\n`;
const embedded = modules.map(({ name, wasm }) =>
  `<script type="text/plain" id="module-${name}">${zipped(wasm).toString("base64")}</script>\n`).join("");
rmSync(output, { recursive: true, force: true });
mkdirSync(join(output, "site"), { recursive: true });
writeFileSync(join(output, "regexclass.html"), page(workerElement + embedded, "'none'"));

const files = { "index.html": page(workerElement, "'self'",
  modules.map(({ name }) => `<meta name="module-${name}" content="regexclass-${name}.wasm">\n`).join("")) };
for (const { name, wasm } of modules) files[`regexclass-${name}.wasm`] = wasm;
for (const [name, content] of Object.entries(files)) {
  const data = Buffer.from(content);
  const brotli = brotliCompressSync(data, { params: { [constants.BROTLI_PARAM_SIZE_HINT]: data.length } });
  writeFileSync(join(output, "site", name), data);
  writeFileSync(join(output, "site", `${name}.br`), brotli);
  writeFileSync(join(output, "site", `${name}.gz`), zipped(data));
  console.log(`${name}: ${data.length} bytes, ${brotli.length} as brotli`);
}
