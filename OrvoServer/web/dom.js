import { outlines } from "./icons.js";

/**
 * Creates an element. Omits attributes that are null, undefined or false, adds functions as listeners, and inserts strings as text:
 * nothing is parsed as HTML.
 */
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === null || value === undefined || value === false) continue;
    if (typeof value === "function") made.addEventListener(name, value);
    else made.setAttribute(name, value === true ? "" : value);
  }
  made.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return made;
}

const SVG = "http://www.w3.org/2000/svg";

/** Creates an SVG element. */
export function shape(tag, attributes, ...children) {
  const made = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, value);
  made.append(...children);
  return made;
}

export function icon(name) {
  return shape("svg", { viewBox: "0 0 24 24", class: "icon", "data-icon": name, "aria-hidden": "true", focusable: "false" },
    shape("path", { d: outlines[name] }));
}

/** Replaces the icon of a button without touching its other children. */
export function setIcon(button, name) {
  const present = button.querySelector(".icon");
  if (present.dataset.icon === name) return;
  present.replaceWith(icon(name));
}

/** Formats seconds as 1:02:03 or 2:03. */
export function clock(seconds) {
  const whole = Math.max(0, Math.floor(seconds || 0));
  const two = (value) => String(value).padStart(2, "0");
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  return hours ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

/** Announces a text to screen readers. */
export function announcer() {
  const region = element("div", { class: "unseen", "aria-live": "polite" });
  return { region, say: (text) => { region.textContent = text; } };
}
