// SPDX-License-Identifier: BSL-1.0
// The library behind a worker that can be ended.

/** The modules of this copy of the page, by name, and the text of the worker. */
function findParts() {
  const data = (id) => document.getElementById(id)?.textContent.trim();
  const sources = {};
  for (const name of ["bytes", "unicode"]) {
    const base64 = data(`module-${name}`);
    const file = document.querySelector(`meta[name="module-${name}"]`)?.content;
    if (base64) sources[name] = { base64 };
    else if (file) sources[name] = { url: new URL(file, location.href).href };
  }
  const worker = new Blob([data("worker")], { type: "text/javascript" });
  return { sources, worker: URL.createObjectURL(worker) };
}

export class Engine {
  #parts = findParts();
  #compiled = {};
  #worker = null;
  #name = "bytes";
  #nextId = 1;
  #waiting = new Map();
  #ready = null;
  #last = Promise.resolve();

  constructor(onState) {
    this.onState = onState;
    this.#start();
  }

  hasUnicode() {
    return "unicode" in this.#parts.sources;
  }

  /** Chooses the module, "bytes" or "unicode", for what is run from now on. */
  use(name) {
    if (name === this.#name || !(name in this.#parts.sources)) return;
    this.#name = name;
    this.#restart("replaced");
  }

  /**
   * Gives what the worker makes of a request; { ended } when it took longer than `limit`
   * milliseconds, { broken } when the module failed. One request runs at a time, and the time to wait
   * for its turn and to load the module doesn't count.
   */
  run(request, limit) {
    const turn = this.#last.then(() => this.#runNow(request, limit));
    this.#last = turn;
    return turn;
  }

  async #runNow(request, limit) {
    for (let ready = null; ready !== this.#ready; ) {
      ready = this.#ready;
      const failure = await ready;
      if (failure) return { broken: failure };
    }
    const result = await this.#ask({ request }, limit);
    if (result.broken) this.#restart("broken");
    return result;
  }

  #ask(message, limit) {
    const id = this.#nextId++;
    return new Promise((resolve) => {
      const timer = limit && setTimeout(() => this.#restart("slow"), limit);
      this.#waiting.set(id, { resolve, timer });
      this.#worker.postMessage({ id, ...message });
    });
  }

  #start() {
    const name = this.#name;
    const known = this.#compiled[name];
    this.#worker = new Worker(this.#parts.worker);
    this.#worker.onmessage = ({ data }) => this.#settle(data.id, data);
    this.#worker.onerror = (event) => this.#endAll({ broken: event.message || "no worker" });
    if (!known) this.onState("loading", name);
    const load = known ? { name, compiled: known } : { name, source: this.#parts.sources[name] };
    this.#ready = this.#ask({ load }).then(({ compiled, broken, ended }) => {
      if (broken) this.onState("failed", broken);
      if (broken || ended) return broken;
      this.#compiled[name] = compiled;
      this.onState("ready", name);
    });
  }

  #restart(reason) {
    this.#worker.terminate();
    const ended = [...this.#waiting.keys()];
    const waiting = this.#waiting;
    this.#waiting = new Map();
    this.#start();
    for (const id of ended) {
      const { resolve, timer } = waiting.get(id);
      clearTimeout(timer);
      resolve({ ended: reason });
    }
  }

  #settle(id, result) {
    const asked = this.#waiting.get(id);
    if (!asked) return;
    this.#waiting.delete(id);
    clearTimeout(asked.timer);
    asked.resolve(result);
  }

  #endAll(result) {
    for (const id of [...this.#waiting.keys()]) this.#settle(id, result);
  }
}
