import { clock, element } from "./dom.js";
import { Preview } from "./preview.js";
import { text } from "./texts.js";

/** The seek bar: a slider that shows the buffer, and a bubble with the time and frame under the pointer. */
export class SeekBar {
  #dragged = null;
  #preview = null;

  /** `seek(seconds)` is called when the viewer chooses a position; `length()` and `moment()` return seconds. */
  constructor({ video, stream, ticket, seek, length, moment }) {
    Object.assign(this, { video, stream, ticket, seek, length, moment });
    this.ranges = element("div", { class: "ranges" });
    this.played = element("div", { class: "played" });
    this.knob = element("div", { class: "knob" });
    this.time = element("span");
    this.bubble = element("div", { class: "bubble", hidden: true }, this.time);
    this.bar = element("div", {
      class: "seek", role: "slider", tabindex: "0", "aria-label": text("seek"), "aria-valuemin": "0", "aria-valuemax": "0",
      "aria-valuenow": "0", "aria-orientation": "horizontal",
    }, element("div", { class: "track" }, this.ranges, this.played), this.knob, this.bubble);
    this.#listen();
  }

  get dragging() {
    return this.#dragged !== null;
  }

  update() {
    const length = this.length();
    const now = this.#dragged ?? this.moment();
    const share = length > 0 ? Math.min(1, now / length) : 0;
    this.bar.style.setProperty("--share", share);
    this.bar.setAttribute("aria-valuemax", String(Math.floor(length)));
    this.bar.setAttribute("aria-valuenow", String(Math.floor(now)));
    this.bar.setAttribute("aria-valuetext", text("seekValue", { now: clock(now), end: clock(length) }));
  }

  updateFetched() {
    const length = this.length();
    const { buffered } = this.video;
    while (this.ranges.children.length > buffered.length) this.ranges.lastChild.remove();
    while (this.ranges.children.length < buffered.length) this.ranges.append(element("i"));
    for (let i = 0; i < buffered.length && length > 0; i++) {
      const range = this.ranges.children[i];
      range.style.left = `${buffered.start(i) / length * 100}%`;
      range.style.width = `${(buffered.end(i) - buffered.start(i)) / length * 100}%`;
    }
  }

  #momentAt(event) {
    const box = this.bar.getBoundingClientRect();
    return Math.max(0, Math.min(1, (event.clientX - box.left) / box.width)) * this.length();
  }

  #showBubble(event) {
    const moment = this.#momentAt(event);
    if (!(this.length() > 0)) return;
    this.time.textContent = clock(moment);
    this.bubble.hidden = false;
    if (!this.#preview && Preview.worthwhile(this.stream.levels)) {
      this.#preview = new Preview(this.ticket);
      this.bubble.prepend(this.#preview.video);
    }
    const box = this.bar.getBoundingClientRect();
    const half = this.bubble.offsetWidth / 2;
    const x = Math.max(half, Math.min(box.width - half, event.clientX - box.left));
    this.bubble.style.left = `${x}px`;
    this.#preview?.show(moment);
  }

  #hideBubble() {
    this.bubble.hidden = true;
    this.#preview?.hide();
  }

  #listen() {
    const { bar } = this;
    bar.addEventListener("pointerdown", (event) => {
      if (event.button !== 0 || !(this.length() > 0)) return;
      event.preventDefault();
      bar.focus({ preventScroll: true, focusVisible: false });
      bar.setPointerCapture(event.pointerId);
      bar.classList.add("dragging");
      this.#dragged = this.#momentAt(event);
      this.#showBubble(event);
      this.update();
    });
    bar.addEventListener("pointermove", (event) => {
      if (this.dragging) {
        this.#dragged = this.#momentAt(event);
        this.update();
      }
      if (this.dragging || event.pointerType === "mouse") this.#showBubble(event);
    });
    const end = (event) => {
      if (!this.dragging) return;
      const moment = this.#dragged;
      this.#dragged = null;
      bar.classList.remove("dragging");
      if (event.type === "pointerup") this.seek(moment);
      if (event.pointerType !== "mouse") this.#hideBubble();
      this.update();
    };
    bar.addEventListener("pointerup", end);
    bar.addEventListener("pointercancel", end);
    bar.addEventListener("pointerleave", () => { if (!this.dragging) this.#hideBubble(); });
  }
}
