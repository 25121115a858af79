// The octets of a message: a grid of two digits each, the bits of a few of them, and the way from a bit to its field.

const PER_ROW = 16;
const MOST_BITS = 8; // octets whose bits are shown
const MOST_SHOWN = 8192;

// The innermost field of each bit, and the innermost that all bits of a stretch lie in.
export class FieldMap {
  constructor(tree, count) {
    this.fields = [];
    this.bits = new Int32Array(count * 8).fill(-1);
    if (tree) this.#add(tree, null, 0);
  }

  // Elements of the message have bands of two colours in turn, which what lies inside them shares.
  #add(field, parent, depth) {
    field.parent = parent;
    field.index = this.fields.push(field) - 1;
    field.band = depth < 3 ? (this.bands = (this.bands ?? 0) + 1) : parent.band;
    if (field.bits) this.bits.fill(field.index, field.bit, field.bit + field.bits);
    for (const inside of field.inside ?? []) this.#add(inside, field, depth + 1);
  }

  at(first, count = 1) {
    let field = this.fields[this.bits[first]];
    const holds = bit => this.bits[bit] >= 0 && isWithin(this.fields[this.bits[bit]], field);
    for (let bit = first; field && bit < first + count; ++bit)
      while (field && !holds(bit)) field = field.parent;
    return field ?? null;
  }
}

function isWithin(field, around) {
  while (field && field !== around) field = field.parent;
  return Boolean(field);
}

// "octet 3, bits 4 to 1", as the standards count: bit 8 is the topmost.
export function placeOf(field) {
  if (!field?.bits) return "";
  const octet = field.bit >> 3, last = (field.bit + field.bits - 1) >> 3, top = 8 - (field.bit & 7);
  if (field.bits % 8 === 0 && top === 8) return octet === last ? `octet ${octet}` : `octets ${octet} to ${last}`;
  if (octet !== last) return `${field.bits} bits from octet ${octet}, bit ${top}`;
  return `octet ${octet}, ` + (field.bits === 1 ? `bit ${top}` : `bits ${top} to ${top - field.bits + 1}`);
}

export class Octets {
  #grid; #strip; #bus; #octets = new Uint8Array(); #map; #cells = []; #focus = 0; #shown = [0, -1]; #lit = [0, 0];

  // `bus` has hover(field) and pick(field).
  constructor(grid, strip, bus) {
    this.#grid = grid;
    this.#strip = strip;
    this.#bus = bus;
    grid.addEventListener("pointermove", event => bus.hover(this.#fieldUnder(event.target)));
    grid.addEventListener("pointerleave", () => bus.hover(null));
    grid.addEventListener("click", event => this.#pick(event.target));
    grid.addEventListener("keydown", event => this.#key(event));
    strip.addEventListener("pointermove", event => bus.hover(this.#fieldUnder(event.target)));
    strip.addEventListener("pointerleave", () => bus.hover(null));
    strip.addEventListener("click", event => bus.pick(this.#fieldUnder(event.target)));
  }

  // `others`: octets that differ from these are marked, as changed or deciphered.
  show(octets, map, others, mark) {
    this.#octets = octets;
    this.#map = map;
    this.#focus = 0;
    this.#shown = [0, -1];
    this.#lit = [0, 0];
    this.#cells = [];
    this.#grid.replaceChildren();
    const count = Math.min(octets.length, MOST_SHOWN);
    for (let at = 0; at < count; at += PER_ROW) this.#grid.append(this.#row(at, Math.min(at + PER_ROW, count), others, mark));
    if (count < octets.length) this.#grid.append(`and ${octets.length - count} more octets`);
    this.#strip.replaceChildren();
  }

  #row(from, to, others, mark) {
    const row = document.createElement("div");
    row.role = "row";
    const offset = document.createElement("span");
    offset.className = "offset";
    offset.role = "rowheader";
    offset.textContent = from.toString().padStart(4, "\u2007");
    row.append(offset);
    for (let at = from; at < to; ++at) {
      const cell = this.#cell(at);
      if (others && others[at] !== this.#octets[at]) cell.classList.add(mark);
      row.append(cell);
      if (at % 8 === 7) row.append(" ");
    }
    return row;
  }

  #cell(at) {
    const cell = document.createElement("span");
    cell.className = "octet";
    cell.role = "gridcell";
    cell.tabIndex = at ? -1 : 0;
    const text = this.#octets[at].toString(16).padStart(2, "0");
    for (let half = 0; half < 2; ++half) {
      const digit = document.createElement("i");
      digit.dataset.bit = at * 8 + half * 4;
      digit.textContent = text[half];
      cell.append(digit);
    }
    const field = this.#map.at(at * 8, 8);
    if (field?.band % 2) cell.classList.add("band");
    this.#cells.push(cell);
    return cell;
  }

  #fieldUnder(element) {
    const bit = Number(element.dataset?.bit ?? NaN);
    return Number.isNaN(bit) ? null : this.#map.at(bit, element.dataset.one ? 1 : 4);
  }

  #pick(element) {
    const cell = element.closest(".octet");
    if (!cell) return;
    this.#focusOn(this.#cells.indexOf(cell));
    this.#bus.pick(this.#fieldUnder(element));
  }

  #focusOn(at) {
    this.#cells[this.#focus].tabIndex = -1;
    this.#focus = Math.max(0, Math.min(at, this.#cells.length - 1));
    const cell = this.#cells[this.#focus], field = this.#map.at(this.#focus * 8, 8);
    cell.tabIndex = 0;
    cell.setAttribute("aria-label", `octet ${this.#focus}, ${cell.textContent}${field ? ", " + field.label : ""}`);
    cell.focus({ preventScroll: true });
    this.#bus.pick(field);
  }

  #key(event) {
    const steps = { ArrowLeft: -1, ArrowRight: 1, ArrowUp: -PER_ROW, ArrowDown: PER_ROW, Home: -1e9, End: 1e9 };
    if (!(event.key in steps) || event.altKey || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    this.#focusOn(this.#focus + steps[event.key]);
    this.#cells[this.#focus].scrollIntoView({ block: "nearest" });
  }

  // Lights the digits of a field, and shows bits: of the field, or of the octet that is under the pointer within it.
  light(field, scroll) {
    for (let at = this.#lit[0]; at < this.#lit[1]; ++at)
      for (const digit of this.#cells[at].children) digit.classList.remove("on", "part");
    const from = field?.bits ? field.bit : 0, to = field?.bits ? field.bit + field.bits : 0;
    this.#lit = [from >> 3, Math.min(to + 7 >> 3, this.#cells.length)];
    for (let at = this.#lit[0]; at < this.#lit[1]; ++at)
      for (const digit of this.#cells[at].children) {
        const bit = Number(digit.dataset.bit), first = Math.max(bit, from), last = Math.min(bit + 4, to);
        if (first < last) digit.classList.add(last - first === 4 ? "on" : "part");
      }
    if (scroll && from < to) this.#cells[this.#lit[0]]?.scrollIntoView({ block: "nearest" });
    if (from < to) this.#showBits(from, to);
    for (const bit of this.#strip.querySelectorAll("[data-bit]"))
      bit.classList.toggle("on", from <= Number(bit.dataset.bit) && Number(bit.dataset.bit) < to);
  }

  // The strip stays while the pointer goes over fields whose bits it has.
  #showBits(from, to) {
    const first = from >> 3, last = Math.min((to - 1) >> 3, first + MOST_BITS - 1);
    if (this.#shown[0] <= first && last <= this.#shown[1]) return;
    this.#shown = [first, last];
    this.#strip.replaceChildren();
    for (let at = first; at <= last; ++at) {
      const group = document.createElement("span");
      group.className = "group";
      group.dataset.at = at;
      for (let bit = 0; bit < 8; ++bit) {
        const one = document.createElement("i");
        one.dataset.bit = at * 8 + bit;
        one.dataset.one = "1";
        one.textContent = this.#octets[at] >> (7 - bit) & 1;
        group.append(one);
      }
      this.#strip.append(group);
    }
  }
}
