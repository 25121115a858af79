// The page: messages come in, one of them is shown, and what is done to one view is done to the others.
import { DIRECTIONS, hexOf, octetsOf, openEngine, pause, SLICE } from "./engine.js";
import { byId, openKeys } from "./keys.js";
import { List, nameOf, timeOf } from "./list.js";
import { FieldMap, Octets, placeOf } from "./octets.js";
import { nameField, Tree } from "./tree.js";

const MOST_MESSAGES = 500000;

const state = { messages: [], current: null, map: null, picked: null, hovered: null, run: 0, view: "fields" };
const engine = await openEngine(byId("engine").textContent);
const bus = { hover, pick, change, namesOf: field => engine.namesOf(state.current, field) };
const octets = new Octets(byId("octets"), byId("bits"), bus);
const tree = new Tree(byId("tree"), bus);
const list = new List(byId("rows"), byId("rowsRoom"), show);

function notice(text, bad = false) {
  byId("notice").textContent = text;
  byId("notice").className = bad ? "bad" : "";
}

// ---- Messages in

// A message as it is kept: what the line or frame says, or else the choices above.
function messageOf(told, name) {
  const place = (name ? name + " " : "") + told.place;
  if (told.problem) return { place, problem: told.problem, line: told.line, dir: 0 };
  const message = { place, time: told.time, dir: told.dir, channel: told.channel, type: told.type, octets: octetsOf(told.octets) };
  message.given = { dir: message.dir, channel: message.channel, type: message.type };
  return choose(message);
}

function choose(message) {
  message.dir = message.given.dir || Number(byId("direction").value);
  message.channel = message.given.channel || Number(byId("channel").value);
  message.type = message.given.type || byId("type").value.trim();
  message.counts = undefined;
  return message;
}

// Reads texts or files, in their order, and shows the first message as soon as it is there.
async function load(sources) {
  const run = ++state.run, messages = state.messages = [], said = [];
  list.set(messages);
  state.current = null;
  engine.rewind();
  for (const { blob, name, alone } of sources) {
    const before = messages.length;
    const told = await read(blob, alone ? "" : name, run);
    if (run !== state.run) return;
    if (name) said.push(`${name}: ${told || counted(messages.length - before, "message")}`);
  }
  arrange();
  if (said.length) notice(said.join("; "));
  await summarise(run);
}

// Returns what there is to say at the end of a file or text, or nothing.
async function read(blob, name, run) {
  let full = false;
  const take = told => {
    const messages = state.messages, from = messages.length;
    full ||= from + told.length > MOST_MESSAGES;
    for (const one of told.slice(0, MOST_MESSAGES - from)) messages.push(messageOf(one, name));
    list.grow(from);
    if (!from && messages.length) begin();
    if (from) arrange();
    return !full;
  };
  try {
    const said = await engine.read(blob, take, () => run === state.run);
    return full ? `more than ${MOST_MESSAGES} messages are left out` : said;
  } catch (error) {
    return `cannot be read: ${error.message}`;
  }
}

const counted = (count, what) => `${count} ${what}${count === 1 ? "" : "s"}`;

function begin() {
  arrange();
  if (state.messages.length > 1) list.go(0);
  else show(state.messages[0]);
  performance.mark("first-result");
}

function arrange() {
  const count = state.messages.length;
  byId("list").hidden = count < 2;
  byId("work").classList.toggle("several", count > 1);
  byId("work").hidden = !count;
  byId("hello").hidden = count > 0;
  byId("listTitle").textContent = counted(count, "message");
}

// What the list says of a message.
function summaryOf(message, inTurn) {
  const unknown = fault => ({ title: "", type: "unknown", outcome: "bad", dir: message.dir, fault });
  if (message.type && !engine.typeNamed(message.type)) return unknown(`There is no type '${message.type}'.`);
  if (engine.decode(message, inTurn)) return engine.summary();
  return unknown("The first octet does not tell what the message is: choose a type above, or a channel and direction.");
}

// Keys count on, so that messages are read in their order.
async function summarise(run) {
  let until = performance.now() + SLICE;
  for (const message of state.messages) {
    if (!message.problem && (!message.summary || engine.hasKeys)) message.summary = summaryOf(message, true);
    if (performance.now() < until) continue;
    list.draw();
    await pause();
    if (run !== state.run) return;
    until = performance.now() + SLICE;
  }
  list.find(byId("find").value);
  const bad = state.messages.filter(message => message.problem || message.summary.outcome === "bad").length;
  if (bad && state.messages.length > 1) byId("listTitle").textContent += `, ${bad} bad`;
}

// Reads all messages again, after keys or choices changed.
async function again() {
  const run = ++state.run, current = state.current;
  for (const message of state.messages) if (!message.problem) choose(message).summary = undefined;
  engine.rewind();
  arrange();
  await summarise(run);
  if (run === state.run && current) show(current);
}

function readInput() {
  const text = byId("input").value;
  notice("");
  load([{ blob: new Blob([text]), name: "", alone: true }]);
}

// ---- A message out

function show(message) {
  state.current = message;
  state.picked = state.hovered = null;
  if (!message.problem) message.summary ??= summaryOf(message);
  const decoded = !message.problem && message.summary.type !== "unknown" && engine.decode(message);
  const whole = decoded ? JSON.parse(engine.json()) : {};
  whole.findings = [...whole.findings ?? [], ...unusualOf(whole)];
  const root = decoded ? engine.tree() : null;
  if (root) nameField(root);
  const given = message.octets ?? new Uint8Array();
  const read = decoded ? engine.deciphered() : given;
  const changed = message.original;
  state.map = new FieldMap(root, given.length);
  showAbout(message, whole, root);
  octets.show(read, state.map, changed ?? given, changed ? "changed" : "deciphered");
  tree.show(root, whole.record, read, whole.findings);
  byId("octetsTitle").textContent = hexOf(read) === hexOf(given) ? counted(given.length, "octet") : counted(given.length, "octet") + ", deciphered";
  byId("undo").hidden = !changed;
  state.texts = {};
  showView(state.view);
  light(false);
}

// Octets that no field says: what was read of them has its fields, so they are remarks on these.
function unusualOf(whole) {
  return (whole.unknown ?? []).filter(kept => kept.why === "unusual").map(({ path, over, octet, regular }) => ({
    path: [path, over].filter(Boolean).join("."),
    octet,
    text: regular ? `unusual: an encoder would write ${hexOf(octetsOf(regular), " ")}` : "unusual: an encoder would refuse it",
  }));
}

function showAbout(message, whole, root) {
  const summary = message.summary ?? {};
  const unread = (whole.unknown ?? []).filter(kept => !["padding", "unusual"].includes(kept.why)).length;
  const byTrial = !message.dir && summary.both && summary.check !== 1;
  byId("title").textContent = nameOf(message);
  const facts = [["place", state.messages.length > 1 || message.time ? message.place : ""], ["time", timeOf(message.time)], ["dir " + DIRECTIONS[summary.dir ?? 0], { 1: "up, from the mobile", 2: "down, to the mobile" }[summary.dir]?.concat(byTrial ? " (by trial)" : "")],
    ["type", summary.title ? summary.type : ""], ["check " + (summary.check === 1 ? "good" : summary.check === 2 ? "bad" : ""), summary.protection],
    ["left", whole.octets && !(summary.outcome === "sealed") && message.octets.length > summary.used ? `${counted(message.octets.length - summary.used, "octet")} left over` : ""],
    ["kept", unread ? `${counted(unread, "element")} kept unread` : ""],
    ["short", summary.missing ? `short by ${counted(summary.missing, "octet")}` : ""]];
  byId("facts").replaceChildren(...facts.filter(([, text]) => text).map(([kind, text]) => element("span", "fact " + kind, text)));
  const findings = whole.findings.map(finding => {
    finding.shown = root && fieldAt(finding.path);
    const item = element("li", finding.fatal ? "bad" : "remark");
    const where = [finding.path, finding.octet === undefined ? "" : `octet ${finding.octet}`].filter(Boolean).join(", ");
    item.append(element("b", "", finding.text), where ? ` at ${where}` : "");
    if (finding.shown) item.tabIndex = 0;
    const go = () => finding.shown && pick(finding.shown, true);
    item.onclick = go;
    item.onkeydown = event => event.key === "Enter" && go();
    return item;
  });
  const other = message.problem ?? (root ? "" : summary.fault);
  if (other) findings.push(element("li", "bad", other));
  if (message.problem) findings.push(element("li", "quote", message.line));
  byId("findings").replaceChildren(...findings);
}

// The field of a path, or the one around it that the tree has.
function fieldAt(path = "") {
  let best = null;
  for (const field of state.map.fields)
    if (field.parent && (path === field.path || path.startsWith(field.path + ".") || path.startsWith(field.path + "["))) best = field;
  return best;
}

function element(tag, className, text = "") {
  const made = document.createElement(tag);
  made.className = className;
  made.textContent = text;
  return made;
}

// ---- One field in all views

function hover(field) {
  if (state.hovered === field) return;
  state.hovered = field;
  light(false);
}

function pick(field) {
  state.picked = field;
  state.hovered = null;
  light(true);
}

function light(scroll) {
  const field = state.hovered ?? state.picked;
  octets.light(field, scroll);
  tree.light(field, scroll);
  byId("place").replaceChildren(...field ? [element("b", "", field.label), ` ${placeOf(field) || "no octets of its own"}`, element("span", "clause", field.clause ?? "")] : []);
}

// ---- Changing a value

// Returns what is wrong, or "".
function change(field, value) {
  const message = state.current, path = field.path;
  const result = engine.change(message, path, value);
  if (result.problem !== undefined) {
    engine.decode(message); // whose record the session holds again
    return result.problem || "The value cannot be encoded.";
  }
  const same = hexOf(result.octets) === hexOf(message.octets);
  message.original ??= message.octets;
  message.octets = result.octets;
  if (hexOf(message.original) === hexOf(message.octets)) message.original = undefined;
  message.summary = undefined;
  show(message);
  list.draw();
  tree.focusPath(path);
  notice(same ? "The octets stay as they were: other fields tell this value." : `${counted(result.octets.length, "octet")} with the change.`);
  return "";
}

function undo() {
  const message = state.current;
  message.octets = message.original;
  message.original = message.summary = undefined;
  show(message);
  list.draw();
  notice("The octets are those that were given.");
}

// ---- Views, buttons, files

const VIEWS = ["fields", "record", "trace", "json"];

function textOfView(view) {
  const options = { names: byId("jsonNames").checked, places: byId("jsonPlaces").checked };
  if (!state.map.fields.length) return "";
  engine.decode(state.current);
  if (view !== "json") return engine[view]();
  const lead = { frame: state.current.time !== undefined || /frame \d+$/.test(state.current.place) ? Number(/\d+$/.exec(state.current.place)) : undefined, time: timeOf(state.current.time) || undefined };
  return JSON.stringify({ ...lead, ...JSON.parse(engine.json(options)) }, null, 2);
}

function showView(view) {
  state.view = view;
  for (const name of VIEWS) {
    const tab = byId("tab-" + name);
    tab.ariaSelected = name === view;
    tab.tabIndex = name === view ? 0 : -1;
    byId(name).hidden = name !== view;
  }
  byId("copyText").hidden = view === "fields";
  for (const label of document.querySelectorAll(".forJson")) label.hidden = view !== "json";
  if (view !== "fields") byId(view).textContent = textOfView(view);
}

async function copy(text, what) {
  try {
    await navigator.clipboard.writeText(text);
    notice(`${what} copied.`);
  } catch {
    notice(`${what} cannot be copied here: ${text}`);
  }
}

const LINE = { dir: ["", "up ", "down "], channel: ["", "bcch ", "ccch ", "dcch ", "sacch ", "short "] };

// The message as a line that reads the same again.
function lineOf(message) {
  return LINE.dir[message.dir] + LINE.channel[message.channel] + (message.type ? message.type + " " : "") + hexOf(message.octets);
}

function openFiles(files) {
  if (!files.length) return;
  byId("input").value = "";
  load(Array.from(files, file => ({ blob: file, name: file.name, alone: files.length === 1 })));
}

function readAddress() {
  let text = location.hash.slice(1);
  try {
    text = decodeURIComponent(text.replaceAll("+", " "));
  } catch { /* a percent sign that leads no code stands for itself */ }
  if (!text || document.getElementById(text)) return;
  byId("input").value = text;
  readInput();
}

const THEMES = { "": "◐ auto", light: "☀ light", dark: "☾ dark" };

function showTheme(theme) {
  if (theme) document.documentElement.dataset.theme = theme;
  else delete document.documentElement.dataset.theme;
  const [sign, word] = THEMES[theme].split(" ");
  byId("theme").replaceChildren(sign, element("span", "wide", " " + word));
}

function dragging(event) {
  if (!event.dataTransfer?.types.includes("Files")) return;
  event.preventDefault();
  byId("drop").hidden = event.type === "drop" || event.type === "dragleave" && !event.relatedTarget;
  if (event.type === "drop") openFiles(event.dataTransfer.files);
}

let typing = 0;
byId("input").addEventListener("input", () => {
  clearTimeout(typing);
  typing = setTimeout(readInput, 60);
});
for (const id of ["direction", "channel", "type"]) byId(id).addEventListener("change", again);
for (const button of document.querySelectorAll("[data-try]")) button.onclick = () => {
  byId("input").value = button.dataset.try;
  readInput();
};
byId("open").onclick = () => byId("file").click();
byId("file").onchange = () => {
  openFiles(byId("file").files);
  byId("file").value = "";
};
byId("keysButton").onclick = () => openKeys(keys => {
  if (keys) engine.setKeys(keys);
  else engine.forgetKeys();
  byId("keysButton").classList.toggle("active", engine.hasKeys);
  byId("keysButton").textContent = engine.hasKeys ? "Keys ✓" : "Keys…";
  again();
});
byId("theme").onclick = () => {
  const all = Object.keys(THEMES);
  showTheme(all[(all.indexOf(document.documentElement.dataset.theme ?? "") + 1) % all.length]);
};
byId("find").oninput = () => list.find(byId("find").value);
byId("undo").onclick = undo;
byId("copyOctets").onclick = () => copy(hexOf(state.current.octets), "The octets are");
byId("copyLink").onclick = () => copy(location.href.replace(/#.*/, "") + "#" + encodeURIComponent(lineOf(state.current)), "The link is");
byId("copyText").onclick = () => copy(byId(state.view).textContent, "The text is");
byId("jsonNames").onchange = byId("jsonPlaces").onchange = () => showView("json");
for (const view of VIEWS) {
  byId("tab-" + view).onclick = () => showView(view);
  byId("tab-" + view).onkeydown = event => {
    const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!step) return;
    const next = VIEWS[(VIEWS.indexOf(view) + step + VIEWS.length) % VIEWS.length];
    showView(next);
    byId("tab-" + next).focus();
  };
}
byId("skip").onclick = event => {
  event.preventDefault();
  byId("tree").querySelector("[tabindex='0']")?.focus();
};
for (const type of ["dragenter", "dragover", "dragleave", "drop"]) document.addEventListener(type, dragging);
document.addEventListener("paste", event => {
  if (event.clipboardData.files.length) openFiles(event.clipboardData.files);
  else if (["INPUT", "TEXTAREA"].includes(document.activeElement?.tagName)) return;
  else {
    byId("input").value = event.clipboardData.getData("text");
    readInput();
  }
  event.preventDefault();
});
addEventListener("hashchange", readAddress);
addEventListener("pagehide", () => engine.forgetKeys());
showTheme("");
readAddress();
byId("version").textContent = engine.version();
// The list of types is long, and the first result does not wait for it.
setTimeout(() => byId("types").replaceChildren(...engine.types().map(([name, title]) => new Option(title, name))), 300);
document.documentElement.dataset.ready = "yes";
