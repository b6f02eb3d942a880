// SPDX-License-Identifier: BSL-1.0
// Runs the library. In front of this file stands what Emscripten makes of the module's imports, as
// `loaders`, one function for each module.

let library = null;
let text = { value: null, bytes: 0, index: null };

const encoder = new TextEncoder();
const decoder = new TextDecoder();

async function bytesOf(source) {
  if (source.url) {
    const response = await fetch(source.url);
    if (!response.ok) throw new Error(`${source.url}: ${response.status}`);
    return response.arrayBuffer();
  }
  const packed = Uint8Array.from(atob(source.base64), (c) => c.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("gzip"));
  return new Response(stream).arrayBuffer();
}

async function load({ name, source, compiled }) {
  const module = compiled ?? (await WebAssembly.compile(await bytesOf(source)));
  library = await loaders[name]({
    instantiateWasm(imports, done) {
      WebAssembly.instantiate(module, imports).then(done);
      return {};
    },
  });
  return { compiled: module };
}

function call(request) {
  const bytes = encoder.encode(JSON.stringify(request));
  const at = library._malloc(bytes.length);
  library.HEAPU8.set(bytes, at);
  library._Run(at, bytes.length);
  library._free(at);
  const json = library._Json();
  const spans = library._Spans() >> 2;
  return {
    answer: JSON.parse(decoder.decode(library.HEAPU8.subarray(json, json + library._JsonSize()))),
    spans: library.HEAP32.slice(spans, spans + library._SpansSize()),
  };
}

/** For each byte of a text in UTF-8, the index in the string of the character that it belongs to. */
function indexOf(value) {
  if (text.value === value) return text;
  let bytes = 0;
  for (let i = 0; i < value.length; ++i) {
    const c = value.charCodeAt(i);
    bytes += c < 0x80 ? 1 : c < 0x800 ? 2 : c >= 0xd800 && c < 0xe000 ? 2 : 3;
  }
  text = { value, bytes, index: null };
  if (bytes === value.length) return text;
  const index = new Uint32Array(bytes + 1);
  for (let i = 0, at = 0; i < value.length; ) {
    const code = value.codePointAt(i);
    const size = code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    index.fill(i, at, at + size);
    at += size;
    i += size === 4 ? 2 : 1;
  }
  index[bytes] = value.length;
  text.index = index;
  return text;
}

/**
 * Turns offsets of bytes into indices of the string, and leaves -1 as it is. An end amid a character
 * goes to that character's end. What began or ended so is in `cuts`, by the place in the spans:
 * how many bytes behind the beginning of its character it is.
 */
function toIndices(spans, groups, value) {
  const { index } = indexOf(value);
  const cuts = new Map();
  if (!index) return { indices: spans, cuts };
  const indices = spans.slice();
  const stride = 2 + 2 * (groups + 1);
  for (let i = 0; i < spans.length; ++i) {
    const place = i % stride;
    if (place === 0 || spans[i] < 0) continue;
    let at = spans[i];
    indices[i] = index[at];
    if (at === 0 || index[at] !== index[at - 1]) continue;
    let behind = 0;
    while (at > 0 && index[at] === index[at - 1]) --at, ++behind;
    cuts.set(i, behind);
    if (place > 1 && place % 2 === 1) {
      for (at = spans[i]; index[at] === indices[i]; ) ++at;
      indices[i] = index[at];
    }
  }
  return { indices, cuts };
}

function run({ request }) {
  const value = request.settings?.text?.text ?? "";
  const began = performance.now();
  const { answer, spans } = call(request);
  const took = performance.now() - began;
  const { indices, cuts } = toIndices(spans, answer.groups ?? 0, value);
  return { answer, spans, indices, cuts, took, bytes: indexOf(value).bytes };
}

onmessage = async ({ data }) => {
  try {
    const result = data.load ? await load(data.load) : run(data);
    postMessage({ id: data.id, ...result });
  } catch (error) {
    // A stack that was too short, or a fault of the module: nothing in it counts any more.
    postMessage({ id: data.id, broken: String(error?.message ?? error) });
  }
};
