// The settings and positions that the player stores in this browser. Storage may be denied by a sandboxed frame or a setting, or be
// full; then values last as long as the page.

const PREFIX = "orvo:";
const kept = new Map();

function storage() {
  try {
    return window.localStorage;
  } catch {
    return null;
  }
}

export function recall(name, otherwise) {
  try {
    const text = storage()?.getItem(PREFIX + name);
    if (text) return JSON.parse(text);
  } catch {
    // Denied, or not written by us.
  }
  return kept.has(name) ? kept.get(name) : otherwise;
}

export function remember(name, value) {
  kept.set(name, value);
  try {
    storage()?.setItem(PREFIX + name, JSON.stringify(value));
  } catch {
    // Denied or full.
  }
}

export function forget(name) {
  kept.delete(name);
  try {
    storage()?.removeItem(PREFIX + name);
  } catch {
    // Denied.
  }
}

const END_MARGIN = 10; // Seconds before the end from which a video counts as watched.
const START_MARGIN = 5; // Seconds from the start that are not remembered.

/** The position at which the viewer left a video, in seconds, or 0. */
export function placeOf(video) {
  const place = recall(`place:${video}`, 0);
  return Number.isFinite(place) && place > 0 ? place : 0;
}

export function keepPlace(video, seconds, duration) {
  if (!(duration > 0)) return;
  const worthwhile = seconds >= START_MARGIN && seconds < duration - Math.min(END_MARGIN, duration * 0.05);
  if (worthwhile) remember(`place:${video}`, Math.round(seconds * 10) / 10);
  else forget(`place:${video}`);
}
