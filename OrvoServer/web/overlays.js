import { element, icon } from "./dom.js";
import { text } from "./texts.js";

/** Temporary elements over the video: feedback, notices and messages. */
export class Overlays {
  #bezelTimer = 0;
  #noticeTimer = 0;

  constructor() {
    this.spinner = element("div", { class: "spinner", role: "img", "aria-label": text("waiting"), hidden: true });
    this.bezel = element("div", { class: "bezel", "aria-hidden": "true" });
    this.notice = element("div", { class: "notice", hidden: true });
    this.message = element("div", { class: "message", role: "alert", hidden: true });
    this.keys = element("dialog", { class: "keys", "aria-labelledby": "keys-title" },
      element("h2", { id: "keys-title" }, text("keys")),
      element("dl", {}, text("keyList").map(([keys, meaning]) => [element("dt", {}, keys), element("dd", {}, meaning)]).flat()),
      element("form", { method: "dialog" }, element("button", { type: "submit", class: "strong" }, text("close"))));
    this.keys.addEventListener("click", (event) => { if (event.target === this.keys) this.keys.close(); });
  }

  get all() {
    return [this.spinner, this.bezel, this.notice, this.message, this.keys];
  }

  /** Shows the effect of a key or tap: an icon and a text, at the "left", "right" or "centre". */
  flash(name, label = "", side = "centre") {
    clearTimeout(this.#bezelTimer);
    this.bezel.replaceChildren(icon(name), ...(label ? [element("span", {}, label)] : []));
    this.bezel.dataset.side = side;
    this.bezel.classList.remove("shown");
    void this.bezel.offsetWidth; // Restarts the animation.
    this.bezel.classList.add("shown");
    this.#bezelTimer = setTimeout(() => this.bezel.classList.remove("shown"), 700);
  }

  /** Shows a line with a button for some seconds. */
  offer(line, label, click) {
    clearTimeout(this.#noticeTimer);
    const hide = () => { this.notice.hidden = true; };
    this.notice.replaceChildren(element("span", {}, line),
      element("button", { type: "button", click: () => { hide(); click(); } }, label));
    this.notice.hidden = false;
    this.#noticeTimer = setTimeout(hide, 8000);
  }

  /** Shows a permanent message, with an optional second line and an optional button. */
  tell(line, { more = "", label = "", click = null, covers = true } = {}) {
    this.message.classList.toggle("covering", covers);
    this.message.replaceChildren(
      element("div", {}, covers ? icon("video-off") : icon("triangle-alert"),
        element("p", { class: "line" }, line), more ? element("p", { class: "more" }, more) : null,
        label ? element("button", { type: "button", class: "strong", click }, label) : null));
    this.message.hidden = false;
  }

  clear() {
    this.message.hidden = true;
  }
}
