// The fields of a message as a tree: each with its name, value, what the value means and the clause that tells it. Keys
// walk over it; Enter changes a value.
import { hexOf, KEPT, valueAt } from "./engine.js";
import { placeOf } from "./octets.js";

export const KIND = { record: 0, choice: 1, list: 2, number: 3, flag: 4, enumerated: 5, octets: 6, bits: 7, text: 8, nothing: 9 };
const MOST_OPEN = 1500; // fields that a message opens at once
const MOST_TEXT = 96;   // characters of a value that are shown

function shorten(text) {
  return text.length > MOST_TEXT ? text.slice(0, MOST_TEXT) + "…" : text;
}

// Octets of which most are characters are shown as those, too.
function readable(hex) {
  const text = (hex.match(/../g) ?? []).map(pair => parseInt(pair, 16)).map(code => code >= 32 && code < 127 ? String.fromCharCode(code) : "·").join("");
  return hex.length > 6 && !text.includes("·") ? ` “${shorten(text)}”` : "";
}

function numberText(field, value) {
  return field.width >= 8 && Number(value) > 9 ? `${value} (0x${BigInt(value).toString(16).padStart(Math.ceil(field.width / 4), "0")})` : String(value);
}

// What stands behind the name, and what it means.
export function textOf(field, value) {
  switch (field.kind) {
    case KIND.number: return [numberText(field, value), ""];
    case KIND.flag: return [value ? "yes" : "no", ""];
    case KIND.enumerated: return [String(value), field.means ?? "no such value"];
    case KIND.octets: return [shorten(value.replace(/..(?=.)/g, "$& ")), readable(value)];
    case KIND.text: return [`“${shorten(value.replace(/\0/g, "·"))}”`, ""];
    case KIND.bits: return [shorten(value), ""];
    case KIND.list: return [`${field.inside.length} ${field.inside.length === 1 ? "entry" : "entries"}`, ""];
    case KEPT: return [shorten(value), ""];
    default: return [field.kind === KIND.nothing ? "present" : "", ""];
  }
}

// The standard's name is taken where it says more than the definition's, and stands behind it otherwise.
export function nameField(field) {
  const { name, title = "" } = field;
  const says = title && (!name || field.message || title.toLowerCase().includes(name.toLowerCase()));
  field.label = says ? title : name || "Message";
  field.note = title && !says ? title : "";
  for (const inside of field.inside ?? []) nameField(inside);
}

const CHANGES = new Set([KIND.number, KIND.flag, KIND.enumerated, KIND.octets, KIND.bits, KIND.text]);

// What was typed as a value of the field, or undefined.
export function readValue(field, text) {
  const plain = text.trim();
  switch (field.kind) {
    case KIND.number:
    case KIND.enumerated: {
      if (!/^(\d+|0[xX][0-9a-fA-F]+)$/.test(plain)) return undefined;
      const value = BigInt(plain);
      return value > BigInt(Number.MAX_SAFE_INTEGER) ? value.toString() : Number(value);
    }
    case KIND.octets: {
      const digits = plain.replace(/[\s:,-]/g, "").toLowerCase();
      return /^([0-9a-f]{2})*$/.test(digits) ? digits : undefined;
    }
    case KIND.bits: return /^[01\s]*$/.test(plain) ? plain.replace(/\s/g, "") : undefined;
    default: return text;
  }
}

const WANTED = { [KIND.number]: "a number", [KIND.enumerated]: "a number", [KIND.octets]: "pairs of hexadecimal digits", [KIND.bits]: "0 and 1" };

export class Tree {
  #root; #bus; #items = new Map(); #record; #octets; #focus = null; #lit = [];

  // `bus` has hover(field), pick(field), namesOf(field), and change(field, value), which returns what is wrong or "".
  constructor(root, bus) {
    this.#root = root;
    this.#bus = bus;
    root.addEventListener("pointermove", event => bus.hover(this.#under(event)));
    root.addEventListener("pointerleave", () => bus.hover(null));
    root.addEventListener("click", event => this.#click(event));
    root.addEventListener("dblclick", event => this.#begin(this.#under(event)));
    root.addEventListener("keydown", event => this.#key(event));
  }

  show(tree, record, octets, findings) {
    this.#record = record;
    this.#octets = octets;
    this.#items.clear();
    this.#focus = null;
    this.#root.replaceChildren();
    if (!tree) return;
    const count = field => (field.inside ?? []).reduce((sum, inside) => sum + count(inside), 1);
    const depth = count(tree) > MOST_OPEN ? 3 : Infinity;
    this.#findings = findings;
    this.#root.append(...tree.inside ? tree.inside.map(field => this.#item(field, 1, depth)) : [this.#item(tree, 1, depth)]);
    const first = tree.inside ? tree.inside[0] : tree;
    if (first) this.#items.get(first).tabIndex = 0, this.#focus = first;
  }
  #findings = [];

  #item(field, level, depth) {
    const item = document.createElement("div");
    item.className = "item";
    item.role = "treeitem";
    item.tabIndex = -1;
    item.ariaLevel = level;
    item.field = field;
    this.#items.set(field, item);
    item.append(this.#row(field, level));
    item.setAttribute("aria-label", this.#spoken(field));
    if (field.inside) this.#setOpen(item, level < depth);
    return item;
  }

  #row(field, level) {
    const row = document.createElement("div");
    row.className = "row" + (field.inside ? " container" : field.kind === KEPT ? " kept" : "");
    row.style.setProperty("--level", level - 1);
    const [value, means] = textOf(field, this.#valueOf(field));
    const add = (className, text) => {
      const part = document.createElement("span");
      part.className = className;
      part.textContent = text;
      if (text) row.append(part);
      return part;
    };
    add("name", field.label);
    add("value", value).classList.toggle("changes", CHANGES.has(field.kind));
    add("means", means);
    add("note", field.note);
    add("clause", field.clause?.replace(/^.*?, /, "") ?? "").title = field.clause ?? "";
    for (const finding of this.#findings.filter(finding => finding.shown === field)) add("fault", finding.text);
    return row;
  }

  #valueOf(field) {
    if (field.kind === KEPT) return hexOf(this.#octets.subarray(field.bit >> 3, (field.bit + field.bits + 7) >> 3), " ");
    return valueAt(this.#record, field.path);
  }

  #spoken(field) {
    const [value, means] = textOf(field, this.#valueOf(field));
    return [field.label, value, means, field.note, placeOf(field)].filter(Boolean).join(", ");
  }

  #setOpen(item, open) {
    item.ariaExpanded = open;
    const group = item.querySelector(":scope > .group");
    if (group) group.hidden = !open;
    if (group || !open) return;
    const made = document.createElement("div");
    made.className = "group";
    made.role = "group";
    const level = Number(item.ariaLevel) + 1;
    made.append(...item.field.inside.map(inside => this.#item(inside, level, Infinity)));
    item.append(made);
  }

  #under(event) {
    return event.target.closest(".item")?.field ?? null;
  }

  #click(event) {
    const field = this.#under(event);
    if (!field || event.target.tagName === "INPUT") return;
    const item = this.#items.get(field);
    const toggle = event.target.classList.contains("row") || event.target.classList.contains("name");
    this.#focusOn(field);
    if (field.inside && toggle && event.detail < 2) this.#setOpen(item, item.ariaExpanded !== "true");
    if (event.target.classList.contains("changes")) this.#begin(field);
  }

  #focusOn(field) {
    if (this.#focus) this.#items.get(this.#focus).tabIndex = -1;
    this.#focus = field;
    const item = this.#items.get(field);
    item.tabIndex = 0;
    item.focus({ preventScroll: true });
    item.firstChild.scrollIntoView({ block: "nearest" });
    this.#bus.pick(field);
  }

  // Opens what the field lies in. Returns its item, or nothing if the tree has none.
  reveal(field) {
    if (field.parent && !this.#items.has(field)) {
      const around = this.reveal(field.parent);
      if (around) this.#setOpen(around, true);
    }
    for (let around = field.parent; around && this.#items.has(around); around = around.parent) this.#setOpen(this.#items.get(around), true);
    return this.#items.get(field);
  }

  #visible() {
    return [...this.#root.querySelectorAll(".item")].filter(item => !item.parentElement.closest(".group[hidden]"));
  }

  #key(event) {
    if (event.target.tagName === "INPUT" || event.altKey || event.ctrlKey || event.metaKey || !this.#focus) return;
    const item = this.#items.get(this.#focus), open = item.ariaExpanded === "true";
    const step = by => {
      const all = this.#visible();
      return all[Math.max(0, Math.min(all.length - 1, all.indexOf(item) + by))].field;
    };
    const inward = () => item.field.inside && !open ? this.#setOpen(item, true) : item.field.inside?.length && this.#focusOn(item.field.inside[0]);
    const outward = () => open ? this.#setOpen(item, false) : this.#items.has(item.field.parent) && this.#focusOn(item.field.parent);
    const keys = {
      ArrowDown: () => this.#focusOn(step(1)), ArrowUp: () => this.#focusOn(step(-1)),
      Home: () => this.#focusOn(step(-1e9)), End: () => this.#focusOn(step(1e9)),
      ArrowRight: inward, ArrowLeft: outward,
      Enter: () => item.field.inside ? this.#setOpen(item, !open) : this.#begin(item.field),
      F2: () => this.#begin(item.field),
    };
    if (!keys[event.key]) return;
    event.preventDefault();
    keys[event.key]();
  }

  // Changing: a flag turns over, anything else gets a place to type in.
  #begin(field) {
    if (!field || !CHANGES.has(field.kind)) return;
    const item = this.#items.get(field), value = this.#valueOf(field);
    if (field.kind === KIND.flag) return this.#finish(item, !value);
    const shown = item.querySelector(":scope > .row > .value");
    if (!shown || shown.tagName === "INPUT") return;
    const input = document.createElement("input");
    input.className = "value";
    input.value = value;
    input.size = Math.max(6, Math.min(48, String(value).length + 2));
    input.spellcheck = false;
    input.setAttribute("aria-label", "new value of " + field.label);
    input.addEventListener("keydown", event => {
      if (event.key === "Escape") item.focus({ preventScroll: true });
      if (event.key !== "Enter") return;
      event.preventDefault();
      const typed = readValue(field, input.value);
      if (typed === undefined) this.#refuse(item, `${field.label} takes ${WANTED[field.kind]}`);
      else this.#finish(item, typed);
    });
    // Rows cannot be exchanged while the browser is taking the focus away.
    input.addEventListener("blur", () => setTimeout(() => this.#restore(item)));
    shown.replaceWith(input);
    if (field.kind === KIND.enumerated) input.after(this.#choices(input, this.#bus.namesOf(field)));
    input.focus();
    input.select();
  }

  // Numbers with the names that they have, to choose from while typing.
  #choices(input, names) {
    const list = document.createElement("datalist");
    list.id = "values";
    list.append(...names.map(([number, name]) => new Option(`${number} ${name}`, number)));
    input.setAttribute("list", list.id);
    return list;
  }

  #restore(item) {
    if (!item.isConnected || !item.querySelector(":scope > .row > input")) return;
    item.firstChild.replaceWith(this.#row(item.field, Number(item.ariaLevel)));
  }

  #finish(item, value) {
    const problem = this.#bus.change(item.field, value);
    if (problem) this.#refuse(item, problem);
  }

  #refuse(item, problem) {
    item.querySelector(":scope > .row > .fault.now")?.remove();
    const fault = document.createElement("span");
    fault.className = "fault now";
    fault.role = "alert";
    fault.textContent = problem;
    item.firstChild.append(fault);
  }

  focusPath(path) {
    const field = [...this.#items.keys()].find(field => field.path === path);
    if (field) this.#focusOn(field);
  }

  light(field, scroll) {
    for (const item of this.#lit) item.classList.remove("on"), item.ariaSelected = false;
    this.#lit = [];
    if (!field) return;
    const item = scroll ? this.reveal(field) : this.#items.get(field);
    if (!item) return;
    item.classList.add("on");
    item.ariaSelected = true;
    this.#lit.push(item);
    if (scroll) item.firstChild.scrollIntoView({ block: "nearest" });
  }
}
