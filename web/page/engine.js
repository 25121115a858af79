// The library, behind functions that take and give plain values. Memory of the library may move with any call, so that
// every view of it is made anew.

export const SLICE = 40; // milliseconds of work before the page may draw
export const pause = () => new Promise(resolve => setTimeout(resolve));
const decoder = new TextDecoder();
const encoder = new TextEncoder();

export const KEPT = 10; // the kind, beside those of the library
const MOST_WIDTH = 8;   // bits of an enumerated field whose values are listed
export const DIRECTIONS = ["", "up", "down"];
const CHECKS = ["", "verified", "FAILED: the code does not fit these keys and counts", "not checked: no keys",
  "not checked: the keys say that integrity is null", "not checked: a header type that the receiver does not verify",
  "not checked: decoding ended before"];

// What the module asks the system for. A page has no files, so that writing fails and ending is an error.
function systemOf(module) {
  const system = {};
  for (const { module: room, name } of WebAssembly.Module.imports(module))
    (system[room] ??= {})[name] = name === "proc_exit" ? code => { throw new Error(`ended with ${code}`); } : () => 52;
  return system;
}

function fromText(characters) {
  const octets = new Uint8Array(characters.length);
  for (let i = 0; i < octets.length; ++i) octets[i] = characters.charCodeAt(i);
  return octets;
}

// The module stands in the page, packed and in base 64.
async function unpack(text) {
  const packed = Uint8Array.fromBase64?.(text) ?? fromText(atob(text));
  return new Response(new Blob([packed]).stream().pipeThrough(new DecompressionStream("gzip"))).arrayBuffer();
}

export async function openEngine(text) {
  const module = await WebAssembly.compile(await unpack(text));
  const { exports: calls } = await WebAssembly.instantiate(module, systemOf(module));
  calls._initialize();
  return new Engine(calls);
}

export function octetsOf(hex) {
  if (Uint8Array.fromHex) return Uint8Array.fromHex(hex);
  const octets = new Uint8Array(hex.length / 2);
  for (let i = 0; i < octets.length; ++i) octets[i] = parseInt(hex.substr(2 * i, 2), 16);
  return octets;
}

export function hexOf(octets, between = "") {
  return Array.from(octets, octet => octet.toString(16).padStart(2, "0")).join(between);
}

// The octets in pieces that take a few milliseconds each, and none at the end. The page may draw now and then: each time
// costs more than a piece. Fetching octets from a file is slow, however few.
async function* piecesOf(blob) {
  const fetched = 1 << 23, piece = 1 << 15;
  let drawn = performance.now();
  for (let from = 0; from < blob.size; from += fetched) {
    const octets = new Uint8Array(await blob.slice(from, from + fetched).arrayBuffer());
    for (let at = 0; at < octets.length; at += piece) {
      yield octets.subarray(at, at + piece);
      if (performance.now() - drawn < SLICE) continue;
      await pause();
      drawn = performance.now();
    }
  }
  yield new Uint8Array();
}

class Engine {
  #calls;
  #types = new Map();
  #first = [0, 0]; // counts: as they were typed
  #next = [0, 0];  // and of the message behind all that were read in turn
  hasKeys = false;

  constructor(calls) {
    this.#calls = calls;
  }

  // Lays octets or text into the room; returns how many octets.
  #give(content) {
    const octets = typeof content === "string" ? encoder.encode(content) : content;
    const at = this.#calls.room(octets.length);
    new Uint8Array(this.#calls.memory.buffer, at, octets.length).set(octets);
    return octets.length;
  }

  #told() {
    return decoder.decode(new Uint8Array(this.#calls.memory.buffer, this.#calls.text(), this.#calls.textSize()));
  }

  #tell(name, ...args) {
    this.#calls[name](...args);
    return this.#told();
  }

  version() { return this.#tell("version"); }
  types() { return JSON.parse(this.#tell("types")); }

  // The number of a type, 0 for none of that name.
  typeNamed(name) {
    if (!name) return 0;
    if (!this.#types.has(name)) this.#types.set(name, this.#calls.typeNamed(this.#give(name)));
    return this.#types.get(name);
  }

  setKeys({ integrityKey, cipherKey, integrity, cipher, bearer, up, down }) {
    const both = new Uint8Array(32);
    both.set(integrityKey);
    both.set(cipherKey, 16);
    this.#give(both);
    both.fill(0);
    this.hasKeys = this.#calls.setKeys(integrity, cipher, bearer, up, down) >= 0;
    this.#first = [up, down];
  }

  // The next message is the first one again.
  rewind() { this.#next = this.#first; }

  forgetKeys() {
    this.#calls.forgetKeys();
    this.hasKeys = false;
  }

  // Decodes a message. Keys count on from message to message: one that is read in turn keeps its counts, so that it reads
  // the same again whatever was read since. Returns false if nothing tells what the octets are.
  decode(message, inTurn = false) {
    const first = inTurn && this.hasKeys && !message.counts;
    if (first) message.counts = this.#next;
    if (this.hasKeys) this.#calls.setCounts(...message.counts ?? this.#next);
    const type = this.typeNamed(message.type);
    const told = this.#calls.decode(type, message.dir, message.channel, this.#give(message.octets)) !== 0;
    if (first) this.#next = [this.#calls.nextCount(1) >>> 0, this.#calls.nextCount(2) >>> 0];
    return told;
  }

  summary() {
    const told = JSON.parse(this.#tell("summary"));
    told.protection = CHECKS[told.check];
    if (told.outcome === "sealed") told.protection = "ciphered, and no keys: only the header can be read";
    return told;
  }

  json({ names = false, places = false } = {}) { return this.#tell("json", (names ? 1 : 0) | (places ? 2 : 0)); }
  trace() { return this.#tell("trace"); }
  record() { return this.#tell("record"); }

  // The fields, with what was kept unread where it stands.
  tree() {
    const [root, kept] = JSON.parse(this.#tell("tree"));
    for (const one of kept) {
      const around = fieldOf(root, one.around).inside;
      const next = around.findIndex(field => field.bits && field.bit > one.bit);
      around.splice(next < 0 ? around.length : next, 0, { ...one, kind: KEPT, width: 0, path: `${one.around}/${one.bit}` });
    }
    return root;
  }

  deciphered() { return octetsOf(this.#tell("deciphered")); }

  // The message with one value changed: { octets } or { problem }. Elements that are not known come back as they were.
  change(message, path, value) {
    this.decode(message); // whose direction and counts an encoding goes by
    const whole = JSON.parse(this.json());
    setAt(whole.record, path, value);
    const good = this.#take(whole) && this.#calls.encode(message.octets.length) >= 0;
    return good ? { octets: octetsOf(this.#told()) } : { problem: this.#tell("fault") };
  }

  // The names that values of an enumerated field have: pairs of number and name. The library is asked for each number,
  // in the message as it stands.
  namesOf(message, field) {
    this.decode(message);
    const whole = JSON.parse(this.json()), names = [];
    for (let value = 0; value < 1 << Math.min(field.width, MOST_WIDTH); ++value) {
      setAt(whole.record, field.path, value);
      const name = this.#take(whole) ? this.#tell("nameAt", this.#give(field.path), value) : "";
      if (name) names.push([value, name]);
    }
    return names;
  }

  #take(whole) { return this.#calls.takeJson(this.#give(JSON.stringify(whole))) >= 0; }

  // Takes a file or text, a piece at a time, and hands over its messages. Returns what there is to say at its end. The
  // library reads one at a time: `wanted` tells whether this is still the one.
  async read(blob, take, wanted) {
    let capture;
    for await (const octets of piecesOf(blob)) {
      if (!wanted()) return "";
      if (capture === undefined) {
        if (octets[0] + octets[1] === 0x1FD && octets[0] >= 0xFE) return "is text in UTF-16; write it in UTF-8";
        capture = this.#calls.beginInput(this.#give(octets)) !== 0;
      }
      const step = this.#calls[capture ? "addCapture" : "addLines"](this.#give(octets));
      const enough = take(JSON.parse(this.#told())) === false;
      if (capture && step !== 2) return this.#endOf(step);
      if (enough) break;
    }
    return "";
  }

  #endOf(status) {
    const { frames, octets, without } = JSON.parse(this.#tell("captureCounts"));
    const why = without.map(([count, words]) => `${count} ${words}`).join(", ");
    const damage = status < 0 ? `; damaged at octet ${octets}, nothing behind it is read` : "";
    return `${frames} frames${why ? ", without a message: " + why : ""}${damage}`;
  }
}

// The innermost record or list whose path leads to the path.
function fieldOf(field, path) {
  const leads = field.inside?.find(inside => inside.inside && (path + ".").replaceAll("[", ".[").startsWith((inside.path + ".").replaceAll("[", ".[")));
  return leads ? fieldOf(leads, path) : field;
}

// "data.RegRequest5G.taiList.elements[0].tac" as steps.
export function stepsOf(path) {
  return Array.from(path.matchAll(/\[(\d+)\]|[^.[\]]+/g), ([step, index]) => index === undefined ? step : Number(index));
}

export function valueAt(record, path) {
  return stepsOf(path).reduce((inside, step) => inside?.[step], record);
}

function setAt(record, path, value) {
  const steps = stepsOf(path), last = steps.pop();
  steps.reduce((inside, step) => inside[step], record)[last] = value;
}
