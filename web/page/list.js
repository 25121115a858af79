// The list of messages. Only the rows in sight exist, so that a capture of a hundred thousand messages is no burden.
import { DIRECTIONS, hexOf } from "./engine.js";

const HEIGHT = 44; // of a row, as the style has it
const BEYOND = 6;  // rows that exist above and below those in sight

export class List {
  #box; #room; #pick; #all = []; #shown = []; #at = -1; #wanted = ""; #due = false;

  constructor(box, room, pick) {
    this.#box = box;
    this.#room = room;
    this.#pick = pick;
    box.addEventListener("scroll", () => this.draw());
    box.addEventListener("click", event => {
      const row = event.target.closest("[data-at]");
      if (row) this.go(Number(row.dataset.at));
    });
    box.addEventListener("keydown", event => this.#key(event));
    new ResizeObserver(() => this.draw()).observe(box);
  }

  get count() { return this.#shown.length; }

  set(messages) {
    this.#all = messages;
    this.#at = -1;
    this.#box.scrollTop = 0;
    this.find(this.#wanted);
  }

  // Shows the messages whose name or octets have the text.
  find(text) {
    const current = this.#shown[this.#at];
    this.#wanted = text.trim().toLowerCase();
    this.#shown = this.#all.filter(message => this.#isWanted(message));
    this.#at = this.#shown.indexOf(current);
    this.draw();
  }

  // Messages were added behind the others.
  grow(from) {
    for (let i = from; i < this.#all.length; ++i) if (this.#isWanted(this.#all[i])) this.#shown.push(this.#all[i]);
    this.draw();
  }

  #isWanted(message) {
    if (!this.#wanted) return true;
    if (nameOf(message).toLowerCase().includes(this.#wanted)) return true;
    const digits = this.#wanted.replace(/\s/g, "");
    return /^[0-9a-f]+$/.test(digits) && message.octets && hexOf(message.octets).includes(digits);
  }

  draw() {
    if (this.#due) return;
    this.#due = true;
    requestAnimationFrame(() => {
      this.#due = false;
      this.#draw();
    });
  }

  #draw() {
    const from = Math.max(0, Math.floor(this.#box.scrollTop / HEIGHT) - BEYOND);
    const to = Math.min(this.#shown.length, Math.ceil((this.#box.scrollTop + this.#box.clientHeight) / HEIGHT) + BEYOND);
    this.#room.style.height = `${this.#shown.length * HEIGHT}px`;
    this.#room.replaceChildren(...this.#shown.slice(from, to).map((message, i) => this.#row(message, from + i)));
    const current = this.#at >= from && this.#at < to ? `row-${this.#at}` : "";
    if (current) this.#box.setAttribute("aria-activedescendant", current);
    else this.#box.removeAttribute("aria-activedescendant");
  }

  #row(message, at) {
    const row = document.createElement("div");
    row.id = `row-${at}`;
    row.role = "option";
    row.className = `message ${message.summary?.outcome ?? (message.problem ? "bad" : "")}`;
    row.dataset.at = at;
    row.ariaSelected = at === this.#at;
    row.setAttribute("aria-setsize", this.#shown.length);
    row.setAttribute("aria-posinset", at + 1);
    row.style.top = `${at * HEIGHT}px`;
    const name = document.createElement("span"), more = document.createElement("span");
    name.className = "name";
    name.textContent = nameOf(message);
    more.className = "more";
    const direction = DIRECTIONS[message.summary?.dir ?? message.dir ?? 0];
    const size = message.octets ? `${message.octets.length} octet${message.octets.length === 1 ? "" : "s"}` : "";
    more.textContent = [message.place, clockOf(message.time), { up: "↑ up", down: "↓ down" }[direction], size, message.problem].filter(Boolean).join("  ");
    row.append(name, more);
    return row;
  }

  go(at) {
    if (!this.#shown.length) return;
    this.#at = Math.max(0, Math.min(at, this.#shown.length - 1));
    const top = this.#at * HEIGHT, low = top + HEIGHT - this.#box.clientHeight;
    if (this.#box.scrollTop > top) this.#box.scrollTop = top;
    if (this.#box.scrollTop < low) this.#box.scrollTop = low;
    this.draw();
    this.#pick(this.#shown[this.#at]);
  }

  #key(event) {
    const page = Math.max(1, Math.floor(this.#box.clientHeight / HEIGHT) - 1);
    const steps = { ArrowUp: -1, ArrowDown: 1, PageUp: -page, PageDown: page, Home: -1e9, End: 1e9 };
    if (!(event.key in steps) || event.altKey || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    this.go(this.#at + steps[event.key]);
  }
}

export function nameOf(message) {
  if (message.problem) return "no message";
  return message.summary ? message.summary.title || message.summary.type || "unknown" : "…";
}

// The time of day of a capture's nanoseconds, to microseconds.
function clockOf(time) {
  return time ? timeOf(time).slice(11, 26) : "";
}

// "2023-11-14T22:13:20.000005000Z"
export function timeOf(time) {
  if (!time) return "";
  const all = BigInt(time), second = 1000000000n;
  const date = new Date(Number(all / second) * 1000);
  return date.toISOString().slice(0, 19) + "." + (all % second).toString().padStart(9, "0") + "Z";
}
