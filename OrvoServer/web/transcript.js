import { paragraphsOf } from "./captions.js";
import { clock, element, icon } from "./dom.js";
import { text } from "./texts.js";

const FOLLOW_AGAIN = 6000; // Milliseconds after the last manual scrolling before the spoken word is followed again.

/** Lower case without accents, character by character, so that positions stay the same. */
const plain = (string) => Array.from(string.toLowerCase(), (letter) => letter.normalize("NFD")[0] ?? "").join("");

/** The transcript beside the video: follows playback, is searchable, and a click on a word seeks to it. */
export class Transcript {
  #words = [];
  #spans = [];
  #spoken = -1;
  #matches = [];
  #at = -1;
  #scrolled = 0;

  /** `seek(seconds)` is called when the viewer chooses a word or paragraph, `close()` for the button. */
  constructor({ seek, close }) {
    this.seek = seek;
    this.text = element("div", { class: "text" });
    this.field = element("input", { type: "search", placeholder: text("search"), "aria-label": text("search"),
      autocomplete: "off", spellcheck: "false", enterkeyhint: "search" });
    this.count = element("span", { class: "count", role: "status" });
    this.previous = this.#button("chevron-up", text("previous"), () => this.#step(-1));
    this.next = this.#button("chevron-down", text("next"), () => this.#step(1));
    this.follow = element("button", { type: "button", class: "follow", hidden: true,
      click: () => { this.#scrolled = 0; this.#bring(true); } }, text("follow"));
    this.panel = element("aside", { class: "transcript", "aria-label": text("transcript"), hidden: true },
      element("div", { class: "search" }, icon("search"), this.field, this.count, this.previous, this.next,
        this.#button("x", text("close"), close)),
      this.text, this.follow);
    this.#setMatches([]);
    this.#listen();
  }

  get open() {
    return !this.panel.hidden;
  }

  show(open) {
    this.panel.hidden = !open;
    this.#scrolled = 0;
    if (open) this.#bring(true);
  }

  set(words) {
    this.#words = words;
    this.#spans = words.map((word, index) => element("span", { "data-word": index }, word.text));
    this.text.replaceChildren(...paragraphsOf(words).map(({ first, last }) => {
      const start = words[first].start;
      const prose = element("p");
      for (let i = first; i <= last; i++) prose.append(this.#spans[i], i < last ? " " : "");
      return element("div", { class: "paragraph" },
        element("button", { type: "button", class: "time", "aria-label": text("goTo", { time: clock(start) }), "data-time": start },
          clock(start)), prose);
    }));
    // The whole text as one string, and the start of each word in it.
    this.starts = [];
    let whole = "";
    for (const word of words) {
      this.starts.push(whole.length);
      whole += `${plain(word.text)} `;
    }
    this.whole = whole;
  }

  /** Marks the last spoken word. */
  update(index) {
    if (index === this.#spoken) return;
    this.#spans[this.#spoken]?.classList.remove("spoken");
    this.#spans[index]?.classList.add("spoken");
    this.#spoken = index;
    if (this.open) this.#bring(false);
  }

  focusSearch() {
    this.field.focus();
    this.field.select();
  }

  #button(name, label, click) {
    return element("button", { type: "button", class: "plain", "aria-label": label, title: label, click }, icon(name));
  }

  #listen() {
    this.text.addEventListener("click", ({ target }) => {
      if (!globalThis.getSelection()?.isCollapsed) return;
      const word = target.closest("[data-word]");
      const time = target.closest("[data-time]");
      if (word) this.seek(this.#words[Number(word.dataset.word)].start);
      else if (time) this.seek(Number(time.dataset.time));
      this.#scrolled = 0;
    });
    const scrolled = () => { this.#scrolled = Date.now(); };
    for (const event of ["wheel", "touchmove", "keydown"]) this.text.addEventListener(event, scrolled, { passive: true });
    this.field.addEventListener("input", () => this.#search());
    this.field.addEventListener("keydown", (event) => {
      if (event.key === "Enter") this.#step(event.shiftKey ? -1 : 1);
      else if (event.key === "Escape" && this.field.value) {
        this.field.value = "";
        this.#search();
      } else return;
      event.preventDefault();
      event.stopPropagation();
    });
  }

  #search() {
    const wanted = plain(this.field.value).trim().replace(/\s+/g, " ");
    const matches = [];
    for (let at = wanted ? this.whole.indexOf(wanted) : -1; at >= 0; at = this.whole.indexOf(wanted, at + wanted.length))
      matches.push({ first: this.#wordAt(at), last: this.#wordAt(at + wanted.length - 1) });
    this.#setMatches(matches);
    if (matches.length) this.#step(1);
  }

  /** The word at a position of the whole text. */
  #wordAt(position) {
    let low = 0;
    let high = this.starts.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.starts[middle] <= position) low = middle + 1;
      else high = middle;
    }
    return low - 1;
  }

  #setMatches(matches) {
    for (const match of this.#matches) this.#mark(match, "found", false);
    for (const match of this.#matches) this.#mark(match, "current", false);
    this.#matches = matches;
    for (const match of matches) this.#mark(match, "found", true);
    this.#at = -1;
    const searched = this.field.value.trim() !== "";
    this.count.textContent = searched && !matches.length ? text("noMatches") : "";
    this.previous.hidden = this.next.hidden = !matches.length;
  }

  #mark({ first, last }, name, on) {
    for (let i = first; i <= last; i++) this.#spans[i].classList.toggle(name, on);
  }

  #step(direction) {
    const count = this.#matches.length;
    if (!count) return;
    if (this.#at >= 0) this.#mark(this.#matches[this.#at], "current", false);
    const first = direction > 0 ? 0 : count - 1;
    this.#at = this.#at < 0 ? first : (this.#at + direction + count) % count;
    this.#mark(this.#matches[this.#at], "current", true);
    this.count.textContent = text("matches", { at: this.#at + 1, count });
    this.#scrolled = Date.now();
    this.#scrollTo(this.#spans[this.#matches[this.#at].first]);
  }

  /** Keeps the spoken word in view, unless the viewer is reading elsewhere. */
  #bring(now) {
    const span = this.#spans[this.#spoken];
    const reading = Date.now() - this.#scrolled < FOLLOW_AGAIN || this.field.value.trim() !== "";
    const box = this.text.getBoundingClientRect();
    const place = span?.getBoundingClientRect();
    const seen = !place || (place.top >= box.top && place.bottom <= box.bottom);
    this.follow.hidden = seen || !reading || now;
    if (span && (now || (!seen && !reading))) this.#scrollTo(span);
  }

  #scrollTo(span) {
    // scrollIntoView() would also scroll the page around the frame.
    const box = this.text.getBoundingClientRect();
    const place = span.getBoundingClientRect();
    this.text.scrollTo({ top: this.text.scrollTop + place.top - box.top - box.height / 3, behavior: matchMedia("(prefers-reduced-motion: reduce)").matches ? "auto" : "smooth" });
  }
}
