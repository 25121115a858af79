// The keys of a connection, typed into a dialog. They go to the library and nowhere else.
import { octetsOf } from "./engine.js";

export const byId = id => document.getElementById(id);
const NUMBERS = [["bearer", "Bearer", -1, 31], ["upCount", "Uplink count", 0, 0xFFFFFF], ["downCount", "Downlink count", 0, 0xFFFFFF]];

// `done(keys)` gets them, or null to forget them.
export function openKeys(done) {
  const dialog = byId("keys");
  const show = () => {
    for (const id of ["integrityKey", "cipherKey"]) byId(id).type = byId("showKeys").checked ? "text" : "password";
    byId("integrityKey").disabled = byId("integrity").value === "0";
    byId("cipherKey").disabled = byId("cipher").value === "0";
  };
  for (const id of ["showKeys", "integrity", "cipher"]) byId(id).onchange = show;
  byId("closeKeys").onclick = () => dialog.close();
  byId("forgetKeys").onclick = () => {
    for (const id of ["integrityKey", "cipherKey", "bearer", "upCount", "downCount"]) byId(id).value = "";
    dialog.close();
    done(null);
  };
  byId("useKeys").onclick = () => {
    const keys = readKeys();
    byId("keysProblem").textContent = typeof keys === "string" ? keys : "";
    if (typeof keys === "string") return;
    dialog.close();
    done(keys);
  };
  dialog.onkeydown = event => {
    if (event.key !== "Enter" || event.target.tagName !== "INPUT") return;
    event.preventDefault();
    byId("useKeys").click();
  };
  byId("keysProblem").textContent = "";
  show();
  dialog.showModal();
}

// The keys, or what is wrong with them.
function readKeys() {
  const keys = { integrity: Number(byId("integrity").value), cipher: Number(byId("cipher").value) };
  for (const [id, name] of [["integrityKey", "integrity"], ["cipherKey", "cipher"]]) {
    const digits = byId(id).value.replace(/[\s:-]/g, "");
    const whole = /^[0-9a-fA-F]{32}$/.test(digits);
    if (keys[name] && !whole) return `The ${id === "cipherKey" ? "ciphering" : "integrity"} key takes 32 hexadecimal digits.`;
    keys[id] = whole ? octetsOf(digits) : new Uint8Array(16);
  }
  for (const [id, name, least, most] of NUMBERS) {
    const text = byId(id).value.trim();
    if (text && !(/^\d+$/.test(text) && Number(text) <= most)) return `${name} goes from 0 to ${most}.`;
    keys[{ upCount: "up", downCount: "down" }[id] ?? id] = text ? Number(text) : least;
  }
  return keys;
}
